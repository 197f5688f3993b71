#pragma once
// printf-style formatting of localized texts with typed arguments.
//
// Every localized text of the library is an English key whose translation may hold printf-style
// specifiers: "Every %d weeks on %@", "%1$@ and %2$@". This engine formats such texts safely: the
// arguments carry their kind, so a translation that disagrees with them gives a mismatch instead of
// undefined behaviour.
//
// Specifiers: %[position$][flags][width][.precision][length]conversion
//   position   `N$` with N from 1 to the number of arguments (at most kMaxFormatFieldWidth).
//              A text uses positions everywhere or nowhere; "%1$@ %@" is a mismatch. One position
//              may be used several times; arguments the text does not use are fine.
//   flags      `-` left-justify, `0` pad numbers with zeros, `+` and space for the sign of signed
//              numbers, `#` alternate form (0x prefix, leading octal 0, kept decimal point).
//   width      minimum field width; strings and objects count characters (code points), not bytes.
//   precision  minimum digits for integers, fraction digits for reals, maximum characters for
//              strings and objects. `*` for width or precision is not supported (a mismatch).
//              Widths and precisions above kMaxFormatFieldWidth are a mismatch.
//   length     hh, h, l, ll, L, q, z, j, t are accepted everywhere. hh and h cut an integer to
//              8 or 16 bits; without a length, %u/%x/%X/%o print a negative value of 32-bit
//              range as the 32-bit pattern (as C's int), otherwise as the 64-bit pattern.
//   conversion
//     %@       anything: a string as is, an integer or boolean in decimal ("1"/"0"), a real as
//              its shortest decimal text (Value::numberText), a Value as its string, its number's
//              decimal text or else its description(); a null argument prints "(null)".
//     %d %i    signed decimal; %u unsigned decimal; %x %X hexadecimal; %o octal. These accept
//              integers, booleans and Values holding a number (a real Value truncates toward 0).
//     %c       an integer code point, printed as UTF-8; 0, surrogates and values beyond
//              U+10FFFF are a mismatch.
//     %f %F %e %E %g %G %a %A
//              reals; also accept integers, booleans and Values holding a number.
//     %s       a UTF-8 string (or a Value holding one); a null argument prints "(null)".
//     %%       a literal percent sign (takes no argument, no flags).
// Everything else is a mismatch: a specifier with no argument (or position 0 or beyond the
// arguments), an argument of the wrong kind (a string for %d, a real for %x), an unknown conversion
// (%n, %p, ...), a "%" truncated at the end, and a result larger than kMaxFormatOutput bytes. Bytes
// outside specifiers, embedded NUL and invalid UTF-8 included, are copied unchanged.
//
// The functions keep no state and may be called from any thread.

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "norvik/platform/value.h"

namespace norvik::detail {
struct FormatArgumentAccess;
}

namespace norvik::platform {

// Largest accepted width or precision of one specifier.
inline constexpr std::size_t kMaxFormatFieldWidth = 1024;
// Largest result in bytes; a longer result is a mismatch.
inline constexpr std::size_t kMaxFormatOutput = std::size_t{64} << 20;

// One typed argument. Made from text or a Value, it refers to it without copying (string_view,
// const char*, const std::string&, const Value&): keep the referent alive while the argument is in
// use. Made from a temporary std::string or Value, it keeps its own copy.
class FormatArgument {
 public:
  FormatArgument() noexcept = default;  // the null object
  FormatArgument(std::nullptr_t) noexcept {}
  FormatArgument(const char* s) noexcept {  // a null pointer gives the null object
    if (s) storage_ = std::string_view(s);
  }
  FormatArgument(std::string_view s) noexcept : storage_(s) {}
  FormatArgument(const std::string& s) noexcept : storage_(std::string_view(s)) {}
  FormatArgument(std::string&& s) noexcept : storage_(std::move(s)) {}
  FormatArgument(bool b) noexcept : storage_(b) {}
  template <std::integral T>
  requires(!std::same_as<T, bool>) FormatArgument(T i)
  noexcept {
    if constexpr (std::is_signed_v<T>) {
      storage_ = static_cast<std::int64_t>(i);
    } else {
      storage_ = static_cast<std::uint64_t>(i);
    }
  }
  template <std::floating_point T>
  FormatArgument(T d) noexcept : storage_(static_cast<double>(d)) {}
  FormatArgument(const Value& v) noexcept : storage_(&v) {}
  FormatArgument(Value&& v) noexcept : storage_(std::move(v)) {}

 private:
  friend struct norvik::detail::FormatArgumentAccess;
  std::variant<std::monostate, std::int64_t, std::uint64_t, double, bool, std::string_view,
               std::string, const Value*, Value>
      storage_;
};

// Formats `format` with `args`. Returns std::nullopt on any mismatch (see the rules above); never
// throws and never reads past the arguments.
std::optional<std::string> tryFormat(std::string_view format, std::span<const FormatArgument> args);

// Formats `format`; on a mismatch formats `fallbackFormat` (typically the English key) with the
// same arguments; if that mismatches too, returns `fallbackFormat`'s text unchanged.
std::string formatWithFallback(std::string_view format, std::string_view fallbackFormat,
                               std::span<const FormatArgument> args);

template <class... A>
requires(std::constructible_from<FormatArgument, const A&>&&...) std::string
    formatWithFallback(std::string_view format, std::string_view fallbackFormat, const A&... args) {
  const std::array<FormatArgument, sizeof...(A)> list{FormatArgument(args)...};
  return formatWithFallback(format, fallbackFormat, std::span<const FormatArgument>(list));
}

// Formats `fmt` with the given arguments; on a mismatch returns `fmt`'s text unchanged.
template <class... A>
requires(std::constructible_from<FormatArgument, const A&>&&...) std::string
    format(std::string_view fmt, const A&... args) {
  const std::array<FormatArgument, sizeof...(A)> list{FormatArgument(args)...};
  if (auto text = tryFormat(fmt, std::span<const FormatArgument>(list))) return std::move(*text);
  return std::string(fmt);
}

}  // namespace norvik::platform
