#include "recurrence/official_day_rule.h"

#include <algorithm>

namespace norvik::detail {

bool isOfficialRuleDay(SVRecurrenceOfficialDay which, const NVOfficialCalendar::Table& table,
                       CivilDay day) {
  switch (which) {
    case SVRecurrenceOfficialDay::workingDay:
      return table.dayOfCivilDay(day).isWorkingDay();
    case SVRecurrenceOfficialDay::holiday:
      return table.dayOfCivilDay(day).isHoliday();
    case SVRecurrenceOfficialDay::none:
      break;
  }
  return false;
}

std::optional<CivilDay> nextOfficialRuleDay(SVRecurrenceOfficialDay which,
                                            const NVOfficialCalendar::Table& table, CivilDay first,
                                            CivilDay last) {
  if (which == SVRecurrenceOfficialDay::none) return std::nullopt;
  if (which == SVRecurrenceOfficialDay::holiday) last = std::min(last, table.lastDay());
  for (CivilDay day = first; day <= last; ++day) {
    if (isOfficialRuleDay(which, table, day)) return day;
  }
  return std::nullopt;
}

}  // namespace norvik::detail
