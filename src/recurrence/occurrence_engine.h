#pragma once
// The library's occurrence engine: one expansion of RRULE text for every calendar the rules run
// on (Gregorian and the RSCALE calendars of other_calendar.h).
//
// A rule is expanded period by period (the year, month, week, day, hour, minute or second of its
// FREQ, every INTERVAL-th one from the start's): the BYxxx parts coarser than the period limit
// which periods count, the finer ones expand each period into a set of days and times, BYSETPOS
// picks from that set, and COUNT, UNTIL and the caller's limit end the search. Periods that a
// part rules out are skipped as a whole (a secondly rule with BYMONTH=1 jumps to the next January),
// so the cost follows the occurrences found, never the seconds passed. Conventions where RFC 5545
// is silent or forbids a combination follow python-dateutil; docs/RRULE.md lists them.
//
// Extensions plug in through two seams: a rule that stands for a plainer rule (the workday rules)
// is rewritten into it, and a rule whose days come from data (official working days) is a DAILY
// rule with a DayHook that says which civil days may carry an occurrence.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "norvik/calendar/lunisolar.h"
#include "norvik/platform/date.h"
#include "norvik/platform/time_zone.h"
#include "norvik/recurrence/recurrence_rule.h"

namespace norvik::detail {

// The instant of a wall-clock time in a zone (seconds since 1970-01-01T00:00 local). A time a
// spring-forward change skips moves forward by the gap; one a fall-back change repeats is the
// earlier instant.
platform::Date instantOfLocal(const platform::TimeZone& zone, double local);
// The wall-clock time of an instant in a zone, as seconds since 1970-01-01T00:00 local.
double localSecondsOf(const platform::TimeZone& zone, platform::Date instant);

// Collects occurrences in ascending order and decides when a search ends: the limit, COUNT,
// UNTIL, the start, the `from` cut and the search bounds of SVRecurrenceAssistant all live here.
class OccurrenceCollector {
 public:
  OccurrenceCollector(const SVRecurrenceRule& rule, const platform::TimeZone& zone,
                      double localStart, platform::Date from, std::size_t limit,
                      bool includingFirst);

  double localStart() const { return localStart_; }
  CivilDay startDay() const { return startDay_; }
  // The last civil day a search may reach.
  CivilDay boundDay() const { return boundDay_; }
  void limitBoundDay(CivilDay day) { boundDay_ = std::min(boundDay_, day); }
  double timeOfDay() const { return timeOfDay_; }
  bool done() const { return done_; }
  std::vector<platform::Date> take() { return std::move(found_); }
  // The civil day before which a search may skip whole periods without changing the result;
  // std::nullopt for a counted rule (COUNT counts from the start, so nothing may be skipped).
  std::optional<CivilDay> skipTarget() const;
  // One more step of a search that may produce nothing; false (and the search ends) after
  // SVRecurrenceAssistant::kMaxCandidates steps.
  bool step();
  // Offers the occurrence at the wall-clock time `local`; returns whether the search goes on.
  // Times before the start, or not after the last one offered (as wall-clock times or as
  // instants), are passed over.
  bool offerLocal(double local);

 private:
  const platform::TimeZone& zone_;
  double localStart_;
  CivilDay startDay_;
  double timeOfDay_;
  platform::Date from_;
  std::size_t limit_;
  bool includingFirst_;
  std::optional<std::int64_t> count_;
  CivilDay fromDay_;
  std::optional<CivilDay> untilDay_;
  std::optional<platform::Date> untilInstant_;
  CivilDay boundDay_ = 0;
  std::optional<double> lastLocal_;
  std::optional<platform::Date> lastInstant_;
  std::int64_t counted_ = 0;
  std::size_t candidates_ = 0;
  std::size_t steps_ = 0;
  bool done_ = false;
  std::vector<platform::Date> found_;
};

// A further limit an extension puts on the civil days a rule may fall on.
struct DayHook {
  // Whether an occurrence may fall on the civil day (days since 1970-01-01 in the rule's zone).
  std::function<bool(CivilDay)> allows;
  // The last civil day `allows` has data for; the search ends after it. std::nullopt: no end.
  std::optional<CivilDay> lastKnownDay;
};

// Expands `rule` on its own calendar (RSCALE; Gregorian without one) into `out`, from the
// collector's start. A `hook` limits the days further. A calendar the library does not have, and
// a start outside the calendar's range, give nothing.
void expandRule(const SVRecurrenceRule& rule, OccurrenceCollector& out,
                const DayHook* hook = nullptr);

}  // namespace norvik::detail
