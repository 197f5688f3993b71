#include "norvik/calendar/calendar_types.h"

#include <array>
#include <utility>

#include "norvik/platform/localized_string.h"

namespace norvik {

namespace {

using DateType = std::shared_ptr<const NVCalendarDateType>;
using TextLocale = std::shared_ptr<const NVCalendarTextLocale>;

// Identifiers in the order they are matched, with their display-name keys. The three Hijri keys
// hold full-width parentheses (U+FF08, U+FF09): they are lookup keys and stay as they are.
constexpr std::array<std::pair<std::string_view, std::string_view>, 9> kDisplayNameKeys = {{
    {"lunar", "Chinese Lunar"},
    {"korean-lunar", "Korean Lunar"},
    {"hebcal", "Hebrew"},
    {"hijri",
     "Hijri\xEF\xBC\x88"
     "Civil\xEF\xBC\x89"},
    {"shaka", "Saka Era"},
    {"persian", "Persian Calendar"},
    {"vietnam", "Vietnamese Lunar"},
    {"hijri-kuwaiti",
     "Hijri\xEF\xBC\x88"
     "Kuwaiti\xEF\xBC\x89"},
    {"hijri-saudi",
     "Hijri\xEF\xBC\x88"
     "Saudi\xEF\xBC\x89"},
}};

}  // namespace

DateType NVCalendarDateType::initWithRawValue(std::string_view rawValue) {
  return std::make_shared<const NVCalendarDateType>(rawValue);
}

std::string NVCalendarDateType::getDisplayName() const {
  for (const auto& [identifier, key] : kDisplayNameKeys) {
    if (rawValue_ == identifier) return platform::localizedString(key, "");
  }
  return platform::localizedString("None", "");
}

#define NV_CALENDAR_DATE_TYPE(NAME, RAW)                    \
  const DateType& NVCalendarDateType::NAME() {              \
    static const DateType instance = initWithRawValue(RAW); \
    return instance;                                        \
  }
NV_CALENDAR_DATE_TYPE(NONE, "")
NV_CALENDAR_DATE_TYPE(LUNAR, "lunar")
NV_CALENDAR_DATE_TYPE(KOREAN, "korean-lunar")
NV_CALENDAR_DATE_TYPE(HIJRI, "hijri")
NV_CALENDAR_DATE_TYPE(HEBCAL, "hebcal")
NV_CALENDAR_DATE_TYPE(SHAKA, "shaka")
NV_CALENDAR_DATE_TYPE(PERSIAN, "persian")
NV_CALENDAR_DATE_TYPE(VIETNAM, "vietnam")
NV_CALENDAR_DATE_TYPE(HIJRI_KUWAITI, "hijri-kuwaiti")
NV_CALENDAR_DATE_TYPE(HIJRI_SAUDI, "hijri-saudi")
#undef NV_CALENDAR_DATE_TYPE

const std::vector<DateType>& NVCalendarDateType::allCases() {
  static const std::vector<DateType> cases = {NONE(),          LUNAR(),      KOREAN(),  HIJRI(),
                                              HEBCAL(),        SHAKA(),      PERSIAN(), VIETNAM(),
                                              HIJRI_KUWAITI(), HIJRI_SAUDI()};
  return cases;
}

TextLocale NVCalendarTextLocale::localeWithRawValue(std::string_view rawValue) {
  return std::make_shared<const NVCalendarTextLocale>(PrivateTag{}, rawValue);
}

#define NV_CALENDAR_TEXT_LOCALE(NAME, RAW)                      \
  const TextLocale& NVCalendarTextLocale::NAME() {              \
    static const TextLocale instance = localeWithRawValue(RAW); \
    return instance;                                            \
  }
NV_CALENDAR_TEXT_LOCALE(EN, "en")
NV_CALENDAR_TEXT_LOCALE(ZHCN, "zh-rCN")
NV_CALENDAR_TEXT_LOCALE(ZHHK, "zh-rHK")
NV_CALENDAR_TEXT_LOCALE(AR, "ar")
NV_CALENDAR_TEXT_LOCALE(KO, "ko")
NV_CALENDAR_TEXT_LOCALE(IW, "iw")
NV_CALENDAR_TEXT_LOCALE(FA, "fa")
#undef NV_CALENDAR_TEXT_LOCALE

}  // namespace norvik
