#include "norvik/vocabulary/lunar_festival.h"

#include "norvik/environment/language_environment.h"
#include "norvik/environment/site_domain.h"

namespace norvik {

FestivalMode festivalModeForUserDomain(std::string_view userDomain) {
  if (userDomain == NVSiteDomainConfigurator::LumoDomain()) return FestivalMode::chinese;
  if (NVLanguageEnvironment::isAppJapanese()) return FestivalMode::japanese;
  return FestivalMode::none;
}

std::string festivalOrLunarCalendar(platform::Date date, int weekStart, std::string_view userDomain,
                                    const std::optional<platform::Calendar>& calendar,
                                    const HolidayNameBlock& holidayNameBlock) {
  return festivalOrLunarCalendar(date, festivalModeForUserDomain(userDomain), weekStart, calendar,
                                 holidayNameBlock);
}

}  // namespace norvik
