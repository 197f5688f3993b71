#include "norvik/settings/fetch_marker.h"

#include "norvik/platform/environment.h"
#include "norvik/platform/user_defaults.h"

namespace norvik {
namespace {

platform::UserDefaults appGroupStore() {
  return platform::UserDefaults(kNVAppGroupIdentifier);
}

}  // namespace

void NVNewPropertyFetchMarker::appendNewPropertiesToFetch(
    const std::vector<std::string>& properties, std::string_view entity, std::int64_t userID) {
  platform::UserDefaults store = appGroupStore();
  platform::Dictionary record = store.dictionaryForKey(kStoreKey).value_or(platform::Dictionary{});
  std::string userKey = std::to_string(userID);
  const platform::Dictionary* existing = record[userKey].dictionary();
  platform::Dictionary entities = existing ? *existing : platform::Dictionary{};
  const platform::Array* names = entities[std::string(entity)].array();
  platform::Array list = names ? *names : platform::Array{};
  for (const std::string& property : properties) list.emplace_back(property);
  entities.insert_or_assign(std::string(entity), platform::Value(std::move(list)));
  record.insert_or_assign(userKey, platform::Value(std::move(entities)));
  store.setObject(platform::Value(std::move(record)), kStoreKey);
  store.synchronize();
}

std::optional<std::vector<std::string>> NVNewPropertyFetchMarker::newPropertiesToFetch(
    std::string_view entity, std::int64_t userID) {
  std::optional<platform::Dictionary> record = appGroupStore().dictionaryForKey(kStoreKey);
  if (!record) return std::nullopt;
  auto user = record->find(std::to_string(userID));
  if (user == record->end() || !user->second.dictionary()) return std::nullopt;
  const platform::Value* names = user->second.find(entity);
  if (!names || !names->array()) return std::nullopt;
  std::vector<std::string> result;
  for (const platform::Value& name : *names->array()) {
    if (const std::string* text = name.string()) result.push_back(*text);
  }
  return result;
}

void NVNewPropertyFetchMarker::finishFetchingForUser(std::int64_t userID) {
  platform::UserDefaults store = appGroupStore();
  std::optional<platform::Dictionary> record = store.dictionaryForKey(kStoreKey);
  if (!record) return;
  if (auto user = record->find(std::to_string(userID)); user != record->end()) record->erase(user);
  store.setObject(platform::Value(std::move(*record)), kStoreKey);
  store.synchronize();
}

}  // namespace norvik
