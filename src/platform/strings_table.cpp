#include "norvik/platform/strings_table.h"

#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace norvik::detail {
namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;

void appendUtf8(std::string& out, char32_t c) {
  if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = kReplacementCharacter;
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

// Returns the text unchanged when it is well-formed UTF-8, else a copy with every ill-formed
// sequence replaced by U+FFFD.
std::string repairUtf8(std::string_view bytes) {
  const auto* s = reinterpret_cast<const uint8_t*>(bytes.data());
  const auto length = static_cast<int32_t>(bytes.size());
  int32_t i = 0;
  bool wellFormed = true;
  while (i < length) {
    UChar32 c;
    U8_NEXT(s, i, length, c);
    if (c < 0) {
      wellFormed = false;
      break;
    }
  }
  if (wellFormed) return std::string(bytes);
  std::string out;
  out.reserve(bytes.size() + 8);
  i = 0;
  while (i < length) {
    UChar32 c;
    U8_NEXT(s, i, length, c);
    appendUtf8(out, c < 0 ? kReplacementCharacter : static_cast<char32_t>(c));
  }
  return out;
}

std::string utf16ToUtf8(std::string_view bytes, bool bigEndian) {
  std::vector<UChar> units;
  units.reserve(bytes.size() / 2 + 1);
  const auto* b = reinterpret_cast<const uint8_t*>(bytes.data());
  std::size_t i = 0;
  for (; i + 1 < bytes.size(); i += 2) {
    units.push_back(bigEndian ? static_cast<UChar>((b[i] << 8) | b[i + 1])
                              : static_cast<UChar>((b[i + 1] << 8) | b[i]));
  }
  if (i < bytes.size()) units.push_back(static_cast<UChar>(kReplacementCharacter));  // odd byte
  if (units.empty()) return {};

  UErrorCode status = U_ZERO_ERROR;
  int32_t needed = 0;
  u_strToUTF8WithSub(nullptr, 0, &needed, units.data(), static_cast<int32_t>(units.size()),
                     kReplacementCharacter, nullptr, &status);
  if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status)) return {};
  std::string out(static_cast<std::size_t>(needed), '\0');
  status = U_ZERO_ERROR;
  u_strToUTF8WithSub(out.data(), needed, nullptr, units.data(), static_cast<int32_t>(units.size()),
                     kReplacementCharacter, nullptr, &status);
  if (U_FAILURE(status)) return {};
  return out;
}

// Turns the raw bytes into UTF-8 text without a byte-order mark.
std::string decodeText(std::string_view bytes) {
  auto byteAt = [&](std::size_t i) { return static_cast<uint8_t>(bytes[i]); };
  if (bytes.size() >= 3 && byteAt(0) == 0xEF && byteAt(1) == 0xBB && byteAt(2) == 0xBF) {
    return repairUtf8(bytes.substr(3));
  }
  if (bytes.size() >= 2 && byteAt(0) == 0xFF && byteAt(1) == 0xFE) {
    return utf16ToUtf8(bytes.substr(2), false);
  }
  if (bytes.size() >= 2 && byteAt(0) == 0xFE && byteAt(1) == 0xFF) {
    return utf16ToUtf8(bytes.substr(2), true);
  }
  // Without a mark, a NUL byte beside an ASCII character at the start can only be UTF-16.
  if (bytes.size() >= 2 && byteAt(0) == 0 && byteAt(1) != 0 && byteAt(1) < 0x80) {
    return utf16ToUtf8(bytes, true);
  }
  if (bytes.size() >= 2 && byteAt(0) != 0 && byteAt(0) < 0x80 && byteAt(1) == 0) {
    return utf16ToUtf8(bytes, false);
  }
  return repairUtf8(bytes);
}

struct ParseError {
  int line;
  std::string message;
};

bool isUnquotedCharacter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '.' || c == '-';
}

int hexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string quoteForMessage(std::string_view key) {
  constexpr std::size_t kMaximum = 40;
  std::string out = "\"";
  out.append(key.substr(0, kMaximum));
  if (key.size() > kMaximum) out.append("...");
  out.push_back('"');
  return out;
}

// A recursive-descent reader over decoded UTF-8 text. Tokens are ASCII, so the text is scanned
// byte by byte; multi-byte characters only ever appear inside strings and comments.
class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  void run(platform::StringsTable& table) {
    try {
      while (true) {
        skipTrivia();
        if (atEnd()) return;
        std::string key = readToken("a key");
        const int keyLine = line_;
        skipTrivia();
        if (!atEnd() && peek() == ';') {
          advance();
          std::string value = key;
          table.entries.insert_or_assign(std::move(key), std::move(value));
          continue;
        }
        if (atEnd() || peek() != '=') {
          throw ParseError{keyLine, "expected '=' or ';' after the key " + quoteForMessage(key)};
        }
        advance();
        skipTrivia();
        std::string value = readToken("a value after '='");
        const int valueLine = line_;
        skipTrivia();
        if (atEnd() || peek() != ';') {
          throw ParseError{valueLine, "expected ';' after the value of " + quoteForMessage(key)};
        }
        advance();
        table.entries.insert_or_assign(std::move(key), std::move(value));
      }
    } catch (ParseError& e) {
      table.error = platform::StringsTableError{e.line, std::move(e.message)};
    }
  }

 private:
  bool atEnd() const { return pos_ >= text_.size(); }
  char peek() const { return text_[pos_]; }
  bool startsWith(std::string_view s) const { return text_.substr(pos_, s.size()) == s; }

  // Moves past one byte, counting "\n", "\r\n" and a lone "\r" as one line break each.
  void advance() {
    const char c = text_[pos_++];
    if (c == '\n' || (c == '\r' && (atEnd() || peek() != '\n'))) ++line_;
  }

  void skipTrivia() {
    while (!atEnd()) {
      const char c = peek();
      if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v') {
        advance();
      } else if (startsWith("\xEF\xBB\xBF")) {  // a stray byte-order mark, e.g. in joined files
        pos_ += 3;
      } else if (startsWith("//")) {
        while (!atEnd() && peek() != '\n' && peek() != '\r') advance();
      } else if (startsWith("/*")) {
        const int startLine = line_;
        pos_ += 2;
        while (!atEnd() && !startsWith("*/")) advance();
        if (atEnd()) {
          throw ParseError{startLine, "unterminated comment"};
        }
        pos_ += 2;
      } else {
        return;
      }
    }
  }

  std::string readToken(const char* what) {
    if (atEnd())
      throw ParseError{line_, std::string("expected ") + what + " at the end of the text"};
    const char c = peek();
    if (c == '"') return readQuoted();
    if (isUnquotedCharacter(c)) {
      const std::size_t start = pos_;
      while (!atEnd() && isUnquotedCharacter(peek())) ++pos_;
      return std::string(text_.substr(start, pos_ - start));
    }
    throw ParseError{line_, std::string("expected ") + what + ", found " + describeCharacter(c)};
  }

  static std::string describeCharacter(char c) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x21 && byte < 0x7F) return std::string("'") + c + "'";
    static constexpr char kHex[] = "0123456789ABCDEF";
    return std::string("byte 0x") + kHex[byte >> 4] + kHex[byte & 0xF];
  }

  std::string readQuoted() {
    const int startLine = line_;
    auto unterminated = [&] { return ParseError{startLine, "unterminated string"}; };
    advance();  // the opening quote
    std::string out;
    char32_t pendingHigh = 0;  // a high surrogate waiting for its low half
    auto flushPending = [&] {
      if (pendingHigh != 0) appendUtf8(out, kReplacementCharacter);
      pendingHigh = 0;
    };
    while (true) {
      if (atEnd()) throw unterminated();
      const char c = peek();
      if (c == '"') {
        advance();
        flushPending();
        return out;
      }
      if (c != '\\') {
        flushPending();
        out.push_back(c);
        advance();
        continue;
      }
      advance();  // the backslash
      if (atEnd()) throw unterminated();
      const char e = peek();
      if (e == 'U' || e == 'u') {
        advance();
        char32_t unit = 0;
        int digits = 0;
        while (digits < 4 && !atEnd() && hexDigitValue(peek()) >= 0) {
          unit = unit * 16 + static_cast<char32_t>(hexDigitValue(peek()));
          advance();
          ++digits;
        }
        if (digits == 0) {
          throw ParseError{line_, std::string("\\") + e + " without hexadecimal digits"};
        }
        if (U16_IS_LEAD(unit)) {
          flushPending();
          pendingHigh = unit;
        } else if (U16_IS_TRAIL(unit)) {
          if (pendingHigh != 0) {
            appendUtf8(out, U16_GET_SUPPLEMENTARY(pendingHigh, unit));
            pendingHigh = 0;
          } else {
            appendUtf8(out, kReplacementCharacter);
          }
        } else {
          flushPending();
          appendUtf8(out, unit);
        }
        continue;
      }
      flushPending();
      if (e >= '0' && e <= '7') {
        char32_t value = 0;
        for (int digits = 0; digits < 3 && !atEnd() && peek() >= '0' && peek() <= '7'; ++digits) {
          value = value * 8 + static_cast<char32_t>(peek() - '0');
          advance();
        }
        appendUtf8(out, value);
        continue;
      }
      switch (e) {
        case 'n':
          out.push_back('\n');
          break;
        case 't':
          out.push_back('\t');
          break;
        case 'r':
          out.push_back('\r');
          break;
        case 'a':
          out.push_back('\a');
          break;
        case 'b':
          out.push_back('\b');
          break;
        case 'f':
          out.push_back('\f');
          break;
        case 'v':
          out.push_back('\v');
          break;
        default:
          out.push_back(e);
          break;  // \" \\ \' and any other character stand for themselves
      }
      advance();
    }
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  int line_ = 1;
};

}  // namespace
}  // namespace norvik::detail

namespace norvik::platform {

const std::string* StringsTable::find(std::string_view key) const {
  auto it = entries.find(key);
  return it == entries.end() ? nullptr : &it->second;
}

StringsTable parseStringsTable(std::string_view bytes) {
  StringsTable table;
  try {
    const std::string text = detail::decodeText(bytes);
    detail::Parser(text).run(table);
  } catch (const std::exception& e) {  // allocation failure: keep what was read
    table.error = StringsTableError{0, std::string("could not parse: ") + e.what()};
  }
  return table;
}

StringsTable readStringsTableFile(const std::string& path) {
  std::error_code ec;
  std::ifstream in;
  if (std::filesystem::is_regular_file(path, ec)) in.open(path, std::ios::binary);
  if (!in.is_open()) {
    StringsTable table;
    table.error = StringsTableError{0, "cannot open " + path};
    return table;
  }
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) {
    StringsTable table;
    table.error = StringsTableError{0, "cannot read " + path};
    return table;
  }
  return parseStringsTable(bytes);
}

std::string describeError(const StringsTable& table) {
  if (!table.error) return {};
  if (table.error->line <= 0) return table.error->message;
  return "line " + std::to_string(table.error->line) + ": " + table.error->message;
}

}  // namespace norvik::platform
