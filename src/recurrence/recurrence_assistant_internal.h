#pragma once
// Pieces of the occurrence engine shared with the repair operations.
#include <cstddef>
#include <optional>
#include <vector>

#include "norvik/platform/date.h"
#include "norvik/recurrence/recurrence_rule.h"

namespace norvik::detail {

// The same wall-clock time one calendar day before `date` in the object's time zone (the current
// zone when it names none); std::nullopt for an unknown zone identifier.
std::optional<platform::Date> sameTimeDayBefore(const SVSimpleRecurringObject& object,
                                                platform::Date date);

// SVRecurrenceAssistant::occurrenceDatesForRecurringObject for a rule already read from the
// object's text (the object's own text is not read again).
std::vector<platform::Date> occurrenceDatesOfRule(const SVRecurrenceRule& rule,
                                                  const SVSimpleRecurringObject& object,
                                                  platform::Date from, std::size_t limit,
                                                  bool includingFirst);

}  // namespace norvik::detail
