// Feeds arbitrary bytes to the rule parser. Whatever it accepts must write back to text that reads
// again as the same rule, and must expand: its first occurrences ascend from the start, and the
// bounded search answers within a few seconds even under the sanitizers.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "norvik/recurrence/recurrence_assistant.h"
#include "norvik/recurrence/recurrence_rule.h"

namespace {

// 1997-09-02T09:00:00 UTC, the start python-dateutil's and libical's rule tests use most.
constexpr double kStart = 873190800.0;
constexpr auto kMaxExpansion = std::chrono::seconds(5);

void expandAFewSteps(std::string_view text) {
  norvik::SVSimpleRecurringObject object;
  object.setStartDate(norvik::platform::Date(kStart));
  object.setRuleString(text);
  object.setTimeZoneIdentifier("UTC");
  const auto begin = std::chrono::steady_clock::now();
  const auto dates = norvik::SVRecurrenceAssistant::occurrenceDatesForRecurringObject(
      object, norvik::platform::Date(kStart), 5, true);
  if (std::chrono::steady_clock::now() - begin > kMaxExpansion) std::abort();
  if (dates.size() > 5) std::abort();
  for (std::size_t i = 0; i < dates.size(); ++i) {
    if (dates[i].timeIntervalSince1970() < kStart) std::abort();
    if (i > 0 && !(dates[i - 1] < dates[i])) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  norvik::SVRecurrenceError error;
  auto rule = norvik::SVRecurrenceRule::ruleWithIcalString(text, &error);
  if (!rule) {
    if (error.description.empty()) std::abort();
    return 0;
  }
  const std::string written = rule->toIcal();
  auto again = norvik::SVRecurrenceRule::ruleWithIcalString(written);
  if (!again || !(*again == *rule) || again->toIcal() != written) std::abort();
  expandAFewSteps(text);
  return 0;
}
