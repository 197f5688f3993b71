// The March equinox against apparent noon at Tehran: the astronomical rule of the Iranian
// calendar, from which tools/lunisolar_tables derives the library's committed Nowruz corrections.
#include "lunisolar_tables/persian_equinox.h"

#include <cmath>

namespace norvik::tables {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;

// Tehran's longitude, 51°25' E; Iran Standard Time is UTC+3:30.
constexpr double kTehranLongitude = 51.0 + 25.0 / 60.0;
constexpr int kIranOffsetSeconds = 12600;

}  // namespace

double equationOfTimeMinutes(double jde) {
  const double tau = (jde - 2451545.0) / 365250.0;
  const double t = tau * 10.0;
  // The sun's mean longitude, and its apparent right ascension from the apparent longitude.
  double l0 = 280.4664567 + 360007.6982779 * tau + 0.03032028 * tau * tau +
              tau * tau * tau / 49931.0 - std::pow(tau, 4) / 15300.0 - std::pow(tau, 5) / 2000000.0;
  const double epsilon =
      23.0 + 26.0 / 60.0 + (21.448 - 46.8150 * t - 0.00059 * t * t + 0.001813 * t * t * t) / 3600.0;
  const double lambda = astro::sunApparentLongitude(jde) * kDegree;
  double alpha =
      std::atan2(std::cos(epsilon * kDegree) * std::sin(lambda), std::cos(lambda)) / kDegree;
  // E = L0 - 0.0057183° - α (+ Δψ cos ε, under a second of time, left out).
  double e = std::fmod(l0 - 0.0057183 - alpha, 360.0);
  if (e > 180.0) e -= 360.0;
  if (e < -180.0) e += 360.0;
  return e * 4.0;
}

namespace {

struct Equinox {
  CivilDay day;            // the day of the equinox in Iran
  double fromNoonSeconds;  // equinox minus apparent noon at Tehran that day
};

Equinox marchEquinox(int year) {
  const int gregorianYear = year + 621;
  const double equinoxJD =
      astro::universalFromDynamical(astro::solarLongitudeJDE(gregorianYear, 0.0));
  const double equinoxSeconds = (equinoxJD - 2440587.5) * 86400.0;
  const CivilDay day =
      static_cast<CivilDay>(std::floor((equinoxSeconds + kIranOffsetSeconds) / 86400.0));
  // Apparent noon: mean noon at Tehran's longitude corrected by the equation of time.
  const double meanNoon = static_cast<double>(day) * 86400.0 + 43200.0 - kTehranLongitude * 240.0;
  const double jdeNoon =
      2440587.5 + meanNoon / 86400.0 + astro::deltaTSeconds(gregorianYear + 0.22) / 86400.0;
  const double apparentNoon = meanNoon - equationOfTimeMinutes(jdeNoon) * 60.0;
  return Equinox{day, equinoxSeconds - apparentNoon};
}

}  // namespace

CivilDay persianAstronomicalNewYear(int year) {
  const Equinox equinox = marchEquinox(year);
  return equinox.fromNoonSeconds < 0 ? equinox.day : equinox.day + 1;
}

double persianEquinoxFromNoonSeconds(int year) {
  return marchEquinox(year).fromNoonSeconds;
}

}  // namespace norvik::tables
