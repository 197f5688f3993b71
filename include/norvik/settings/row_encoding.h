#pragma once
// How model values are written into, and read from, a database row dictionary (column name to
// string, number or the null object, which stands for SQL NULL).
//
// Writers never leave a key out: an absent value stores the null object so that the column is
// written as NULL. Readers treat the null object like a missing key. Dates are numbers of seconds
// since 1970; date lists are those numbers' texts joined by single spaces; sets of strings and of
// reminder times ("HH:mm", 24-hour clock, in the current time zone) are JSON arrays of strings.
// Nothing here fails: wrong-typed columns read as absent (or false, 0, the empty string).

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/platform/date.h"
#include "norvik/platform/value.h"

namespace norvik {

using platform::Date;
using platform::Dictionary;
using platform::Value;

// ---- writers ----

// Stores the object only when it is neither absent nor the null object; otherwise leaves the
// dictionary as it is.
void nv_setNotNullObject(Dictionary& row, const std::optional<Value>& object, std::string_view key);
// The object; the null object when absent.
void nv_db_setObject(Dictionary& row, const std::optional<Value>& object, std::string_view key);
void nv_db_setString(Dictionary& row, const std::optional<std::string>& string,
                     std::string_view key);
// Seconds since 1970 as a real, fraction kept.
void nv_db_setDate(Dictionary& row, const std::optional<Date>& date, std::string_view key);
// The URL's absolute text; the null object when absent or empty.
void nv_db_setURL(Dictionary& row, const std::optional<std::string>& url, std::string_view key);
// The number (a boolean, integer or real); the null object when absent or not a number.
void nv_db_setNumber(Dictionary& row, const std::optional<Value>& number, std::string_view key);
void nv_db_setBool(Dictionary& row, bool value, std::string_view key);
void nv_db_setInteger(Dictionary& row, std::int64_t value, std::string_view key);
void nv_db_setLongLong(Dictionary& row, std::int64_t value, std::string_view key);
void nv_db_setDouble(Dictionary& row, double value, std::string_view key);
// The dates' numbers as text ("1700000000 1700000000.5"), in the set's order.
void nv_db_setDateSet(Dictionary& row, const std::optional<std::set<Date>>& dates,
                      std::string_view key);
// The dates' numbers as text joined by single spaces; the empty array gives "".
void nv_db_setDateArray(Dictionary& row, const std::optional<std::vector<Date>>& dates,
                        std::string_view key);
// The JSON array of the times "HH:mm" of the dates ("[]" for the empty set); a date the
// formatter cannot write (not finite) is left out.
void nv_db_setReminderTimeSet(Dictionary& row, const std::optional<std::set<Date>>& times,
                              std::string_view key);
// The JSON array of the strings ("[]" for the empty set).
void nv_db_setStringSet(Dictionary& row, const std::optional<std::set<std::string>>& strings,
                        std::string_view key);

// ---- readers ----

std::optional<Value> nv_notNullObjectForKey(const Dictionary& row, std::string_view key);
std::optional<Value> nv_db_objectForKey(const Dictionary& row, std::string_view key);
std::optional<std::string> nv_db_stringForKey(const Dictionary& row, std::string_view key);
// As nv_db_stringForKey, the empty string when there is none.
std::string nv_db_nonnullStringForKey(const Dictionary& row, std::string_view key);
// A number of seconds since 1970; absent for anything else (a string included).
std::optional<Date> nv_db_dateForKey(const Dictionary& row, std::string_view key);
// A string, as the URL's text; absent for anything else.
std::optional<std::string> nv_db_URLForKey(const Dictionary& row, std::string_view key);
std::optional<Value> nv_db_numberForKey(const Dictionary& row, std::string_view key);
bool nv_db_boolForKey(const Dictionary& row, std::string_view key);              // false
std::int64_t nv_db_integerForKey(const Dictionary& row, std::string_view key);   // 0
std::int64_t nv_db_longLongForKey(const Dictionary& row, std::string_view key);  // 0
double nv_db_doubleForKey(const Dictionary& row, std::string_view key);          // 0
// The list and set readers parse the column's string (below); absent when it holds no string.
std::optional<std::set<Date>> nv_db_dateSetForKey(const Dictionary& row, std::string_view key);
std::optional<std::vector<Date>> nv_db_dateArrayForKey(const Dictionary& row, std::string_view key);
std::optional<std::set<Date>> nv_db_reminderTimeSetForKey(const Dictionary& row,
                                                          std::string_view key);
std::optional<std::set<std::string>> nv_db_stringSetForKey(const Dictionary& row,
                                                           std::string_view key);

// ---- parsers of column texts ----

struct SVStringInstanceDSL {
  std::string_view text;

  // The dates of a space-separated list of seconds since 1970. The walk stops at the first empty
  // piece (two spaces in a row, a leading or trailing space, the empty text), keeping the dates
  // before it. A piece that is not wholly a finite C-locale number ("nan", "inf" and white space
  // in front included) gives the epoch, 1970-01-01 00:00:00 UTC.
  std::vector<Date> dateArray() const;
  // The times of a JSON array of "HH:mm" strings, on one day in the current time zone; strings
  // that are not such a time are left out; text that is not an array of strings gives the empty
  // set.
  std::set<Date> reminderTimeSet() const;
  // The strings of a JSON array of strings; anything else gives the empty set.
  std::set<std::string> stringSet() const;
};

// The parsers on a column text.
inline SVStringInstanceDSL sv(std::string_view text) {
  return SVStringInstanceDSL{text};
}

}  // namespace norvik
