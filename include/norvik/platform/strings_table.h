#pragma once
// Reader of `.strings` string tables, the key-value files that hold an application's translated
// texts:
//
//   /* A block comment */
//   "Inbox" = "Eingang";      // a line comment
//   "Tab\tSeparated" = "\U00e9t\u00e9";
//   plain_key = plain.value;  // unquoted tokens made of letters, digits, '_', '.' and '-'
//   "Lonely";                 // a key alone stands for itself
//
// Quoted strings understand the escapes \" \\ \' \n \t \r \a \b \f \v, octal \0 to \377 (a code
// point below U+0100), and \Uxxxx or \uxxxx (one to four hex digits; a surrogate pair written as
// two escapes becomes one code point, a lone surrogate becomes U+FFFD). Any other escaped character
// stands for itself.
//
// Input may be UTF-8 (with or without a byte-order mark) or UTF-16 in either byte order with a
// byte-order mark; UTF-16 without a mark is recognised when the text starts with an ASCII
// character. Ill-formed UTF-8 or UTF-16 is repaired with U+FFFD, so every key and value is valid
// UTF-8.

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace norvik::platform {

struct StringsTableError {
  int line = 0;         // 1-based line of the problem; 0 when the file could not be read
  std::string message;  // what went wrong, in English, without the line number
};

struct StringsTable {
  // The entries in key order; when a key occurs more than once, the last occurrence wins.
  std::map<std::string, std::string, std::less<>> entries;
  // Set when the text is malformed (or the file unreadable). `entries` then holds every complete
  // entry before the problem; the incomplete entry and everything after it are dropped.
  std::optional<StringsTableError> error;

  // The value for `key`, or nullptr when the table has no such key.
  const std::string* find(std::string_view key) const;
};

// Parses the bytes of a string table. Never throws; malformed input gives a partial table and an
// error as described above. Empty input is an empty table without error.
StringsTable parseStringsTable(std::string_view bytes);

// Reads and parses a string-table file. A missing or unreadable file gives an empty table with an
// error on line 0.
StringsTable readStringsTableFile(const std::string& path);

// "line 4: unterminated string", or "" when there is no error.
std::string describeError(const StringsTable& table);

}  // namespace norvik::platform
