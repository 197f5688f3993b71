// The sun's apparent longitude and the true new moons, with ΔT.
//
// The Earth's heliocentric longitude and radius come from the VSOP87 series truncated to
// the terms that matter at the level of a second of arc (the usual abridgement of the planetary
// theory, good to about one arc second, i.e. about 24 seconds of time for the sun, over several
// millennia). The apparent longitude adds the FK5 frame correction, nutation in longitude (the
// 1980 series down to terms of 0.0005") and annual aberration; the latitude (under an arc second)
// does not move the apparent longitude and is left out.
//
// New moons come from the mean lunation with the full periodic series in the sun's and moon's
// anomalies, the moon's argument of latitude and node, and the fourteen planetary arguments; the
// series agrees with a full lunar theory to a few seconds (rarely more than 20 s) over the
// centuries served here.
#include <array>
#include <cmath>
#include <numbers>

#include "norvik/calendar/lunisolar.h"

namespace norvik::astro {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kDegree = kPi / 180.0;
constexpr double kArcSecond = kDegree / 3600.0;
constexpr double kJ2000 = 2451545.0;

struct Term {
  double a;
  double b;
  double c;
};

// Earth, heliocentric ecliptic longitude (units of 1e-8 radian).
constexpr Term kL0[] = {
    {175347046, 0, 0},           {3341656, 4.6692568, 6283.07585},
    {34894, 4.6261, 12566.1517}, {3497, 2.7441, 5753.3849},
    {3418, 2.8289, 3.5231},      {3136, 3.6277, 77713.7715},
    {2676, 4.4181, 7860.4194},   {2343, 6.1352, 3930.2097},
    {1324, 0.7425, 11506.7698},  {1273, 2.0371, 529.691},
    {1199, 1.1096, 1577.3435},   {990, 5.233, 5884.927},
    {902, 2.045, 26.298},        {857, 3.508, 398.149},
    {780, 1.179, 5223.694},      {753, 2.533, 5507.553},
    {505, 4.583, 18849.228},     {492, 4.205, 775.523},
    {357, 2.92, 0.067},          {317, 5.849, 11790.629},
    {284, 1.899, 796.298},       {271, 0.315, 10977.079},
    {243, 0.345, 5486.778},      {206, 4.806, 2544.314},
    {205, 1.869, 5573.143},      {202, 2.458, 6069.777},
    {156, 0.833, 213.299},       {132, 3.411, 2942.463},
    {126, 1.083, 20.775},        {115, 0.645, 0.98},
    {103, 0.636, 4694.003},      {102, 0.976, 15720.839},
    {102, 4.267, 7.114},         {99, 6.21, 2146.17},
    {98, 0.68, 155.42},          {86, 5.98, 161000.69},
    {85, 1.3, 6275.96},          {85, 3.67, 71430.7},
    {80, 1.81, 17260.15},        {79, 3.04, 12036.46},
    {75, 1.76, 5088.63},         {74, 3.5, 3154.69},
    {74, 4.68, 801.82},          {70, 0.83, 9437.76},
    {62, 3.98, 8827.39},         {61, 1.82, 7084.9},
    {57, 2.78, 6286.6},          {56, 4.39, 14143.5},
    {56, 3.47, 6279.55},         {52, 0.19, 12139.55},
    {52, 1.33, 1748.02},         {51, 0.28, 5856.48},
    {49, 0.49, 1194.45},         {41, 5.37, 8429.24},
    {41, 2.4, 19651.05},         {39, 6.17, 10447.39},
    {37, 6.04, 10213.29},        {37, 2.57, 1059.38},
    {36, 1.71, 2352.87},         {36, 1.78, 6812.77},
    {33, 0.59, 17789.85},        {30, 0.44, 83996.85},
    {30, 2.74, 1349.87},         {25, 3.16, 4690.48},
};
constexpr Term kL1[] = {
    {628331966747.0, 0, 0},     {206059, 2.678235, 6283.07585},
    {4303, 2.6351, 12566.1517}, {425, 1.59, 3.523},
    {119, 5.796, 26.298},       {109, 2.966, 1577.344},
    {93, 2.59, 18849.23},       {72, 1.14, 529.69},
    {68, 1.87, 398.15},         {67, 4.41, 5507.55},
    {59, 2.89, 5223.69},        {56, 2.17, 155.42},
    {45, 0.4, 796.3},           {36, 0.47, 775.52},
    {29, 2.65, 7.11},           {21, 5.34, 0.98},
    {19, 1.85, 5486.78},        {19, 4.97, 213.3},
    {17, 2.99, 6275.96},        {16, 0.03, 2544.31},
    {16, 1.43, 2146.17},        {15, 1.21, 10977.08},
    {12, 2.83, 1748.02},        {12, 3.26, 5088.63},
    {12, 5.27, 1194.45},        {12, 2.08, 4694},
    {11, 0.77, 553.57},         {10, 1.3, 6286.6},
    {10, 4.24, 1349.87},        {9, 2.7, 242.73},
    {9, 5.64, 951.72},          {8, 5.3, 2352.87},
    {6, 2.65, 9437.76},         {6, 4.67, 4690.48},
};
constexpr Term kL2[] = {
    {52919, 0, 0},     {8720, 1.0721, 6283.0758}, {309, 0.867, 12566.152}, {27, 0.05, 3.52},
    {16, 5.19, 26.3},  {16, 3.68, 155.42},        {10, 0.76, 18849.23},    {9, 2.06, 77713.77},
    {7, 0.83, 775.52}, {5, 4.66, 1577.34},        {4, 1.03, 7.11},         {4, 3.44, 5573.14},
    {3, 5.14, 796.3},  {3, 6.05, 5507.55},        {3, 1.19, 242.73},       {3, 6.12, 529.69},
    {3, 0.31, 398.15}, {3, 2.28, 553.57},         {2, 4.38, 5223.69},      {2, 3.75, 0.98},
};
constexpr Term kL3[] = {
    {289, 5.844, 6283.076}, {35, 0, 0},         {17, 5.49, 12566.15}, {3, 5.2, 155.42},
    {1, 4.72, 3.52},        {1, 5.3, 18849.23}, {1, 5.97, 242.73},
};
constexpr Term kL4[] = {{114, 3.142, 0}, {8, 4.13, 6283.08}, {1, 3.84, 12566.15}};
constexpr Term kL5[] = {{1, 3.14, 0}};

constexpr Term kR0[] = {
    {100013989, 0, 0},
    {1670700, 3.0984635, 6283.07585},
    {13956, 3.05525, 12566.1517},
    {3084, 5.1985, 77713.7715},
    {1628, 1.1739, 5753.3849},
    {1576, 2.8469, 7860.4194},
    {925, 5.453, 11506.77},
    {542, 4.564, 3930.21},
    {472, 3.661, 5884.927},
    {346, 0.964, 5507.553},
    {329, 5.9, 5223.694},
    {307, 0.299, 5573.143},
    {243, 4.273, 11790.629},
    {212, 5.847, 1577.344},
    {186, 5.022, 10977.079},
    {175, 3.012, 18849.228},
    {110, 5.055, 5486.778},
    {98, 0.89, 6069.78},
    {86, 5.69, 15720.84},
    {86, 1.27, 161000.69},
    {65, 0.27, 17260.15},
    {63, 0.92, 529.69},
    {57, 2.01, 83996.85},
    {56, 5.24, 71430.7},
    {49, 3.25, 2544.31},
    {47, 2.58, 775.52},
    {45, 5.54, 9437.76},
    {43, 6.01, 6275.96},
    {39, 5.36, 4694},
    {38, 2.39, 8827.39},
    {37, 0.83, 19651.05},
    {37, 4.9, 12139.55},
    {36, 1.67, 12036.46},
    {35, 1.84, 2942.46},
    {33, 0.24, 7084.9},
    {32, 0.18, 5088.63},
    {32, 1.78, 398.15},
    {28, 1.21, 6286.6},
    {28, 1.9, 6279.55},
    {26, 4.59, 10447.39},
};
constexpr Term kR1[] = {
    {103019, 1.10749, 6283.07585},
    {1721, 1.0644, 12566.1517},
    {702, 3.142, 0},
    {32, 1.02, 18849.23},
    {31, 2.84, 5507.55},
    {25, 1.32, 5223.69},
    {18, 1.42, 1577.34},
    {10, 5.91, 10977.08},
    {9, 1.42, 6275.96},
    {9, 0.27, 5486.78},
};
constexpr Term kR2[] = {
    {4359, 5.7846, 6283.0758}, {124, 5.579, 12566.152}, {12, 3.14, 0},
    {9, 3.63, 77713.77},       {6, 1.87, 5573.14},      {3, 5.47, 18849.23},
};
constexpr Term kR3[] = {{145, 4.273, 6283.076}, {7, 3.92, 12566.15}};
constexpr Term kR4[] = {{4, 2.56, 6283.08}};

template <std::size_t N>
double series(const Term (&terms)[N], double tau) {
  double sum = 0.0;
  for (const Term& t : terms) sum += t.a * std::cos(t.b + t.c * tau);
  return sum;
}

// Nutation in longitude: multiples of D, M, M', F, Ω and the coefficient (0.0001") a + b T.
struct NutationTerm {
  signed char d, m, mp, f, om;
  double a, b;
};
constexpr NutationTerm kNutation[] = {
    {0, 0, 0, 0, 1, -171996, -174.2},
    {-2, 0, 0, 2, 2, -13187, -1.6},
    {0, 0, 0, 2, 2, -2274, -0.2},
    {0, 0, 0, 0, 2, 2062, 0.2},
    {0, 1, 0, 0, 0, 1426, -3.4},
    {0, 0, 1, 0, 0, 712, 0.1},
    {-2, 1, 0, 2, 2, -517, 1.2},
    {0, 0, 0, 2, 1, -386, -0.4},
    {0, 0, 1, 2, 2, -301, 0},
    {-2, -1, 0, 2, 2, 217, -0.5},
    {-2, 0, 1, 0, 0, -158, 0},
    {-2, 0, 0, 2, 1, 129, 0.1},
    {0, 0, -1, 2, 2, 123, 0},
    {2, 0, 0, 0, 0, 63, 0},
    {0, 0, 1, 0, 1, 63, 0.1},
    {2, 0, -1, 2, 2, -59, 0},
    {0, 0, -1, 0, 1, -58, -0.1},
    {0, 0, 1, 2, 1, -51, 0},
    {-2, 0, 2, 0, 0, 48, 0},
    {0, 0, -2, 2, 1, 46, 0},
    {2, 0, 0, 2, 2, -38, 0},
    {0, 0, 2, 2, 2, -31, 0},
    {0, 0, 2, 0, 0, 29, 0},
    {-2, 0, 1, 2, 2, 29, 0},
    {0, 0, 0, 2, 0, 26, 0},
    {-2, 0, 0, 2, 0, -22, 0},
    {0, 0, -1, 2, 1, 21, 0},
    {0, 2, 0, 0, 0, 17, -0.1},
    {2, 0, -1, 0, 1, 16, 0},
    {-2, 2, 0, 2, 2, -16, 0.1},
    {0, 1, 0, 0, 1, -15, 0},
    {-2, 0, 1, 0, 1, -13, 0},
    {0, -1, 0, 0, 1, -12, 0},
    {0, 0, 2, -2, 0, 11, 0},
    {2, 0, -1, 2, 1, -10, 0},
    {2, 0, 1, 2, 2, -8, 0},
    {0, 1, 0, 2, 2, 7, 0},
    {-2, 1, 1, 0, 0, -7, 0},
    {0, -1, 0, 2, 2, -7, 0},
    {2, 0, 0, 2, 1, -7, 0},
    {2, 0, 1, 0, 0, 6, 0},
    {-2, 0, 2, 2, 2, 6, 0},
    {-2, 0, 1, 2, 1, 6, 0},
    {2, 0, -2, 0, 1, -6, 0},
    {2, 0, 0, 0, 1, -6, 0},
    {0, -1, 1, 0, 0, 5, 0},
    {-2, -1, 0, 2, 1, -5, 0},
    {-2, 0, 0, 0, 1, -5, 0},
    {0, 0, 2, 2, 1, -5, 0},
};

// Nutation in longitude in radians at T Julian centuries from J2000 (TT).
double nutationInLongitude(double t) {
  const double t2 = t * t;
  const double t3 = t2 * t;
  const double d = (297.85036 + 445267.111480 * t - 0.0019142 * t2 + t3 / 189474.0) * kDegree;
  const double m = (357.52772 + 35999.050340 * t - 0.0001603 * t2 - t3 / 300000.0) * kDegree;
  const double mp = (134.96298 + 477198.867398 * t + 0.0086972 * t2 + t3 / 56250.0) * kDegree;
  const double f = (93.27191 + 483202.017538 * t - 0.0036825 * t2 + t3 / 327270.0) * kDegree;
  const double om = (125.04452 - 1934.136261 * t + 0.0020708 * t2 + t3 / 450000.0) * kDegree;
  double sum = 0.0;
  for (const NutationTerm& n : kNutation) {
    const double arg = n.d * d + n.m * m + n.mp * mp + n.f * f + n.om * om;
    sum += (n.a + n.b * t) * std::sin(arg);
  }
  return sum * 0.0001 * kArcSecond;
}

double normalizeDegrees(double x) {
  x = std::fmod(x, 360.0);
  return x < 0 ? x + 360.0 : x;
}

// -180 <= x < 180
double signedDegrees(double x) {
  x = normalizeDegrees(x);
  return x >= 180.0 ? x - 360.0 : x;
}

}  // namespace

double deltaTSeconds(double y) {
  if (y < 1860) {
    // Outside the calendar's range; a smooth long-term parabola keeps answers finite.
    const double u = (y - 1820) / 100;
    return -20 + 32 * u * u;
  }
  if (y < 1900) {
    const double t = y - 1860;
    return 7.62 + 0.5737 * t - 0.251754 * t * t + 0.01680668 * t * t * t -
           0.0004473624 * std::pow(t, 4) + std::pow(t, 5) / 233174;
  }
  if (y < 1920) {
    const double t = y - 1900;
    return -2.79 + 1.494119 * t - 0.0598939 * t * t + 0.0061966 * t * t * t -
           0.000197 * std::pow(t, 4);
  }
  if (y < 1941) {
    const double t = y - 1920;
    return 21.20 + 0.84493 * t - 0.076100 * t * t + 0.0020936 * t * t * t;
  }
  if (y < 1961) {
    const double t = y - 1950;
    return 29.07 + 0.407 * t - t * t / 233 + t * t * t / 2547;
  }
  if (y < 1986) {
    const double t = y - 1975;
    return 45.45 + 1.067 * t - t * t / 260 - t * t * t / 718;
  }
  if (y < 2005) {
    const double t = y - 2000;
    return 63.86 + 0.3345 * t - 0.060374 * t * t + 0.0017275 * t * t * t +
           0.000651814 * std::pow(t, 4) + 0.00002373599 * std::pow(t, 5);
  }
  if (y < 2050) {
    const double t = y - 2000;
    return 62.92 + 0.32217 * t + 0.005589 * t * t;
  }
  if (y < 2150) {
    const double u = (y - 1820) / 100;
    return -20 + 32 * u * u - 0.5628 * (2150 - y);
  }
  const double u = (y - 1820) / 100;
  return -20 + 32 * u * u;
}

double julianDayFromDate(platform::Date date) {
  return 2440587.5 + date.timeIntervalSince1970() / 86400.0;
}

platform::Date dateFromJulianDay(double jd) {
  return platform::Date::fromTimeIntervalSince1970((jd - 2440587.5) * 86400.0);
}

double universalFromDynamical(double jde) {
  const double year = 2000.0 + (jde - kJ2000) / 365.25;
  return jde - deltaTSeconds(year) / 86400.0;
}

double sunApparentLongitude(double jde) {
  const double tau = (jde - kJ2000) / 365250.0;
  const double l =
      (series(kL0, tau) +
       tau *
           (series(kL1, tau) +
            tau * (series(kL2, tau) +
                   tau * (series(kL3, tau) + tau * (series(kL4, tau) + tau * series(kL5, tau)))))) /
      1e8;
  const double r =
      (series(kR0, tau) +
       tau * (series(kR1, tau) +
              tau * (series(kR2, tau) + tau * (series(kR3, tau) + tau * series(kR4, tau))))) /
      1e8;
  const double t = tau * 10.0;
  // Geocentric longitude of the sun, FK5 frame correction (-0.09033"), nutation, aberration.
  double lambda = l + kPi;
  lambda += -0.09033 * kArcSecond;
  lambda += nutationInLongitude(t);
  lambda += -20.4898 * kArcSecond / r;
  return normalizeDegrees(lambda / kDegree);
}

double solarLongitudeJDE(int year, double longitude) {
  // March equinox of the year, then the mean motion to the wanted longitude (-80..280 degrees
  // from the equinox keeps the instant inside the Gregorian year).
  const double equinox = 2451623.80984 + 365.242374 * (year - 2000);
  double offset = normalizeDegrees(longitude);
  if (offset >= 280.0) offset -= 360.0;
  double jde = equinox + offset / 360.0 * 365.242374;
  for (int i = 0; i < 20; ++i) {
    const double delta = signedDegrees(longitude - sunApparentLongitude(jde));
    jde += delta * 365.242374 / 360.0;
    if (std::fabs(delta) < 1e-9) break;
  }
  return jde;
}

double newMoonJDE(int kNumber) {
  const double k = kNumber;
  const double t = k / 1236.85;
  const double t2 = t * t;
  const double t3 = t2 * t;
  const double t4 = t3 * t;
  double jde =
      2451550.09766 + 29.530588861 * k + 0.00015437 * t2 - 0.000000150 * t3 + 0.00000000073 * t4;
  const double e = 1 - 0.002516 * t - 0.0000074 * t2;
  const double m = (2.5534 + 29.10535670 * k - 0.0000014 * t2 - 0.00000011 * t3) * kDegree;
  const double mp =
      (201.5643 + 385.81693528 * k + 0.0107582 * t2 + 0.00001238 * t3 - 0.000000058 * t4) * kDegree;
  const double f =
      (160.7108 + 390.67050284 * k - 0.0016118 * t2 - 0.00000227 * t3 + 0.000000011 * t4) * kDegree;
  const double om = (124.7746 - 1.56375588 * k + 0.0020672 * t2 + 0.00000215 * t3) * kDegree;
  using std::sin;
  jde += -0.40720 * sin(mp) + 0.17241 * e * sin(m) + 0.01608 * sin(2 * mp) + 0.01039 * sin(2 * f) +
         0.00739 * e * sin(mp - m) - 0.00514 * e * sin(mp + m) + 0.00208 * e * e * sin(2 * m) -
         0.00111 * sin(mp - 2 * f) - 0.00057 * sin(mp + 2 * f) + 0.00056 * e * sin(2 * mp + m) -
         0.00042 * sin(3 * mp) + 0.00042 * e * sin(m + 2 * f) + 0.00038 * e * sin(m - 2 * f) -
         0.00024 * e * sin(2 * mp - m) - 0.00017 * sin(om) - 0.00007 * sin(mp + 2 * m) +
         0.00004 * sin(2 * mp - 2 * f) + 0.00004 * sin(3 * m) + 0.00003 * sin(mp + m - 2 * f) +
         0.00003 * sin(2 * mp + 2 * f) - 0.00003 * sin(mp + m + 2 * f) +
         0.00003 * sin(mp - m + 2 * f) - 0.00002 * sin(mp - m - 2 * f) - 0.00002 * sin(3 * mp + m) +
         0.00002 * sin(4 * mp);
  // Planetary arguments.
  constexpr std::array<std::array<double, 3>, 14> kPlanetary = {{
      {299.77, 0.107408, 0.000325},
      {251.88, 0.016321, 0.000165},
      {251.83, 26.651886, 0.000164},
      {349.42, 36.412478, 0.000126},
      {84.66, 18.206239, 0.000110},
      {141.74, 53.303771, 0.000062},
      {207.14, 2.453732, 0.000060},
      {154.84, 7.306860, 0.000056},
      {34.52, 27.261239, 0.000047},
      {207.19, 0.121824, 0.000042},
      {291.34, 1.844379, 0.000040},
      {161.72, 24.198154, 0.000037},
      {239.56, 25.513099, 0.000035},
      {331.55, 3.592518, 0.000023},
  }};
  for (std::size_t i = 0; i < kPlanetary.size(); ++i) {
    double arg = kPlanetary[i][0] + kPlanetary[i][1] * k;
    if (i == 0) arg -= 0.009173 * t2;
    jde += kPlanetary[i][2] * sin(arg * kDegree);
  }
  return jde;
}

int newMoonNumberAtOrBefore(double jd) {
  int k = static_cast<int>(std::floor((jd - 2451550.09766) / 29.530588861));
  while (universalFromDynamical(newMoonJDE(k)) > jd) --k;
  while (universalFromDynamical(newMoonJDE(k + 1)) <= jd) ++k;
  return k;
}

}  // namespace norvik::astro
