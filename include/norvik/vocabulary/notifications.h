#pragma once
// The application's in-process notifications: their names, the keys of their user information,
// and NVNotificationCenter, which posts the notifications this library sends on the process's
// default notification centre (platform/notification_center.h).

#include <optional>
#include <string_view>

#include "norvik/environment/user_language.h"

namespace norvik {

// Names of the application's notifications. Each value is the constant's own name, except
// NVProjectDidChangeNotification, whose value reads "NVProjectDidChangedNotification": observers
// use the constant, never a literal.
inline constexpr std::string_view NVAnnualReportBannerNeedCloseNotification =
    "NVAnnualReportBannerNeedCloseNotification";
inline constexpr std::string_view NVAnnualReportSuccessfullySharedNotification =
    "NVAnnualReportSuccessfullySharedNotification";
inline constexpr std::string_view NVAppUnlockedNotification = "NVAppUnlockedNotification";
inline constexpr std::string_view NVCalendarBindAuthorizationSuccessNotification =
    "NVCalendarBindAuthorizationSuccessNotification";
inline constexpr std::string_view NVCalendarConfigDidChangeNotification =
    "NVCalendarConfigDidChangeNotification";
inline constexpr std::string_view NVCompletedTaskStyleChangeNotification =
    "NVCompletedTaskStyleChangeNotification";
inline constexpr std::string_view NVDailyRemindTimeDidChangeNotification =
    "NVDailyRemindTimeDidChangeNotification";
inline constexpr std::string_view NVDeletedTaskInDetailNotification =
    "NVDeletedTaskInDetailNotification";
inline constexpr std::string_view NVDragTaskToChangeProjectNotification =
    "NVDragTaskToChangeProjectNotification";
inline constexpr std::string_view NVFocusDataDidProcessNotification =
    "NVFocusDataDidProcessNotification";
inline constexpr std::string_view NVFontSizeDidChangeNotification =
    "NVFontSizeDidChangeNotification";
inline constexpr std::string_view NVFutureTimeSpanDidChangeNotification =
    "NVFutureTimeSpanDidChangeNotification";
inline constexpr std::string_view NVHolidayEnabledDidChangeNotification =
    "NVHolidayEnabledDidChangeNotification";
inline constexpr std::string_view NVListStatusDidChangeNotification =
    "NVListStatusDidChangeNotification";
inline constexpr std::string_view NVLocalDataTransferDidFinishNotification =
    "NVLocalDataTransferDidFinishNotification";
inline constexpr std::string_view NVLunarCalendarDidChangeNotification =
    "NVLunarCalendarDidChangeNotification";
inline constexpr std::string_view NVMinimizeFocusIfCouldNotification =
    "NVMinimizeFocusIfCouldNotification";
inline constexpr std::string_view NVMovedTaskDidFinishNotification =
    "NVMovedTaskDidFinishNotification";
inline constexpr std::string_view NVNLPEnabledDidChangeNotification =
    "NVNLPEnabledDidChangeNotification";
inline constexpr std::string_view NVNewDayComesNotification = "NVNewDayComesNotification";
inline constexpr std::string_view NVNewHourComesNotification = "NVNewHourComesNotification";
inline constexpr std::string_view NVNotionBindAuthorizationSuccessNotification =
    "NVNotionBindAuthorizationSuccessNotification";
inline constexpr std::string_view NVPinnedProjectDidChangeNotification =
    "NVPinnedProjectDidChangeNotification";
inline constexpr std::string_view NVPresetTaskDidCompleteNotification =
    "NVPresetTaskDidCompleteNotification";
inline constexpr std::string_view NVProjectClosedOrShowInAllDidChangeNotification =
    "NVProjectClosedOrShowInAllDidChangeNotification";
inline constexpr std::string_view NVProjectDidChangeNotification =
    "NVProjectDidChangedNotification";
inline constexpr std::string_view NVProjectDidOpenedNotification = "NVProjectDidOpenedNotification";
inline constexpr std::string_view NVProjectMenuViewControllerDidLoadNotification =
    "NVProjectMenuViewControllerDidLoadNotification";
inline constexpr std::string_view NVProjectPropertyDidChangeNotification =
    "NVProjectPropertyDidChangeNotification";
inline constexpr std::string_view NVRefreshBadgeDidRemindNotification =
    "NVRefreshBadgeDidRemindNotification";
inline constexpr std::string_view NVSettingsBadgeDidChangeNotification =
    "NVSettingsBadgeDidChangeNotification";
inline constexpr std::string_view NVShowDailyScheduleNotification =
    "NVShowDailyScheduleNotification";
inline constexpr std::string_view NVShowDailyScheduleTipsNotification =
    "NVShowDailyScheduleTipsNotification";
inline constexpr std::string_view NVSidebarCountChangeNotification =
    "NVSidebarCountChangeNotification";
inline constexpr std::string_view NVSubscribedCalendarEventsSyncFinishedNotification =
    "NVSubscribedCalendarEventsSyncFinishedNotification";
inline constexpr std::string_view NVSubscribedCalendarSuccessNotification =
    "NVSubscribedCalendarSuccessNotification";
inline constexpr std::string_view NVTagDidChangeNotification = "NVTagDidChangeNotification";
inline constexpr std::string_view NVTagDidReorderNotification = "NVTagDidReorderNotification";
inline constexpr std::string_view NVTaskDidChangeNotification = "NVTaskDidChangeNotification";
inline constexpr std::string_view NVTaskListContainerViewControllerDidLoadNotification =
    "NVTaskListContainerViewControllerDidLoadNotification";
inline constexpr std::string_view NVTaskListViewStyleDidChangeNotification =
    "NVTaskListViewStyleDidChangeNotification";
inline constexpr std::string_view NVTaskReminderWhenActiveNotification =
    "NVTaskReminderWhenActiveNotification";
inline constexpr std::string_view NVTimeAccuracyDidChangeNotification =
    "NVTimeAccuracyDidChangeNotification";
inline constexpr std::string_view NVTimeCompensationDidChangeNotification =
    "NVTimeCompensationDidChangeNotification";
inline constexpr std::string_view NVTimeFormatChangeNotification = "NVTimeFormatChangeNotification";
inline constexpr std::string_view NVURLSubscribedCalendarSuccessNotification =
    "NVURLSubscribedCalendarSuccessNotification";
inline constexpr std::string_view NVUpdateFocusDataNotification = "NVUpdateFocusDataNotification";
// NVUserLanguageDidChangeNotification belongs to this family too; it is declared with the
// interface-language operations in norvik/environment/user_language.h.
inline constexpr std::string_view NVWeekNumbersEnabledDidChangeNotification =
    "NVWeekNumbersEnabledDidChangeNotification";
inline constexpr std::string_view NVWeekStartOnDidChangeNotification =
    "NVWeekStartOnDidChangeNotification";

// Notification names that are used only through NVNotificationCenter. "Availablity" is spelled so
// in the stored and compared values.
struct NotificationName {
  static constexpr std::string_view refreshProjects = "refreshProjects";
  static constexpr std::string_view focusAvailablityDidChange = "focusAvailablityDidChange";
  static constexpr std::string_view habitAvailablityDidChange = "habitAvailablityDidChange";
  static constexpr std::string_view countdownAvailablityDidChange = "countdownAvailablityDidChange";
};

// User-information keys. kNVSceneID names the window scene that asked for a refresh.
inline constexpr std::string_view kNVSceneID = "kNVSceneID";
inline constexpr std::string_view kNotificationKeyStartDate = "startDate";
inline constexpr std::string_view kNotificationKeyEndDate = "endDate";

// Posts on platform::NotificationCenter::defaultCenter(), with no sender, synchronously on the
// calling thread.
struct NVNotificationCenter {
  // NVSettingsBadgeDidChangeNotification, without user information.
  static void badgeForSettingsDidChange();
  // The three "…AvailablityDidChange" names, without user information.
  static void focusAvailablityDidChange();
  static void habitAvailablityDidChange();
  static void countdownAvailablityDidChange();
  // "refreshProjects" with user information: an empty dictionary without a scene identifier,
  // otherwise {kNVSceneID: sceneID}.
  static void refreshProjects(std::optional<std::string_view> sceneID = std::nullopt);
  // The same notification, posted at the next moment the calling thread's main loop is idle (see
  // NVIdleRunner). Each call posts once; calls made before that moment post then, in call order.
  static void refreshProjectsWhenIdle(std::optional<std::string_view> sceneID = std::nullopt);
};

// NVNotificationCenter::refreshProjectsWhenIdle.
void refreshProjectsWhenIdle(std::optional<std::string_view> sceneID = std::nullopt);

}  // namespace norvik
