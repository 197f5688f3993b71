#include "norvik/platform/value.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

#include "platform/value_test_helpers.h"

namespace norvik::platform {
namespace {

constexpr auto kInt64Max = std::numeric_limits<std::int64_t>::max();
constexpr auto kInt64Min = std::numeric_limits<std::int64_t>::min();
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

TEST(ValueConversion, RealsTruncateTowardZeroAndSaturate) {
  // clang-format off
  const std::pair<double, std::int64_t> cases[] = {
      {2.9, 2}, {-2.9, -2}, {1e300, kInt64Max}, {-1e300, kInt64Min}, {kInf, kInt64Max},
      {-kInf, kInt64Min}, {kNaN, 0}, {std::ldexp(1.0, 63), kInt64Max}};
  // clang-format on
  for (auto [real, truncated] : cases) EXPECT_EQ(Value(real).int64Value(), truncated) << real;
  EXPECT_EQ(Value(-2.9).intValue(), -2);
  EXPECT_EQ(Value(kNaN).intValue(), 0);
  EXPECT_EQ(Value(0.5).boolValue(), true);
  EXPECT_EQ(Value(-0.0).boolValue(), false);
}

TEST(ValueConversion, IntegersBooleansAndNonNumbers) {
  EXPECT_EQ(Value((std::int64_t{1} << 32) + 5).intValue(), 5);  // keeps the low 32 bits
  EXPECT_EQ(Value(std::int64_t{1} << 31).intValue(), std::numeric_limits<int>::min());
  EXPECT_EQ(Value(true).int64Value(), 1);
  EXPECT_EQ(Value(false).doubleValue(), 0.0);
  EXPECT_EQ(Value(7).boolValue(), true);
  EXPECT_EQ(Value("12").intValue(), std::nullopt);
  EXPECT_EQ(Value().doubleValue(), std::nullopt);
  EXPECT_EQ(Value(Array{}).boolValue(), std::nullopt);
  EXPECT_TRUE(Value(static_cast<const char*>(nullptr)).isNull());
}

TEST(ValueConversion, UnsignedAboveInt64MaxBecomesReal) {
  const Value top(std::numeric_limits<unsigned long long>::max());
  EXPECT_EQ(top.type(), Value::Type::Real);
  EXPECT_EQ(top.doubleValue(), 18446744073709551615.0);
  EXPECT_EQ(top.int64Value(), kInt64Max);
  EXPECT_EQ(Value(static_cast<unsigned long>(kInt64Max)).int64Value(), kInt64Max);
  EXPECT_EQ(Value(static_cast<unsigned long>(kInt64Max) + 1).type(), Value::Type::Real);
}

TEST(ValueNumberText, PrintsLikeThePlatform) {
  // clang-format off
  const std::pair<Value, const char*> cases[] = {
      {3.0, "3"}, {-12.0, "-12"}, {1700000000.5, "1700000000.5"}, {0.1, "0.1"}, {-0.0, "-0"},
      {true, "1"}, {false, "0"}, {kInt64Min, "-9223372036854775808"}, {kNaN, "nan"},
      {kInf, "inf"}, {-kInf, "-inf"}, {"as is", "as is"}};
  // clang-format on
  for (const auto& [value, text] : cases) EXPECT_EQ(value.numberText(), text);
  EXPECT_EQ(Value(Data{1}).numberText(), std::nullopt);
  EXPECT_EQ(Value().numberText(), std::nullopt);
}

// Significant digits of a decimal number text, for comparing with the shortest form.
std::size_t significantDigits(std::string_view text) {
  std::string digits;
  for (char c : text.substr(0, text.find_first_of("eE"))) {
    if (c >= '0' && c <= '9') digits += c;
  }
  const auto first = digits.find_first_not_of('0');
  if (first == std::string::npos) return 1;
  const auto last = digits.find_last_not_of('0');
  return last - first + 1;
}

TEST(ValueNumberText, EveryTextReadsBackToTheSameDouble) {
  std::mt19937_64 random(20240310);
  // clang-format off
  std::vector<double> samples = {1e21, -1e22, 1e-7, 5e-324, 2.2250738585072014e-308, 4.35,
                                 1.7976931348623157e308, 0.1 + 0.2, 1.0 / 3, 9007199254740993.0,
                                 123456789012345680.0, 1e15 + 0.3};
  // clang-format on
  std::uniform_real_distribution<double> unit(-1e6, 1e6);
  for (int i = 0; i < 4000; ++i) {
    std::uint64_t bits = random();
    double d;
    std::memcpy(&d, &bits, sizeof d);
    if (std::isfinite(d)) samples.push_back(d);
    samples.push_back(unit(random));
    samples.push_back(std::round(unit(random) * 100) / 100);  // two decimals, like money
    samples.push_back(static_cast<double>(random() >> (random() % 64)));
  }
  for (double d : samples) {
    const auto text = Value(d).numberText();
    ASSERT_TRUE(text.has_value());
    char* end = nullptr;
    const double back = std::strtod(text->c_str(), &end);
    ASSERT_EQ(*end, '\0') << *text;
    ASSERT_EQ(std::memcmp(&back, &d, sizeof d), 0) << *text << " for " << d;
    if (d != std::trunc(d)) {
      char shortest[64];
      auto result = std::to_chars(shortest, shortest + sizeof shortest, d);
      ASSERT_LE(significantDigits(*text),
                significantDigits(std::string_view(shortest, result.ptr - shortest)))
          << *text;
    }
  }
}

TEST(ValueEquality, NumbersByValueOthersByKindAndContent) {
  EXPECT_EQ(Value(1), Value(1.0));
  EXPECT_EQ(Value(true), Value(1.0));
  EXPECT_EQ(Value(0), Value(-0.0));
  EXPECT_NE(Value(2), Value(true));
  EXPECT_NE(Value(1), Value("1"));
  EXPECT_NE(Value(), Value(0));
  EXPECT_NE(Value(Date(5)), Value(5));
  // 2^53 + 1 has no double; an integer and a real are equal only when exactly the same number.
  EXPECT_NE(Value((std::int64_t{1} << 53) + 1), Value(9007199254740992.0));
  EXPECT_NE(Value(kInt64Max), Value(std::ldexp(1.0, 63)));
  EXPECT_EQ(Value(kNaN), Value(Array{kNaN})[0]);
  EXPECT_NE(Value("\xc3\xa9"), Value("e\xcc\x81"));  // strings compare by bytes
  EXPECT_EQ(Value(Array{1, "a", Array{true}}), Value(Array{1.0, "a", Array{1}}));
  EXPECT_NE(Value(Array{1, 2}), Value(Array{1}));
  EXPECT_NE(Value(Array{}), Value(Dictionary{}));
  EXPECT_EQ(Value(Dictionary{{"a", true}}), Value(Dictionary{{"a", 1}}));
  EXPECT_NE(Value(Dictionary{{"a", 1}}), Value(Dictionary{{"b", 1}}));
  EXPECT_NE(Value(Data{0, 1}), Value(Data{0}));
}

TEST(ValueEquality, HashAgreesWithEqualityAndEqualityIsAnEquivalence) {
  const double twoTo53 = std::ldexp(1.0, 53), twoTo63 = std::ldexp(1.0, 63);
  // clang-format off
  const Value values[] = {
      Value(), 0, 0.0, -0.0, false, 1, 1.0, true, 2, 2.5, 1LL << 53, twoTo53, (1LL << 53) + 1,
      kInt64Max, twoTo63, kInt64Min, -twoTo63, kNaN, "", "1", Date(1), Data{}, Array{}, Array{1},
      Array{1.0}, Array{true}, Dictionary{}, Dictionary{{"k", Array{1}}},
      Dictionary{{"k", Array{1.0}}}};
  // clang-format on
  for (const Value& a : values) {
    for (const Value& b : values) {
      ASSERT_EQ(a == b, b == a) << a.description() << " / " << b.description();
      if (a != b) continue;
      ASSERT_EQ(a.hash(), b.hash()) << a.description() << " / " << b.description();
      for (const Value& c : values) {
        if (b == c) {
          EXPECT_EQ(a, c) << a.description() << " / " << c.description();
        }
      }
    }
  }
}

TEST(ValueCopyOnWrite, MutatingACopyLeavesTheOriginalAlone) {
  Value original(Dictionary{{"list", Array{1, 2}}, {"name", "a"}});
  Value copy = original;
  ASSERT_NE(copy.mutableDictionary(), nullptr);
  Value* list = &copy.mutableDictionary()->at("list");
  list->mutableArray()->push_back(3);
  copy.mutableDictionary()->erase("name");
  EXPECT_EQ(original, Value(Dictionary{{"list", Array{1, 2}}, {"name", "a"}}));
  EXPECT_EQ(copy, Value(Dictionary{{"list", Array{1, 2, 3}}}));

  Value array(Array{1});
  Value second = array;
  array.mutableArray()->push_back(2);  // the first copy changes, the second keeps its value
  EXPECT_EQ(second, Value(Array{1}));
  EXPECT_EQ(array, Value(Array{1, 2}));
  EXPECT_EQ(Value(Array{}).mutableDictionary(), nullptr);
}

TEST(ValueLookup, MissingMembersGiveTheNullObject) {
  const Value dictionary(Dictionary{{"a", 1}, {"ab", "x"}});
  const std::string_view key = "abc";
  EXPECT_EQ(dictionary[key.substr(0, 2)], Value("x"));
  EXPECT_EQ(&dictionary["missing"], &nullValue());
  EXPECT_EQ(dictionary.find("missing"), nullptr);
  const Value array(Array{"first"});
  EXPECT_EQ(array[0], Value("first"));
  EXPECT_TRUE(array[1].isNull());
  EXPECT_TRUE(array["a"].isNull());
  EXPECT_TRUE(dictionary[0].isNull());
}

}  // namespace
}  // namespace norvik::platform
