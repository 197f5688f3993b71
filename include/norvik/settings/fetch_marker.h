#pragma once
// Per user and per entity, the names of new properties still to be fetched from the service.
//
// One record in the application group's store under "newPropertiesToFetch": a dictionary from
// the user's identifier as decimal text ("42") to a dictionary from entity name to the array of
// property names, in the order they were appended (duplicates kept). Changes are synchronised to
// disk at once.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace norvik {

struct NVNewPropertyFetchMarker {
  static constexpr std::string_view kStoreKey = "newPropertiesToFetch";

  // Appends the names to the user's list for the entity. A stored record that is not a
  // dictionary, or levels of it that are not, start afresh.
  static void appendNewPropertiesToFetch(const std::vector<std::string>& properties,
                                         std::string_view entity, std::int64_t userID);
  // The user's list for the entity; absent when the user or the entity has none. Array members
  // that are not strings are left out.
  static std::optional<std::vector<std::string>> newPropertiesToFetch(std::string_view entity,
                                                                      std::int64_t userID);
  // Forgets every list of the user; writes nothing when there is no record.
  static void finishFetchingForUser(std::int64_t userID);
};

}  // namespace norvik
