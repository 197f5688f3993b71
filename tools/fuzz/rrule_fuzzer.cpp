// Feeds arbitrary bytes to the rule parser. Whatever it accepts must write back to text that reads
// again as the same rule.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "norvik/recurrence/recurrence_rule.h"

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
  return 0;
}
