// Feeds arbitrary bytes to the `.strings` table reader. Every key and value it gives must be valid
// UTF-8; an error must carry a line; and the entries, written back as a table (in UTF-8 and in
// UTF-16 of both byte orders), must read again without error as the same entries.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_support.h"
#include "norvik/platform/strings_table.h"

using namespace norvik::platform;
using norvik::fuzz::check;

namespace {

// Decodes one code point of valid UTF-8 at `i`; nullopt when the text is not valid there.
std::optional<char32_t> nextCodePoint(std::string_view s, std::size_t& i) {
  const auto c = static_cast<unsigned char>(s[i]);
  const std::size_t n = c < 0x80           ? 1
                        : (c >> 5) == 0x6  ? 2
                        : (c >> 4) == 0xE  ? 3
                        : (c >> 3) == 0x1E ? 4
                                           : 0;
  if (n == 0 || i + n > s.size()) return std::nullopt;
  char32_t cp = n == 1 ? c : c & (0x7F >> n);
  for (std::size_t k = 1; k < n; ++k) {
    const auto d = static_cast<unsigned char>(s[i + k]);
    if ((d & 0xC0) != 0x80) return std::nullopt;
    cp = (cp << 6) | (d & 0x3F);
  }
  if ((n == 2 && cp < 0x80) || (n == 3 && cp < 0x800) || (n == 4 && cp < 0x10000) ||
      cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
    return std::nullopt;
  }
  i += n;
  return cp;
}

bool validUTF8(std::string_view s) {
  for (std::size_t i = 0; i < s.size();) {
    if (!nextCodePoint(s, i)) return false;
  }
  return true;
}

// A quoted string of the table syntax: quote and backslash escaped, control characters as
// three-digit octal escapes, everything else as it is.
void appendQuoted(std::string& out, std::string_view s) {
  out += '"';
  for (const char c : s) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (byte < 0x20) {
      out += '\\';
      out += static_cast<char>('0' + (byte >> 6));
      out += static_cast<char>('0' + ((byte >> 3) & 7));
      out += static_cast<char>('0' + (byte & 7));
    } else {
      out += c;
    }
  }
  out += '"';
}

std::string utf16(std::string_view utf8, bool bigEndian) {
  std::string out;
  auto unit = [&](char16_t u) {
    const char hi = static_cast<char>(u >> 8), lo = static_cast<char>(u & 0xFF);
    if (bigEndian) {
      out += hi;
      out += lo;
    } else {
      out += lo;
      out += hi;
    }
  };
  unit(0xFEFF);
  for (std::size_t i = 0; i < utf8.size();) {
    const char32_t cp = *nextCodePoint(utf8, i);
    if (cp >= 0x10000) {
      unit(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
      unit(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
    } else {
      unit(static_cast<char16_t>(cp));
    }
  }
  return out;
}

void checkSameEntries(const StringsTable& table, const std::string& bytes, const char* what) {
  const StringsTable again = parseStringsTable(bytes);
  if (again.error) std::fprintf(stderr, "%s\n", describeError(again).c_str());
  check(!again.error, what);
  check(again.entries == table.entries, what);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const StringsTable table = parseStringsTable(bytes);
  if (size == 0) check(!table.error && table.entries.empty(), "empty input is an empty table");
  if (table.error) {
    check(table.error->line >= 1, "an error in the text has a line");
    check(!table.error->message.empty(), "an error has a message");
    check(!describeError(table).empty(), "an error is described");
  } else {
    check(describeError(table).empty(), "no error, no description");
  }

  std::string written;
  for (const auto& [key, value] : table.entries) {
    check(validUTF8(key) && validUTF8(value), "keys and values are valid UTF-8");
    check(table.find(key) && *table.find(key) == value, "find gives the entry");
    appendQuoted(written, key);
    written += " = ";
    appendQuoted(written, value);
    written += ";\n";
  }
  checkSameEntries(table, written, "written entries read back (UTF-8)");
  checkSameEntries(table, "\xEF\xBB\xBF" + written, "written entries read back (UTF-8 mark)");
  checkSameEntries(table, utf16(written, false), "written entries read back (UTF-16LE)");
  checkSameEntries(table, utf16(written, true), "written entries read back (UTF-16BE)");
  return 0;
}
