// Feeds arbitrary column text to the row decoders of date lists, date sets, reminder-time sets and
// string sets. Each result must be what the matching writer stores and reads back unchanged: the
// dates exactly (to the last bit of the double), the sets member for member.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_support.h"
#include "norvik/settings/row_encoding.h"

using namespace norvik;
using norvik::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  constexpr std::string_view key = "column";

  const std::vector<Date> dates = sv(text).dateArray();
  std::size_t pieces = 1;
  for (const char c : text) pieces += c == ' ';
  check(dates.size() <= pieces, "no more dates than pieces");
  for (const Date& date : dates) {
    check(std::isfinite(date.timeIntervalSince1970()), "every date of a list is finite");
  }
  Dictionary row;
  row.emplace(std::string(key), Value(text));
  check(nv_db_dateArrayForKey(row, key) == dates, "the row reader agrees with the parser");
  nv_db_setDateArray(row, dates, key);
  check(nv_db_dateArrayForKey(row, key) == dates, "a date list written reads back equal");
  const std::set<Date> dateSet(dates.begin(), dates.end());
  nv_db_setDateSet(row, dateSet, key);
  check(nv_db_dateSetForKey(row, key) == dateSet, "a date set written reads back equal");

  const std::set<std::string> strings = sv(text).stringSet();
  nv_db_setStringSet(row, strings, key);
  check(nv_db_stringSetForKey(row, key) == strings, "a string set written reads back equal");

  const std::set<Date> times = sv(text).reminderTimeSet();
  check(times.size() <= strings.size(), "no more reminder times than strings");
  nv_db_setReminderTimeSet(row, times, key);
  check(nv_db_reminderTimeSetForKey(row, key) == times, "reminder times written read back equal");
  return 0;
}
