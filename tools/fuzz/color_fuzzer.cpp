// Feeds arbitrary text (and an alpha from its last bytes) to the colour parser. Every component
// must lie in 0...1; a parsed colour's six-digit text must parse to the same colour; the cache must
// give what the parser gives; and the three-character expansion must keep other texts unchanged.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "fuzz_support.h"
#include "norvik/vocabulary/colors.h"

using namespace norvik;
using norvik::fuzz::check;

namespace {
bool inUnitRange(double c) {
  return c >= 0 && c <= 1;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  double alpha = 1;
  if (size >= sizeof alpha + 1) {
    std::memcpy(&alpha, data + size - sizeof alpha, sizeof alpha);
    size -= sizeof alpha;
  }
  const std::string_view text(reinterpret_cast<const char*>(data), size);

  const NVColor color = NVColor::colorWithHexString(text, alpha);
  check(inUnitRange(color.red) && inUnitRange(color.green) && inUnitRange(color.blue),
        "colour components lie in 0...1");
  if (color != NVColor::clearColor()) {
    check(color.alpha == alpha || (std::isnan(alpha) && std::isnan(color.alpha)),
          "a parsed colour keeps the given alpha");
    const std::string hex = hexStringFromColor(color);
    check(hex.size() == 6, "a colour's text has six digits");
    const NVColor again = NVColor::colorWithHexString(hex, 1);
    check(again.red == color.red && again.green == color.green && again.blue == color.blue,
          "a colour's text parses to the same colour");
  }

  const std::string key = NVColor::keyForColorWithHexString(text, alpha);
  check(key.compare(0, text.size(), text) == 0, "the cache key starts with the text");
  if (!std::isnan(alpha)) {
    NVColor::releaseColorCache();
    const NVColor cached = NVColor::cached_colorWithHexString(text, alpha);
    check(NVColor::cached_colorWithHexString(text, alpha) == cached, "the cache is stable");
    check(cached.red == color.red && cached.green == color.green && cached.blue == color.blue,
          "the cache gives the parsed colour");
  }

  const std::string expanded = NVColor::hexStringTransformFromThreeCharacters(text);
  (void)NVColor::hexValueToUnsigned(text);
  const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
  if (ascii && expanded != text) {
    check(text.size() == 4 && expanded.size() == 7 && expanded[0] == '#' &&
              expanded[1] == text[1] && expanded[2] == text[1] && expanded[6] == text[3],
          "a three-digit text expands to #rrggbb");
  }

  const NVColor mixed = color.mixWithColor(NVColor::colorWithHexString("#336699"), alpha);
  check(mixed.alpha == 1, "a mixed colour is opaque");
  return 0;
}
