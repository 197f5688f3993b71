#pragma once
// Built-in "smart" lists (All, Today, the next seven days, ...) and the four quadrants of the
// urgency/importance matrix. Each is identified by a fixed string that is stored in settings and
// sort configurations; the values are persisted, so their irregularities stay ("Smart_Trash_...",
// "ASSIGN_ME"). All comparisons are exact and case-sensitive.

#include <span>
#include <string>
#include <string_view>

namespace norvik {

inline constexpr std::string_view kNVAllSmartProjectID = "Smart_ALL_PROJECT_ID";
inline constexpr std::string_view kNVTodaySmartProjectID = "Smart_TODAY_PROJECT_ID";
inline constexpr std::string_view kNVTomorrowSmartProjectID = "Smart_TOMORROW_PROJECT_ID";
inline constexpr std::string_view kNVNext7DaysSmartProjectID = "Smart_NEXT7DAYS_PROJECT_ID";
inline constexpr std::string_view kNVAssignedToMeSmartProjectID = "Smart_ASSIGN_ME_PROJECT_ID";
inline constexpr std::string_view kNVCalendarSmartProjectID = "Smart_CALENDAR_PROJECT_ID";
inline constexpr std::string_view kNVCompletedSmartProjectID = "Smart_COMPLETED_PROJECT_ID";
inline constexpr std::string_view kNVAbandonedSmartProjectID = "Smart_ABANDONED_PROJECT_ID";
inline constexpr std::string_view kNVTagSmartProjectID = "Smart_TAG_PROJECT_ID";
inline constexpr std::string_view kNVCustomSmartProjectID = "Smart_CUSTOM_PROJECT_ID";
inline constexpr std::string_view kNVClosedSmartProjectID = "Smart_CLOSED_PROJECT_ID";
inline constexpr std::string_view kNVEventsSmartProjectID = "Smart_OTHER_EVENTS_PROJECT_ID";
inline constexpr std::string_view kNVLocalCalendarsSmartProjectID =
    "Smart_LOCAL_CALENDARS_PROJECT_ID";
inline constexpr std::string_view kNVTrashSmartProjectID = "Smart_Trash_PROJECT_ID";
inline constexpr std::string_view kNVHabitSmartProjectID = "Smart_HABIT_PROJECT_ID";

// The inbox before the first sign-in, and the display key of every inbox.
inline constexpr std::string_view kNVLocalInboxID = "localInboxID";
inline constexpr std::string_view kNVInboxProjectName = "Inbox";

// Matrix quadrants.
inline constexpr std::string_view NVMatrixEntityIDMatrix1 = "quadrant1";
inline constexpr std::string_view NVMatrixEntityIDMatrix2 = "quadrant2";
inline constexpr std::string_view NVMatrixEntityIDMatrix3 = "quadrant3";
inline constexpr std::string_view NVMatrixEntityIDMatrix4 = "quadrant4";

// The sort configuration of the smart lists, and the keys of each list's sort choice in it.
inline constexpr std::string_view kNVKeySmartProjectsSortConfig = "smartProjects";
inline constexpr std::string_view kNVSmartProjectAllSortOrderID = "all";
inline constexpr std::string_view kNVSmartProjectTodaySortOrderID = "today";
inline constexpr std::string_view kNVSmartProjectTomorrowSortOrderID = "tomorrow";
inline constexpr std::string_view kNVSmartProjectNext7DaysSortOrderID = "n7ds";
inline constexpr std::string_view kNVSmartProjectAssigneeSortOrderID = "assignee";

// One predicate per smart list: exact equality with its identifier.
bool isAllSP(std::string_view identifier) noexcept;
bool isTodaySP(std::string_view identifier) noexcept;
bool isTomorrowSP(std::string_view identifier) noexcept;
bool isNext7DaySP(std::string_view identifier) noexcept;
bool isAssignedToMeSP(std::string_view identifier) noexcept;
bool isCalendarSP(std::string_view identifier) noexcept;
bool isCompletedSP(std::string_view identifier) noexcept;
bool isAbandonedSP(std::string_view identifier) noexcept;
bool isTagSP(std::string_view identifier) noexcept;
bool isCSLSP(std::string_view identifier) noexcept;
bool isClosedSP(std::string_view identifier) noexcept;
bool isEventSP(std::string_view identifier) noexcept;
bool isLocalCalendarsSP(std::string_view identifier) noexcept;
bool isTrashSP(std::string_view identifier) noexcept;

// True for All, Today, Tomorrow, Next 7 Days, Assigned to Me, Calendar, Tags, Completed, Won't Do,
// Trash and the custom filters. The archived, subscribed-events, local-calendars and habit lists
// are not smart projects in this sense, although they have display names.
bool isSmartProject(std::string_view identifier) noexcept;

// True for "quadrant1" to "quadrant4" exactly.
bool isMatrixID(std::string_view identifier) noexcept;

// A smart list's identifier and the localization key of its display name.
struct SmartProjectName {
  std::string_view identifier;
  std::string_view displayKey;
};

struct SmartProject {
  // The fifteen smart lists with their display keys, in a fixed order (All first, Habit last).
  static std::span<const SmartProjectName> nameTable() noexcept;

  // The display name of a smart list or inbox in the user's interface language: the localized
  // "Inbox" for "localInboxID", for the signed-in user's inbox identifier and for any identifier
  // whose lower-case form begins with "inbox"; else the localized display key of a smart list;
  // else (an unknown identifier) the empty string.
  static std::string nameForSmartProjectID(std::string_view identifier);
};

}  // namespace norvik
