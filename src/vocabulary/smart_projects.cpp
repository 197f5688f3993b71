#include "norvik/vocabulary/smart_projects.h"

#include <array>

namespace norvik {
namespace {

constexpr std::array<SmartProjectName, 15> kNames{{
    {kNVAllSmartProjectID, "All"},
    {kNVTodaySmartProjectID, "Today"},
    {kNVTomorrowSmartProjectID, "Tomorrow"},
    {kNVNext7DaysSmartProjectID, "Next 7 Days"},
    {kNVAssignedToMeSmartProjectID, "Assigned to Me"},
    {kNVCalendarSmartProjectID, "Calendar"},
    {kNVCompletedSmartProjectID, "Completed"},
    {kNVAbandonedSmartProjectID, "project_Won't do"},
    {kNVTagSmartProjectID, "Tags"},
    {kNVCustomSmartProjectID, "Filter_Filters"},
    {kNVClosedSmartProjectID, "Archived Lists"},
    {kNVEventsSmartProjectID, "Subscribed_Calendars"},
    {kNVLocalCalendarsSmartProjectID, "Local Calendars"},
    {kNVTrashSmartProjectID, "Trash"},
    {kNVHabitSmartProjectID, "Habit"},
}};

}  // namespace

bool isAllSP(std::string_view identifier) noexcept {
  return identifier == kNVAllSmartProjectID;
}
bool isTodaySP(std::string_view identifier) noexcept {
  return identifier == kNVTodaySmartProjectID;
}
bool isTomorrowSP(std::string_view identifier) noexcept {
  return identifier == kNVTomorrowSmartProjectID;
}
bool isNext7DaySP(std::string_view identifier) noexcept {
  return identifier == kNVNext7DaysSmartProjectID;
}
bool isAssignedToMeSP(std::string_view identifier) noexcept {
  return identifier == kNVAssignedToMeSmartProjectID;
}
bool isCalendarSP(std::string_view identifier) noexcept {
  return identifier == kNVCalendarSmartProjectID;
}
bool isCompletedSP(std::string_view identifier) noexcept {
  return identifier == kNVCompletedSmartProjectID;
}
bool isAbandonedSP(std::string_view identifier) noexcept {
  return identifier == kNVAbandonedSmartProjectID;
}
bool isTagSP(std::string_view identifier) noexcept {
  return identifier == kNVTagSmartProjectID;
}
bool isCSLSP(std::string_view identifier) noexcept {
  return identifier == kNVCustomSmartProjectID;
}
bool isClosedSP(std::string_view identifier) noexcept {
  return identifier == kNVClosedSmartProjectID;
}
bool isEventSP(std::string_view identifier) noexcept {
  return identifier == kNVEventsSmartProjectID;
}
bool isLocalCalendarsSP(std::string_view identifier) noexcept {
  return identifier == kNVLocalCalendarsSmartProjectID;
}
bool isTrashSP(std::string_view identifier) noexcept {
  return identifier == kNVTrashSmartProjectID;
}

bool isSmartProject(std::string_view identifier) noexcept {
  return isAllSP(identifier) || isTodaySP(identifier) || isTomorrowSP(identifier) ||
         isNext7DaySP(identifier) || isAssignedToMeSP(identifier) || isCalendarSP(identifier) ||
         isTagSP(identifier) || isCompletedSP(identifier) || isAbandonedSP(identifier) ||
         isTrashSP(identifier) || isCSLSP(identifier);
}

bool isMatrixID(std::string_view identifier) noexcept {
  return identifier == NVMatrixEntityIDMatrix1 || identifier == NVMatrixEntityIDMatrix2 ||
         identifier == NVMatrixEntityIDMatrix3 || identifier == NVMatrixEntityIDMatrix4;
}

std::span<const SmartProjectName> SmartProject::nameTable() noexcept {
  return kNames;
}

}  // namespace norvik
