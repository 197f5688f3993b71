#pragma once
// What the text contexts read of a bundle directly: the resolved string tables, so that a context
// can keep them and look keys up without taking the bundle's locks again.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "norvik/platform/bundle.h"

namespace norvik::detail {

// A string table's entries by key; the views and pointers stay valid for the life of the process.
using StringIndex = std::unordered_map<std::string_view, const std::string*>;

struct BundleAccess {
  // The table `<localization>.lproj/<table>.strings` (the bundle root's table when `localization`
  // is empty), read once; null when the file does not exist or a name is invalid.
  static const StringIndex* table(const platform::Bundle& bundle, std::string_view localization,
                                  std::string_view table);

  // A bundle of `path` without resources, for a directory that does not exist: its lookups give
  // the values or keys.
  static std::shared_ptr<platform::Bundle> empty(const std::string& path);

  // The localization the bundle chooses for `preferences` (language tags, most preferred first);
  // std::nullopt when it has none.
  static std::optional<std::string> localizationFor(const platform::Bundle& bundle,
                                                    const std::vector<std::string>& preferences);
};

}  // namespace norvik::detail
