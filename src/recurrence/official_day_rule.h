#pragma once
// Which civil days an official-day rule (X-NV-OFFICIAL=WORKDAY or HOLIDAY) falls on, over the
// official calendar of the calendar layer. The occurrence engine only walks the days this gives
// and puts the start's time of day on them.
#include "norvik/calendar/official_calendar.h"
#include "norvik/recurrence/recurrence_rule.h"

namespace norvik::detail {

// Whether the rule falls on the day: an official working day (Monday to Friday that is no
// holiday, or an adjusted working day) for `workingDay`, a holiday day for `holiday`; never for
// `none`.
bool isOfficialRuleDay(SVRecurrenceOfficialDay which, const NVOfficialCalendar::Table& table,
                       CivilDay day);

}  // namespace norvik::detail
