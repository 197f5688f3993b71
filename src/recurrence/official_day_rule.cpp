#include "recurrence/official_day_rule.h"

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

}  // namespace norvik::detail
