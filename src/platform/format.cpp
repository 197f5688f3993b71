#include "norvik/platform/format.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>

#include "platform/format_access.h"

namespace norvik::platform {
namespace {

using detail::FormatArgumentAccess;

// One parsed specifier (everything between '%' and the conversion character).
struct Field {
  bool left = false;   // '-'
  bool plus = false;   // '+'
  bool space = false;  // ' '
  bool zero = false;   // '0'
  bool alt = false;    // '#'
  int width = -1;      // -1: none
  int precision = -1;  // -1: none
  enum class Length { None, Char, Short, Long } length = Length::None;
  char conversion = 0;
};

// An integer as sign and magnitude, so that every int64 and uint64 value fits without loss.
struct Integer {
  bool negative = false;
  std::uint64_t magnitude = 0;
  std::uint64_t bits() const noexcept { return negative ? 0 - magnitude : magnitude; }
};

Integer fromSigned(std::int64_t v) noexcept {
  if (v >= 0) return {false, static_cast<std::uint64_t>(v)};
  return {true, 0 - static_cast<std::uint64_t>(v)};
}

std::optional<Integer> integerOf(const FormatArgument& arg) noexcept {
  const auto& s = FormatArgumentAccess::storage(arg);
  if (auto i = std::get_if<std::int64_t>(&s)) return fromSigned(*i);
  if (auto u = std::get_if<std::uint64_t>(&s)) return Integer{false, *u};
  if (auto b = std::get_if<bool>(&s)) return Integer{false, *b ? 1u : 0u};
  const Value* v = nullptr;
  if (auto p = std::get_if<const Value*>(&s)) v = *p;
  if (auto p = std::get_if<Value>(&s)) v = p;
  if (v && v->isNumber()) {
    // A stored real above INT64_MAX (a large unsigned) keeps its magnitude.
    auto d = v->doubleValue();
    if (d && *d >= 9223372036854775808.0 && *d < 18446744073709551616.0) {
      return Integer{false, static_cast<std::uint64_t>(*d)};
    }
    if (auto i = v->int64Value()) return fromSigned(*i);
  }
  return std::nullopt;
}

std::optional<double> realOf(const FormatArgument& arg) noexcept {
  const auto& s = FormatArgumentAccess::storage(arg);
  if (auto d = std::get_if<double>(&s)) return *d;
  if (auto i = std::get_if<std::int64_t>(&s)) return static_cast<double>(*i);
  if (auto u = std::get_if<std::uint64_t>(&s)) return static_cast<double>(*u);
  if (auto b = std::get_if<bool>(&s)) return *b ? 1.0 : 0.0;
  const Value* v = nullptr;
  if (auto p = std::get_if<const Value*>(&s)) v = *p;
  if (auto p = std::get_if<Value>(&s)) v = p;
  if (v) return v->doubleValue();
  return std::nullopt;
}

constexpr std::string_view kNullText = "(null)";

// The text of a %s argument; std::nullopt when it is not a string.
std::optional<std::string_view> stringOf(const FormatArgument& arg) noexcept {
  const auto& s = FormatArgumentAccess::storage(arg);
  if (auto t = std::get_if<std::string_view>(&s)) return *t;
  if (auto t = std::get_if<std::string>(&s)) return std::string_view(*t);
  if (std::holds_alternative<std::monostate>(s)) return kNullText;
  const Value* v = nullptr;
  if (auto p = std::get_if<const Value*>(&s)) v = *p;
  if (auto p = std::get_if<Value>(&s)) v = p;
  if (v && v->string()) return std::string_view(*v->string());
  return std::nullopt;
}

// The text of a %@ argument. Short texts are written into `scratch`; others are returned as views
// of the argument or of `owned`.
std::string_view objectText(const FormatArgument& arg, char (&scratch)[32], std::string& owned) {
  const auto& s = FormatArgumentAccess::storage(arg);
  if (auto i = std::get_if<std::int64_t>(&s)) {
    auto r = std::to_chars(scratch, scratch + sizeof scratch, *i);
    return {scratch, static_cast<std::size_t>(r.ptr - scratch)};
  }
  if (auto u = std::get_if<std::uint64_t>(&s)) {
    auto r = std::to_chars(scratch, scratch + sizeof scratch, *u);
    return {scratch, static_cast<std::size_t>(r.ptr - scratch)};
  }
  if (auto b = std::get_if<bool>(&s)) return *b ? "1" : "0";
  if (auto d = std::get_if<double>(&s)) {
    owned = *Value(*d).numberText();
    return owned;
  }
  if (auto text = stringOf(arg)) return *text;
  const Value* v = nullptr;
  if (auto p = std::get_if<const Value*>(&s)) v = *p;
  if (auto p = std::get_if<Value>(&s)) v = p;
  if (!v) return kNullText;
  if (v->isNumber()) {
    owned = *v->numberText();
  } else {
    owned = v->description();
  }
  return owned;
}

// End of the UTF-8 character starting at `i`; an invalid or truncated sequence counts as one byte.
std::size_t nextCharacter(std::string_view text, std::size_t i) noexcept {
  auto c = static_cast<unsigned char>(text[i]);
  std::size_t length = c < 0x80                 ? 1
                       : c >= 0xC2 && c <= 0xDF ? 2
                       : c >= 0xE0 && c <= 0xEF ? 3
                       : c >= 0xF0 && c <= 0xF4 ? 4
                                                : 1;
  if (i + length > text.size()) return i + 1;
  for (std::size_t k = 1; k < length; ++k) {
    if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return i + 1;
  }
  return i + length;
}

void appendSpaces(std::string& out, int count) {
  if (count > 0) out.append(static_cast<std::size_t>(count), ' ');
}

// Appends a string field: precision cuts it to that many characters, width pads it with spaces.
void appendText(std::string& out, std::string_view text, const Field& field) {
  if (field.width < 0 && field.precision < 0) {
    out += text;
    return;
  }
  std::size_t end = 0;
  int characters = 0;
  while (end < text.size() && (field.precision < 0 || characters < field.precision)) {
    end = nextCharacter(text, end);
    ++characters;
  }
  const int padding = field.width - characters;
  if (!field.left) appendSpaces(out, padding);
  out += text.substr(0, end);
  if (field.left) appendSpaces(out, padding);
}

// Appends an integer conversion (d i u o x X) with C's rules for flags, width and precision.
void appendInteger(std::string& out, Integer value, const Field& field) {
  const char conv = field.conversion;
  const bool isSigned = conv == 'd' || conv == 'i';
  std::uint64_t bits = value.bits();
  // Apply the length: the value is taken as the C type the specifier names.
  switch (field.length) {
    case Field::Length::Char:
      bits = isSigned ? static_cast<std::uint64_t>(static_cast<std::int8_t>(bits))
                      : static_cast<std::uint8_t>(bits);
      break;
    case Field::Length::Short:
      bits = isSigned ? static_cast<std::uint64_t>(static_cast<std::int16_t>(bits))
                      : static_cast<std::uint16_t>(bits);
      break;
    case Field::Length::None:
      if (!isSigned && value.negative && value.magnitude <= 0x80000000u) {
        bits = static_cast<std::uint32_t>(bits);
      }
      break;
    case Field::Length::Long:
      break;
  }
  bool negative = false;
  std::uint64_t magnitude = bits;
  if (isSigned) {
    if (field.length == Field::Length::None || field.length == Field::Length::Long) {
      negative = value.negative;  // full value, also for unsigned arguments above INT64_MAX
      magnitude = value.magnitude;
    } else {
      negative = static_cast<std::int64_t>(bits) < 0;
      magnitude = negative ? 0 - bits : bits;
    }
  }

  const int base = conv == 'o' ? 8 : (conv == 'x' || conv == 'X') ? 16 : 10;
  char digits[24];
  auto r = std::to_chars(digits, digits + sizeof digits, magnitude, base);
  std::size_t digitCount = static_cast<std::size_t>(r.ptr - digits);
  if (conv == 'X') {
    for (std::size_t k = 0; k < digitCount; ++k) {
      if (digits[k] >= 'a') digits[k] = static_cast<char>(digits[k] - 'a' + 'A');
    }
  }
  if (field.precision == 0 && magnitude == 0) digitCount = 0;

  std::size_t zeros = 0;
  if (field.precision > 0 && static_cast<std::size_t>(field.precision) > digitCount) {
    zeros = static_cast<std::size_t>(field.precision) - digitCount;
  }
  std::string_view prefix;
  if (isSigned) {
    prefix = negative ? "-" : field.plus ? "+" : field.space ? " " : "";
  } else if (field.alt) {
    if (conv == 'o' && zeros == 0 && (digitCount == 0 || digits[0] != '0')) zeros = 1;
    if (conv == 'x' && magnitude != 0) prefix = "0x";
    if (conv == 'X' && magnitude != 0) prefix = "0X";
  }
  const int length = static_cast<int>(prefix.size() + zeros + digitCount);
  const int padding = field.width - length;
  if (field.left) {
    out += prefix;
    out.append(zeros, '0');
    out.append(digits, digitCount);
    appendSpaces(out, padding);
  } else if (field.zero && field.precision < 0) {
    out += prefix;
    if (padding > 0) zeros += static_cast<std::size_t>(padding);
    out.append(zeros, '0');
    out.append(digits, digitCount);
  } else {
    appendSpaces(out, padding);
    out += prefix;
    out.append(zeros, '0');
    out.append(digits, digitCount);
  }
}

// Appends a real conversion through the C library; width and precision are already capped, so
// the text has a known bound.
void appendReal(std::string& out, double value, const Field& field) {
  char format[24];
  char* p = format;
  *p++ = '%';
  if (field.left) *p++ = '-';
  if (field.plus) *p++ = '+';
  if (field.space) *p++ = ' ';
  if (field.zero) *p++ = '0';
  if (field.alt) *p++ = '#';
  *p++ = '*';
  *p++ = '.';
  *p++ = '*';
  *p++ = field.conversion;
  *p = '\0';
  const int width = field.width < 0 ? 0 : field.width;
  // A negative precision argument means "none" to the C library.
  char buffer[256];
  int n = std::snprintf(buffer, sizeof buffer, format, width, field.precision, value);
  if (n < 0) return;
  if (static_cast<std::size_t>(n) < sizeof buffer) {
    out.append(buffer, static_cast<std::size_t>(n));
    return;
  }
  const std::size_t start = out.size();
  out.resize(start + static_cast<std::size_t>(n) + 1);
  std::snprintf(out.data() + start, static_cast<std::size_t>(n) + 1, format, width, field.precision,
                value);
  out.resize(start + static_cast<std::size_t>(n));
}

// Appends a code point as UTF-8; false for values that are not characters.
bool appendCodePoint(std::string& out, Integer value, const Field& field) {
  if (value.negative || value.magnitude == 0 || value.magnitude > 0x10FFFF ||
      (value.magnitude >= 0xD800 && value.magnitude <= 0xDFFF)) {
    return false;
  }
  const auto c = static_cast<std::uint32_t>(value.magnitude);
  char buffer[4];
  std::size_t n = 0;
  if (c < 0x80) {
    buffer[n++] = static_cast<char>(c);
  } else if (c < 0x800) {
    buffer[n++] = static_cast<char>(0xC0 | (c >> 6));
    buffer[n++] = static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    buffer[n++] = static_cast<char>(0xE0 | (c >> 12));
    buffer[n++] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    buffer[n++] = static_cast<char>(0x80 | (c & 0x3F));
  } else {
    buffer[n++] = static_cast<char>(0xF0 | (c >> 18));
    buffer[n++] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    buffer[n++] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    buffer[n++] = static_cast<char>(0x80 | (c & 0x3F));
  }
  Field plain = field;
  plain.precision = -1;
  appendText(out, std::string_view(buffer, n), plain);
  return true;
}

bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

// What readNumber returns for a number above kMaxFormatFieldWidth.
constexpr std::size_t kTooLarge = std::numeric_limits<std::size_t>::max();

// Reads decimal digits at `i` and moves `i` past all of them. Returns the number, or kTooLarge.
std::size_t readNumber(std::string_view format, std::size_t& i) noexcept {
  std::size_t value = 0;
  while (i < format.size() && isDigit(format[i])) {
    if (value != kTooLarge) {
      value = value * 10 + static_cast<std::size_t>(format[i] - '0');
      if (value > kMaxFormatFieldWidth) value = kTooLarge;
    }
    ++i;
  }
  return value;
}

std::optional<std::string> formatChecked(std::string_view format,
                                         std::span<const FormatArgument> args) {
  std::string out;
  out.reserve(format.size() + 16 * args.size());
  enum class Mode { Unknown, Sequential, Positional } mode = Mode::Unknown;
  std::size_t nextArgument = 0;
  std::size_t i = 0;
  const std::size_t n = format.size();
  while (i < n) {
    const void* found = std::memchr(format.data() + i, '%', n - i);
    if (!found) {
      out.append(format.data() + i, n - i);
      break;
    }
    const auto percent = static_cast<std::size_t>(static_cast<const char*>(found) - format.data());
    out.append(format.data() + i, percent - i);
    i = percent + 1;
    if (i >= n) return std::nullopt;  // a lone '%' at the end
    if (format[i] == '%') {
      out += '%';
      ++i;
      continue;
    }

    // Positional argument "N$"; otherwise the digits are flags and width, read again below.
    std::size_t argument = 0;
    {
      std::size_t j = i;
      const std::size_t position = readNumber(format, j);
      if (j > i && j < n && format[j] == '$') {
        if (mode == Mode::Sequential) return std::nullopt;
        mode = Mode::Positional;
        if (position == 0 || position == kTooLarge || position > args.size()) return std::nullopt;
        argument = position - 1;
        i = j + 1;
      } else {
        if (mode == Mode::Positional) return std::nullopt;
        mode = Mode::Sequential;
        argument = nextArgument++;
      }
    }

    Field field;
    for (; i < n; ++i) {
      const char c = format[i];
      if (c == '-') {
        field.left = true;
      } else if (c == '+') {
        field.plus = true;
      } else if (c == ' ') {
        field.space = true;
      } else if (c == '0') {
        field.zero = true;
      } else if (c == '#') {
        field.alt = true;
      } else {
        break;
      }
    }
    if (i < n && isDigit(format[i])) {
      const std::size_t width = readNumber(format, i);
      if (width == kTooLarge) return std::nullopt;
      field.width = static_cast<int>(width);
    }
    if (i < n && format[i] == '.') {
      ++i;
      const std::size_t precision = readNumber(format, i);
      if (precision == kTooLarge) return std::nullopt;
      field.precision = static_cast<int>(precision);
    }
    if (i < n && (format[i] == 'h' || format[i] == 'l')) {
      const char first = format[i++];
      const bool doubled = i < n && format[i] == first;
      if (doubled) ++i;
      field.length = first == 'l' ? Field::Length::Long
                     : doubled    ? Field::Length::Char
                                  : Field::Length::Short;
    } else if (i < n && (format[i] == 'L' || format[i] == 'q' || format[i] == 'z' ||
                         format[i] == 'j' || format[i] == 't')) {
      ++i;
      field.length = Field::Length::Long;
    }
    if (i >= n) return std::nullopt;  // truncated specifier
    field.conversion = format[i++];
    if (argument >= args.size()) return std::nullopt;
    const FormatArgument& arg = args[argument];

    switch (field.conversion) {
      case 'd':
      case 'i':
      case 'u':
      case 'o':
      case 'x':
      case 'X': {
        auto value = integerOf(arg);
        if (!value) return std::nullopt;
        appendInteger(out, *value, field);
        break;
      }
      case 'c': {
        auto value = integerOf(arg);
        if (!value || !appendCodePoint(out, *value, field)) return std::nullopt;
        break;
      }
      case 'f':
      case 'F':
      case 'e':
      case 'E':
      case 'g':
      case 'G':
      case 'a':
      case 'A': {
        auto value = realOf(arg);
        if (!value) return std::nullopt;
        appendReal(out, *value, field);
        break;
      }
      case 's': {
        auto text = stringOf(arg);
        if (!text) return std::nullopt;
        appendText(out, *text, field);
        break;
      }
      case '@': {
        char scratch[32];
        std::string owned;
        appendText(out, objectText(arg, scratch, owned), field);
        break;
      }
      default:
        return std::nullopt;  // %n, %p, '*' widths and anything unknown
    }
    if (out.size() > kMaxFormatOutput) return std::nullopt;
  }
  if (out.size() > kMaxFormatOutput) return std::nullopt;
  return out;
}

}  // namespace

std::optional<std::string> tryFormat(std::string_view format,
                                     std::span<const FormatArgument> args) {
  try {
    return formatChecked(format, args);
  } catch (...) {
    return std::nullopt;  // out of memory
  }
}

std::string formatWithFallback(std::string_view format, std::string_view fallbackFormat,
                               std::span<const FormatArgument> args) {
  if (auto text = tryFormat(format, args)) return std::move(*text);
  if (auto text = tryFormat(fallbackFormat, args)) return std::move(*text);
  return std::string(fallbackFormat);
}

}  // namespace norvik::platform
