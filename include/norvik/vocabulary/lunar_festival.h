#pragma once
// The festival text of a day cell for the user's site and language: Chinese festivals for users of
// the China-region site, the caller's holiday names for a Japanese interface, nothing otherwise.
#include <optional>
#include <string>
#include <string_view>

#include "norvik/calendar/lunar_display.h"

namespace norvik {

// FestivalMode::chinese when `userDomain` is NVSiteDomainConfigurator::LumoDomain(), else
// FestivalMode::japanese when NVLanguageEnvironment::isAppJapanese(), else FestivalMode::none.
FestivalMode festivalModeForUserDomain(std::string_view userDomain);

// festivalOrLunarCalendar (lunar_display.h) in the mode chosen by festivalModeForUserDomain.
// `weekStart` is accepted and not used. The empty string when there is no festival.
std::string festivalOrLunarCalendar(platform::Date date, int weekStart, std::string_view userDomain,
                                    const std::optional<platform::Calendar>& calendar,
                                    const HolidayNameBlock& holidayNameBlock);

}  // namespace norvik
