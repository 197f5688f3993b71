#include "norvik/recurrence/recurrence_rule.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

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

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (upper(a[i]) != upper(b[i])) return false;
  }
  return true;
}

std::vector<std::string_view> split(std::string_view s, char separator) {
  std::vector<std::string_view> parts;
  std::size_t start = 0;
  while (true) {
    const std::size_t end = s.find(separator, start);
    parts.push_back(
        s.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
    if (end == std::string_view::npos) break;
    start = end + 1;
  }
  return parts;
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
  for (std::size_t i = 0; i < kWeekdayNames.size(); ++i) {
    if (equalsIgnoringCase(name, kWeekdayNames[i])) return static_cast<int>(i) + 1;
  }
  return std::nullopt;
}

// A comma list of integers in [-max, -min] or [min, max]; with `allowNegative` false only the
// positive range.
std::vector<int> parseIntList(std::string_view part, std::string_view value, int min, int max,
                              bool allowNegative) {
  std::vector<int> out;
  for (std::string_view item : split(value, ',')) {
    const std::optional<int> number = parseSigned(item, allowNegative);
    if (!number) fail(std::string(part) + ": " + quoted(item) + " is not a whole number");
    const int magnitude = *number < 0 ? -*number : *number;
    if (magnitude < min || magnitude > max) {
      fail(std::string(part) + ": " + std::to_string(*number) + " is out of range (" +
           (allowNegative ? "+/-" : "") + std::to_string(min) + " to " + std::to_string(max) + ")");
    }
    out.push_back(*number);
  }
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

std::int64_t daysFromCivil(std::int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  SVRecurrenceRule parse() {
    if (text_.size() > SVRecurrenceRule::kMaxTextLength) {
      fail("rule text is too long (" + std::to_string(text_.size()) + " bytes; at most " +
           std::to_string(SVRecurrenceRule::kMaxTextLength) + ")");
    }
    for (std::size_t i = 0; i < text_.size(); ++i) {
      const auto c = static_cast<unsigned char>(text_[i]);
      if (c < 0x21 || c > 0x7e) {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, "unexpected byte 0x%02X at offset %zu", c, i);
        fail(buffer);
      }
    }
    std::string_view body = text_;
    if (body.size() >= 6 && equalsIgnoringCase(body.substr(0, 6), "RRULE:")) body.remove_prefix(6);
    if (body.empty()) fail("rule text is empty");
    if (!body.empty() && body.back() == ';') body.remove_suffix(1);  // a trailing separator
    std::size_t start = 0;
    while (start <= body.size()) {
      std::size_t end = body.find(';', start);
      if (end == std::string_view::npos) end = body.size();
      const std::string_view part = body.substr(start, end - start);
      start = end + 1;
      const std::size_t eq = part.find('=');
      if (part.empty()) fail("empty part (two ';' in a row)");
      if (eq == std::string_view::npos) fail("part " + quoted(part) + " has no '='");
      const std::string name = toUpper(part.substr(0, eq));
      const std::string_view value = part.substr(eq + 1);
      if (name.empty()) fail("part " + quoted(part) + " has no name");
      markSeen(name);
      if (value.empty() && name != "X-NV-DATES") fail(name + " has an empty value");
      apply(name, value, part);
    }
    if (!haveFrequency_) fail("FREQ is missing");
    if (rule_.count && rule_.until) fail("COUNT and UNTIL may not both be given");
    if (rule_.skip && rule_.rscale.empty()) fail("SKIP needs RSCALE");
    if (rule_.vietnamese && rule_.rscale != "CHINESE") {
      fail("X-NV-CALENDAR=VIETNAM needs RSCALE=CHINESE");
    }
    bool anyLeap = std::find(rule_.byMonthLeap.begin(), rule_.byMonthLeap.end(), true) !=
                   rule_.byMonthLeap.end();
    if (anyLeap && rule_.rscale.empty()) fail("BYMONTH: leap months (\"L\") need RSCALE");
    if (!anyLeap) rule_.byMonthLeap.clear();
    return std::move(rule_);
  }

 private:
  void apply(const std::string& name, std::string_view value, std::string_view part) {
    if (name == "FREQ") {
      for (std::size_t i = 0; i < kFrequencyNames.size(); ++i) {
        if (equalsIgnoringCase(value, kFrequencyNames[i])) {
          rule_.frequencyOrdinal = static_cast<int>(i);
          haveFrequency_ = true;
          return;
        }
      }
      fail("FREQ: unknown frequency " + quoted(value));
    } else if (name == "INTERVAL") {
      const auto n = parseSigned(value, false);
      if (!n) fail("INTERVAL: " + quoted(value) + " is not a whole number");
      if (*n < 1) fail("INTERVAL: must be at least 1");
      rule_.interval = *n;
    } else if (name == "COUNT") {
      const auto n = parseSigned(value, false);
      if (!n) fail("COUNT: " + quoted(value) + " is not a whole number");
      if (*n < 1) fail("COUNT: must be at least 1");
      rule_.count = *n;
    } else if (name == "UNTIL") {
      rule_.until = parseDateValue("UNTIL", value);
    } else if (name == "WKST") {
      const auto day = weekdayFromName(value);
      if (!day) fail("WKST: " + quoted(value) + " is not a weekday (SU, MO, ... SA)");
      rule_.weekStart = SVRecurrenceWeekday(*day);
    } else if (name == "BYDAY") {
      for (std::string_view item : split(value, ',')) {
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
    } else if (name == "BYMONTHDAY") {
      rule_.byMonthDay = parseIntList(name, value, 1, 31, true);
    } else if (name == "BYMONTH") {
      for (std::string_view item : split(value, ',')) {
        bool leap = false;
        if (!item.empty() && (item.back() == 'L' || item.back() == 'l')) {
          leap = true;
          item.remove_suffix(1);
        }
        const std::vector<int> month = parseIntList(name, item, 1, 13, false);
        rule_.byMonth.push_back(month.front());
        rule_.byMonthLeap.push_back(leap);
      }
    } else if (name == "BYSETPOS") {
      rule_.bySetPos = parseIntList(name, value, 1, 366, true);
    } else if (name == "BYYEARDAY") {
      rule_.byYearDay = parseIntList(name, value, 1, 366, true);
    } else if (name == "BYWEEKNO") {
      rule_.byWeekNo = parseIntList(name, value, 1, 53, true);
    } else if (name == "BYHOUR") {
      rule_.byHour = parseIntList(name, value, 0, 23, false);
    } else if (name == "BYMINUTE") {
      rule_.byMinute = parseIntList(name, value, 0, 59, false);
    } else if (name == "BYSECOND") {
      rule_.bySecond = parseIntList(name, value, 0, 60, false);
    } else if (name == "RSCALE") {
      const std::string scale = toUpper(value);
      if (std::find(kCalendarScales.begin(), kCalendarScales.end(), scale) ==
          kCalendarScales.end()) {
        fail("RSCALE: unsupported calendar " + quoted(value));
      }
      rule_.rscale = scale;
    } else if (name == "SKIP") {
      const std::string skip = toUpper(value);
      if (skip == "OMIT") {
        rule_.skip = SVRecurrenceSkip::omit;
      } else if (skip == "BACKWARD") {
        rule_.skip = SVRecurrenceSkip::backward;
      } else if (skip == "FORWARD") {
        rule_.skip = SVRecurrenceSkip::forward;
      } else {
        fail("SKIP: " + quoted(value) + " is not OMIT, BACKWARD or FORWARD");
      }
    } else if (name == "X-NV-CALENDAR") {
      if (!equalsIgnoringCase(value, kVietnamCalendar)) {
        fail("X-NV-CALENDAR: unknown calendar " + quoted(value) + " (only VIETNAM)");
      }
      rule_.vietnamese = true;
    } else if (name == "X-NV-WORKDAY") {
      if (equalsIgnoringCase(value, "FIRST")) {
        rule_.workday = SVRecurrenceWorkday::first;
      } else if (equalsIgnoringCase(value, "LAST")) {
        rule_.workday = SVRecurrenceWorkday::last;
      } else {
        fail("X-NV-WORKDAY: " + quoted(value) + " is not FIRST or LAST");
      }
    } else if (name == "X-NV-OFFICIAL") {
      if (equalsIgnoringCase(value, "WORKDAY")) {
        rule_.officialDay = SVRecurrenceOfficialDay::workingDay;
      } else if (equalsIgnoringCase(value, "HOLIDAY")) {
        rule_.officialDay = SVRecurrenceOfficialDay::holiday;
      } else {
        fail("X-NV-OFFICIAL: " + quoted(value) + " is not WORKDAY or HOLIDAY");
      }
    } else if (name == "X-NV-EBBINGHAUS") {
      const auto n = parseSigned(value, false);
      if (!n) fail("X-NV-EBBINGHAUS: " + quoted(value) + " is not a cycle number (0 or more)");
      rule_.extendable.ebbinghausData = SVRecurrenceEbbinghaus{*n};
    } else if (name == "X-NV-DATES") {
      SVRecurrenceSpecific specific;
      if (!value.empty()) {
        for (std::string_view item : split(value, ',')) {
          specific.byDate.push_back(parseDateValue(name, item));
        }
      }
      rule_.specificData = std::move(specific);
    } else if (name.size() > 2 && name[0] == 'X' && name[1] == '-') {
      rule_.otherExtensions.emplace_back(part);
    } else {
      fail("unknown part " + quoted(part.substr(0, part.find('='))));
    }
  }

  std::string_view text_;
  SVRecurrenceRule rule_;
  // Records a part name, failing when it was given before. Known names are bits of seenKnown_;
  // other X- names are kept in seenOther_.
  void markSeen(const std::string& name) {
    static constexpr std::array<std::string_view, 22> kKnown = {"FREQ",          "INTERVAL",
                                                                "COUNT",         "UNTIL",
                                                                "WKST",          "BYDAY",
                                                                "BYMONTHDAY",    "BYMONTH",
                                                                "BYSETPOS",      "BYYEARDAY",
                                                                "BYWEEKNO",      "BYHOUR",
                                                                "BYMINUTE",      "BYSECOND",
                                                                "RSCALE",        "SKIP",
                                                                "X-NV-CALENDAR", "X-NV-WORKDAY",
                                                                "X-NV-OFFICIAL", "X-NV-EBBINGHAUS",
                                                                "X-NV-DATES",    ""};
    for (std::size_t i = 0; i + 1 < kKnown.size(); ++i) {
      if (name == kKnown[i]) {
        if (seenKnown_ & (1u << i)) fail(name + " is given more than once");
        seenKnown_ |= 1u << i;
        return;
      }
    }
    if (std::find(seenOther_.begin(), seenOther_.end(), name) != seenOther_.end()) {
      fail(name + " is given more than once");
    }
    seenOther_.push_back(name);
  }

  std::uint32_t seenKnown_ = 0;
  std::vector<std::string> seenOther_;
  bool haveFrequency_ = false;
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
  const std::int64_t days =
      daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
  double seconds = static_cast<double>(days) * 86400.0 + hour * 3600.0 + minute * 60.0 + second;
  if (!utc) seconds -= secondsFromGMT;
  return platform::Date(seconds);
}

std::shared_ptr<SVRecurrenceRule> SVRecurrenceRule::ruleWithIcalString(std::string_view text,
                                                                       SVRecurrenceError* error) {
  try {
    return std::make_shared<SVRecurrenceRule>(Parser(text).parse());
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
