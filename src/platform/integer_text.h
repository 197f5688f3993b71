#pragma once
// Reading numbers out of text the way the platform's key-value store reads a string as a number.
#include <cstdint>
#include <limits>
#include <string_view>

namespace norvik::detail {

// ASCII white space: space, tab, line feed, vertical tab, form feed, carriage return.
inline bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

inline std::string_view skipSpace(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && isSpace(text[i])) ++i;
  return text.substr(i);
}

// The leading decimal integer of a string, saturating at the 64-bit limits; 0 without one.
inline std::int64_t leadingInteger(std::string_view text) {
  text = skipSpace(text);
  bool negative = false;
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  // Accumulate as a negative number so that INT64_MIN fits.
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  std::int64_t accumulated = 0;
  bool overflow = false;
  for (char c : text) {
    if (c < '0' || c > '9') break;
    int digit = c - '0';
    if (accumulated < (kMin + digit) / 10) {
      overflow = true;
      break;
    }
    accumulated = accumulated * 10 - digit;
  }
  if (overflow) return negative ? kMin : std::numeric_limits<std::int64_t>::max();
  if (negative) return accumulated;
  return accumulated == kMin ? std::numeric_limits<std::int64_t>::max() : -accumulated;
}

}  // namespace norvik::detail
