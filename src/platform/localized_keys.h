#pragma once
// Every key the library looks up in the main bundle's string tables, listed by the module that
// looks it up. The shipped tables (resources/MainBundle/<code>.lproj) hold an English text for
// each; the string-table test walks this list, so a module that starts looking up a new key adds
// it here, and the test then insists on an English text and checks each translation's format
// specifiers against the key's.
//
// Keys built by formatting (such as "the 2nd Tuesday" or "%@ in Mar") are listed in every form the
// module can build.

#include <span>
#include <string_view>

namespace norvik::detail {

struct LocalizedKey {
  std::string_view key;
  std::string_view table;  // empty: the default table "Localizable"
};

struct LocalizedKeyGroup {
  std::string_view module;  // "<layer>/<module>"
  std::span<const LocalizedKey> keys;
};

// environment/user_language
inline constexpr LocalizedKey kEnvironmentUserLanguageKeys[] = {
    {"System Default", ""},
};

// recurrence/repeat_description
inline constexpr LocalizedKey kRecurrenceRepeatDescriptionKeys[] = {
    {"Official Working Days", ""},
    {"official_holidays", ""},
    {"Ebbinghaus Curve", ""},
    {"Ebbinghaus_%dst", ""},
    {"Ebbinghaus_%dnd", ""},
    {"Ebbinghaus_%drd", ""},
    {"Ebbinghaus_%dth", ""},
    {"%d selected", ""},
    {"Every %d days", ""},
    {"Every day", ""},
    {"None", ""},
    {"Every %d weeks", ""},
    {"Weekly", ""},
    {"Every %d weeks on weekdays (Mon-Fri)", ""},
    {"Every Weekday (Mon - Fri)", ""},
    {"every_weekend", ""},
    {"Every %d weeks on %@", ""},
    {"Every %d weeks on all days", ""},
    {"Every week on %@", ""},
    {"Every %d months", ""},
    {"Every month", ""},
    {"First workday", ""},
    {"Last workday", ""},
    {"the last day", ""},
    {"the 1st day", ""},
    {"the 2nd day", ""},
    {"the 3rd day", ""},
    {"the 4th day", ""},
    {"the 5th day", ""},
    {"the 6th day", ""},
    {"the 7th day", ""},
    {"the 8th day", ""},
    {"the 9th day", ""},
    {"the 10th day", ""},
    {"the 11th day", ""},
    {"the 12th day", ""},
    {"the 13th day", ""},
    {"the 14th day", ""},
    {"the 15th day", ""},
    {"the 16th day", ""},
    {"the 17th day", ""},
    {"the 18th day", ""},
    {"the 19th day", ""},
    {"the 20th day", ""},
    {"the 21st day", ""},
    {"the 22nd day", ""},
    {"the 23rd day", ""},
    {"the 24th day", ""},
    {"the 25th day", ""},
    {"the 26th day", ""},
    {"the 27th day", ""},
    {"the 28th day", ""},
    {"the 29th day", ""},
    {"the 30th day", ""},
    {"the 31st day", ""},
    {"day %d", ""},
    {" and the last day", ""},
    {" and %d", ""},
    {"the 1st Sunday", ""},
    {"the 1st Monday", ""},
    {"the 1st Tuesday", ""},
    {"the 1st Wednesday", ""},
    {"the 1st Thursday", ""},
    {"the 1st Friday", ""},
    {"the 1st Saturday", ""},
    {"the 2nd Sunday", ""},
    {"the 2nd Monday", ""},
    {"the 2nd Tuesday", ""},
    {"the 2nd Wednesday", ""},
    {"the 2nd Thursday", ""},
    {"the 2nd Friday", ""},
    {"the 2nd Saturday", ""},
    {"the 3rd Sunday", ""},
    {"the 3rd Monday", ""},
    {"the 3rd Tuesday", ""},
    {"the 3rd Wednesday", ""},
    {"the 3rd Thursday", ""},
    {"the 3rd Friday", ""},
    {"the 3rd Saturday", ""},
    {"the 4th Sunday", ""},
    {"the 4th Monday", ""},
    {"the 4th Tuesday", ""},
    {"the 4th Wednesday", ""},
    {"the 4th Thursday", ""},
    {"the 4th Friday", ""},
    {"the 4th Saturday", ""},
    {"the 5th Sunday", ""},
    {"the 5th Monday", ""},
    {"the 5th Tuesday", ""},
    {"the 5th Wednesday", ""},
    {"the 5th Thursday", ""},
    {"the 5th Friday", ""},
    {"the 5th Saturday", ""},
    {"the last Sunday", ""},
    {"the last Monday", ""},
    {"the last Tuesday", ""},
    {"the last Wednesday", ""},
    {"the last Thursday", ""},
    {"the last Friday", ""},
    {"the last Saturday", ""},
    {"%@ in Jan", ""},
    {"%@ in Feb", ""},
    {"%@ in Mar", ""},
    {"%@ in Apr", ""},
    {"%@ in May", ""},
    {"%@ in Jun", ""},
    {"%@ in Jul", ""},
    {"%@ in Aug", ""},
    {"%@ in Sep", ""},
    {"%@ in Oct", ""},
    {"%@ in Nov", ""},
    {"%@ in Dec", ""},
    {"Last day", ""},
    {"Every %d months on %@", ""},
    {"Monthly", ""},
    {"Every %d years", ""},
    {"Yearly", ""},
    {"%1$@ on %2$@", ""},
    {"%1$@ empty on %2$@", ""},
    {" (%@)", "Special"},
    {", %d", "Special"},
    {"space", "Special"},
};

// recurrence/interval_description
inline constexpr LocalizedKey kRecurrenceIntervalDescriptionKeys[] = {
    {"%d days", ""},
    {"1 day", ""},
    {"%d weeks", ""},
    {"1 week", ""},
    {"%d months", ""},
    {"1 month", ""},
    {"%d years", ""},
    {"%d year", ""},
    {"%@ after completion", ""},
    {"The next occurrence will appear %@ after completion of current occurrence.", ""},
};

// calendar/date_utils
inline constexpr LocalizedKey kCalendarDateUtilsKeys[] = {
    {"the 1st", ""},  {"the 2nd", ""},  {"the 3rd", ""},  {"the 4th", ""},  {"the 5th", ""},
    {"the 6th", ""},  {"the 7th", ""},  {"the 8th", ""},  {"the 9th", ""},  {"the 10th", ""},
    {"the 11th", ""}, {"the 12th", ""}, {"the 13th", ""}, {"the 14th", ""}, {"the 15th", ""},
    {"the 16th", ""}, {"the 17th", ""}, {"the 18th", ""}, {"the 19th", ""}, {"the 20th", ""},
    {"the 21st", ""}, {"the 22nd", ""}, {"the 23rd", ""}, {"the 24th", ""}, {"the 25th", ""},
    {"the 26th", ""}, {"the 27th", ""}, {"the 28th", ""}, {"the 29th", ""}, {"the 30th", ""},
    {"the 31st", ""},
};

// vocabulary/smart_projects
inline constexpr LocalizedKey kVocabularySmartProjectsKeys[] = {
    {"Inbox", ""},
    {"All", ""},
    {"Today", ""},
    {"Tomorrow", ""},
    {"Next 7 Days", ""},
    {"Assigned to Me", ""},
    {"Calendar", ""},
    {"Completed", ""},
    {"project_Won't do", ""},
    {"Tags", ""},
    {"Filter_Filters", ""},
    {"Archived Lists", ""},
    {"Subscribed_Calendars", ""},
    {"Local Calendars", ""},
    {"Trash", ""},
    {"Habit", ""},
};

// vocabulary/text_helpers
inline constexpr LocalizedKey kVocabularyTextHelpersKeys[] = {
    {"Can Comment", ""},
    {"Can Edit", ""},
    {"Read Only", ""},
    {"md_attachment_placeholder_image", ""},
    {"md_attachment_placeholder_file", ""},
};

// calendar/calendar_types
inline constexpr LocalizedKey kCalendarCalendarTypesKeys[] = {
    {"None", ""},
    {"Chinese Lunar", ""},
    {"Korean Lunar", ""},
    {"Hijri（Civil）", ""},
    {"Hebrew", ""},
    {"Saka Era", ""},
    {"Persian Calendar", ""},
    {"Vietnamese Lunar", ""},
    {"Hijri（Kuwaiti）", ""},
    {"Hijri（Saudi）", ""},
};

// recurrence/alternative_calendar_description
inline constexpr LocalizedKey kRecurrenceAlternativeCalendarDescriptionKeys[] = {
    {"Korean Lunar Monthly", ""},
    {"Hebrew Monthly", ""},
    {"Indian Monthly", ""},
    {"Persian Monthly", ""},
    {"Vietnamese Lunar Monthly", ""},
    {"Hijri Monthly", ""},
    {"Lunar Monthly", ""},
    {"Korean Lunar Yearly", ""},
    {"Hebrew Yearly", ""},
    {"Indian Yearly", ""},
    {"Persian Yearly", ""},
    {"Vietnamese Lunar Yearly", ""},
    {"Hijri Yearly", ""},
    {"Lunar Yearly", ""},
    {"the last day", ""},
    {"None", ""},
    {" (%@)", "Special"},
};

inline constexpr LocalizedKeyGroup kLocalizedKeyGroups[] = {
    {"environment/user_language", kEnvironmentUserLanguageKeys},
    {"recurrence/repeat_description", kRecurrenceRepeatDescriptionKeys},
    {"recurrence/interval_description", kRecurrenceIntervalDescriptionKeys},
    {"calendar/date_utils", kCalendarDateUtilsKeys},
    {"vocabulary/smart_projects", kVocabularySmartProjectsKeys},
    {"vocabulary/text_helpers", kVocabularyTextHelpersKeys},
    {"calendar/calendar_types", kCalendarCalendarTypesKeys},
    {"recurrence/alternative_calendar_description", kRecurrenceAlternativeCalendarDescriptionKeys},
};

}  // namespace norvik::detail
