#include "norvik/calendar/lunar_converter.h"

#include <cstdio>

extern "C" {

const uint32_t lunar200y[199] = {
    0x04AE53, 0x0A5748, 0x5526BD, 0x0D2650, 0x0D9544, 0x46AAB9, 0x056A4D, 0x09AD42, 0x24AEB6,
    0x04AE4A,  // 1901-1910
    0x6A4DBE, 0x0A4D52, 0x0D2546, 0x5D52BA, 0x0B544E, 0x0D6A43, 0x296D37, 0x095B4B, 0x749BC1,
    0x049754,  // 1911-1920
    0x0A4B48, 0x5B25BC, 0x06A550, 0x06D445, 0x4ADAB8, 0x02B64D, 0x095742, 0x2497B7, 0x04974A,
    0x664B3E,  // 1921-1930
    0x0D4A51, 0x0EA546, 0x56D4BA, 0x05AD4E, 0x02B644, 0x393738, 0x092E4B, 0x7C96BF, 0x0C9553,
    0x0D4A48,  // 1931-1940
    0x6DA53B, 0x0B554F, 0x056A45, 0x4AADB9, 0x025D4D, 0x092D42, 0x2C95B6, 0x0A954A, 0x7B4ABD,
    0x06CA51,  // 1941-1950
    0x0B5546, 0x555ABB, 0x04DA4E, 0x0A5B43, 0x352BB8, 0x052B4C, 0x8A953F, 0x0E9552, 0x06AA48,
    0x6AD53C,  // 1951-1960
    0x0AB54F, 0x04B645, 0x4A5739, 0x0A574D, 0x052642, 0x3E9335, 0x0D9549, 0x75AABE, 0x056A51,
    0x096D46,  // 1961-1970
    0x54AEBB, 0x04AD4F, 0x0A4D43, 0x4D26B7, 0x0D254B, 0x8D52BF, 0x0B5452, 0x0B6A47, 0x696D3C,
    0x095B50,  // 1971-1980
    0x049B45, 0x4A4BB9, 0x0A4B4D, 0xAB25C2, 0x06A554, 0x06D449, 0x6ADA3D, 0x0AB651, 0x093746,
    0x5497BB,  // 1981-1990
    0x04974F, 0x064B44, 0x36A537, 0x0EA54A, 0x86B2BF, 0x05AC53, 0x0AB647, 0x5936BC, 0x092E50,
    0x0C9645,  // 1991-2000
    0x4D4AB8, 0x0D4A4C, 0x0DA541, 0x25AAB6, 0x056A49, 0x7AADBD, 0x025D52, 0x092D47, 0x5C95BA,
    0x0A954E,  // 2001-2010
    0x0B4A43, 0x4B5537, 0x0AD54A, 0x955ABF, 0x04BA53, 0x0A5B48, 0x652BBC, 0x052B50, 0x0A9345,
    0x474AB9,  // 2011-2020
    0x06AA4C, 0x0AD541, 0x24DAB6, 0x04B64A, 0x69573D, 0x0A4E51, 0x0D2646, 0x5E933A, 0x0D534D,
    0x05AA43,  // 2021-2030
    0x36B537, 0x096D4B, 0xB4AEBF, 0x04AD53, 0x0A4D48, 0x6D25BC, 0x0D254F, 0x0D5244, 0x5DAA38,
    0x0B5A4C,  // 2031-2040
    0x056D41, 0x24ADB6, 0x049B4A, 0x7A4BBE, 0x0A4B51, 0x0AA546, 0x5B52BA, 0x06D24E, 0x0ADA42,
    0x355B37,  // 2041-2050
    0x09374B, 0x8497C1, 0x049753, 0x064B48, 0x66A53C, 0x0EA54F, 0x06B244, 0x4AB638, 0x0AAE4C,
    0x092E42,  // 2051-2060
    0x3C9735, 0x0C9649, 0x7D4ABD, 0x0D4A51, 0x0DA545, 0x55AABA, 0x056A4E, 0x0A6D43, 0x452EB7,
    0x052D4B,  // 2061-2070
    0x8A95BF, 0x0A9553, 0x0B4A47, 0x6B553B, 0x0AD54F, 0x055A45, 0x4A5D38, 0x0A5B4C, 0x052B42,
    0x3A93B6,  // 2071-2080
    0x069349, 0x7729BD, 0x06AA51, 0x0AD546, 0x54DABA, 0x04B64E, 0x0A5743, 0x452738, 0x0D264A,
    0x8E933E,  // 2081-2090
    0x0D5252, 0x0DAA47, 0x66B53B, 0x056D4F, 0x04AE45, 0x4A4EB9, 0x0A4D4C, 0x0D1541,
    0x2D92B5,  // 2091-2099
};

const int32_t monthTotal[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

}  // extern "C"

namespace {

constexpr int32_t kFirstYear = 1901;
constexpr int32_t kLastYear = 2099;

// Length (29 or 30) of month position 1..13 in a table entry.
inline int32_t positionLength(uint32_t entry, int32_t position) {
  return ((entry >> (20 - position)) & 1u) != 0 ? 30 : 29;
}

inline int32_t leapMonthOf(uint32_t entry) {
  return static_cast<int32_t>((entry >> 20) & 0xFu);
}

inline bool inTable(int32_t year) {
  return year >= kFirstYear && year <= kLastYear;
}

}  // namespace

extern "C" {

SimpleDate toLunar(SimpleDate solar) {
  const int32_t y = solar.year;
  const int32_t m = solar.month;
  const int32_t d = solar.day;
  SimpleDate zero = {0, 0, 0, 0};
  if (!inTable(y) || m < 1 || m > 12 || d < 1 || d > 31) return zero;
  const uint32_t e = lunar200y[y - kFirstYear];
  const int32_t newYearDay = static_cast<int32_t>(e & 0x1Fu);
  const int32_t spring = ((e >> 5) & 3u) == 1 ? newYearDay - 1 : newYearDay + 30;
  int32_t b = monthTotal[m - 1] + d - 1;
  if (y % 4 == 0 && m >= 3) ++b;

  SimpleDate lunar = {0, 0, 0, 0};
  if (b >= spring) {
    int32_t r = b - spring;
    const int32_t leap = leapMonthOf(e);
    int32_t month = 1;
    int32_t position = 1;
    int32_t toggle = 0;
    // A day offset is below 366 and a lunar year has at least 353 days, so at most 13 positions
    // are passed; the position bound keeps the walk inside the entry for any table contents.
    while (position <= 13 && r >= positionLength(e, position)) {
      r -= positionLength(e, position);
      ++position;
      if (month == leap) {
        toggle ^= 1;
        if (toggle == 0) ++month;
      } else {
        ++month;
      }
    }
    lunar.year = y;
    lunar.month = month;
    lunar.day = r + 1;
  } else {
    if (y - 1 < kFirstYear) return zero;
    int32_t r = spring - b;
    const uint32_t prev = lunar200y[y - 1 - kFirstYear];
    const int32_t leap = leapMonthOf(prev);
    int32_t month = 12;
    int32_t position = leap != 0 ? 13 : 12;
    int32_t toggle = 0;
    while (position > 1 && r > positionLength(prev, position)) {
      r -= positionLength(prev, position);
      --position;
      if (toggle == 0) --month;
      if (month == leap) toggle ^= 1;
    }
    lunar.year = y - 1;
    lunar.month = month;
    lunar.day = positionLength(prev, position) - r + 1;
  }
  // Both months of the leap number carry the flag (see the header).
  lunar.isLeapMonth = (lunar.month == leapMonthOf(lunar200y[lunar.year - kFirstYear])) ? 1 : 0;
  return lunar;
}

SimpleDate toSolar(SimpleDate lunar) {
  int32_t y = lunar.year;
  const int32_t m = lunar.month;
  const int32_t d = lunar.day;
  SimpleDate zero = {0, 0, 0, 0};
  if (!inTable(y) || m < 1 || m > 12 || d < 1 || d > 30) return zero;
  const uint32_t e = lunar200y[y - kFirstYear];
  int32_t n = static_cast<int32_t>(e & 0x1Fu) - 1;
  if (((e >> 5) & 3u) == 2) n += (y == 2016) ? 30 : 31;
  for (int32_t i = 1; i < m; ++i) n += positionLength(e, i);
  n += d;
  const int32_t leap = leapMonthOf(e);
  if (leap != 0 && (leap < m || (leap == m && lunar.isLeapMonth == 1))) {
    n += positionLength(e, m);
  }
  if (n > 366 || (y % 4 != 0 && n == 365)) {
    ++y;
    n -= (y % 4 == 0) ? 366 : 365;
  }
  SimpleDate solar = {y, 0, 0, 0};
  int32_t i = 1;
  while (i <= 12 && monthTotal[i] < n) ++i;
  if (i <= 12) {
    solar.month = i;
    solar.day = n - monthTotal[i - 1];
  } else {
    solar.month = m;
    solar.day = n - monthTotal[m - 1];
  }
  return solar;
}

SimpleDate solar_to_lunar(int32_t year, int32_t month, int32_t day) {
  SimpleDate solar = {year, month, day, 0};
  return toLunar(solar);
}

SimpleDate lunar_to_solar(int32_t year, int32_t month, int32_t day, int32_t isLeapMonth) {
  SimpleDate lunar = {year, month, day, isLeapMonth};
  return toSolar(lunar);
}

int solar_to_lunar_(void) {
  const SimpleDate lunar = solar_to_lunar(2010, 2, 14);
  const SimpleDate solar = lunar_to_solar(2013, 10, 12, 0);
  std::printf("Solar: %d-%d-%d\n", 2010, 2, 14);
  std::printf("=>Lunar: %d-%d-%d\n", lunar.year, lunar.month, lunar.day);
  std::printf("Lunar: %d-%d-%d\n", 2013, 10, 12);
  std::printf("=>Solar: %d-%d-%d\n", solar.year, solar.month, solar.day);
  return 0;
}

}  // extern "C"
