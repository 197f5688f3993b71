// The families of shared string constants, made from the constants themselves.
#include "norvik/vocabulary/shared_constants.h"

#include <array>

namespace norvik {
namespace {

#define NV_NAMED(constant) \
  NamedStringConstant {    \
#constant, constant    \
  }

constexpr std::array kFamily0{
    NV_NAMED(NVCountdownBackgroundImageName), NV_NAMED(NVCountdownDetailStyleCalendar),
    NV_NAMED(NVCountdownDetailStyleCartoon),  NV_NAMED(NVCountdownDetailStyleColorCard),
    NV_NAMED(NVCountdownDetailStyleDopamine), NV_NAMED(NVCountdownDetailStyleFullscreen),
    NV_NAMED(NVCountdownDetailStyleNormal),   NV_NAMED(NVCountdownDetailStylePerpetual),
    NV_NAMED(NVCountdownDetailStylePolaroid), NV_NAMED(NVTabBarNameCountdown),
};

constexpr std::array kFamily1{
    NV_NAMED(NVDataCacheTypeCompletionRate),
    NV_NAMED(NVDataCacheTypeDateRepresentation),
    NV_NAMED(NVDataCacheTypeHabitTxtIcon),
    NV_NAMED(NVDataCacheTypeTimerTxtIcon),
};

constexpr std::array kFamily2{
    NV_NAMED(NVDateDisplayFormatDay),
    NV_NAMED(NVDateDisplayFormatWeek),
    NV_NAMED(NVDateDisplayFormatYear),
};

constexpr std::array kFamily3{
    NV_NAMED(NVFocusTypePomodoro),
    NV_NAMED(NVFocusTypeStopwatch),
    NV_NAMED(NVTimerObjTypeHabit),
    NV_NAMED(NVTimerObjTypeTask),
};

constexpr std::array kFamily4{
    NV_NAMED(NVSortConfigGroupKeyAssignee),
    NV_NAMED(NVSortConfigGroupKeyDueDate),
    NV_NAMED(NVSortConfigGroupKeyNone),
    NV_NAMED(NVSortConfigGroupKeyOrder),
    NV_NAMED(NVSortConfigGroupKeyPriority),
    NV_NAMED(NVSortConfigGroupKeyProject),
    NV_NAMED(NVSortConfigGroupKeyTag),
    NV_NAMED(NVSortConfigOrderKeyAssignee),
    NV_NAMED(NVSortConfigOrderKeyCreatedTime),
    NV_NAMED(NVSortConfigOrderKeyDefault),
    NV_NAMED(NVSortConfigOrderKeyDueDate),
    NV_NAMED(NVSortConfigOrderKeyModifiedTime),
    NV_NAMED(NVSortConfigOrderKeyOrder),
    NV_NAMED(NVSortConfigOrderKeyPriority),
    NV_NAMED(NVSortConfigOrderKeyTag),
    NV_NAMED(NVSortConfigOrderKeyTitle),
    NV_NAMED(NVSortTypeAssignee),
    NV_NAMED(NVSortTypeCompletionDate),
    NV_NAMED(NVSortTypeCreatedTime),
    NV_NAMED(NVSortTypeDate),
    NV_NAMED(NVSortTypeModifiedTime),
    NV_NAMED(NVSortTypeOrder),
    NV_NAMED(NVSortTypePriority),
    NV_NAMED(NVSortTypeProgress),
    NV_NAMED(NVSortTypeProject),
    NV_NAMED(NVSortTypeResumeByDate),
    NV_NAMED(NVSortTypeResumeByPriority),
    NV_NAMED(NVSortTypeResumeByProject),
    NV_NAMED(NVSortTypeResumeByTag),
    NV_NAMED(NVSortTypeTag),
    NV_NAMED(NVSortTypeTitle),
    NV_NAMED(kNVSortOrderKeyForProjectPinned),
    NV_NAMED(kNVSortOrderKeyForTag),
    NV_NAMED(kNVSortOrderKeyForTaskPinned),
    NV_NAMED(kNVSortOrderSectionKeyForNoDate),
    NV_NAMED(kNVSortOrderSectionKeyForNoTag),
    NV_NAMED(kNVSortOrderSectionKeyForNone),
    NV_NAMED(kNVSortOrderSectionKeyForNotAssigned),
    NV_NAMED(kNVSortOrderSectionKeyForNote),
    NV_NAMED(kNVSortOrderSectionKeyForOverdue),
    NV_NAMED(kNVTabBarKeySortOrder),
};

constexpr std::array kFamily5{
    NV_NAMED(NVTabBarNameCalendar),    NV_NAMED(NVTabBarNameFocus),
    NV_NAMED(NVTabBarNameHabit),       NV_NAMED(NVTabBarNameMatrix),
    NV_NAMED(NVTabBarNameMore),        NV_NAMED(NVTabBarNameSearch),
    NV_NAMED(NVTabBarNameSettings),    NV_NAMED(NVTabBarNameTask),
    NV_NAMED(NVTabBarStatusActive),    NV_NAMED(NVTabBarStatusCollapsed),
    NV_NAMED(NVTabBarStatusInactive),  NV_NAMED(kNVTabBarKeyItems),
    NV_NAMED(kNVTabBarKeyMaxCapacity), NV_NAMED(kNVTabBarKeyModifiedDate),
    NV_NAMED(kNVTabBarKeyName),        NV_NAMED(kNVTabBarKeyStatus),
};

constexpr std::array kFamily6{
    NV_NAMED(NVTaskKindChecklist),
    NV_NAMED(NVTaskKindDescription),
    NV_NAMED(NVTaskKindNote),
    NV_NAMED(NVTaskRelationshipAttachments),
    NV_NAMED(NVTaskRelationshipChecklistItems),
    NV_NAMED(NVTaskRelationshipComments),
    NV_NAMED(NVTaskRelationshipProject),
    NV_NAMED(NVTaskRelationshipRegionalReminder),
    NV_NAMED(NVTaskRelationshipReminders),
    NV_NAMED(NVTaskRelationshipSyncStatuses),
    NV_NAMED(NVTaskRelationshipTags),
    NV_NAMED(NVTaskTypeNote),
    NV_NAMED(NVTaskTypeTask),
    NV_NAMED(kNVNewTaskDefaultTimeModelDate),
    NV_NAMED(kNVNewTaskDefaultTimeModelTimeDuration),
    NV_NAMED(kNVNotificationKeyTaskID),
    NV_NAMED(kNVShortcutItemKeyForAddTask),
    NV_NAMED(kNVSwipesConfKeyForTaskWontDo),
    NV_NAMED(kNVTaskIDKey),
    NV_NAMED(kNVTaskIDsKey),
    NV_NAMED(kNVTaskKind),
    NV_NAMED(kNVTempInboxID),
};

constexpr std::array kFamily7{
    NV_NAMED(NVTimelineDisplayColorList),
    NV_NAMED(NVTimelineDisplayColorNone),
    NV_NAMED(NVTimelineDisplayColorPriority),
    NV_NAMED(NVTimelineDisplayColorTag),
    NV_NAMED(NVTimelineViewDisplayTimeRangeDay),
    NV_NAMED(NVTimelineViewDisplayTimeRangeMonth),
    NV_NAMED(NVTimelineViewDisplayTimeRangeWeek),
    NV_NAMED(NVTimelineViewDisplayTimeRangeYear),
    NV_NAMED(kNVProjectViewModeTimeline),
    NV_NAMED(kNVTimelineKeyColor),
    NV_NAMED(kNVTimelineKeyModifiedDate),
    NV_NAMED(kNVTimelineKeyShowGuide),
    NV_NAMED(kNVTimelineKeyShowWeek),
    NV_NAMED(kNVTimetableKeyCurrentID),
    NV_NAMED(kNVTimetableKeyDisplayInCalendar),
    NV_NAMED(kNVTimetableKeyDisplayInSmartList),
    NV_NAMED(kNVTimetableKeyIsEnabled),
    NV_NAMED(kNVTimetableKeyModifiedDate),
    NV_NAMED(kNVTimetableViewID),
};

constexpr std::array kFamily8{
    NV_NAMED(kNVCalDavCalendarAccountState),
    NV_NAMED(kNVCalDavCalendarUserPrivilegeBind),
    NV_NAMED(kNVCalDavCalendarUserPrivilegeRead),
    NV_NAMED(kNVCalDavCalendarUserPrivilegeReadCurrentUserPrivilegeSet),
    NV_NAMED(kNVCalDavCalendarUserPrivilegeReadFreeBusy),
    NV_NAMED(kNVCalDavCalendarUserPrivilegeUnbind),
    NV_NAMED(kNVCalDavCalendarUserPrivilegeWrite),
    NV_NAMED(kNVCalDavCalendarUserPrivilegeWriteContent),
    NV_NAMED(kNVCalDavCalendarUserPrivilegeWriteProperties),
    NV_NAMED(kNVCalendarBindCodeKey),
    NV_NAMED(kNVCalendarBindStateKey),
    NV_NAMED(kNVExchangeCalendarAccountState),
    NV_NAMED(kNVFeishuCalendarAccountState),
    NV_NAMED(kNVGoogleCalendarAccountState),
    NV_NAMED(kNVGoogleConnectCalendarAccountState),
    NV_NAMED(kNVNotionConnectCalendarAccountState),
    NV_NAMED(kNVOutlookCalendarAccountState),
    NV_NAMED(kNViCloudCalendarAccountState),
};

constexpr std::array kFamily9{
    NV_NAMED(kNVAutomicCalendarViewID), NV_NAMED(kNVGridWeekCalendarViewID),
    NV_NAMED(kNVListCalendarViewID),    NV_NAMED(kNVMonthCalendarViewID),
    NV_NAMED(kNVOneDayCalendarViewID),  NV_NAMED(kNVThreeDayCalendarViewID),
    NV_NAMED(kNVWeekCalendarViewID),
};

constexpr std::array kFamily10{
    NV_NAMED(kNVQuickDateConfKeyForAdvanceMode),
    NV_NAMED(kNVQuickDateConfKeyForBasicMode),
    NV_NAMED(kNVQuickDateConfKeyForDateClear),
    NV_NAMED(kNVQuickDateConfKeyForDateNextMon),
    NV_NAMED(kNVQuickDateConfKeyForDateOther),
    NV_NAMED(kNVQuickDateConfKeyForDateSat),
    NV_NAMED(kNVQuickDateConfKeyForDateSun),
    NV_NAMED(kNVQuickDateConfKeyForDateToday),
    NV_NAMED(kNVQuickDateConfKeyForDateTomorrow),
    NV_NAMED(kNVQuickDateConfKeyForMode),
    NV_NAMED(kNVQuickDateConfKeyForNone),
    NV_NAMED(kNVQuickDateConfKeyForRepeatRepeat),
    NV_NAMED(kNVQuickDateConfKeyForRepeatSkip),
    NV_NAMED(kNVQuickDateConfKeyForSmartTimeSmart),
    NV_NAMED(kNVQuickDateConfKeyForSmartTimeSome),
    NV_NAMED(kNVQuickDateConfKeyForSmartTimeTodayAfternoon),
    NV_NAMED(kNVQuickDateConfKeyForSmartTimeTodayEvening),
    NV_NAMED(kNVQuickDateConfKeyForSmartTimeTodayMorning),
    NV_NAMED(kNVQuickDateConfKeyForSmartTimeTodayNight),
    NV_NAMED(kNVQuickDateConfKeyForSmartTimeTomorrowMorning),
    NV_NAMED(kNVQuickDateConfKeyForType),
    NV_NAMED(kNVQuickDateConfKeyForTypeDate),
    NV_NAMED(kNVQuickDateConfKeyForTypeDeltaTime),
    NV_NAMED(kNVQuickDateConfKeyForTypeRepeat),
    NV_NAMED(kNVQuickDateConfKeyForTypeSmartTime),
    NV_NAMED(kNVQuickDateConfKeyForTypeTime),
    NV_NAMED(kNVQuickDateConfKeyForValue),
};

constexpr std::array kFamily11{
    NV_NAMED(kNVSwipesConfKeyForComplete), NV_NAMED(kNVSwipesConfKeyForDate),
    NV_NAMED(kNVSwipesConfKeyForDelete),   NV_NAMED(kNVSwipesConfKeyForLeft),
    NV_NAMED(kNVSwipesConfKeyForMoveTo),   NV_NAMED(kNVSwipesConfKeyForNone),
    NV_NAMED(kNVSwipesConfKeyForPin),      NV_NAMED(kNVSwipesConfKeyForPintFocus),
    NV_NAMED(kNVSwipesConfKeyForPriority), NV_NAMED(kNVSwipesConfKeyForRight),
    NV_NAMED(kNVSwipesConfKeyForTags),     NV_NAMED(kNVSwipesConfKeyForWontDo),
};

constexpr std::array kFamily12{
    NV_NAMED(kNVShortcutItemKeyForAssignedToMe), NV_NAMED(kNVShortcutItemKeyForCalendar),
    NV_NAMED(kNVShortcutItemKeyForNext7Days),    NV_NAMED(kNVShortcutItemKeyForSearch),
    NV_NAMED(kNVShortcutItemKeyForStartPomo),    NV_NAMED(kNVShortcutItemKeyForToday),
};

constexpr std::array kFamily13{
    NV_NAMED(kNVCustomLaterStatusNextMonday),      NV_NAMED(kNVCustomLaterStatusThisSaturday),
    NV_NAMED(kNVCustomLaterStatusThisSunday),      NV_NAMED(kNVCustomSmartTimeConfKeyForAfternoon),
    NV_NAMED(kNVCustomSmartTimeConfKeyForEvening), NV_NAMED(kNVCustomSmartTimeConfKeyForMorning),
    NV_NAMED(kNVCustomSmartTimeConfKeyForNight),
};

constexpr std::array kFamily14{
    NV_NAMED(kNVHabitDefaultUnitCount),
    NV_NAMED(kNVHabitTypeBoolean),
    NV_NAMED(kNVHabitTypeReal),
    NV_NAMED(kNVPresetProjectHabitTypeBirthday),
    NV_NAMED(kNVPresetProjectHabitTypeFitness),
    NV_NAMED(kNVPresetProjectHabitTypeLearning),
    NV_NAMED(kNVPresetProjectHabitTypePersonal),
    NV_NAMED(kNVPresetProjectHabitTypeShopping),
    NV_NAMED(kNVPresetProjectHabitTypeWish),
    NV_NAMED(kNVPresetProjectHabitTypeWork),
};

constexpr std::array kFamily15{
    NV_NAMED(kNVAbandonedIDForProjectPinned),
    NV_NAMED(kNVCompletedIDForProjectPinned),
    NV_NAMED(kNVLocalCalendarIDForProjectPinned),
    NV_NAMED(kNVProjectFolderIDNone),
    NV_NAMED(kNVProjectIDKey),
    NV_NAMED(kNVProjectOrFolderIDForProjectPinned),
    NV_NAMED(kNVProjectViewModeKanban),
    NV_NAMED(kNVProjectViewModeList),
    NV_NAMED(kNVTrashIDForProjectPinned),
};

constexpr std::array kFamily16{
    NV_NAMED(kNVMatrixKeyModifiedDate),
    NV_NAMED(kNVMatrixKeyQuadrants),
    NV_NAMED(kNVMatrixKeyShowCompleted),
    NV_NAMED(kNVMatrixKeyVersion),
};

constexpr std::array kFamily17{
    NV_NAMED(kNVWeekDayFR), NV_NAMED(kNVWeekDayMO), NV_NAMED(kNVWeekDaySA), NV_NAMED(kNVWeekDaySU),
    NV_NAMED(kNVWeekDayTH), NV_NAMED(kNVWeekDayTU), NV_NAMED(kNVWeekDayWE),
};

constexpr std::array kFamily18{
    NV_NAMED(kNVEventDisplayColorTypeList), NV_NAMED(kNVEventDisplayColorTypePriority),
    NV_NAMED(kNVEventDisplayColorTypeTag),  NV_NAMED(kNVNotifyOptionsOverdue),
    NV_NAMED(kNVNotifyOptionsToday),
};

constexpr std::array kFamily19{
    NV_NAMED(kNVTeamKeyAutoAcceptInvite),
    NV_NAMED(kNVUserDocumentKeyEmailRemind),
    NV_NAMED(kNVUserDocumentKeySpamFilterInCalendar),
    NV_NAMED(kNVUserDocumentKeyURLParse),
};

constexpr std::array kFamily21{
    NV_NAMED(UIColor_colorCacheDictionaryKey),
    NV_NAMED(kCompletedItemLoaderStatus),
    NV_NAMED(kLumoAppName),
    NV_NAMED(kNVDateKey),
    NV_NAMED(kNVIsCompactMode),
    NV_NAMED(kNVListIdentifier),
    NV_NAMED(kNVListIdentifierKey),
    NV_NAMED(kNVNotionBlockColumnName),
    NV_NAMED(kNVPriority),
    NV_NAMED(kNVRepeatRemindColumnName),
    NV_NAMED(kNVStartDateTime),
    NV_NAMED(kNVTagNames),
    NV_NAMED(kNVTagParentNone),
    NV_NAMED(kNVTemplateID),
    NV_NAMED(kNVTitle),
    NV_NAMED(kNVTraceIDKey),
    NV_NAMED(kNVUserIDKey),
    NV_NAMED(kNorvikAppName),
    NV_NAMED(kNorvikScheme),
};

#undef NV_NAMED

const std::array kFamilies{
    SharedConstantFamily{"Countdown styles and background", kFamily0},
    SharedConstantFamily{"Data-cache types", kFamily1},
    SharedConstantFamily{"Date display formats", kFamily2},
    SharedConstantFamily{"Focus and timer object types", kFamily3},
    SharedConstantFamily{"Sorting: sort types, sort-configuration group and order keys, sort-order "
                         "keys and sections",
                         kFamily4},
    SharedConstantFamily{"Tab bar: names, statuses and stored keys", kFamily5},
    SharedConstantFamily{"Tasks: kinds, types, relationships, assignee and creator markers, keys",
                         kFamily6},
    SharedConstantFamily{"Timeline and timetable options and keys", kFamily7},
    SharedConstantFamily{"Calendar accounts, access privileges and binding keys", kFamily8},
    SharedConstantFamily{"Calendar view identifiers", kFamily9},
    SharedConstantFamily{"Quick-date configuration keys", kFamily10},
    SharedConstantFamily{"Swipe configuration keys", kFamily11},
    SharedConstantFamily{"Home-screen shortcut item keys", kFamily12},
    SharedConstantFamily{"Later and smart-time keys", kFamily13},
    SharedConstantFamily{"Habits", kFamily14},
    SharedConstantFamily{"Projects, folders, pinning and view modes", kFamily15},
    SharedConstantFamily{"Matrix (quadrant view) keys", kFamily16},
    SharedConstantFamily{"Weekday codes", kFamily17},
    SharedConstantFamily{"Notification options and event display colours", kFamily18},
    SharedConstantFamily{"User document and team keys", kFamily19},
    SharedConstantFamily{"Identifiers, keys and names used across the application", kFamily21},
};

}  // namespace

std::span<const SharedConstantFamily> sharedStringConstantFamilies() noexcept {
  return kFamilies;
}

}  // namespace norvik
