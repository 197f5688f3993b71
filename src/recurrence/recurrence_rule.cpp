#include "norvik/recurrence/recurrence_rule.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "norvik/calendar/lunisolar.h"

namespace norvik {

namespace {

constexpr std::array<std::string_view, 7> kWeekdayNames = {"SU", "MO", "TU", "WE",
                                                           "TH", "FR", "SA"};
constexpr std::array<std::string_view, 7> kFrequencyNames = {
    "SECONDLY", "MINUTELY", "HOURLY", "DAILY", "WEEKLY", "MONTHLY", "YEARLY"};

// RSCALE names this library reads, and the calendar each one means.
constexpr std::array<std::string_view, 9> kCalendarScales = {
    "GREGORIAN",        "CHINESE",      "DANGI",   "HEBREW", "ISLAMIC-CIVIL",
    "ISLAMIC-UMALQURA", "ISLAMIC-TBLA", "PERSIAN", "INDIAN"};

constexpr std::string_view kVietnamCalendar = "VIETNAM";

struct ParseFailure {
  std::string message;
};

[[noreturn]] void fail(std::string message) {
  throw ParseFailure{std::move(message)};
}

char upper(char c) {
  return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

std::string toUpper(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = upper(c);
  return out;
}

// Whether `text` equals `keyword` ignoring the case of ASCII letters; `keyword` is upper case.
inline bool equalsIgnoringCase(std::string_view text, std::string_view keyword) {
  if (text.size() != keyword.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c != keyword[i] && !(c >= 'a' && c <= 'z' && c - ('a' - 'A') == keyword[i])) {
      return false;
    }
  }
  return true;
}

// Calls `f` with each comma-separated item of `s` (an empty `s` is one empty item).
template <typename F>
void forEachItem(std::string_view s, F&& f) {
  std::size_t start = 0;
  while (true) {
    const std::size_t end = s.find(',', start);
    if (end == std::string_view::npos) {
      f(s.substr(start));
      return;
    }
    f(s.substr(start, end - start));
    start = end + 1;
  }
}

std::size_t itemCount(std::string_view s) {
  return static_cast<std::size_t>(std::count(s.begin(), s.end(), ',')) + 1;
}

// Whether every byte is printable ASCII other than space (0x21..0x7e). Eight bytes at a time: a
// byte below 0x21 borrows into its top bit when 0x21 is subtracted, a byte above 0x7e sets its top
// bit when 0x01 is added (and any byte with the top bit set is out of range anyway).
bool isPrintableAscii(std::string_view text) {
  constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
  constexpr std::uint64_t kHigh = 0x8080808080808080ULL;
  std::size_t i = 0;
  for (; i + 8 <= text.size(); i += 8) {
    std::uint64_t x;
    std::memcpy(&x, text.data() + i, 8);
    const std::uint64_t below = (x - kOnes * 0x21) & ~x & kHigh;
    const std::uint64_t above = ((x & ~kHigh) + kOnes * 0x01) | x;
    if (below | (above & kHigh)) return false;
  }
  for (; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c < 0x21 || c > 0x7e) return false;
  }
  return true;
}

// A signed decimal of at most 9 digits ("+5", "-1", "12"); std::nullopt otherwise.
std::optional<int> parseSigned(std::string_view text, bool allowSign) {
  if (text.empty()) return std::nullopt;
  bool negative = false;
  if (text.front() == '+' || text.front() == '-') {
    if (!allowSign) return std::nullopt;
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  if (text.empty() || text.size() > 9) return std::nullopt;
  int value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return negative ? -value : value;
}

std::string quoted(std::string_view text) {
  std::string out = "\"";
  out.append(text.substr(0, 40));
  if (text.size() > 40) out += "...";
  out += '"';
  return out;
}

std::optional<int> weekdayFromName(std::string_view name) {
  if (name.size() != 2) return std::nullopt;
  const char first = upper(name[0]);
  const char second = upper(name[1]);
  for (std::size_t i = 0; i < kWeekdayNames.size(); ++i) {
    if (first == kWeekdayNames[i][0] && second == kWeekdayNames[i][1]) {
      return static_cast<int>(i) + 1;
    }
  }
  return std::nullopt;
}

// A comma list of integers in [-max, -min] or [min, max]; with `allowNegative` false only the
// positive range.
int parseBoundedInt(std::string_view part, std::string_view item, int min, int max,
                    bool allowNegative) {
  const std::optional<int> number = parseSigned(item, allowNegative);
  if (!number) fail(std::string(part) + ": " + quoted(item) + " is not a whole number");
  const int magnitude = *number < 0 ? -*number : *number;
  if (magnitude < min || magnitude > max) {
    fail(std::string(part) + ": " + std::to_string(*number) + " is out of range (" +
         (allowNegative ? "+/-" : "") + std::to_string(min) + " to " + std::to_string(max) + ")");
  }
  return *number;
}

std::vector<int> parseIntList(std::string_view part, std::string_view value, int min, int max,
                              bool allowNegative) {
  std::vector<int> out;
  out.reserve(itemCount(value));
  forEachItem(value, [&](std::string_view item) {
    out.push_back(parseBoundedInt(part, item, min, max, allowNegative));
  });
  return out;
}

bool isDigits(std::string_view s) {
  return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

int digitsValue(std::string_view s) {
  int v = 0;
  for (char c : s) v = v * 10 + (c - '0');
  return v;
}

bool isLeapYear(int y) {
  return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

int daysInMonth(int y, int m) {
  static constexpr std::array<int, 12> days = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && isLeapYear(y) ? 29 : days[static_cast<std::size_t>(m - 1)];
}

SVRecurrenceDateValue parseDateValue(std::string_view part, std::string_view text) {
  SVRecurrenceDateValue v;
  const std::string_view original = text;
  auto bad = [&](std::string_view why) {
    fail(std::string(part) + ": " + quoted(original) + " " + std::string(why));
  };
  if (text.size() < 8 || !isDigits(text.substr(0, 8))) {
    bad("is not a date (YYYYMMDD, YYYYMMDDTHHMMSS or YYYYMMDDTHHMMSSZ)");
  }
  v.year = digitsValue(text.substr(0, 4));
  v.month = digitsValue(text.substr(4, 2));
  v.day = digitsValue(text.substr(6, 2));
  if (v.month < 1 || v.month > 12 || v.day < 1 || v.day > daysInMonth(v.year, v.month)) {
    bad("is not a calendar date");
  }
  text.remove_prefix(8);
  if (text.empty()) return v;
  if (text.front() != 'T' && text.front() != 't') {
    bad("is not a date (YYYYMMDD, YYYYMMDDTHHMMSS or YYYYMMDDTHHMMSSZ)");
  }
  text.remove_prefix(1);
  if (text.size() != 6 && !(text.size() == 7 && (text.back() == 'Z' || text.back() == 'z'))) {
    bad("has a malformed time (HHMMSS, optionally followed by Z)");
  }
  if (!isDigits(text.substr(0, 6))) bad("has a malformed time (HHMMSS, optionally followed by Z)");
  v.hasTime = true;
  v.hour = digitsValue(text.substr(0, 2));
  v.minute = digitsValue(text.substr(2, 2));
  v.second = digitsValue(text.substr(4, 2));
  v.utc = text.size() == 7;
  if (v.hour > 23 || v.minute > 59 || v.second > 60) bad("has a time out of range");
  return v;
}

std::string joinInts(const std::vector<int>& values) {
  std::string out;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i) out += ',';
    out += std::to_string(values[i]);
  }
  return out;
}

// The parts this library reads, by kind; a name is matched ignoring case.
enum PartKind : int {
  kFreq,
  kInterval,
  kCount,
  kUntil,
  kWkst,
  kByDay,
  kByMonthDay,
  kByMonth,
  kBySetPos,
  kByYearDay,
  kByWeekNo,
  kByHour,
  kByMinute,
  kBySecond,
  kRscale,
  kSkip,
  kXCalendar,
  kXWorkday,
  kXOfficial,
  kXEbbinghaus,
  kXDates,
  kPartKindCount
};

constexpr std::array<std::string_view, kPartKindCount> kPartNames = {
    "FREQ",          "INTERVAL",        "COUNT",     "UNTIL",     "WKST",          "BYDAY",
    "BYMONTHDAY",    "BYMONTH",         "BYSETPOS",  "BYYEARDAY", "BYWEEKNO",      "BYHOUR",
    "BYMINUTE",      "BYSECOND",        "RSCALE",    "SKIP",      "X-NV-CALENDAR", "X-NV-WORKDAY",
    "X-NV-OFFICIAL", "X-NV-EBBINGHAUS", "X-NV-DATES"};

// The kind of a part name; -1 when the library does not know it. Names are told apart by length
// and one distinguishing letter before a single full comparison.
int partKind(std::string_view name) {
  auto check = [name](int kind) { return equalsIgnoringCase(name, kPartNames[kind]) ? kind : -1; };
  switch (name.size()) {
    case 4:
      switch (upper(name[0])) {
        case 'F':
          return check(kFreq);
        case 'W':
          return check(kWkst);
        case 'S':
          return check(kSkip);
      }
      return -1;
    case 5:
      switch (upper(name[0])) {
        case 'C':
          return check(kCount);
        case 'U':
          return check(kUntil);
        case 'B':
          return check(kByDay);
      }
      return -1;
    case 6:
      return upper(name[0]) == 'R' ? check(kRscale) : check(kByHour);
    case 7:
      return check(kByMonth);
    case 8:
      switch (upper(name[2])) {
        case 'T':
          return check(kInterval);
        case 'S':
          return upper(name[4]) == 'T' ? check(kBySetPos) : check(kBySecond);
        case 'W':
          return check(kByWeekNo);
        case 'M':
          return check(kByMinute);
      }
      return -1;
    case 9:
      return check(kByYearDay);
    case 10:
      return upper(name[0]) == 'B' ? check(kByMonthDay) : check(kXDates);
    case 12:
      return check(kXWorkday);
    case 13:
      return upper(name[5]) == 'C' ? check(kXCalendar) : check(kXOfficial);
    case 15:
      return check(kXEbbinghaus);
  }
  return -1;
}

// Reads rule text into a rule, throwing ParseFailure with a one-line reason.
class Parser {
 public:
  Parser(std::string_view text, SVRecurrenceRule& rule) : text_(text), rule_(rule) {}

  void parse() {
    if (text_.size() > SVRecurrenceRule::kMaxTextLength) {
      fail("rule text is too long (" + std::to_string(text_.size()) + " bytes; at most " +
           std::to_string(SVRecurrenceRule::kMaxTextLength) + ")");
    }
    // Only printable ASCII without spaces: first a branch-free scan of the whole text, then
    // the offending byte's position only when there is one.
    if (!isPrintableAscii(text_)) {
      for (std::size_t i = 0; i < text_.size(); ++i) {
        const auto c = static_cast<unsigned char>(text_[i]);
        if (c < 0x21 || c > 0x7e) {
          char buffer[64];
          std::snprintf(buffer, sizeof buffer, "unexpected byte 0x%02X at offset %zu", c, i);
          fail(buffer);
        }
      }
    }
    std::string_view body = text_;
    if (body.size() >= 6 && equalsIgnoringCase(body.substr(0, 6), "RRULE:")) body.remove_prefix(6);
    if (body.empty()) fail("rule text is empty");
    if (body.back() == ';') body.remove_suffix(1);  // a trailing separator
    std::size_t start = 0;
    while (start <= body.size()) {
      std::size_t end = body.find(';', start);
      if (end == std::string_view::npos) end = body.size();
      const std::string_view part = body.substr(start, end - start);
      start = end + 1;
      if (part.empty()) fail("empty part (two ';' in a row)");
      const std::size_t eq = part.find('=');
      if (eq == std::string_view::npos) fail("part " + quoted(part) + " has no '='");
      const std::string_view rawName = part.substr(0, eq);
      const std::string_view value = part.substr(eq + 1);
      if (rawName.empty()) fail("part " + quoted(part) + " has no name");
      const int kind = partKind(rawName);
      if (kind >= 0) {
        const std::uint32_t bit = 1u << kind;
        if (seenKnown_ & bit) fail(std::string(kPartNames[kind]) + " is given more than once");
        seenKnown_ |= bit;
        if (value.empty() && kind != kXDates) {
          fail(std::string(kPartNames[kind]) + " has an empty value");
        }
        apply(kind, value);
      } else {
        applyOther(toUpper(rawName), value, part);
      }
    }
    if (!(seenKnown_ & (1u << kFreq))) fail("FREQ is missing");
    if (rule_.count && rule_.until) fail("COUNT and UNTIL may not both be given");
    if (rule_.skip && rule_.rscale.empty()) fail("SKIP needs RSCALE");
    if (rule_.vietnamese && rule_.rscale != "CHINESE") {
      fail("X-NV-CALENDAR=VIETNAM needs RSCALE=CHINESE");
    }
    const bool anyLeap = std::find(rule_.byMonthLeap.begin(), rule_.byMonthLeap.end(), true) !=
                         rule_.byMonthLeap.end();
    if (anyLeap && rule_.rscale.empty()) fail("BYMONTH: leap months (\"L\") need RSCALE");
    if (!anyLeap) rule_.byMonthLeap.clear();
  }

 private:
  void apply(int kind, std::string_view value) {
    const std::string_view name = kPartNames[kind];
    switch (kind) {
      case kFreq:
        for (std::size_t i = 0; i < kFrequencyNames.size(); ++i) {
          if (value.size() == kFrequencyNames[i].size() &&
              equalsIgnoringCase(value, kFrequencyNames[i])) {
            rule_.frequencyOrdinal = static_cast<int>(i);
            return;
          }
        }
        fail("FREQ: unknown frequency " + quoted(value));
      case kInterval: {
        const auto n = parseSigned(value, false);
        if (!n) fail("INTERVAL: " + quoted(value) + " is not a whole number");
        if (*n < 1) fail("INTERVAL: must be at least 1");
        rule_.interval = *n;
        return;
      }
      case kCount: {
        const auto n = parseSigned(value, false);
        if (!n) fail("COUNT: " + quoted(value) + " is not a whole number");
        if (*n < 1) fail("COUNT: must be at least 1");
        rule_.count = *n;
        return;
      }
      case kUntil:
        rule_.until = parseDateValue(name, value);
        return;
      case kWkst: {
        const auto day = weekdayFromName(value);
        if (!day) fail("WKST: " + quoted(value) + " is not a weekday (SU, MO, ... SA)");
        rule_.weekStart = SVRecurrenceWeekday(*day);
        return;
      }
      case kByDay:
        rule_.byDay.reserve(itemCount(value));
        forEachItem(value, [this](std::string_view item) { addWeekdayNumber(item); });
        return;
      case kByMonthDay:
        rule_.byMonthDay = parseIntList(name, value, 1, 31, true);
        return;
      case kByMonth:
        rule_.byMonth.reserve(itemCount(value));
        rule_.byMonthLeap.reserve(itemCount(value));
        forEachItem(value, [&](std::string_view item) {
          bool leap = false;
          if (!item.empty() && (item.back() == 'L' || item.back() == 'l')) {
            leap = true;
            item.remove_suffix(1);
          }
          rule_.byMonth.push_back(parseBoundedInt(name, item, 1, 13, false));
          rule_.byMonthLeap.push_back(leap);
        });
        return;
      case kBySetPos:
        rule_.bySetPos = parseIntList(name, value, 1, 366, true);
        return;
      case kByYearDay:
        rule_.byYearDay = parseIntList(name, value, 1, 366, true);
        return;
      case kByWeekNo:
        rule_.byWeekNo = parseIntList(name, value, 1, 53, true);
        return;
      case kByHour:
        rule_.byHour = parseIntList(name, value, 0, 23, false);
        return;
      case kByMinute:
        rule_.byMinute = parseIntList(name, value, 0, 59, false);
        return;
      case kBySecond:
        rule_.bySecond = parseIntList(name, value, 0, 60, false);
        return;
      case kRscale:
        for (std::string_view scale : kCalendarScales) {
          if (equalsIgnoringCase(value, scale)) {
            rule_.rscale = std::string(scale);
            return;
          }
        }
        fail("RSCALE: unsupported calendar " + quoted(value));
      case kSkip:
        if (equalsIgnoringCase(value, "OMIT")) {
          rule_.skip = SVRecurrenceSkip::omit;
        } else if (equalsIgnoringCase(value, "BACKWARD")) {
          rule_.skip = SVRecurrenceSkip::backward;
        } else if (equalsIgnoringCase(value, "FORWARD")) {
          rule_.skip = SVRecurrenceSkip::forward;
        } else {
          fail("SKIP: " + quoted(value) + " is not OMIT, BACKWARD or FORWARD");
        }
        return;
      case kXCalendar:
        if (!equalsIgnoringCase(value, kVietnamCalendar)) {
          fail("X-NV-CALENDAR: unknown calendar " + quoted(value) + " (only VIETNAM)");
        }
        rule_.vietnamese = true;
        return;
      case kXWorkday:
        if (equalsIgnoringCase(value, "FIRST")) {
          rule_.workday = SVRecurrenceWorkday::first;
        } else if (equalsIgnoringCase(value, "LAST")) {
          rule_.workday = SVRecurrenceWorkday::last;
        } else {
          fail("X-NV-WORKDAY: " + quoted(value) + " is not FIRST or LAST");
        }
        return;
      case kXOfficial:
        if (equalsIgnoringCase(value, "WORKDAY")) {
          rule_.officialDay = SVRecurrenceOfficialDay::workingDay;
        } else if (equalsIgnoringCase(value, "HOLIDAY")) {
          rule_.officialDay = SVRecurrenceOfficialDay::holiday;
        } else {
          fail("X-NV-OFFICIAL: " + quoted(value) + " is not WORKDAY or HOLIDAY");
        }
        return;
      case kXEbbinghaus: {
        const auto n = parseSigned(value, false);
        if (!n) fail("X-NV-EBBINGHAUS: " + quoted(value) + " is not a cycle number (0 or more)");
        rule_.extendable.ebbinghausData = SVRecurrenceEbbinghaus{*n};
        return;
      }
      case kXDates: {
        SVRecurrenceSpecific specific;
        if (!value.empty()) {
          specific.byDate.reserve(itemCount(value));
          forEachItem(value, [&](std::string_view item) {
            specific.byDate.push_back(parseDateValue(name, item));
          });
        }
        rule_.specificData = std::move(specific);
        return;
      }
      default:
        fail("unknown part " + quoted(name));
    }
  }

  void addWeekdayNumber(std::string_view item) {
    if (item.size() < 2) fail("BYDAY: " + quoted(item) + " is not a weekday");
    const auto day = weekdayFromName(item.substr(item.size() - 2));
    if (!day) fail("BYDAY: " + quoted(item) + " does not end in a weekday (SU, MO, ... SA)");
    int num = 0;
    if (item.size() > 2) {
      const auto n = parseSigned(item.substr(0, item.size() - 2), true);
      if (!n) fail("BYDAY: " + quoted(item) + " has a malformed ordinal");
      if (*n == 0 || *n > 53 || *n < -53) {
        fail("BYDAY: ordinal " + std::to_string(*n) + " is out of range (+/-1 to 53)");
      }
      num = *n;
    }
    rule_.byDay.emplace_back(num, SVRecurrenceWeekday(*day));
  }

  // A part this library does not read: other X- parts are kept to be written back, anything
  // else is an error.
  void applyOther(const std::string& name, std::string_view value, std::string_view part) {
    if (name.size() <= 2 || name[0] != 'X' || name[1] != '-') {
      fail("unknown part " + quoted(part.substr(0, part.find('='))));
    }
    if (std::find(seenOther_.begin(), seenOther_.end(), name) != seenOther_.end()) {
      fail(name + " is given more than once");
    }
    if (value.empty()) fail(name + " has an empty value");
    seenOther_.push_back(name);
    rule_.otherExtensions.emplace_back(part);
  }

  std::string_view text_;
  SVRecurrenceRule& rule_;
  std::uint32_t seenKnown_ = 0;  // bit i: part kind i was read
  std::vector<std::string> seenOther_;
};

}  // namespace

std::string_view SVRecurrenceWeekday::icalName() const {
  if (dayNum_ < 1 || dayNum_ > 7) return {};
  return kWeekdayNames[static_cast<std::size_t>(dayNum_ - 1)];
}

const std::vector<SVRecurrenceWeekdayNumber>& SVRecurrenceWeekdayNumber::allDays() {
  static const std::vector<SVRecurrenceWeekdayNumber> days = {
      {0, SVRecurrenceWeekday(2)}, {0, SVRecurrenceWeekday(3)}, {0, SVRecurrenceWeekday(4)},
      {0, SVRecurrenceWeekday(5)}, {0, SVRecurrenceWeekday(6)}, {0, SVRecurrenceWeekday(7)},
      {0, SVRecurrenceWeekday(1)}};
  return days;
}

namespace {
bool isExactly(const std::vector<SVRecurrenceWeekdayNumber>& days,
               std::initializer_list<int> want) {
  if (days.size() != want.size()) return false;
  for (int d : want) {
    if (std::count(days.begin(), days.end(),
                   SVRecurrenceWeekdayNumber(0, SVRecurrenceWeekday(d))) != 1) {
      return false;
    }
  }
  return true;
}
}  // namespace

bool SVRecurrenceWeekdayNumber::isWeekdays(const std::vector<SVRecurrenceWeekdayNumber>& days) {
  return isExactly(days, {2, 3, 4, 5, 6});
}

bool SVRecurrenceWeekdayNumber::isWeekends(const std::vector<SVRecurrenceWeekdayNumber>& days) {
  return isExactly(days, {7, 1});
}

std::string SVRecurrenceDateValue::toIcal() const {
  char buffer[32];
  if (hasTime) {
    std::snprintf(buffer, sizeof buffer, "%04d%02d%02dT%02d%02d%02d%s", year, month, day, hour,
                  minute, second, utc ? "Z" : "");
  } else {
    std::snprintf(buffer, sizeof buffer, "%04d%02d%02d", year, month, day);
  }
  return buffer;
}

platform::Date SVRecurrenceDateValue::date(int secondsFromGMT) const {
  const CivilDay days = civilDayFromGregorian(year, month, day);
  double seconds = static_cast<double>(days) * 86400.0 + hour * 3600.0 + minute * 60.0 + second;
  if (!utc) seconds -= secondsFromGMT;
  return platform::Date(seconds);
}

std::shared_ptr<SVRecurrenceRule> SVRecurrenceRule::ruleWithIcalString(std::string_view text,
                                                                       SVRecurrenceError* error) {
  try {
    auto rule = std::make_shared<SVRecurrenceRule>();
    Parser(text, *rule).parse();
    return rule;
  } catch (const ParseFailure& failure) {
    if (error) error->description = failure.message;
  } catch (const std::exception& e) {
    if (error) error->description = std::string("rule could not be read: ") + e.what();
  }
  return nullptr;
}

std::string SVRecurrenceRule::toIcal() const {
  std::string out;
  out.reserve(64);
  auto add = [&out](std::string_view name, std::string_view value) {
    if (!out.empty()) out += ';';
    out.append(name);
    out += '=';
    out.append(value);
  };
  auto addList = [&](std::string_view name, const std::vector<int>& values) {
    if (!values.empty()) add(name, joinInts(values));
  };
  if (!rscale.empty()) add("RSCALE", rscale);
  if (frequencyOrdinal >= 0 && frequencyOrdinal < static_cast<int>(kFrequencyNames.size())) {
    add("FREQ", kFrequencyNames[static_cast<std::size_t>(frequencyOrdinal)]);
  }
  if (interval != 0) add("INTERVAL", std::to_string(interval));
  if (count) add("COUNT", std::to_string(*count));
  if (until) add("UNTIL", until->toIcal());
  addList("BYSECOND", bySecond);
  addList("BYMINUTE", byMinute);
  addList("BYHOUR", byHour);
  if (!byDay.empty()) {
    std::string days;
    for (const auto& entry : byDay) {
      if (!days.empty()) days += ',';
      if (entry.num() != 0) days += std::to_string(entry.num());
      days.append(entry.wday().icalName());
    }
    add("BYDAY", days);
  }
  addList("BYMONTHDAY", byMonthDay);
  addList("BYYEARDAY", byYearDay);
  addList("BYWEEKNO", byWeekNo);
  if (!byMonth.empty()) {
    std::string months;
    for (std::size_t i = 0; i < byMonth.size(); ++i) {
      if (i) months += ',';
      months += std::to_string(byMonth[i]);
      if (i < byMonthLeap.size() && byMonthLeap[i]) months += 'L';
    }
    add("BYMONTH", months);
  }
  addList("BYSETPOS", bySetPos);
  if (skip) {
    add("SKIP", *skip == SVRecurrenceSkip::omit       ? "OMIT"
                : *skip == SVRecurrenceSkip::backward ? "BACKWARD"
                                                      : "FORWARD");
  }
  if (weekStart) add("WKST", weekStart->icalName());
  if (vietnamese) add("X-NV-CALENDAR", kVietnamCalendar);
  if (workday != SVRecurrenceWorkday::none) {
    add("X-NV-WORKDAY", workday == SVRecurrenceWorkday::first ? "FIRST" : "LAST");
  }
  if (officialDay != SVRecurrenceOfficialDay::none) {
    add("X-NV-OFFICIAL",
        officialDay == SVRecurrenceOfficialDay::workingDay ? "WORKDAY" : "HOLIDAY");
  }
  if (extendable.ebbinghausData) {
    add("X-NV-EBBINGHAUS", std::to_string(extendable.ebbinghausData->cycle));
  }
  if (specificData) {
    std::string dates;
    for (const auto& d : specificData->byDate) {
      if (!dates.empty()) dates += ',';
      dates += d.toIcal();
    }
    add("X-NV-DATES", dates);
  }
  for (const auto& extension : otherExtensions) {
    if (!out.empty()) out += ';';
    out += extension;
  }
  return out;
}

std::optional<std::vector<int>> SVRecurrenceRule::monthDaysOfTheSorted() const {
  if (byMonthDay.empty()) return std::nullopt;
  std::vector<int> sorted = byMonthDay;
  // Days in ascending order; negative days (counted from the end) after all positive ones.
  std::stable_sort(sorted.begin(), sorted.end(), [](int a, int b) {
    if ((a < 0) != (b < 0)) return a > 0;
    return a < b;
  });
  return sorted;
}

bool SVRecurrenceRule::isLunar() const {
  return rscale == "CHINESE" && !vietnamese;
}
bool SVRecurrenceRule::isKorean() const {
  return rscale == "DANGI";
}
bool SVRecurrenceRule::isHijri() const {
  return rscale == "ISLAMIC-CIVIL";
}
bool SVRecurrenceRule::isHebcal() const {
  return rscale == "HEBREW";
}
bool SVRecurrenceRule::isShaka() const {
  return rscale == "INDIAN";
}
bool SVRecurrenceRule::isPersian() const {
  return rscale == "PERSIAN";
}
bool SVRecurrenceRule::isVietnam() const {
  return rscale == "CHINESE" && vietnamese;
}
bool SVRecurrenceRule::isKuwaiti() const {
  return rscale == "ISLAMIC-TBLA";
}
bool SVRecurrenceRule::isSaudi() const {
  return rscale == "ISLAMIC-UMALQURA";
}
bool SVRecurrenceRule::isOtherCalendars() const {
  return isKorean() || isHijri() || isHebcal() || isShaka() || isPersian() || isVietnam() ||
         isKuwaiti() || isSaudi();
}

}  // namespace norvik
