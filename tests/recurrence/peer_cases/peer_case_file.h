#pragma once
// Reads the converted peer occurrence cases (dateutil_rrule.txt, libical_*.txt) and the list of
// documented differences, and expands a case through the public occurrence API. Shared by the
// recurrence tests and the occurrence bounds benchmark.
//
// A case file is blocks separated by blank lines: NAME, RRULE, DTSTART (YYYYMMDD,
// YYYYMMDDTHHMMSS or ...Z), optional TZID (default UTC), optional FROM (the search starts there,
// inclusive), optional LIMIT, then INSTANCES (comma-separated) or ERROR (no occurrences).
// differences.txt holds blocks of CASE, REASON and optionally OURS (what this engine gives).
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "norvik/calendar/lunisolar.h"
#include "norvik/platform/time_zone.h"
#include "norvik/recurrence/recurrence_assistant.h"

namespace norvik::peer {

struct Case {
  std::string name;
  std::string rule;
  std::string start;
  std::string zone = "UTC";
  std::string from;
  std::size_t limit = 0;  // 0: the expected count plus one, to see the list end
  bool error = false;
  std::vector<std::string> expected;
};

struct Difference {
  std::string reason;
  std::optional<std::vector<std::string>> ours;  // absent: not checked
};

// A file of the source tree: under NORVIK_SOURCE_DIR when set, else under the nearest of the
// working directory and its parents that has it (a build directory sits inside the tree).
inline std::string sourcePath(const std::string& relative) {
  if (const char* root = std::getenv("NORVIK_SOURCE_DIR"))
    return std::string(root) + "/" + relative;
  std::string prefix;
  for (int i = 0; i < 6; ++i, prefix += "../") {
    if (std::ifstream(prefix + relative).good()) return prefix + relative;
  }
  return relative;
}

inline std::vector<std::string> splitList(const std::string& text) {
  std::vector<std::string> out;
  std::stringstream in(text);
  std::string item;
  while (std::getline(in, item, ',')) {
    if (!item.empty()) out.push_back(item);
  }
  return out;
}

// Blocks of KEY:VALUE lines; '#' lines and blank lines separate nothing but blocks.
inline std::vector<std::map<std::string, std::string>> readBlocks(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::map<std::string, std::string>> blocks;
  std::map<std::string, std::string> block;
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') {
      if (!block.empty()) blocks.push_back(std::move(block));
      block.clear();
      continue;
    }
    const auto colon = line.find(':');
    if (colon != std::string::npos) block[line.substr(0, colon)] = line.substr(colon + 1);
  }
  if (!block.empty()) blocks.push_back(std::move(block));
  return blocks;
}

inline std::vector<Case> readCases(const std::string& relative) {
  std::vector<Case> cases;
  for (auto& b : readBlocks(sourcePath(relative))) {
    Case c;
    c.name = b["NAME"];
    c.rule = b["RRULE"];
    c.start = b["DTSTART"];
    if (b.count("TZID")) c.zone = b["TZID"];
    c.from = b["FROM"];
    if (b.count("LIMIT")) c.limit = std::stoul(b["LIMIT"]);
    c.error = b.count("ERROR") > 0;
    c.expected = splitList(b["INSTANCES"]);
    cases.push_back(std::move(c));
  }
  return cases;
}

inline std::map<std::string, Difference> readDifferences(const std::string& relative) {
  std::map<std::string, Difference> out;
  for (auto& b : readBlocks(sourcePath(relative))) {
    Difference d;
    d.reason = b["REASON"];
    if (b.count("OURS")) d.ours = splitList(b["OURS"]);
    out[b["CASE"]] = std::move(d);
  }
  return out;
}

// "YYYYMMDD" and "YYYYMMDDTHHMMSS[Z]" as "YYYYMMDDTHHMMSS".
inline std::string normalized(std::string stamp) {
  if (!stamp.empty() && stamp.back() == 'Z') stamp.pop_back();
  if (stamp.size() == 8) stamp += "T000000";
  return stamp;
}

// The instant of a wall-clock stamp in a zone.
inline platform::Date instant(const std::string& zoneId, const std::string& stamp) {
  const std::string s = normalized(stamp);
  const auto field = [&](std::size_t at, std::size_t n) { return std::stoi(s.substr(at, n)); };
  const double local =
      static_cast<double>(civilDayFromGregorian(field(0, 4), field(4, 2), field(6, 2))) * 86400.0 +
      field(9, 2) * 3600.0 + field(11, 2) * 60.0 + field(13, 2);
  const auto zone = platform::TimeZone::withIdentifier(zoneId);
  // Two rounds settle the offset away from transitions.
  double guess = local - zone->secondsFromGMT(platform::Date(local));
  guess = local - zone->secondsFromGMT(platform::Date(guess));
  return platform::Date(guess);
}

inline std::string stampOf(const std::string& zoneId, platform::Date date) {
  const auto zone = platform::TimeZone::withIdentifier(zoneId);
  const double local = date.timeIntervalSince1970() + zone->secondsFromGMT(date);
  const CivilDay day = civilDayOfDate(platform::Date(local), 0);
  const GregorianDate g = gregorianFromCivilDay(day);
  const int secs = static_cast<int>(local - static_cast<double>(day) * 86400.0);
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%04d%02d%02dT%02d%02d%02d", g.year, g.month, g.day,
                secs / 3600, secs / 60 % 60, secs % 60);
  return buffer;
}

inline std::vector<platform::Date> expandDates(const Case& c, std::size_t limit) {
  SVSimpleRecurringObject object;
  object.setStartDate(instant(c.zone, c.start));
  object.setRuleString(c.rule);
  object.setFrom(SVRecurrenceFromDefault);
  object.setTimeZoneIdentifier(c.zone);
  const platform::Date from = instant(c.zone, c.from.empty() ? c.start : c.from);
  return SVRecurrenceAssistant::occurrenceDatesForRecurringObject(object, from, limit, true);
}

// Our occurrences of a case as normalized stamps: up to its limit, else up to one more than
// `expectedCount`, so that a list which should end is seen to end.
inline std::vector<std::string> expand(const Case& c, std::size_t expectedCount) {
  const std::size_t limit = c.limit ? c.limit : expectedCount + 1;
  std::vector<std::string> out;
  for (platform::Date d : expandDates(c, limit)) out.push_back(stampOf(c.zone, d));
  return out;
}

inline std::vector<std::string> normalizedAll(const std::vector<std::string>& stamps) {
  std::vector<std::string> out;
  for (const auto& s : stamps) out.push_back(normalized(s));
  return out;
}

}  // namespace norvik::peer
