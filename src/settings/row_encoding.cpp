#include "norvik/settings/row_encoding.h"

#include <locale.h>

#include <clocale>
#include <cmath>
#include <cstdlib>

#include "norvik/platform/date_formatter.h"
#include "norvik/platform/json.h"
#include "norvik/platform/locale.h"

namespace norvik {
namespace {

void put(Dictionary& row, std::string_view key, Value value) {
  row.insert_or_assign(std::string(key), std::move(value));
}

const Value* present(const Dictionary& row, std::string_view key) {
  auto found = row.find(key);
  if (found == row.end() || found->second.isNull()) return nullptr;
  return &found->second;
}

const Value* numberAt(const Dictionary& row, std::string_view key) {
  const Value* value = present(row, key);
  return value && value->isNumber() ? value : nullptr;
}

// Hours and minutes on the 24-hour clock, in the current time zone.
platform::DateFormatter reminderTimeFormatter() {
  return platform::DateFormatter("HH:mm", platform::Locale("en_US_POSIX"));
}

std::string dateListText(const auto& dates) {
  std::string text;
  bool first = true;
  for (const Date& date : dates) {
    if (!first) text += ' ';
    first = false;
    text += Value(date.timeIntervalSince1970()).numberText().value_or("0");
  }
  return text;
}

// The JSON array text of the strings; std::nullopt when a string has no JSON form.
std::optional<std::string> jsonStringArray(const std::set<std::string>& strings) {
  platform::Array array;
  array.reserve(strings.size());
  for (const std::string& s : strings) array.emplace_back(s);
  return platform::encodeJSON(Value(std::move(array)));
}

// A finite C-locale number that is the whole piece and does not start with white space; 0
// otherwise ("nan" and "inf" included).
double pieceNumber(const std::string& piece) {
  static locale_t cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  if (piece.empty() || std::string_view(" \t\n\v\f\r").find(piece.front()) != std::string::npos) {
    return 0;
  }
  char* end = nullptr;
  double value =
      cLocale ? strtod_l(piece.c_str(), &end, cLocale) : std::strtod(piece.c_str(), &end);
  if (end != piece.c_str() + piece.size() || !std::isfinite(value)) return 0;
  return value;
}

}  // namespace

// ---- writers ----

void nv_setNotNullObject(Dictionary& row, const std::optional<Value>& object,
                         std::string_view key) {
  if (object && !object->isNull()) put(row, key, *object);
}

void nv_db_setObject(Dictionary& row, const std::optional<Value>& object, std::string_view key) {
  put(row, key, object ? *object : Value());
}

void nv_db_setString(Dictionary& row, const std::optional<std::string>& string,
                     std::string_view key) {
  put(row, key, string ? Value(*string) : Value());
}

void nv_db_setDate(Dictionary& row, const std::optional<Date>& date, std::string_view key) {
  put(row, key, date ? Value(date->timeIntervalSince1970()) : Value());
}

void nv_db_setURL(Dictionary& row, const std::optional<std::string>& url, std::string_view key) {
  put(row, key, url && !url->empty() ? Value(*url) : Value());
}

void nv_db_setNumber(Dictionary& row, const std::optional<Value>& number, std::string_view key) {
  put(row, key, number && number->isNumber() ? *number : Value());
}

void nv_db_setBool(Dictionary& row, bool value, std::string_view key) {
  put(row, key, Value(value));
}

void nv_db_setInteger(Dictionary& row, std::int64_t value, std::string_view key) {
  put(row, key, Value(static_cast<long long>(value)));
}

void nv_db_setLongLong(Dictionary& row, std::int64_t value, std::string_view key) {
  put(row, key, Value(static_cast<long long>(value)));
}

void nv_db_setDouble(Dictionary& row, double value, std::string_view key) {
  put(row, key, Value(value));
}

void nv_db_setDateSet(Dictionary& row, const std::optional<std::set<Date>>& dates,
                      std::string_view key) {
  put(row, key, dates ? Value(dateListText(*dates)) : Value());
}

void nv_db_setDateArray(Dictionary& row, const std::optional<std::vector<Date>>& dates,
                        std::string_view key) {
  put(row, key, dates ? Value(dateListText(*dates)) : Value());
}

void nv_db_setReminderTimeSet(Dictionary& row, const std::optional<std::set<Date>>& times,
                              std::string_view key) {
  if (!times) {
    put(row, key, Value());
    return;
  }
  platform::DateFormatter formatter = reminderTimeFormatter();
  std::set<std::string> texts;
  for (const Date& time : *times) {
    std::string text = formatter.format(time);
    if (!text.empty()) texts.insert(std::move(text));
  }
  std::optional<std::string> json = jsonStringArray(texts);
  put(row, key, json ? Value(*json) : Value());
}

void nv_db_setStringSet(Dictionary& row, const std::optional<std::set<std::string>>& strings,
                        std::string_view key) {
  if (!strings) {
    put(row, key, Value());
    return;
  }
  std::optional<std::string> json = jsonStringArray(*strings);
  put(row, key, json ? Value(*json) : Value());
}

// ---- readers ----

std::optional<Value> nv_notNullObjectForKey(const Dictionary& row, std::string_view key) {
  const Value* value = present(row, key);
  if (!value) return std::nullopt;
  return *value;
}

std::optional<Value> nv_db_objectForKey(const Dictionary& row, std::string_view key) {
  return nv_notNullObjectForKey(row, key);
}

std::optional<std::string> nv_db_stringForKey(const Dictionary& row, std::string_view key) {
  const Value* value = present(row, key);
  if (!value || !value->string()) return std::nullopt;
  return *value->string();
}

std::string nv_db_nonnullStringForKey(const Dictionary& row, std::string_view key) {
  return nv_db_stringForKey(row, key).value_or(std::string());
}

std::optional<Date> nv_db_dateForKey(const Dictionary& row, std::string_view key) {
  const Value* value = numberAt(row, key);
  if (!value) return std::nullopt;
  return Date(*value->doubleValue());
}

std::optional<std::string> nv_db_URLForKey(const Dictionary& row, std::string_view key) {
  return nv_db_stringForKey(row, key);
}

std::optional<Value> nv_db_numberForKey(const Dictionary& row, std::string_view key) {
  const Value* value = numberAt(row, key);
  if (!value) return std::nullopt;
  return *value;
}

bool nv_db_boolForKey(const Dictionary& row, std::string_view key) {
  const Value* value = numberAt(row, key);
  return value && *value->boolValue();
}

std::int64_t nv_db_integerForKey(const Dictionary& row, std::string_view key) {
  const Value* value = numberAt(row, key);
  return value ? *value->int64Value() : 0;
}

std::int64_t nv_db_longLongForKey(const Dictionary& row, std::string_view key) {
  return nv_db_integerForKey(row, key);
}

double nv_db_doubleForKey(const Dictionary& row, std::string_view key) {
  const Value* value = numberAt(row, key);
  return value ? *value->doubleValue() : 0.0;
}

std::optional<std::set<Date>> nv_db_dateSetForKey(const Dictionary& row, std::string_view key) {
  std::optional<std::vector<Date>> dates = nv_db_dateArrayForKey(row, key);
  if (!dates) return std::nullopt;
  return std::set<Date>(dates->begin(), dates->end());
}

std::optional<std::vector<Date>> nv_db_dateArrayForKey(const Dictionary& row,
                                                       std::string_view key) {
  std::optional<std::string> text = nv_db_stringForKey(row, key);
  if (!text) return std::nullopt;
  return sv(*text).dateArray();
}

std::optional<std::set<Date>> nv_db_reminderTimeSetForKey(const Dictionary& row,
                                                          std::string_view key) {
  std::optional<std::string> text = nv_db_stringForKey(row, key);
  if (!text) return std::nullopt;
  return sv(*text).reminderTimeSet();
}

std::optional<std::set<std::string>> nv_db_stringSetForKey(const Dictionary& row,
                                                           std::string_view key) {
  std::optional<std::string> text = nv_db_stringForKey(row, key);
  if (!text) return std::nullopt;
  return sv(*text).stringSet();
}

// ---- parsers ----

std::vector<Date> SVStringInstanceDSL::dateArray() const {
  std::vector<Date> dates;
  std::size_t start = 0;
  while (true) {
    std::size_t space = text.find(' ', start);
    std::string piece(
        text.substr(start, space == std::string_view::npos ? text.npos : space - start));
    if (piece.empty()) break;  // deliberate: the pieces after an empty one are ignored
    dates.emplace_back(pieceNumber(piece));
    if (space == std::string_view::npos) break;
    start = space + 1;
  }
  return dates;
}

std::set<Date> SVStringInstanceDSL::reminderTimeSet() const {
  std::set<Date> times;
  platform::DateFormatter formatter = reminderTimeFormatter();
  for (const std::string& text : stringSet()) {
    if (std::optional<Date> time = formatter.date(text)) times.insert(*time);
  }
  return times;
}

std::set<std::string> SVStringInstanceDSL::stringSet() const {
  std::optional<Value> parsed = platform::decodeJSON(text);
  if (!parsed || !parsed->array()) return {};
  std::set<std::string> strings;
  for (const Value& element : *parsed->array()) {
    if (!element.string()) return {};
    strings.insert(*element.string());
  }
  return strings;
}

}  // namespace norvik
