#include "norvik/platform/property_list.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <limits>

#include "platform/value_test_helpers.h"
#include "support/test_support.h"

namespace norvik::platform {
namespace {

using norvik::testing::sameKinds;

constexpr PropertyListFormat kFormats[] = {PropertyListFormat::XML, PropertyListFormat::Binary};

std::string_view bytesOf(const Data& data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

std::optional<Value> roundTrip(const Value& value, PropertyListFormat format) {
  return decodePropertyList(bytesOf(encodePropertyList(value, format)));
}

std::string xml(std::string_view body) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\">" + std::string(body) +
         "</plist>";
}

Value nestedArrays(int depth) {
  Value value(Array{});
  for (int i = 1; i < depth; ++i) value = Value(Array{value});
  return value;
}

// A binary property list of `count` arrays, each holding the next; the last one is empty, or holds
// array `cycleTo`.
std::string binaryChain(std::uint32_t count, std::optional<std::uint32_t> cycleTo = {}) {
  auto bigEndian = [](std::string& out, std::uint64_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
      out += static_cast<char>(value >> shift);
  };
  std::string out = "bplist00";
  std::vector<std::uint32_t> offsets;
  for (std::uint32_t i = 0; i < count; ++i) {
    offsets.push_back(static_cast<std::uint32_t>(out.size()));
    const bool last = i + 1 == count;
    if (last && !cycleTo) {
      out += '\xa0';
    } else {
      out += '\xa1';
      bigEndian(out, last ? *cycleTo : i + 1, 4);
    }
  }
  const auto tableOffset = out.size();
  for (auto offset : offsets) bigEndian(out, offset, 4);
  out += std::string(6, '\0') + "\x04\x04";
  bigEndian(out, count, 8);
  bigEndian(out, 0, 8);
  bigEndian(out, tableOffset, 8);
  return out;
}

TEST(PropertyListCoding, NestedValuesRoundTripInBothFormats) {
  const Value value(Dictionary{
      {"bools", Array{true, false}},
      {"ints", Array{0, -7, std::numeric_limits<std::int64_t>::min(),
                     std::numeric_limits<std::int64_t>::max(), 1 << 20}},
      {"reals", Array{0.1, 3.0, -0.0, 1700000000.5, 1e300, -2.5e-300}},
      {"text", Array{"", "plain", "\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80 <&> ]]>"}},
      {"data", Data{0, 1, 0, 0xff, '<'}},
      {"when", Date(1700000000.0)},
      {"nested", Dictionary{{"empty", Array{}}, {"none", Dictionary{}}, {"\xc3\xa9", 1}}}});
  EXPECT_EQ(bytesOf(encodePropertyList(value, PropertyListFormat::XML)).find("DOCTYPE"),
            std::string_view::npos);
  for (auto format : kFormats) {
    const auto back = roundTrip(value, format);
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(*back, value) << back->description();
    EXPECT_TRUE(sameKinds(*back, value)) << back->description();
  }
}

TEST(PropertyListCoding, DatesAreRelativeToTheReferenceDate) {
  EXPECT_EQ(decodePropertyList(xml("<date>2001-01-01T00:00:00Z</date>")), Value(Date(978307200.0)));
  EXPECT_EQ(decodePropertyList(xml("<date>2023-11-14T22:13:20Z</date>")),
            Value(Date(1700000000.0)));
  // The binary format keeps the fraction, also before 2001 and in its last second.
  for (double seconds : {1700000000.5, 0.25, -1.5, 978307199.5, 978307199.999999, 978307200.25}) {
    EXPECT_EQ(roundTrip(Value(Date(seconds)), PropertyListFormat::Binary), Value(Date(seconds)))
        << seconds;
  }
  EXPECT_EQ(roundTrip(Value(Date(1700000000.0)), PropertyListFormat::XML),
            Value(Date(1700000000.0)));
}

TEST(PropertyListCoding, IntegersBooleansAndNulls) {
  const auto big = decodePropertyList(xml("<integer>18446744073709551615</integer>"));
  ASSERT_TRUE(big.has_value());
  EXPECT_EQ(big->type(), Value::Type::Real);
  EXPECT_EQ(big->doubleValue(), 18446744073709551615.0);
  EXPECT_EQ(decodePropertyList(xml("<integer>-1</integer>"))->int64Value(), -1);
  EXPECT_EQ(decodePropertyList(xml("<true/>"))->type(), Value::Type::Boolean);
  EXPECT_EQ(decodePropertyList(xml("<integer>1</integer>"))->type(), Value::Type::Integer);
  for (auto format : kFormats) {
    EXPECT_EQ(roundTrip(Value(), format), Value(""));
    EXPECT_EQ(roundTrip(Value(Array{1, Value(), 2}), format), Value(Array{1, 2}));
    EXPECT_EQ(roundTrip(Value(Dictionary{{"a", Value()}}), format), Value(Dictionary{}));
    // Invalid UTF-8 is replaced, so the written bytes always read back.
    EXPECT_EQ(roundTrip(Value("a\xff"), format), Value("a\xef\xbf\xbd"));
  }
}

TEST(PropertyListCoding, MalformedInputGivesNothing) {
  for (std::string_view bytes : {"", "hello", "bplist00", "bplist00 garbage that is not a plist"}) {
    EXPECT_EQ(decodePropertyList(bytes), std::nullopt) << bytes;
  }
  const Data binary =
      encodePropertyList(Value(Dictionary{{"a", Array{1, "two", 3.5, Date(5)}}, {"b", Data{1, 2}}}),
                         PropertyListFormat::Binary);
  for (std::size_t size = 0; size < binary.size(); ++size) {
    EXPECT_EQ(decodePropertyList(bytesOf(binary).substr(0, size)), std::nullopt) << size;
  }
  // Damaged bytes must never crash the reader; whatever it makes of them is acceptable.
  for (std::size_t i = 0; i < binary.size(); ++i) {
    for (std::uint8_t flip : {0x01, 0x0f, 0x80, 0xff}) {
      Data damaged = binary;
      damaged[i] ^= flip;
      (void)decodePropertyList(bytesOf(damaged));
    }
  }
  const Data text =
      encodePropertyList(Value(Array{"a", Dictionary{{"k", 1}}}), PropertyListFormat::XML);
  for (std::size_t size = 0; size < text.size(); ++size) {
    (void)decodePropertyList(bytesOf(text).substr(0, size));
  }
}

TEST(PropertyListCoding, DeepNestingAndCyclesAreRefused) {
  for (auto format : kFormats) {
    EXPECT_EQ(roundTrip(nestedArrays(512), format), nestedArrays(512));
    EXPECT_EQ(roundTrip(nestedArrays(513), format), std::nullopt);
  }
  std::string deep;
  for (int i = 0; i < 200000; ++i) deep += "<array>";
  for (int i = 0; i < 200000; ++i) deep += "</array>";
  EXPECT_EQ(decodePropertyList(xml(deep)), std::nullopt);
  EXPECT_EQ(decodePropertyList(binaryChain(100000)), std::nullopt);
  EXPECT_TRUE(decodePropertyList(binaryChain(512)).has_value());
  EXPECT_EQ(decodePropertyList(binaryChain(1, 0)), std::nullopt);
  EXPECT_EQ(decodePropertyList(binaryChain(3, 1)), std::nullopt);
}

// A binary property list of the given objects (1-byte references, 2-byte offsets); object 0 is
// the top.
std::string binaryObjects(const std::vector<std::string>& objects) {
  std::string out = "bplist00";
  std::vector<std::size_t> offsets;
  for (const std::string& object : objects) {
    offsets.push_back(out.size());
    out += object;
  }
  const std::size_t table = out.size();
  for (std::size_t offset : offsets) {
    out += static_cast<char>(offset >> 8);
    out += static_cast<char>(offset & 0xFF);
  }
  out += std::string(6, '\0') + "\x02\x01";
  for (std::uint64_t value :
       {std::uint64_t{objects.size()}, std::uint64_t{0}, std::uint64_t{table}}) {
    for (int shift = 56; shift >= 0; shift -= 8) out += static_cast<char>(value >> shift);
  }
  return out;
}

TEST(PropertyListCoding, DictionaryKeysMustBePlainStrings) {
  using namespace std::string_literals;
  // {"k": "v"} reads; a key with a NUL, or a key that is no string, made libplist abort.
  EXPECT_EQ(decodePropertyList(binaryObjects({"\xd1\x01\x02", "\x51k", "\x51v"})),
            Value(Dictionary{{"k", "v"}}));
  EXPECT_EQ(decodePropertyList(binaryObjects({"\xd1\x01\x02", "\x53k\0k"s, "\x51v"})),
            std::nullopt);
  EXPECT_EQ(decodePropertyList(binaryObjects({"\xd1\x01\x02", "\x61\0\0"s, "\x51v"})),
            std::nullopt);
  EXPECT_EQ(decodePropertyList(binaryObjects({"\xd1\x01\x02", "\x10\x05", "\x51v"})), std::nullopt);
  EXPECT_EQ(decodePropertyList(binaryObjects({"\xd1\x05\x02", "\x51k", "\x51v"})), std::nullopt);
}

TEST(PropertyListCoding, DatesOutsideTheWritableRangeAreClamped) {
  // A binary date is a double of seconds since 2001; the writer keeps 32-bit seconds, so the reader
  // gives the nearest date the writer can write, and the date round-trips.
  auto binaryDate = [](double seconds) {
    std::uint64_t bits;
    std::memcpy(&bits, &seconds, sizeof bits);
    std::string object = "\x33";
    for (int shift = 56; shift >= 0; shift -= 8) object += static_cast<char>(bits >> shift);
    return decodePropertyList(binaryObjects({object}));
  };
  const auto early = binaryDate(-2147483648.5);
  ASSERT_TRUE(early && early->date());
  EXPECT_EQ(early->date()->timeIntervalSinceReferenceDate(), -2147483648.0);
  EXPECT_EQ(roundTrip(*early, PropertyListFormat::Binary), early);
  const auto inside = binaryDate(-86400.25);
  ASSERT_TRUE(inside && inside->date());
  EXPECT_EQ(inside->date()->timeIntervalSinceReferenceDate(), -86400.25);
  // Doubles far outside the range (libplist gives their microseconds as INT32_MIN) still read as a
  // date of the range.
  for (const double far : {-1e15, 1e15, -1e300}) {
    const auto date = binaryDate(far);
    ASSERT_TRUE(date && date->date()) << far;
    EXPECT_GE(date->date()->timeIntervalSinceReferenceDate(), -2147483648.0) << far;
    EXPECT_LE(date->date()->timeIntervalSinceReferenceDate(), 2147483647.0) << far;
  }
  // Microseconds survive repeated round trips, far from the reference date too.
  for (const double seconds : {-2147481500.516351, -0.000001, 0.999999, 2147483000.000001}) {
    Value value(Date::fromTimeIntervalSinceReferenceDate(seconds));
    const auto once = roundTrip(value, PropertyListFormat::Binary);
    ASSERT_TRUE(once) << seconds;
    EXPECT_EQ(roundTrip(*once, PropertyListFormat::Binary), once) << seconds;
    EXPECT_NEAR(once->date()->timeIntervalSinceReferenceDate(), seconds, 1e-6);
  }
}

TEST(PropertyListCoding, ReadsFiles) {
  norvik::testing::TempDir dir;
  const Value value(Dictionary{{"CFBundleIdentifier", "app.norvik"}, {"Version", 3}});
  for (auto format : kFormats) {
    const Data bytes = encodePropertyList(value, format);
    std::ofstream(dir.file("Info.plist"), std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    EXPECT_EQ(readPropertyListFile(dir.file("Info.plist")), value);
  }
  EXPECT_EQ(readPropertyListFile(dir.file("missing.plist")), std::nullopt);
  EXPECT_EQ(readPropertyListFile(dir.path()), std::nullopt);
}

}  // namespace
}  // namespace norvik::platform
