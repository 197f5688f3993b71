#pragma once
// An instant in time, kept as seconds since 1970-01-01T00:00:00Z with its fraction.

#include <compare>

namespace norvik::platform {

class Date {
 public:
  // Seconds between 1970-01-01 and the platform's reference date 2001-01-01 (UTC).
  static constexpr double kTimeIntervalBetween1970AndReferenceDate = 978307200.0;

  constexpr Date() = default;
  constexpr explicit Date(double secondsSince1970) : seconds_(secondsSince1970) {}

  static constexpr Date fromTimeIntervalSince1970(double seconds) { return Date(seconds); }
  static constexpr Date fromTimeIntervalSinceReferenceDate(double seconds) {
    return Date(seconds + kTimeIntervalBetween1970AndReferenceDate);
  }
  // The current instant from the environment's clock (the system clock unless a test fixed it).
  static Date now();

  constexpr double timeIntervalSince1970() const { return seconds_; }
  constexpr double timeIntervalSinceReferenceDate() const {
    return seconds_ - kTimeIntervalBetween1970AndReferenceDate;
  }
  constexpr double timeIntervalSinceDate(Date other) const { return seconds_ - other.seconds_; }
  constexpr Date dateByAddingTimeInterval(double seconds) const { return Date(seconds_ + seconds); }

  constexpr auto operator<=>(const Date&) const = default;
  constexpr bool operator==(const Date&) const = default;

 private:
  double seconds_ = 0.0;
};

// Seconds since 1970 read from the system's real-time clock, ignoring the environment.
double systemClockSeconds();

}  // namespace norvik::platform
