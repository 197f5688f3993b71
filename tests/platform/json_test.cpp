#include "norvik/platform/json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "platform/value_test_helpers.h"

namespace norvik::platform {
namespace {

using norvik::testing::sameKinds;

std::string nested(std::size_t depth) {
  return std::string(depth, '[') + std::string(depth, ']');
}

TEST(JSONCoding, NestedValuesRoundTripWithTheirKinds) {
  const Value value(
      Dictionary{{"int", 42},
                 {"negative", std::numeric_limits<std::int64_t>::min()},
                 {"max", std::numeric_limits<std::int64_t>::max()},
                 {"reals", Array{1700000000.5, 0.1, -2.5e-300, 1.7976931348623157e308}},
                 {"flags", Array{true, false, Value()}},
                 {"text", "quote\" backslash\\ slash/ tab\t nl\n bell\x07 nul" +
                              std::string(1, '\0') + " \xc3\xa9 \xe4\xb8\xad \xf0\x9f\x98\x80"},
                 {"empty", Dictionary{{"a", Array{}}, {"b", Dictionary{}}, {"", ""}}},
                 {"\xe9\x94\xae \"key\"", Array{Array{Array{1}}}}});
  for (bool pretty : {false, true}) {
    const auto text = encodeJSON(value, {.prettyPrinted = pretty});
    ASSERT_TRUE(text.has_value());
    const auto back = decodeJSON(*text);
    ASSERT_TRUE(back.has_value()) << *text;
    EXPECT_EQ(*back, value) << *text;
    EXPECT_TRUE(sameKinds(*back, value)) << *text;
  }
}

TEST(JSONCoding, WritesCompactSortedText) {
  const Value value(Dictionary{{"b", Array{1, 2.5, "x"}}, {"a", true}, {"c", Value()}});
  EXPECT_EQ(encodeJSON(value), R"({"a":true,"b":[1,2.5,"x"],"c":null})");
  EXPECT_EQ(encodeJSON(Value(3.0)), "3");
  EXPECT_EQ(encodeJSON(Value("a\"b\\c\n\x01")), R"("a\"b\\c\n\u0001")");
  EXPECT_EQ(encodeJSON(Value(Date(1700000000.5))), "1700000000.5");
  EXPECT_EQ(encodeJSON(Value(Data{0, 1, 2, 0xff})), R"("AAEC/w==")");
  const auto pretty = encodeJSON(value, {.prettyPrinted = true});
  ASSERT_TRUE(pretty.has_value());
  EXPECT_NE(pretty->find('\n'), std::string::npos);
}

TEST(JSONCoding, ValuesWithoutAJSONFormAreRefused) {
  EXPECT_EQ(encodeJSON(Value(std::numeric_limits<double>::quiet_NaN())), std::nullopt);
  EXPECT_EQ(encodeJSON(Value(Array{1, std::numeric_limits<double>::infinity()})), std::nullopt);
  EXPECT_EQ(encodeJSON(Value(Dictionary{{"k", "bad \xff utf-8"}})), std::nullopt);
  EXPECT_EQ(encodeJSON(Value(Dictionary{{"\xc3", 1}})), std::nullopt);
}

TEST(JSONCoding, NumbersKeepTheirKindAndExactValue) {
  auto kindOf = [](std::string_view text) { return decodeJSON(text).value_or(Value()).type(); };
  EXPECT_EQ(kindOf("1"), Value::Type::Integer);
  EXPECT_EQ(kindOf("-0"), Value::Type::Integer);
  EXPECT_EQ(kindOf("1.0"), Value::Type::Real);
  EXPECT_EQ(kindOf("1e2"), Value::Type::Real);
  EXPECT_EQ(kindOf("true"), Value::Type::Boolean);
  EXPECT_EQ(kindOf("9223372036854775807"), Value::Type::Integer);
  EXPECT_EQ(kindOf("9223372036854775808"), Value::Type::Real);
  EXPECT_EQ(kindOf("-9223372036854775809"), Value::Type::Real);
  EXPECT_EQ(decodeJSON("18446744073709551615")->doubleValue(), 18446744073709551615.0);
  EXPECT_EQ(decodeJSON("1700000000.5")->doubleValue(), 1700000000.5);
  EXPECT_EQ(decodeJSON(R"("\u00e9\ud83d\ude00")"), Value("\xc3\xa9\xf0\x9f\x98\x80"));
  EXPECT_EQ(decodeJSON(R"({"a":1,"a":2})"), Value(Dictionary{{"a", 2}}));
  // A negative zero keeps its sign and kind, so that writing it again gives the same text.
  EXPECT_EQ(encodeJSON(Value(-0.0)), "-0.0");
  const auto negativeZero = decodeJSON(*encodeJSON(Value(Array{-0.0})));
  ASSERT_TRUE(negativeZero && negativeZero->array());
  EXPECT_EQ((*negativeZero)[0].type(), Value::Type::Real);
  EXPECT_TRUE(std::signbit(*(*negativeZero)[0].doubleValue()));

  std::mt19937_64 random(7);
  for (int i = 0; i < 5000; ++i) {
    std::uint64_t bits = random();
    double d;
    std::memcpy(&d, &bits, sizeof d);
    if (!std::isfinite(d)) continue;
    const auto text = encodeJSON(Value(Array{d}));
    ASSERT_TRUE(text.has_value()) << d;
    const auto back = decodeJSON(*text);
    ASSERT_TRUE(back.has_value()) << *text;
    const double read = *(*back)[0].doubleValue();
    ASSERT_EQ(std::memcmp(&read, &d, sizeof d), 0) << *text;
  }
}

TEST(JSONCoding, MalformedTextGivesNothing) {
  for (std::string_view text : {"",
                                " ",
                                "{",
                                "[1,]",
                                "{\"a\" 1}",
                                "{\"a\":1,}",
                                "01",
                                "1.",
                                "nul",
                                "NaN",
                                "[1] x",
                                "\"abc",
                                "'a'",
                                "// c\n1",
                                "\"\xff\"",
                                "\"\xc3\"",
                                "\"\\ud800\"",
                                "\"\\x41\"",
                                "\"tab\tinside\"",
                                "{1:2}"}) {
    EXPECT_EQ(decodeJSON(text), std::nullopt) << text;
  }
}

TEST(JSONCoding, DeepNestingIsRefusedWithoutExhaustingTheStack) {
  EXPECT_TRUE(decodeJSON(nested(512)).has_value());
  EXPECT_EQ(decodeJSON(nested(513)), std::nullopt);
  EXPECT_EQ(decodeJSON(nested(200000)), std::nullopt);
  EXPECT_EQ(decodeJSON(std::string(1000000, '[')), std::nullopt);

  Value deep(Array{});
  for (int i = 1; i < 512; ++i) deep = Value(Array{deep});
  EXPECT_EQ(encodeJSON(deep), nested(512));
  EXPECT_EQ(encodeJSON(Value(Array{deep})), std::nullopt);
}

}  // namespace
}  // namespace norvik::platform
