#pragma once
// Colours as they travel through the system: hexadecimal text such as "#930000" for list, tag and
// theme colours. Parsing, a process-wide cache of parsed colours, mixing, the text of a colour,
// and the palette of 50 list colours.

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace norvik {

// An RGB colour with alpha; each component from 0 to 1.
struct NVColor {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 0;

  friend bool operator==(const NVColor&, const NVColor&) = default;

  // The fully transparent colour (all components 0).
  static constexpr NVColor clearColor() noexcept { return {}; }

  // Each of red, green, blue divided by 255.
  static NVColor colorWith8BitRed(int red, int green, int blue, double alpha = 1.0) noexcept;

  // Parses hexadecimal text with the given alpha:
  //  1. empty text, or text containing "transparent" anywhere, gives the transparent colour;
  //  2. a "#" is put in front unless the text begins with one;
  //  3. six characters or fewer (so "#abc" and "#12345") give the transparent colour: the
  //     three-digit expansion of step 4 comes after this test and so never applies;
  //  4. hexStringTransformFromThreeCharacters;
  //  5. the pairs at positions 1-2, 3-4, 5-6 (the mark is position 0) are read with
  //     hexValueToUnsigned; anything after position 6 is ignored (an alpha pair too), and a pair is
  //     read up to its first non-hexadecimal character (0 when that is the first).
  // Positions count UTF-16 code units, as the platform's strings do.
  static NVColor colorWithHexString(std::string_view text, double alpha = 1.0);

  // For text of exactly four characters, "#" followed by each of the last three doubled ("#abc"
  // gives "#aabbcc", "abcd" gives "#bbccdd": the first character is not examined); any other text
  // unchanged.
  static std::string hexStringTransformFromThreeCharacters(std::string_view text);

  // The text read as a hexadecimal unsigned 32-bit number: leading blanks, an optional "0x" or
  // "0X", then hexadecimal digits up to the first other character. 0 when no digit is read;
  // 0xFFFFFFFF when the number is larger.
  static std::uint32_t hexValueToUnsigned(std::string_view text) noexcept;

  // colorWithHexString through the process-wide cache: the cached colour for
  // keyForColorWithHexString(text, alpha), or a freshly parsed one that is then cached. The cache
  // is guarded by a lock and may be used from any thread.
  static NVColor cached_colorWithHexString(std::string_view text, double alpha = 1.0);
  // "<text unchanged>+<alpha with two decimals>": "#FFFFFF+1.00"; alphas 0.501 and 0.499 share
  // "#930000+0.50".
  static std::string keyForColorWithHexString(std::string_view text, double alpha);
  // A copy of the cache's entries.
  static std::map<std::string, NVColor, std::less<>> colorCacheDictionary();
  // Removes every entry of the cache.
  static void releaseColorCache();

  // Each of red, green, blue becomes c + (o - c) × amount × o.alpha; the result's alpha is 1 (the
  // other colour's alpha weights the mix, this colour's alpha is dropped).
  NVColor mixWithColor(const NVColor& other, double amount = 1.0) const noexcept;
};

// Six upper-case hexadecimal digits without "#" of a colour's red, green, blue, each × 255 and
// rounded to the nearest integer ("FF0000").
std::string hexStringFromColor(const NVColor& color);
// The same from a graphics colour's components (red, green, blue first); the empty text when there
// are fewer than three.
std::string hexStringFromCGColor(std::span<const double> components);

// The 50 list colours, ten hue rows of five shades, row by row.
std::span<const std::string_view> projectColors() noexcept;
// The same 50 colours in the order of random picks: shade 1 of rows 1-5, shade 2 of rows 1-5, ...
// shade 5; then the same for rows 6-10.
std::span<const std::string_view> randomColors() noexcept;
// A uniformly random entry of randomColors().
std::string stringForRandomColor();

}  // namespace norvik
