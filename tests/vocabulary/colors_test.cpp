#include "norvik/vocabulary/colors.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

namespace norvik {
namespace {

NVColor rgb(int r, int g, int b, double a = 1.0) {
  return NVColor::colorWith8BitRed(r, g, b, a);
}

TEST(ColorParsing, MarkIsOptionalAndOnlyPositionsOneToSixCount) {
  EXPECT_EQ(NVColor::colorWithHexString("#930000"), rgb(147, 0, 0));
  EXPECT_EQ(NVColor::colorWithHexString("930000"), rgb(147, 0, 0));
  EXPECT_EQ(NVColor::colorWithHexString("#ff000080"), rgb(255, 0, 0));
  EXPECT_EQ(NVColor::colorWithHexString("#FF000080", 0.25), rgb(255, 0, 0, 0.25));
  EXPECT_EQ(NVColor::colorWithHexString("#aBcDeF"), rgb(0xab, 0xcd, 0xef));
}

TEST(ColorParsing, ShortTextsAndTransparentAreClear) {
  for (const char* text : {"#abc", "abc", "", "#12345", "12345", "transparent", "#transparent00",
                           "xx transparent yy"}) {
    EXPECT_EQ(NVColor::colorWithHexString(text), NVColor::clearColor()) << text;
  }
  // "Transparent" with a capital letter is not the keyword; it is read as (invalid) digits.
  EXPECT_EQ(NVColor::colorWithHexString("Transparent").alpha, 1.0);
}

TEST(ColorParsing, InvalidDigitsStopTheirPair) {
  EXPECT_EQ(NVColor::colorWithHexString("#zz00ff"), rgb(0, 0, 255));
  EXPECT_EQ(NVColor::colorWithHexString("#1z00ff"), rgb(1, 0, 255));
  EXPECT_EQ(NVColor::colorWithHexString("#0x10ff"), rgb(0, 16, 255));
  // Seven bytes but four UTF-16 units: too short.
  EXPECT_EQ(NVColor::colorWithHexString("#ééé"), NVColor::clearColor());
}

TEST(ColorParsing, ThreeDigitExpansionAndHexScanning) {
  EXPECT_EQ(NVColor::hexStringTransformFromThreeCharacters("#abc"), "#aabbcc");
  EXPECT_EQ(NVColor::hexStringTransformFromThreeCharacters("abcd"), "#bbccdd");
  EXPECT_EQ(NVColor::hexStringTransformFromThreeCharacters("#abcd"), "#abcd");
  EXPECT_EQ(NVColor::hexValueToUnsigned("0x1F"), 31u);
  EXPECT_EQ(NVColor::hexValueToUnsigned("ff"), 255u);
  EXPECT_EQ(NVColor::hexValueToUnsigned("0xg1"), 0u);
  EXPECT_EQ(NVColor::hexValueToUnsigned(""), 0u);
  EXPECT_EQ(NVColor::hexValueToUnsigned("123456789"), 0xffffffffu);
}

TEST(ColorCache, KeysRoundAlphaAndEntriesAreReused) {
  NVColor::releaseColorCache();
  EXPECT_EQ(NVColor::keyForColorWithHexString("#FFFFFF", 1), "#FFFFFF+1.00");
  EXPECT_EQ(NVColor::keyForColorWithHexString("#930000", 0.501), "#930000+0.50");
  EXPECT_EQ(NVColor::keyForColorWithHexString("#930000", 0.499), "#930000+0.50");
  const NVColor first = NVColor::cached_colorWithHexString("#930000", 0.501);
  EXPECT_EQ(first.alpha, 0.501);
  // Same key: the colour parsed with alpha 0.501 is served.
  EXPECT_EQ(NVColor::cached_colorWithHexString("#930000", 0.499).alpha, 0.501);
  NVColor::cached_colorWithHexString("930000");
  EXPECT_EQ(NVColor::colorCacheDictionary().size(), 2u);
  NVColor::releaseColorCache();
  EXPECT_TRUE(NVColor::colorCacheDictionary().empty());
  EXPECT_EQ(NVColor::cached_colorWithHexString("#930000", 0.499).alpha, 0.499);
}

TEST(ColorMixing, OtherAlphaWeightsAndResultIsOpaque) {
  const NVColor black = rgb(0, 0, 0, 0.3);
  const NVColor mid = black.mixWithColor(rgb(255, 255, 255), 0.5);
  EXPECT_DOUBLE_EQ(mid.red, 0.5);
  EXPECT_DOUBLE_EQ(mid.blue, 0.5);
  EXPECT_EQ(mid.alpha, 1.0);
  const NVColor same = black.mixWithColor(NVColor::clearColor());
  EXPECT_EQ(same, rgb(0, 0, 0));
  EXPECT_DOUBLE_EQ(black.mixWithColor(rgb(255, 0, 0, 0.5)).red, 0.5);
}

TEST(ColorText, UpperCaseSixDigitsRounded) {
  EXPECT_EQ(hexStringFromColor(rgb(255, 0, 0)), "FF0000");
  EXPECT_EQ(hexStringFromColor(NVColor::colorWithHexString("#0a1b2c")), "0A1B2C");
  const double almost[] = {0.5, 0.002, 0.998};
  EXPECT_EQ(hexStringFromCGColor(almost), "8001FE");
  const double grey[] = {0.5, 1.0};
  EXPECT_EQ(hexStringFromCGColor(grey), "");
}

TEST(ColorPalette, RandomOrderIsShadeByShadeWithinEachHalf) {
  ASSERT_EQ(projectColors().size(), 50u);
  ASSERT_EQ(randomColors().size(), 50u);
  EXPECT_EQ(std::set<std::string_view>(projectColors().begin(), projectColors().end()),
            std::set<std::string_view>(randomColors().begin(), randomColors().end()));
  const std::vector<std::string_view> start(randomColors().begin(), randomColors().begin() + 6);
  EXPECT_EQ(start, (std::vector<std::string_view>{"#930000", "#B45F06", "#BF9002", "#73761D",
                                                  "#38761D", "#E13E39"}));
  EXPECT_EQ(randomColors()[25], "#2A9364");
  EXPECT_EQ(randomColors()[49], "#A9949E");
  for (int i = 0; i < 20; ++i) {
    const std::string pick = stringForRandomColor();
    EXPECT_NE(std::find(randomColors().begin(), randomColors().end(), pick), randomColors().end());
  }
}

// Views on several threads share the cache: every look-up gives the parsed colour, and the cache
// ends with one entry per text and alpha.
TEST(ColorCacheConcurrency, SharedLookUpsAgree) {
  NVColor::releaseColorCache();
  std::vector<std::thread> threads;
  std::vector<int> mismatches(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &mismatches] {
      for (int round = 0; round < 200; ++round) {
        for (std::string_view text : projectColors()) {
          if (NVColor::cached_colorWithHexString(text) != NVColor::colorWithHexString(text)) {
            ++mismatches[t];
          }
        }
        if (t == 0 && round % 50 == 0) NVColor::releaseColorCache();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(mismatches, std::vector<int>(4, 0));
  EXPECT_LE(NVColor::colorCacheDictionary().size(), 50u);
}

}  // namespace
}  // namespace norvik
