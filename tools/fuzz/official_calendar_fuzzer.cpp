// Feeds arbitrary text to the official-calendar file reader. An accepted file must hold only
// entries inside their section's year (or the December before), adjusted working days only on
// weekends, and a table built from it must mark every entry's day.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_support.h"
#include "norvik/calendar/official_calendar.h"

using namespace norvik;
using norvik::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string error;
  const auto years = parseOfficialCalendar(text, &error);
  if (!years) {
    check(error.rfind("line ", 0) == 0, "a refusal names its line");
    return 0;
  }
  const NVOfficialCalendar::Table table(*years, {});
  for (const auto& [year, entries] : *years) {
    check(table.yearStatus(year) == NVOfficialYearStatus::published, "a section is published");
    for (const NVOfficialCalendarEntry& entry : entries) {
      check(entry.first <= entry.last && entry.last - entry.first < 60, "ranges are short");
      check(entry.first >= civilDayFromGregorian(year - 1, 12, 1) &&
                entry.last <= civilDayFromGregorian(year, 12, 31),
            "entries stay in their year");
      for (CivilDay d = entry.first; d <= entry.last; ++d) {
        const NVOfficialDay day = table.dayOfCivilDay(d);
        // A later section may give a December day of the year before another kind.
        check(day.isHoliday() || day.kind == NVOfficialDayKind::adjustedWorkingDay,
              "an entry's days are marked");
        if (!entry.holiday) {
          const NVOfficialDay ordinary = NVOfficialCalendar::Table({}, {}).dayOfCivilDay(d);
          check(ordinary.kind == NVOfficialDayKind::ordinaryWeekend, "only weekends are adjusted");
        }
      }
    }
  }
  return 0;
}
