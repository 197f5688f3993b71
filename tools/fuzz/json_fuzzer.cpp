// Feeds arbitrary bytes to the JSON reader. Whatever it accepts must write back to JSON that reads
// as an equal Value, and writing that Value again must give the same text (compact and pretty).
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_support.h"
#include "norvik/platform/json.h"

using namespace norvik::platform;
using norvik::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::optional<Value> value = decodeJSON(text);
  if (!value) return 0;
  norvik::fuzz::checkValue(*value);
  check(!norvik::fuzz::holdsNaN(*value), "JSON never gives a NaN");

  for (const bool pretty : {false, true}) {
    const std::optional<std::string> written = encodeJSON(*value, {pretty, true});
    check(written.has_value(), "a decoded JSON value can be written");
    const std::optional<Value> again = decodeJSON(*written);
    check(again.has_value(), "written JSON reads again");
    check(*again == *value, "JSON written and read back is equal");
    const std::optional<std::string> rewritten = encodeJSON(*again, {pretty, true});
    check(rewritten == written, "writing JSON is stable");
  }
  return 0;
}
