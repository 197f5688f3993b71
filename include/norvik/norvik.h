#pragma once
// NorvikFoundationKit: every public header of the library.

#include "norvik/platform/bundle.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date.h"
#include "norvik/platform/date_formatter.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/format.h"
#include "norvik/platform/json.h"
#include "norvik/platform/locale.h"
#include "norvik/platform/notification_center.h"
#include "norvik/platform/property_list.h"
#include "norvik/platform/strings_table.h"
#include "norvik/platform/time_zone.h"
#include "norvik/platform/user_defaults.h"
#include "norvik/platform/value.h"
#include "norvik/settings/file_utils.h"
