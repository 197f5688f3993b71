#include "norvik/platform/value.h"
