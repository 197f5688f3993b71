#pragma once
// Shared values that the application stores, synchronises and compares: sort types, tab-bar names,
// task kinds, countdown styles, configuration keys of quick dates, swipes and shortcuts, calendar
// account kinds, limits and marker numbers. Values are persisted and exchanged with the service, so
// they are kept letter for letter, misspellings included ("ResumeSortTypeByProbject"), and several
// keys of different families deliberately share a value ("mtime", "sortOrder", "priority"): tell
// families apart by context, never by value.

#include <cstdint>
#include <span>
#include <string_view>

#include "norvik/settings/schema_names.h"

namespace norvik {

// Countdown styles and background.
inline constexpr std::string_view NVCountdownBackgroundImageName = "background_image.png";
inline constexpr std::string_view NVCountdownDetailStyleCalendar = "calendar";
inline constexpr std::string_view NVCountdownDetailStyleCartoon = "cartoon";
inline constexpr std::string_view NVCountdownDetailStyleColorCard = "two_color_card";
inline constexpr std::string_view NVCountdownDetailStyleDopamine = "dopamine";
inline constexpr std::string_view NVCountdownDetailStyleFullscreen = "fullscreen_image";
inline constexpr std::string_view NVCountdownDetailStyleNormal = "normal";
inline constexpr std::string_view NVCountdownDetailStylePerpetual = "perpetual";
inline constexpr std::string_view NVCountdownDetailStylePolaroid = "polaroid";
inline constexpr std::string_view NVTabBarNameCountdown = "COUNTDOWN";

// Data-cache types.
inline constexpr std::string_view NVDataCacheTypeCompletionRate = "completion_rate_cache";
inline constexpr std::string_view NVDataCacheTypeDateRepresentation = "date_representation_cache";
inline constexpr std::string_view NVDataCacheTypeHabitTxtIcon = "habit_txt_icon_data_cache";
inline constexpr std::string_view NVDataCacheTypeTimerTxtIcon = "timer_txt_icon_data_cache";

// Date display formats.
inline constexpr std::string_view NVDateDisplayFormatDay = "day";
inline constexpr std::string_view NVDateDisplayFormatWeek = "week";
inline constexpr std::string_view NVDateDisplayFormatYear = "year";

// Focus and timer object types.
inline constexpr std::string_view NVFocusTypePomodoro = "pomodoro";
inline constexpr std::string_view NVFocusTypeStopwatch = "timing";
inline constexpr std::string_view NVTimerObjTypeHabit = "habit";
inline constexpr std::string_view NVTimerObjTypeTask = "task";

// Sorting: sort types, sort-configuration group and order keys, sort-order keys and sections.
inline constexpr std::string_view NVSortConfigGroupKeyAssignee = "assignee";
inline constexpr std::string_view NVSortConfigGroupKeyDueDate = "dueDate";
inline constexpr std::string_view NVSortConfigGroupKeyNone = "none";
inline constexpr std::string_view NVSortConfigGroupKeyOrder = "sortOrder";
inline constexpr std::string_view NVSortConfigGroupKeyPriority = "priority";
inline constexpr std::string_view NVSortConfigGroupKeyProject = "project";
inline constexpr std::string_view NVSortConfigGroupKeyTag = "tag";
inline constexpr std::string_view NVSortConfigOrderKeyAssignee = "assignee";
inline constexpr std::string_view NVSortConfigOrderKeyCreatedTime = "createdTime";
inline constexpr std::string_view NVSortConfigOrderKeyDefault = "default";
inline constexpr std::string_view NVSortConfigOrderKeyDueDate = "dueDate";
inline constexpr std::string_view NVSortConfigOrderKeyModifiedTime = "modifiedTime";
inline constexpr std::string_view NVSortConfigOrderKeyOrder = "sortOrder";
inline constexpr std::string_view NVSortConfigOrderKeyPriority = "priority";
inline constexpr std::string_view NVSortConfigOrderKeyTag = "tag";
inline constexpr std::string_view NVSortConfigOrderKeyTitle = "title";
inline constexpr std::string_view NVSortTypeAssignee = "assignee";
inline constexpr std::string_view NVSortTypeCompletionDate = "completionDate";
inline constexpr std::string_view NVSortTypeCreatedTime = "createdTime";
inline constexpr std::string_view NVSortTypeDate = "dueDate";
inline constexpr std::string_view NVSortTypeModifiedTime = "modifiedTime";
inline constexpr std::string_view NVSortTypeOrder = "sortOrder";
inline constexpr std::string_view NVSortTypePriority = "priority";
inline constexpr std::string_view NVSortTypeProgress = "progress";
inline constexpr std::string_view NVSortTypeProject = "project";
inline constexpr std::string_view NVSortTypeResumeByDate = "ResumeSortTypeByDate";
inline constexpr std::string_view NVSortTypeResumeByPriority = "ResumeSortTypeByPriority";
inline constexpr std::string_view NVSortTypeResumeByProject = "ResumeSortTypeByProbject";
inline constexpr std::string_view NVSortTypeResumeByTag = "ResumeSortTypeByTag";
inline constexpr std::string_view NVSortTypeTag = "tag";
inline constexpr std::string_view NVSortTypeTitle = "title";
inline constexpr std::string_view kNVSortOrderKeyForProjectPinned = "projectPinned";
inline constexpr std::string_view kNVSortOrderKeyForTag = "taskByTag_";
inline constexpr std::string_view kNVSortOrderKeyForTaskPinned = "taskPinned";
inline constexpr std::string_view kNVSortOrderSectionKeyForNoDate = "noDate";
inline constexpr std::string_view kNVSortOrderSectionKeyForNoTag = "noTag";
inline constexpr std::string_view kNVSortOrderSectionKeyForNone = "none";
inline constexpr std::string_view kNVSortOrderSectionKeyForNotAssigned = "-1";
inline constexpr std::string_view kNVSortOrderSectionKeyForNote = "note";
inline constexpr std::string_view kNVSortOrderSectionKeyForOverdue = "overdue";
inline constexpr std::int64_t kNVSortOrderStep = 549755813888;
inline constexpr std::string_view kNVTabBarKeySortOrder = "sortOrder";

// Tab bar: names, statuses and stored keys.
inline constexpr std::string_view NVTabBarNameCalendar = "CALENDAR";
inline constexpr std::string_view NVTabBarNameFocus = "POMO";
inline constexpr std::string_view NVTabBarNameHabit = "HABIT";
inline constexpr std::string_view NVTabBarNameMatrix = "MATRIX";
inline constexpr std::string_view NVTabBarNameMore = "MORE";
inline constexpr std::string_view NVTabBarNameSearch = "SEARCH";
inline constexpr std::string_view NVTabBarNameSettings = "SETTING";
inline constexpr std::string_view NVTabBarNameTask = "TASK";
inline constexpr std::string_view NVTabBarStatusActive = "active";
inline constexpr std::string_view NVTabBarStatusCollapsed = "collapsed";
inline constexpr std::string_view NVTabBarStatusInactive = "inactive";
inline constexpr std::string_view kNVTabBarKeyItems = "bars";
inline constexpr std::string_view kNVTabBarKeyMaxCapacity = "maxCapacity";
inline constexpr std::string_view kNVTabBarKeyModifiedDate = "mtime";
inline constexpr std::string_view kNVTabBarKeyName = "name";
inline constexpr std::string_view kNVTabBarKeyStatus = "status";

// Tasks: kinds, types, relationships, assignee and creator markers, keys.
inline constexpr std::string_view NVTaskKindChecklist = "CHECKLIST";
inline constexpr std::string_view NVTaskKindDescription = "TEXT";
inline constexpr std::string_view NVTaskKindNote = "NOTE";
inline constexpr std::string_view NVTaskRelationshipAttachments = "attachments";
inline constexpr std::string_view NVTaskRelationshipChecklistItems = "checklistItems";
inline constexpr std::string_view NVTaskRelationshipComments = "comments";
inline constexpr std::string_view NVTaskRelationshipProject = "project";
inline constexpr std::string_view NVTaskRelationshipRegionalReminder = "regionalReminder";
inline constexpr std::string_view NVTaskRelationshipReminders = "reminders";
inline constexpr std::string_view NVTaskRelationshipSyncStatuses = "syncStatuses";
inline constexpr std::string_view NVTaskRelationshipTags = "tags";
inline constexpr std::string_view NVTaskTypeNote = "NOTE";
inline constexpr std::string_view NVTaskTypeTask = "TASK";
inline constexpr std::string_view kNVNewTaskDefaultTimeModelDate = "0";
inline constexpr std::string_view kNVNewTaskDefaultTimeModelTimeDuration = "1";
inline constexpr std::string_view kNVNotificationKeyTaskID = "kNVNotificationKeyTaskID";
inline constexpr std::string_view kNVShortcutItemKeyForAddTask = "add_task";
inline constexpr std::string_view kNVSwipesConfKeyForTaskWontDo = "task_wont_do";
inline constexpr std::int64_t kNVTaskAssignedToNobody = -1;
inline constexpr std::int64_t kNVTaskCreatorUnmanned = -1;
inline constexpr std::string_view kNVTaskIDKey = "taskID";
inline constexpr std::string_view kNVTaskIDsKey = "taskIDs";
inline constexpr std::string_view kNVTaskKind = "kNVTaskKind";
inline constexpr std::string_view kNVTempInboxID = "TEMP_INBOX_ID";

// Timeline and timetable options and keys.
inline constexpr std::string_view NVTimelineDisplayColorList = "list";
inline constexpr std::string_view NVTimelineDisplayColorNone = "noColor";
inline constexpr std::string_view NVTimelineDisplayColorPriority = "priority";
inline constexpr std::string_view NVTimelineDisplayColorTag = "tag";
inline constexpr std::string_view NVTimelineViewDisplayTimeRangeDay = "day";
inline constexpr std::string_view NVTimelineViewDisplayTimeRangeMonth = "month";
inline constexpr std::string_view NVTimelineViewDisplayTimeRangeWeek = "week";
inline constexpr std::string_view NVTimelineViewDisplayTimeRangeYear = "year";
inline constexpr std::int64_t kNVDefaultWeekCountForTimetable = 25;
inline constexpr std::string_view kNVProjectViewModeTimeline = "timeline";
inline constexpr double kNVTimelineDefaultFixedDayWidth = 100.0;
inline constexpr std::string_view kNVTimelineKeyColor = "color";
inline constexpr std::string_view kNVTimelineKeyModifiedDate = "mtime";
inline constexpr std::string_view kNVTimelineKeyShowGuide = "showGuide";
inline constexpr std::string_view kNVTimelineKeyShowWeek = "showWeek";
inline constexpr std::string_view kNVTimetableKeyCurrentID = "currentTimetableId";
inline constexpr std::string_view kNVTimetableKeyDisplayInCalendar = "displayInCalendar";
inline constexpr std::string_view kNVTimetableKeyDisplayInSmartList = "displayInSmartProjects";
inline constexpr std::string_view kNVTimetableKeyIsEnabled = "isEnabled";
inline constexpr std::string_view kNVTimetableKeyModifiedDate = "mtime";
inline constexpr std::string_view kNVTimetableViewID = "kNVTimetableViewID";
inline constexpr std::int64_t kNVWeekCountForNewTimetable = -1;

// Calendar accounts, access privileges and binding keys.
inline constexpr std::string_view kNVCalDavCalendarAccountState = "caldav";
inline constexpr std::string_view kNVCalDavCalendarUserPrivilegeBind = "bind";
inline constexpr std::string_view kNVCalDavCalendarUserPrivilegeRead = "read";
inline constexpr std::string_view kNVCalDavCalendarUserPrivilegeReadCurrentUserPrivilegeSet =
    "read-current-user-privilege-set";
inline constexpr std::string_view kNVCalDavCalendarUserPrivilegeReadFreeBusy = "read-free-busy";
inline constexpr std::string_view kNVCalDavCalendarUserPrivilegeUnbind = "unbind";
inline constexpr std::string_view kNVCalDavCalendarUserPrivilegeWrite = "write";
inline constexpr std::string_view kNVCalDavCalendarUserPrivilegeWriteContent = "write-content";
inline constexpr std::string_view kNVCalDavCalendarUserPrivilegeWriteProperties =
    "write-properties";
inline constexpr std::string_view kNVCalendarBindCodeKey = "CODE";
inline constexpr std::string_view kNVCalendarBindStateKey = "STATE";
inline constexpr std::string_view kNVExchangeCalendarAccountState = "exchange";
inline constexpr std::string_view kNVFeishuCalendarAccountState = "feishu";
inline constexpr std::string_view kNVGoogleCalendarAccountState = "google";
inline constexpr std::string_view kNVGoogleConnectCalendarAccountState = "googleConnect";
inline constexpr std::string_view kNVNotionConnectCalendarAccountState = "notion";
inline constexpr std::string_view kNVOutlookCalendarAccountState = "outlook";
inline constexpr std::string_view kNViCloudCalendarAccountState = "icloud";

// Calendar view identifiers.
inline constexpr std::string_view kNVAutomicCalendarViewID = "kNVAutomicCalendarViewID";
inline constexpr std::string_view kNVGridWeekCalendarViewID = "kNVGridWeekCalendarViewID";
inline constexpr std::string_view kNVListCalendarViewID = "kNVListCalendarViewID";
inline constexpr std::string_view kNVMonthCalendarViewID = "kNVMonthCalendarViewID";
inline constexpr std::string_view kNVOneDayCalendarViewID = "kNVOneDayCalendarViewID";
inline constexpr std::string_view kNVThreeDayCalendarViewID = "kNVThreeDayCalendarViewID";
inline constexpr std::string_view kNVWeekCalendarViewID = "kNVWeekCalendarViewID";

// Quick-date configuration keys.
inline constexpr std::string_view kNVQuickDateConfKeyForAdvanceMode = "advance";
inline constexpr std::string_view kNVQuickDateConfKeyForBasicMode = "basic";
inline constexpr std::string_view kNVQuickDateConfKeyForDateClear = "clear";
inline constexpr std::string_view kNVQuickDateConfKeyForDateNextMon = "nextMon";
inline constexpr std::string_view kNVQuickDateConfKeyForDateOther = "other";
inline constexpr std::string_view kNVQuickDateConfKeyForDateSat = "sat";
inline constexpr std::string_view kNVQuickDateConfKeyForDateSun = "sun";
inline constexpr std::string_view kNVQuickDateConfKeyForDateToday = "today";
inline constexpr std::string_view kNVQuickDateConfKeyForDateTomorrow = "tomorrow";
inline constexpr std::string_view kNVQuickDateConfKeyForMode = "mode";
inline constexpr std::string_view kNVQuickDateConfKeyForNone = "none";
inline constexpr std::string_view kNVQuickDateConfKeyForRepeatRepeat = "repeat";
inline constexpr std::string_view kNVQuickDateConfKeyForRepeatSkip = "skip";
inline constexpr std::string_view kNVQuickDateConfKeyForSmartTimeSmart = "smartTime";
inline constexpr std::string_view kNVQuickDateConfKeyForSmartTimeSome = "someTime";
inline constexpr std::string_view kNVQuickDateConfKeyForSmartTimeTodayAfternoon = "today_afternoon";
inline constexpr std::string_view kNVQuickDateConfKeyForSmartTimeTodayEvening = "today_evening";
inline constexpr std::string_view kNVQuickDateConfKeyForSmartTimeTodayMorning = "today_morning";
inline constexpr std::string_view kNVQuickDateConfKeyForSmartTimeTodayNight = "today_night";
inline constexpr std::string_view kNVQuickDateConfKeyForSmartTimeTomorrowMorning = "tmr_morning";
inline constexpr std::string_view kNVQuickDateConfKeyForType = "type";
inline constexpr std::string_view kNVQuickDateConfKeyForTypeDate = "date";
inline constexpr std::string_view kNVQuickDateConfKeyForTypeDeltaTime = "deltaTime";
inline constexpr std::string_view kNVQuickDateConfKeyForTypeRepeat = "repeat";
inline constexpr std::string_view kNVQuickDateConfKeyForTypeSmartTime = "smartTime";
inline constexpr std::string_view kNVQuickDateConfKeyForTypeTime = "time";
inline constexpr std::string_view kNVQuickDateConfKeyForValue = "value";

// Swipe configuration keys.
inline constexpr std::string_view kNVSwipesConfKeyForComplete = "complete";
inline constexpr std::string_view kNVSwipesConfKeyForDate = "date";
inline constexpr std::string_view kNVSwipesConfKeyForDelete = "delete";
inline constexpr std::string_view kNVSwipesConfKeyForLeft = "left";
inline constexpr std::string_view kNVSwipesConfKeyForMoveTo = "moveTo";
inline constexpr std::string_view kNVSwipesConfKeyForNone = "none";
inline constexpr std::string_view kNVSwipesConfKeyForPin = "pin";
inline constexpr std::string_view kNVSwipesConfKeyForPintFocus = "startPomo";
inline constexpr std::string_view kNVSwipesConfKeyForPriority = "priority";
inline constexpr std::string_view kNVSwipesConfKeyForRight = "right";
inline constexpr std::string_view kNVSwipesConfKeyForTags = "tags";
inline constexpr std::string_view kNVSwipesConfKeyForWontDo = "wont_do";

// Home-screen shortcut item keys.
inline constexpr std::string_view kNVShortcutItemKeyForAssignedToMe = "assigned_to_me";
inline constexpr std::string_view kNVShortcutItemKeyForCalendar = "calendar";
inline constexpr std::string_view kNVShortcutItemKeyForNext7Days = "next_7_days";
inline constexpr std::string_view kNVShortcutItemKeyForSearch = "search";
inline constexpr std::string_view kNVShortcutItemKeyForStartPomo = "start_pomo";
inline constexpr std::string_view kNVShortcutItemKeyForToday = "today";

// Later and smart-time keys.
inline constexpr std::string_view kNVCustomLaterStatusNextMonday = "mon";
inline constexpr std::string_view kNVCustomLaterStatusThisSaturday = "sat";
inline constexpr std::string_view kNVCustomLaterStatusThisSunday = "sun";
inline constexpr std::string_view kNVCustomSmartTimeConfKeyForAfternoon = "afternoon";
inline constexpr std::string_view kNVCustomSmartTimeConfKeyForEvening = "evening";
inline constexpr std::string_view kNVCustomSmartTimeConfKeyForMorning = "morning";
inline constexpr std::string_view kNVCustomSmartTimeConfKeyForNight = "night";

// Habits.
inline constexpr std::string_view kNVHabitDefaultUnitCount = "Count";
inline constexpr double kNVHabitStepAllComplete = 0.0;
inline constexpr double kNVHabitStepManual = -1.0;
inline constexpr std::string_view kNVHabitTypeBoolean = "Boolean";
inline constexpr std::string_view kNVHabitTypeReal = "Real";
inline constexpr std::string_view kNVPresetProjectHabitTypeBirthday = "birthday";
inline constexpr std::string_view kNVPresetProjectHabitTypeFitness = "fitness";
inline constexpr std::string_view kNVPresetProjectHabitTypeLearning = "learning";
inline constexpr std::string_view kNVPresetProjectHabitTypePersonal = "personal";
inline constexpr std::string_view kNVPresetProjectHabitTypeShopping = "shopping";
inline constexpr std::string_view kNVPresetProjectHabitTypeWish = "wish";
inline constexpr std::string_view kNVPresetProjectHabitTypeWork = "work";

// Projects, folders, pinning and view modes.
inline constexpr std::string_view kNVAbandonedIDForProjectPinned = "abandoned";
inline constexpr std::string_view kNVCompletedIDForProjectPinned = "completed";
inline constexpr std::string_view kNVLocalCalendarIDForProjectPinned =
    "_special_id_system_calendar_event";
inline constexpr std::string_view kNVProjectFolderIDNone = "NONE";
inline constexpr std::string_view kNVProjectIDKey = "projectID";
inline constexpr std::string_view kNVProjectOrFolderIDForProjectPinned = "all";
inline constexpr std::string_view kNVProjectViewModeKanban = "kanban";
inline constexpr std::string_view kNVProjectViewModeList = "list";
inline constexpr std::string_view kNVTrashIDForProjectPinned = "trash";

// Matrix (quadrant view) keys.
inline constexpr std::int64_t kNVMatrixCurrentVersion = 1;
inline constexpr std::string_view kNVMatrixKeyModifiedDate = "mtime";
inline constexpr std::string_view kNVMatrixKeyQuadrants = "quadrants";
inline constexpr std::string_view kNVMatrixKeyShowCompleted = "show_completed";
inline constexpr std::string_view kNVMatrixKeyVersion = "version";

// Weekday codes.
inline constexpr std::string_view kNVWeekDayFR = "FR";
inline constexpr std::string_view kNVWeekDayMO = "MO";
inline constexpr std::string_view kNVWeekDaySA = "SA";
inline constexpr std::string_view kNVWeekDaySU = "SU";
inline constexpr std::string_view kNVWeekDayTH = "TH";
inline constexpr std::string_view kNVWeekDayTU = "TU";
inline constexpr std::string_view kNVWeekDayWE = "WE";

// Notification options and event display colours.
inline constexpr std::string_view kNVEventDisplayColorTypeList = "list";
inline constexpr std::string_view kNVEventDisplayColorTypePriority = "priority";
inline constexpr std::string_view kNVEventDisplayColorTypeTag = "tag";
inline constexpr std::string_view kNVNotifyOptionsOverdue = "OVERDUE";
inline constexpr std::string_view kNVNotifyOptionsToday = "TODAY";

// User document and team keys.
inline constexpr std::string_view kNVTeamKeyAutoAcceptInvite = "autoAcceptInvite";
inline constexpr std::string_view kNVUserDocumentKeyEmailRemind = "emailRemindEnabled";
inline constexpr std::string_view kNVUserDocumentKeySpamFilterInCalendar =
    "spamFilterEnabledInCalendar";
inline constexpr std::string_view kNVUserDocumentKeyURLParse = "urlParseEnabled";

// Limits and numbers.
inline constexpr std::int64_t NVPomodoroNoteLengthLimit = 500;
inline constexpr double NorvikFoundationKitVersionNumber = 1.0;
inline constexpr std::int64_t kNVLocalUserID = 1;
inline constexpr std::int64_t kNVLocalUserServerID = -1;
inline constexpr double kNVMinRegionalReminderRadius = 100.0;
inline constexpr std::int32_t kNVStudyRoomNameLengthLimit = 15;
inline constexpr std::int32_t kNVStudyRoomSummaryLengthLimit = 50;
inline constexpr double kSystemAnimationDuration = 0.3;  // seconds

// Identifiers, keys and names used across the application.
inline constexpr std::string_view UIColor_colorCacheDictionaryKey =
    "UIColor_colorCacheDictionaryKey";
inline constexpr std::string_view kCompletedItemLoaderStatus = "completed_task_sync_status";
inline constexpr std::string_view kLumoAppName = "Lumo";
inline constexpr std::string_view kNVDateKey = "date";
inline constexpr std::string_view kNVIsCompactMode = "kNVIsCompactMode";
inline constexpr std::string_view kNVListIdentifier = "kNVListIdentifier";
inline constexpr std::string_view kNVListIdentifierKey = "kNVListIdentifierKey";
inline constexpr std::string_view kNVNotionBlockColumnName = "notion_block";
inline constexpr std::string_view kNVPriority = "kNVPriority";
inline constexpr std::string_view kNVRepeatRemindColumnName = "repeat_remind";
inline constexpr std::string_view kNVStartDateTime = "kNVStartDateTime";
inline constexpr std::string_view kNVTagNames = "kNVTagNames";
inline constexpr std::string_view kNVTagParentNone = "";
inline constexpr std::string_view kNVTemplateID = "kNVTemplateID";
inline constexpr std::string_view kNVTitle = "kNVTitle";
inline constexpr std::string_view kNVTraceIDKey = "Trace_ID";
inline constexpr std::string_view kNVUserIDKey = "userID";
inline constexpr std::string_view kNorvikAppName = "Norvik";
inline constexpr std::string_view kNorvikScheme = "norvik";

// One family of the string constants above, with its title.
struct SharedConstantFamily {
  std::string_view title;
  std::span<const NamedStringConstant> constants;
};

// The string constants of this header by family, in declaration order. Numeric constants are not
// listed, so the family of limits and numbers has no entry (21 families).
std::span<const SharedConstantFamily> sharedStringConstantFamilies() noexcept;

}  // namespace norvik
