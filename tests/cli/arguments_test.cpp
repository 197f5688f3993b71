// The parsers of the program's number, instant and day arguments: what they accept and what they
// refuse, with the cases the fuzz target found.
#include "arguments.h"

#include <gtest/gtest.h>

#include <cmath>

namespace norvik::cli {
namespace {

TEST(Arguments, NumbersAreWholeFiniteTexts) {
  EXPECT_EQ(parseNumber<int>("42", "a number"), 42);
  EXPECT_EQ(parseNumber<double>("-1.5e3", "a number"), -1500.0);
  for (const char* text : {"", " 1", "1 ", "1x", "0x10", "99999999999"}) {
    EXPECT_THROW(parseNumber<int>(text, "a number"), UsageError) << text;
  }
  // Infinite and not-a-number reals are no values for a setting or an instant.
  for (const char* text : {"inf", "-inf", "nan", "INFINITY", "1e400"}) {
    EXPECT_THROW(parseNumber<double>(text, "a number"), UsageError) << text;
    EXPECT_THROW(parseInstant(text), UsageError) << text;
  }
}

TEST(Arguments, InstantsAndDays) {
  EXPECT_EQ(parseInstant("1700000000.5").timeIntervalSince1970(), 1700000000.5);
  EXPECT_EQ(parseInstant("2024-02-29T12:30:00Z").timeIntervalSince1970(), 1709209800.0);
  EXPECT_EQ(parseInstant("2024-01-01").timeIntervalSince1970(), 1704067200.0);
  EXPECT_THROW(parseInstant("2024-01-01T12:00:00+0100"), UsageError);
  EXPECT_EQ(parseGregorianDay("2024-02-29"), (GregorianDate{2024, 2, 29}));
  for (const char* text : {"2023-02-29", "2024-13-01", "2024-00-10", "2024-01-01x", "", "-"}) {
    EXPECT_THROW(parseGregorianDay(text), UsageError) << text;
  }
  const std::string message = [] {
    try {
      parseLocalDate("2024-01-01T25:00\nnext line");
    } catch (const UsageError& e) {
      return std::string(e.what());
    }
    return std::string();
  }();
  EXPECT_NE(message.find("is not a date"), std::string::npos) << message;
}

}  // namespace
}  // namespace norvik::cli
