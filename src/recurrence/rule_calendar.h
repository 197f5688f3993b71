#pragma once
// The calendar a rule runs on, as one of the predefined calendar types.
#include "norvik/calendar/calendar_types.h"
#include "norvik/recurrence/recurrence_rule.h"

namespace norvik::detail {

// The type of the first calendar predicate that holds, asked in the order Korean, Hijri, Hebrew,
// Indian, Persian, Vietnamese, Kuwaiti, Saudi, Chinese lunar; NONE for a Gregorian rule. (A rule
// holds at most one of them, so the order only matters to readers comparing it with the texts.)
inline const std::shared_ptr<const NVCalendarDateType>& calendarTypeOfRule(
    const SVRecurrenceRule& rule) {
  using Type = NVCalendarDateType;
  if (rule.isKorean()) return Type::KOREAN();
  if (rule.isHijri()) return Type::HIJRI();
  if (rule.isHebcal()) return Type::HEBCAL();
  if (rule.isShaka()) return Type::SHAKA();
  if (rule.isPersian()) return Type::PERSIAN();
  if (rule.isVietnam()) return Type::VIETNAM();
  if (rule.isKuwaiti()) return Type::HIJRI_KUWAITI();
  if (rule.isSaudi()) return Type::HIJRI_SAUDI();
  if (rule.isLunar()) return Type::LUNAR();
  return Type::NONE();
}

}  // namespace norvik::detail
