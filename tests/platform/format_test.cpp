#include "norvik/platform/format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <random>
#include <vector>

namespace norvik::platform {
namespace {

std::optional<std::string> fmt(std::string_view f, std::vector<FormatArgument> args = {}) {
  return tryFormat(f, args);
}

TEST(FormatTest, IntegersOfEveryTypeAndLength) {
  EXPECT_EQ(platform::format("Every %d weeks on %@", 3, "Monday"), "Every 3 weeks on Monday");
  EXPECT_EQ(platform::format("%i %ld %lld %zd %hd %hhd", -1, 2L, LLONG_MIN, 4, 70000, 300),
            "-1 2 -9223372036854775808 4 4464 44");
  EXPECT_EQ(platform::format("%u %lu %llu %zu", 7u, ULONG_MAX, 0ull, std::size_t{9}),
            "7 18446744073709551615 0 9");
  // Negative values through unsigned conversions follow the C type the specifier names.
  EXPECT_EQ(platform::format("%u %x %lx %hhx %o", -1, -1, -1, -1, 8),
            "4294967295 ffffffff ffffffffffffffff ff 10");
  EXPECT_EQ(platform::format("%x", LLONG_MIN), "8000000000000000");
  // Signed conversions keep the whole value, even for unsigned arguments above INT64_MAX.
  EXPECT_EQ(platform::format("%d", ULLONG_MAX), "18446744073709551615");
  EXPECT_EQ(platform::format("%d %u %@", true, false, true), "1 0 1");
  EXPECT_EQ(platform::format("%d %d %X %d", Value(42), Value(-7.9), Value(255), Value(true)),
            "42 -7 FF 1");
  EXPECT_EQ(platform::format("%d", Value(1e19)), "10000000000000000000");
  EXPECT_EQ(platform::format("%c%c%c", 'A', 0x4E2D, 0x1F600), "A中😀");
}

// Every flag combination, width and precision of the integer conversions agrees with the C library.
TEST(FormatTest, IntegerFieldsAgreeWithC) {
  const std::string flags[] = {"", "-", "0", "+", " ", "#", "-+", "0+", "0 ", "#0", "-#", "+ "};
  const std::string widths[] = {"", "1", "6", "25"};
  const std::string precisions[] = {"", ".", ".0", ".3", ".22"};
  const long long values[] = {0, 1, -1, 42, -42, 255, 8, LLONG_MAX, LLONG_MIN};
  int compared = 0;
  for (const auto& f : flags)
    for (const auto& w : widths)
      for (const auto& p : precisions)
        for (char conv : std::string("diuoxX"))
          for (long long v : values) {
            const std::string pattern = "[%" + f + w + p + "ll" + conv + "]";
            char expected[128];
            std::snprintf(expected, sizeof expected, pattern.c_str(), v);
            ASSERT_EQ(fmt(pattern, {v}), expected) << pattern << " " << v;
            ++compared;
          }
  EXPECT_GT(compared, 10000);
}

TEST(FormatTest, RealsObjectsAndStrings) {
  EXPECT_EQ(platform::format("%.2f|%8.3f|%-8.1f|%08.2f|%+.1e", 3.14159, 2.5, -1.25, -3.5, 12345.0),
            "3.14|   2.500|-1.2    |-0003.50|+1.2e+04");
  EXPECT_EQ(platform::format("%f %g %G %.0f %#.0f", 7, 0.0001, 1e-10, 2.5f, 3.0),
            "7.000000 0.0001 1E-10 2 3.");
  EXPECT_EQ(platform::format("%.1f %g", Value(2), Value(0.5)), "2.0 0.5");
  EXPECT_EQ(platform::format("%@ %@ %@ %@", 3.0, 0.1, -2, ULLONG_MAX),
            "3 0.1 -2 18446744073709551615");
  EXPECT_EQ(
      platform::format("%@/%@/%@", Value("text"), Value(1.5), Value(Array{Value(1), Value("a b")})),
      std::string("text/1.5/") + Value(Array{Value(1), Value("a b")}).description());
  EXPECT_EQ(platform::format("%@ %s %@", nullptr, static_cast<const char*>(nullptr), Value()),
            "(null) (null) <null>");
  EXPECT_EQ(platform::format("%s and %s", std::string("one"), Value("two")), "one and two");
  EXPECT_EQ(platform::format("100%% of %@%%", "tasks"), "100% of tasks%");
}

TEST(FormatTest, WidthsAndPrecisionsCountCharacters) {
  EXPECT_EQ(platform::format("[%5@][%-5s][%3@]", "中文", "é", "abcdef"),
            "[   中文][é    ][abcdef]");
  EXPECT_EQ(platform::format("[%.2@][%-6.1s][%.0@]", "日本語", "😀x", "x"), "[日本][😀     ][]");
  EXPECT_EQ(platform::format("[%.3@]", 123456), "[123]");
  // Invalid UTF-8 counts one character per byte and is never split inside a valid sequence.
  EXPECT_EQ(platform::format("[%4s][%.2s]", "\xff\xfe", "a\xe4\xb8\xad"),
            "[  \xff\xfe][a\xe4\xb8\xad]");
  EXPECT_EQ(platform::format("[%.1s]", "\xe4\xb8"), "[\xe4]");
  EXPECT_EQ(platform::format("[%3c][%-3c]", 0xE9, 'x'), "[  é][x  ]");
}

TEST(FormatTest, PositionalArguments) {
  EXPECT_EQ(platform::format("%2$@ %1$@", "world", "hello"), "hello world");
  EXPECT_EQ(platform::format("%1$@ and %1$@, %2$05d", "x", 42), "x and x, 00042");
  EXPECT_EQ(platform::format("%2$.1f/%1$-3d|", 7, 2.25), "2.2/7  |");
  EXPECT_EQ(platform::format("%2$@ only", "unused", "second", "extra"), "second only");
  EXPECT_EQ(platform::format("%@ and more", "a", 1, 2.0), "a and more");
}

TEST(FormatTest, HostileFormatsAreMismatches) {
  const std::vector<FormatArgument> args = {"text", 5, 2.5};
  const char* hostile[] = {
      "%@ %@ %@ %@",  // more specifiers than arguments
      "%d",           // a string for %d
      "%2$s",         // a number for %s
      "%3$x",         // a real for %x
      "%999999999d", "%.999999999f",
      "%1025@",      "%99999999999999999999999999d",
      "%n",          "%p",
      "%*d",         "%.*f",
      "%5%",         "%",
      "abc %",       "%l",
      "%1$",         "%-",
      "%1$@ %@",     "%@ %1$@",
      "%0$@",        "%99$@",
      "%4$@",        "%99999999999999999999$@",
  };
  for (const char* f : hostile) EXPECT_EQ(tryFormat(f, args), std::nullopt) << f;
  EXPECT_EQ(fmt("%c", {0}), std::nullopt);
  EXPECT_EQ(fmt("%c", {0xD800}), std::nullopt);
  EXPECT_EQ(fmt("%c", {0x110000}), std::nullopt);
  EXPECT_EQ(fmt("%d", {Value(Array{})}), std::nullopt);
  EXPECT_EQ(fmt("%f", {"1.5"}), std::nullopt);
  // The largest accepted field still works.
  EXPECT_EQ(fmt("%1024d", {1})->size(), 1024u);
  // A result too large to keep is refused rather than built.
  std::string many;
  for (int k = 0; k < 70; ++k) many += "%1$@";
  EXPECT_EQ(fmt(many, {std::string(1 << 20, 'x')}), std::nullopt);
}

TEST(FormatTest, BytesOutsideSpecifiersAreCopied) {
  const std::string withNul("a\0b %d\0", 7);
  EXPECT_EQ(platform::format(withNul, 5), std::string("a\0b 5\0", 6));
  EXPECT_EQ(platform::format("no specifiers \xff"), "no specifiers \xff");
  EXPECT_EQ(platform::format(""), "");
}

TEST(FormatTest, FallbacksOnMismatch) {
  EXPECT_EQ(formatWithFallback("Alle %d Wochen", "Every %d weeks", 2), "Alle 2 Wochen");
  EXPECT_EQ(formatWithFallback("Alle %@ Wochen %@", "Every %d weeks", 2), "Every 2 weeks");
  EXPECT_EQ(formatWithFallback("%s", "Every %s weeks", 2), "Every %s weeks");
  EXPECT_EQ(platform::format("Every %d weeks", "two"), "Every %d weeks");
  const std::vector<FormatArgument> args = {"a", "b"};
  EXPECT_EQ(formatWithFallback("%2$@%1$@", "%@%@", args), "ba");
}

TEST(FormatTest, ArgumentsMadeFromTemporariesKeepTheirText) {
  std::vector<FormatArgument> args;
  args.emplace_back(std::string(100, 'q'));
  args.emplace_back(Value(std::string(50, 'v')));
  args.emplace_back(std::string_view("view"));
  const std::string expected = std::string(100, 'q') + std::string(50, 'v') + "view";
  EXPECT_EQ(tryFormat("%@%s%@", args), expected);
  const std::vector<FormatArgument> copies = args;
  args.clear();
  EXPECT_EQ(tryFormat("%@%s%@", copies), expected);
}

// Random texts built from specifier fragments and stray bytes: formatting must never crash or
// produce more than the caps allow (this runs under the sanitizers too).
TEST(FormatTest, RandomFormatsNeverCrash) {
  const std::string_view fragments[] = {
      "%",      "%%",      "%@",          "%d",
      "%i",     "%u",      "%x",          "%X",
      "%o",     "%c",      "%s",          "%f",
      "%e",     "%g",      "%a",          "%n",
      "%p",     "%*d",     "%1$@",        "%2$d",
      "%3$s",   "%4$f",    "%0$@",        "%99$d",
      "%$",     "%1$",     "%-8@",        "%05d",
      "%+.3f",  "%#x",     "%.2s",        "%lld",
      "%hhd",   "%zu",     "%l",          "%q@",
      "%1024d", "%.1024f", "%999999999d", "1",
      "$",      ".",       "-",           "#",
      "*",      "h",       "l",           "abc",
      "中",     "\xff",    "\xe4\xb8",    std::string_view("\0", 1),
      " "};
  const Value array(Array{Value(1), Value("x")});
  const std::vector<FormatArgument> args = {"text",     -5,   1e300,  array,
                                            ULLONG_MAX, true, "中文", nullptr};
  std::mt19937 random(12345);
  std::size_t formatted = 0;
  std::string f;
  for (int round = 0; round < 300000; ++round) {
    f.clear();
    const int pieces = 1 + static_cast<int>(random() % 8);
    for (int k = 0; k < pieces; ++k) f += fragments[random() % std::size(fragments)];
    const auto argCount = random() % (args.size() + 1);
    auto result = tryFormat(f, std::span(args).first(argCount));
    if (result) {
      ++formatted;
      ASSERT_LE(result->size(), f.size() * 1100 + 4096) << f;
    }
  }
  EXPECT_GT(formatted, 1000u);  // the loop also exercises the success paths
}

}  // namespace
}  // namespace norvik::platform
