#include "norvik/vocabulary/colors.h"

#include <array>
#include <cmath>
#include <mutex>
#include <random>

#include "norvik/platform/format.h"

namespace norvik {
namespace {

constexpr std::array<std::string_view, 50> kProjectColors{
    "#930000", "#E13E39", "#EC6666", "#F18181", "#B79A8F",  // row 1
    "#B45F06", "#E69138", "#F2B04B", "#F9CB9C", "#C9B49D",  // row 2
    "#BF9002", "#F1C231", "#FFD966", "#FFE599", "#C0B89E",  // row 3
    "#73761D", "#A0BB31", "#DDE358", "#D1D7A8", "#BDC2B0",  // row 4
    "#38761D", "#6CBE5E", "#93C47D", "#B6D7A8", "#B6C5B0",  // row 5
    "#2A9364", "#3BB780", "#5DD1A8", "#6FE9BE", "#ABC4BC",  // row 6
    "#134F5C", "#2AA6C1", "#52B8D2", "#7CEDEB", "#ABBDC4",  // row 7
    "#134397", "#3876E4", "#5992F8", "#86C0EF", "#A4AFC7",  // row 8
    "#491C75", "#9842EB", "#9F4CEF", "#CF66F7", "#ABA6B5",  // row 9
    "#731B63", "#BE3B83", "#D25294", "#ED70A5", "#A9949E",  // row 10
};

// Shade by shade within each half of the rows: rows 1-5 shade 1, rows 1-5 shade 2, ..., then
// rows 6-10 likewise.
constexpr std::array<std::string_view, 50> kRandomColors = [] {
  std::array<std::string_view, 50> order{};
  std::size_t next = 0;
  for (std::size_t half = 0; half < 2; ++half) {
    for (std::size_t shade = 0; shade < 5; ++shade) {
      for (std::size_t row = half * 5; row < half * 5 + 5; ++row) {
        order[next++] = kProjectColors[row * 5 + shade];
      }
    }
  }
  return order;
}();

// The text as UTF-16 code units (invalid UTF-8 bytes become U+FFFD), so that lengths and
// positions are those of the platform's strings.
std::u16string toUTF16(std::string_view text) {
  std::u16string units;
  units.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    std::size_t length = lead < 0x80         ? 1
                         : (lead >> 5) == 6  ? 2
                         : (lead >> 4) == 14 ? 3
                         : (lead >> 3) == 30 ? 4
                                             : 0;
    char32_t code = length == 1   ? lead
                    : length == 2 ? lead & 0x1f
                    : length == 3 ? lead & 0x0f
                                  : lead & 0x07;
    bool valid = length != 0 && i + length <= text.size();
    for (std::size_t j = 1; valid && j < length; ++j) {
      const auto next = static_cast<unsigned char>(text[i + j]);
      valid = (next & 0xc0) == 0x80;
      code = (code << 6) | (next & 0x3f);
    }
    if (!valid || code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff)) {
      units.push_back(u'\ufffd');
      ++i;
      continue;
    }
    if (code > 0xffff) {
      code -= 0x10000;
      units.push_back(static_cast<char16_t>(0xd800 + (code >> 10)));
      units.push_back(static_cast<char16_t>(0xdc00 + (code & 0x3ff)));
    } else {
      units.push_back(static_cast<char16_t>(code));
    }
    i += length;
  }
  return units;
}

int hexDigit(char16_t c) noexcept {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

// hexValueToUnsigned on "0x" followed by two code units.
std::uint32_t pairValue(std::u16string_view pair) noexcept {
  std::uint32_t value = 0;
  for (char16_t c : pair) {
    const int digit = hexDigit(c);
    if (digit < 0) break;
    value = value * 16 + static_cast<std::uint32_t>(digit);
  }
  return value;
}

// The colour cache; guarded by its lock.
struct ColorCache {
  std::mutex lock;
  std::map<std::string, NVColor, std::less<>> entries;
};

ColorCache& colorCache() {
  static ColorCache cache;
  return cache;
}

}  // namespace

NVColor NVColor::colorWith8BitRed(int red, int green, int blue, double alpha) noexcept {
  return {red / 255.0, green / 255.0, blue / 255.0, alpha};
}

std::string NVColor::hexStringTransformFromThreeCharacters(std::string_view text) {
  const std::u16string units = toUTF16(text);
  if (units.size() != 4) return std::string(text);
  // Exactly four units: when they are ASCII the digits are single bytes at 1..3 of the text.
  if (text.size() == 4) {
    std::string result = "#";
    for (std::size_t i = 1; i < 4; ++i) result.append(2, text[i]);
    return result;
  }
  // Non-ASCII digits: double the code points (a pair of surrogates counts as two units, and such
  // a text simply doubles its characters as the platform would double its halves).
  std::string result = "#";
  std::size_t position = 0;
  std::size_t unitIndex = 0;
  while (position < text.size()) {
    const auto lead = static_cast<unsigned char>(text[position]);
    std::size_t length = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : 4;
    length = std::min(length, text.size() - position);
    if (unitIndex >= 1) {
      result.append(text.substr(position, length));
      result.append(text.substr(position, length));
    }
    unitIndex += length == 4 ? 2 : 1;
    position += length;
  }
  return result;
}

std::uint32_t NVColor::hexValueToUnsigned(std::string_view text) noexcept {
  std::size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n' ||
                             text[i] == '\r' || text[i] == '\f' || text[i] == '\v')) {
    ++i;
  }
  if (i + 1 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X') &&
      i + 2 < text.size() && hexDigit(static_cast<unsigned char>(text[i + 2])) >= 0) {
    i += 2;
  }
  std::uint64_t value = 0;
  for (; i < text.size(); ++i) {
    const int digit = hexDigit(static_cast<unsigned char>(text[i]));
    if (digit < 0) break;
    value = std::min<std::uint64_t>(value * 16 + static_cast<unsigned>(digit), 0xffffffffu + 1ull);
  }
  return value > 0xffffffffu ? 0xffffffffu : static_cast<std::uint32_t>(value);
}

NVColor NVColor::colorWithHexString(std::string_view text, double alpha) {
  if (text.empty() || text.find("transparent") != std::string_view::npos) return clearColor();
  std::string marked = text.front() == '#' ? std::string(text) : "#" + std::string(text);
  std::u16string units = toUTF16(marked);
  if (units.size() <= 6) return clearColor();
  // No effect on seven units or more; kept so the steps read as they run.
  units = toUTF16(hexStringTransformFromThreeCharacters(marked));
  const std::u16string_view view(units);
  return colorWith8BitRed(static_cast<int>(pairValue(view.substr(1, 2))),
                          static_cast<int>(pairValue(view.substr(3, 2))),
                          static_cast<int>(pairValue(view.substr(5, 2))), alpha);
}

std::string NVColor::keyForColorWithHexString(std::string_view text, double alpha) {
  return platform::format("%@+%.2f", text, alpha);
}

NVColor NVColor::cached_colorWithHexString(std::string_view text, double alpha) {
  std::string key = keyForColorWithHexString(text, alpha);
  ColorCache& cache = colorCache();
  {
    std::lock_guard guard(cache.lock);
    if (auto found = cache.entries.find(key); found != cache.entries.end()) return found->second;
  }
  const NVColor color = colorWithHexString(text, alpha);
  std::lock_guard guard(cache.lock);
  cache.entries.insert_or_assign(std::move(key), color);
  return color;
}

std::map<std::string, NVColor, std::less<>> NVColor::colorCacheDictionary() {
  ColorCache& cache = colorCache();
  std::lock_guard guard(cache.lock);
  return cache.entries;
}

void NVColor::releaseColorCache() {
  ColorCache& cache = colorCache();
  std::lock_guard guard(cache.lock);
  cache.entries.clear();
}

NVColor NVColor::mixWithColor(const NVColor& other, double amount) const noexcept {
  const double weight = amount * other.alpha;
  return {red + (other.red - red) * weight, green + (other.green - green) * weight,
          blue + (other.blue - blue) * weight, 1.0};
}

std::string hexStringFromCGColor(std::span<const double> components) {
  if (components.size() < 3) return {};
  return platform::format("%02lX%02lX%02lX", std::lround(components[0] * 255),
                          std::lround(components[1] * 255), std::lround(components[2] * 255));
}

std::string hexStringFromColor(const NVColor& color) {
  const std::array<double, 4> components{color.red, color.green, color.blue, color.alpha};
  return hexStringFromCGColor(components);
}

std::span<const std::string_view> projectColors() noexcept {
  return kProjectColors;
}
std::span<const std::string_view> randomColors() noexcept {
  return kRandomColors;
}

std::string stringForRandomColor() {
  // One generator per thread, seeded from the system's entropy source.
  thread_local std::mt19937 generator{std::random_device{}()};
  const std::uint32_t r = generator();
  const std::size_t index = r % kRandomColors.size();
  return std::string(index < kRandomColors.size() ? kRandomColors[index] : kRandomColors[0]);
}

}  // namespace norvik
