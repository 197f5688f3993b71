#pragma once
// Read access to a FormatArgument's stored value for the platform's own formatting code.

#include "norvik/platform/format.h"

namespace norvik::detail {

struct FormatArgumentAccess {
  static const auto& storage(const platform::FormatArgument& a) noexcept { return a.storage_; }
};

}  // namespace norvik::detail
