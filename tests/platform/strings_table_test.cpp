#include "norvik/platform/strings_table.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "support/test_support.h"

namespace norvik::platform {
namespace {

using Entries = std::map<std::string, std::string, std::less<>>;

Entries parseOk(std::string_view text) {
  StringsTable table = parseStringsTable(text);
  EXPECT_FALSE(table.error.has_value()) << describeError(table);
  return table.entries;
}

// UTF-16 bytes of an ASCII/BMP UTF-8 text, with or without a byte-order mark.
std::string utf16(std::u16string_view text, bool bigEndian, bool withMark) {
  std::string out;
  auto put = [&](char16_t unit) {
    const char hi = static_cast<char>(unit >> 8), lo = static_cast<char>(unit & 0xFF);
    out.push_back(bigEndian ? hi : lo);
    out.push_back(bigEndian ? lo : hi);
  };
  if (withMark) put(0xFEFF);
  for (char16_t unit : text) put(unit);
  return out;
}

TEST(StringsTable, PairsCommentsAndWhitespace) {
  const Entries entries = parseOk(
      "/* Header\n   comment */\n"
      "\"Inbox\" = \"Eingang\";   // trailing comment\n"
      "  \"Today\"=\"Heute\";\n"
      "\"Spaced\"\n\t=\n\t\"Value\"\n;\n"
      "plain_key.1 = plain-value.2;\n"
      "\"Lonely\";\n"
      "\"Between\" /* a */ = /* b */ \"Comments\" /* c */ ;\n"
      "// final comment without newline");
  EXPECT_EQ(entries, (Entries{{"Inbox", "Eingang"},
                              {"Today", "Heute"},
                              {"Spaced", "Value"},
                              {"plain_key.1", "plain-value.2"},
                              {"Lonely", "Lonely"},
                              {"Between", "Comments"}}));
  EXPECT_TRUE(parseOk("").empty());
  EXPECT_TRUE(parseOk("  /* only */ // comments\n").empty());
}

TEST(StringsTable, CommentMarkersInsideStringsAreText) {
  const Entries entries = parseOk(
      "\"http://example.org\" = \"a /* not a comment */ b\";\n"
      "\"x\" = \"// still text\"; /* \"ignored\" = \"yes\"; */\n"
      "\"star\" = \"*/\";");
  EXPECT_EQ(entries, (Entries{{"http://example.org", "a /* not a comment */ b"},
                              {"x", "// still text"},
                              {"star", "*/"}}));
}

TEST(StringsTable, Escapes) {
  const Entries entries = parseOk(R"("quote" = "say \"hi\"";)"
                                  R"("slash" = "a\\b";)"
                                  R"("controls" = "\n\t\r\a\b\f\v\'";)"
                                  R"("octal" = "\101\0\351";)"
                                  R"("bmp" = "\U00e9t\u00E9 \U4E2D";)"
                                  R"("short" = "\U41\u2z";)"
                                  R"("pair" = "\UD83D\UDE00!";)"
                                  R"("lone" = "\UD83Dx\UDE00";)"
                                  R"("other" = "\q\%";)"
                                  "\"raw\" = \"two\nlines\";");
  EXPECT_EQ(entries.at("quote"), "say \"hi\"");
  EXPECT_EQ(entries.at("slash"), "a\\b");
  EXPECT_EQ(entries.at("controls"), "\n\t\r\a\b\f\v'");
  EXPECT_EQ(entries.at("octal"), std::string("A\0\xC3\xA9", 4));
  EXPECT_EQ(entries.at("bmp"), "\xC3\xA9t\xC3\xA9 \xE4\xB8\xAD");
  EXPECT_EQ(entries.at("short"), "A\x02z");
  EXPECT_EQ(entries.at("pair"), "\xF0\x9F\x98\x80!");
  EXPECT_EQ(entries.at("lone"), "\xEF\xBF\xBDx\xEF\xBF\xBD");
  EXPECT_EQ(entries.at("other"), "q%");
  EXPECT_EQ(entries.at("raw"), "two\nlines");
}

TEST(StringsTable, DuplicateKeysLastWins) {
  EXPECT_EQ(parseOk("\"k\" = \"first\"; \"k\" = \"second\"; \"k\";"), (Entries{{"k", "k"}}));
  EXPECT_EQ(parseOk("\"k\" = \"first\"; k = \"second\";"), (Entries{{"k", "second"}}));
}

TEST(StringsTable, Encodings) {
  const std::u16string text = u"/* \u00fcber */\n\"K\u00e9y\" = \"\u4e2d\u6587\";\n\"B\" = \"2\";";
  const Entries expected{{"K\xC3\xA9y", "\xE4\xB8\xAD\xE6\x96\x87"}, {"B", "2"}};
  EXPECT_EQ(parseOk(utf16(text, false, true)), expected);
  EXPECT_EQ(parseOk(utf16(text, true, true)), expected);
  EXPECT_EQ(parseOk(utf16(text, false, false)), expected);
  EXPECT_EQ(parseOk(utf16(text, true, false)), expected);
  EXPECT_EQ(parseOk("\xEF\xBB\xBF\"K\xC3\xA9y\" = \"\xE4\xB8\xAD\xE6\x96\x87\"; B = 2;"), expected);

  // Line numbers are counted in decoded text.
  StringsTable broken = parseStringsTable(utf16(u"\"a\" = \"b\";\r\n\r\n\"c\" = ;", true, true));
  ASSERT_TRUE(broken.error.has_value());
  EXPECT_EQ(broken.error->line, 3);
  EXPECT_EQ(broken.entries, (Entries{{"a", "b"}}));
}

TEST(StringsTable, IllFormedUnicodeIsRepaired) {
  // A stray continuation byte in UTF-8, and an unpaired surrogate in UTF-16.
  EXPECT_EQ(parseOk("\"a\x80\" = \"\xC3\";"), (Entries{{"a\xEF\xBF\xBD", "\xEF\xBF\xBD"}}));
  std::u16string withLoneSurrogate = u"\"x\" = \"?\";";
  withLoneSurrogate[7] = 0xD800;
  EXPECT_EQ(parseOk(utf16(withLoneSurrogate, false, true)), (Entries{{"x", "\xEF\xBF\xBD"}}));
}

TEST(StringsTable, MalformedTextKeepsEarlierEntries) {
  struct Case {
    const char* text;
    int line;
    const char* messagePart;
  };
  const Case cases[] = {
      {"\"a\" = \"1\";\n\"b\" = \"unterminated;\n\n", 2, "unterminated string"},
      {"\"a\" = \"1\";\n/* open comment\n\"b\" = \"2\";", 2, "unterminated comment"},
      {"\"a\" = \"1\";\n\"b\" = \"2\"\n\"c\" = \"3\";", 2, "expected ';' after the value of \"b\""},
      {"\"a\" = \"1\";\n\"b\" = \"2\"", 2, "expected ';'"},
      {"\"a\" = \"1\";\n\"b\" \"2\";", 2, "expected '=' or ';' after the key \"b\""},
      {"\"a\" = \"1\";\n\"b\" = ;", 2, "expected a value after '=', found ';'"},
      {"\"a\" = \"1\";\n\"b\" =", 2, "at the end of the text"},
      {"\"a\" = \"1\";\n= \"2\";", 2, "expected a key, found '='"},
      {"\"a\" = \"1\";\n/ \"b\" = \"2\";", 2, "found '/'"},
      {"\"a\" = \"1\";\n\"b\" = \"\\U\";", 2, "\\U without hexadecimal digits"},
      {"\"a\" = \"1\";\n\"b\" = \"ends with backslash\\", 2, "unterminated string"},
      {"\"a\" = \"1\";\n\xE4\xB8\xAD = \"2\";", 2, "expected a key, found byte 0xE4"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    StringsTable table = parseStringsTable(c.text);
    ASSERT_TRUE(table.error.has_value());
    EXPECT_EQ(table.error->line, c.line);
    EXPECT_NE(table.error->message.find(c.messagePart), std::string::npos) << table.error->message;
    EXPECT_EQ(table.entries, (Entries{{"a", "1"}}));
    EXPECT_EQ(describeError(table).rfind("line 2: ", 0), 0u);
  }
}

TEST(StringsTable, ReadsFiles) {
  testing::TempDir dir;
  {
    std::ofstream out(dir.file("Localizable.strings"), std::ios::binary);
    out << utf16(u"\"Inbox\" = \"Eingang\";", false, true);
  }
  StringsTable table = readStringsTableFile(dir.file("Localizable.strings"));
  EXPECT_FALSE(table.error.has_value());
  ASSERT_NE(table.find("Inbox"), nullptr);
  EXPECT_EQ(*table.find("Inbox"), "Eingang");
  EXPECT_EQ(table.find("Missing"), nullptr);

  for (const std::string& path : {dir.file("missing.strings"), dir.path()}) {
    StringsTable unreadable = readStringsTableFile(path);
    ASSERT_TRUE(unreadable.error.has_value()) << path;
    EXPECT_EQ(unreadable.error->line, 0);
    EXPECT_TRUE(unreadable.entries.empty());
  }
}

}  // namespace
}  // namespace norvik::platform
