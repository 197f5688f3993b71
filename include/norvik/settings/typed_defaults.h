#pragma once
// Typed settings over the application group's shared key-value store (user_defaults.h).
//
// A DefaultsKey<T> names a storage key and the value read when the store has nothing usable. A
// bridge (DefaultsBridge<T>) moves values of T in and out of the store: plain types use the
// store's own booleans, numbers, strings and dates; CustomUserDefatuls<T> values are stored as the
// JSON blob {"content": ...} both in the store and in the database-backed cache
// (defaults_cache.h), whose copy wins when the two disagree. NVUserDefaults reads and writes keys;
// NVUserDefault<T> is an accessor that resolves its key on every access.
//
// Nothing here throws or reports an error: unreadable values give the key's default.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "norvik/platform/user_defaults.h"
#include "norvik/platform/value.h"
#include "norvik/settings/coding.h"
#include "norvik/settings/defaults_cache.h"

namespace norvik {

// ---- CustomUserDefatuls ----

// A wrapped setting value. Coded as the JSON object {"content": <content>}; equal when the
// contents are.
template <class T>
requires Codable<T> && IsEquatable<T>::value struct CustomUserDefatuls {
  T content;

  CustomUserDefatuls() = default;
  CustomUserDefatuls(T value) : content(std::move(value)) {}

  void encode(KeyedEncodingContainer& container) const { container.encode(content, "content"); }
  static CustomUserDefatuls decode(const KeyedDecodingContainer& container) {
    return CustomUserDefatuls(container.decode<T>("content"));
  }
  friend bool operator==(const CustomUserDefatuls& a, const CustomUserDefatuls& b) {
    return a.content == b.content;
  }
};

template <class T>
struct IsCustomUserDefatuls : std::false_type {};
template <class U>
struct IsCustomUserDefatuls<CustomUserDefatuls<U>> : std::true_type {};

// ---- the current user, for per-user keys ----

// The current user's local identifier: the content of the setting "currentUserId" (1 until one is
// stored), read now. Defined with the registry (registry.h).
int currentUserIDForKeys();

// ---- DefaultsKey ----

template <class T>
class DefaultsKey {
 public:
  DefaultsKey(std::string key, T defaultValue)
      : key_(std::move(key)), defaultValue_(std::move(defaultValue)) {}

  // A key whose name is `key`, followed by "_" and the current user's identifier when `hasUserID`
  // ("shouldPushDailyReminder_5" for user 5; "_1" before any user is stored).
  static DefaultsKey create(std::string_view key, bool hasUserID, T defaultValue) {
    std::string name(key);
    if (hasUserID) name += "_" + std::to_string(currentUserIDForKeys());
    return DefaultsKey(std::move(name), std::move(defaultValue));
  }

  const std::string& key() const noexcept { return key_; }
  const T& defaultValue() const noexcept { return defaultValue_; }

 private:
  std::string key_;
  T defaultValue_;
};

// ---- bridges ----

// The bridge of a plain type: the store's native value. A value of another type reads as nothing
// (a string is not a Bool); numbers convert between integer and real only when nothing is lost.
template <class T>
struct DefaultsNativeBridge {
  static void save(std::string_view key, const std::optional<T>& value,
                   platform::UserDefaults& store) {
    if (!value) {
      remove(key, store);
    } else {
      store.setObject(platform::Value(*value), key);
    }
  }
  static void remove(std::string_view key, platform::UserDefaults& store) {
    store.removeObjectForKey(key);
  }
  static std::optional<T> get(std::string_view key, const platform::UserDefaults& store) {
    return deserialize(store.objectForKey(key));
  }
  static std::optional<T> deserialize(const platform::Value& object);
};

template <>
inline std::optional<bool> DefaultsNativeBridge<bool>::deserialize(const platform::Value& object) {
  if (object.type() == platform::Value::Type::Boolean) return object.boolValue();
  if (object.type() == platform::Value::Type::Integer) {
    std::int64_t i = *object.int64Value();
    if (i == 0 || i == 1) return i == 1;
  }
  return std::nullopt;
}
template <>
inline std::optional<int> DefaultsNativeBridge<int>::deserialize(const platform::Value& object) {
  if (!object.isNumber() || object.type() == platform::Value::Type::Boolean) return std::nullopt;
  try {
    return Coding<int>::decode(object);
  } catch (const DecodingError&) {
    return std::nullopt;
  }
}
template <>
inline std::optional<double> DefaultsNativeBridge<double>::deserialize(
    const platform::Value& object) {
  if (!object.isNumber() || object.type() == platform::Value::Type::Boolean) return std::nullopt;
  return object.doubleValue();
}
template <>
inline std::optional<std::string> DefaultsNativeBridge<std::string>::deserialize(
    const platform::Value& object) {
  if (const std::string* s = object.string()) return *s;
  return std::nullopt;
}
template <>
inline std::optional<platform::Date> DefaultsNativeBridge<platform::Date>::deserialize(
    const platform::Value& object) {
  if (const platform::Date* d = object.date()) return *d;
  return std::nullopt;
}
template <>
inline std::optional<platform::Data> DefaultsNativeBridge<platform::Data>::deserialize(
    const platform::Value& object) {
  if (const platform::Data* d = object.data()) return *d;
  return std::nullopt;
}

// The bridge of 64-bit signed integers. Reads a number (a fraction is truncated) or a string of
// base-10 digits with an optional single leading sign and nothing else, within the 64-bit range.
struct DefaultsInt64Bridge {
  static void save(std::string_view key, const std::optional<std::int64_t>& value,
                   platform::UserDefaults& store);
  static void remove(std::string_view key, platform::UserDefaults& store) {
    store.removeObjectForKey(key);
  }
  static std::optional<std::int64_t> get(std::string_view key, const platform::UserDefaults& store);
  // Never a value: 64-bit integers are not read back from inside stored arrays.
  static std::optional<std::int64_t> deserialize(const platform::Value& object);
  // The string rule of get(), on its own.
  static std::optional<std::int64_t> parseText(std::string_view text);
};

// The bridge of wrapped values: the JSON blob in the store and in the database-backed cache.
template <class T>
struct DefaultsCustomUserDefaultsItemBridge {
  using Item = CustomUserDefatuls<T>;

  // The wrapper's JSON bytes; std::nullopt when it cannot be encoded.
  static std::optional<platform::Data> encode(const Item& item) {
    std::optional<std::string> json = encodeToJSON(item);
    if (!json) return std::nullopt;
    return platform::Data(json->begin(), json->end());
  }

  // Writes the blob to the cache (database row now, memory copy soon) and then to the store. An
  // absent value, or one that cannot be encoded, removes the key from all three.
  static void save(std::string_view key, const std::optional<Item>& value,
                   platform::UserDefaults& store) {
    std::optional<platform::Data> data = value ? encode(*value) : std::nullopt;
    auto& cache = SVCustomUserDefaultsCacheManager::shared();
    if (data) {
      platform::Value blob(std::move(*data));
      cache.set(blob, key);
      store.setObject(blob, key);
    } else {
      remove(key, store);
    }
  }
  static void remove(std::string_view key, platform::UserDefaults& store) {
    SVCustomUserDefaultsCacheManager::shared().removeObject(key);
    store.removeObjectForKey(key);
  }

  // A data blob decodes as the JSON wrapper; a plain T (written by an earlier version) is wrapped.
  static std::optional<Item> deserialize(const platform::Value& object) {
    if (const platform::Data* data = object.data()) {
      // Decoding is a pure function of the bytes, so each thread remembers what recent blobs
      // decoded to; settings are read far more often than they change.
      thread_local std::unordered_map<std::string, std::optional<Item>> decoded;
      std::string bytes(reinterpret_cast<const char*>(data->data()), data->size());
      if (auto found = decoded.find(bytes); found != decoded.end()) return found->second;
      std::optional<Item> item = decodeFromJSON<Item>(bytes);
      if (decoded.size() >= 64) decoded.clear();
      decoded.emplace(std::move(bytes), item);
      return item;
    }
    if (object.isNull()) return std::nullopt;
    try {
      return Item(Coding<T>::decode(object));
    } catch (const DecodingError&) {
      return std::nullopt;
    }
  }

  // The memory copy when the store confirms it; else the database row (which refreshes the memory
  // copy); else the store's value, which is copied into the cache (once) so that it migrates there.
  static std::optional<Item> get(std::string_view key, const platform::UserDefaults& store) {
    auto& cache = SVCustomUserDefaultsCacheManager::shared();
    platform::Value inMemory = cache.objectInMemory(key);
    platform::Value inStore = store.objectForKey(key);
    if (!inMemory.isNull() && !inStore.isNull()) {
      std::optional<Item> memoryItem = deserialize(inMemory);
      if (memoryItem) {
        // The same bytes decode to the same wrapper; decode the store's copy only when they differ.
        if (inMemory == inStore) return memoryItem;
        std::optional<Item> storeItem = deserialize(inStore);
        if (storeItem && *storeItem == *memoryItem) return memoryItem;
      }
    }
    platform::Value inDatabase = cache.objectInDB(key);
    if (!inDatabase.isNull()) {
      if (std::optional<Item> item = deserialize(inDatabase)) {
        cache.updateCacheInMemory(inDatabase, key);
        return item;
      }
    }
    if (!inStore.isNull()) {
      std::optional<Item> item = deserialize(inStore);
      // The store's value moves into the cache once, as it is, even when it does not convert:
      // later reads find it there and write nothing.
      if (cache.inDatabaseCache().objectForKey(key) != inStore) {
        cache.set(inStore, key);
      } else if (inMemory != inStore) {
        cache.updateCacheInMemory(inStore, key);
      }
      return item;
    }
    return std::nullopt;
  }
};

// Which bridge a value type uses.
template <class T>
struct DefaultsBridgeFor {
  using type = DefaultsNativeBridge<T>;
};
template <>
struct DefaultsBridgeFor<std::int64_t> {
  using type = DefaultsInt64Bridge;
};
template <class U>
struct DefaultsBridgeFor<CustomUserDefatuls<U>> {
  using type = DefaultsCustomUserDefaultsItemBridge<U>;
};
// An optional type is stored through its value type's bridge.
template <class T>
struct ValueTypeOf {
  using type = T;
};
template <class U>
struct ValueTypeOf<std::optional<U>> {
  using type = U;
};
template <class T>
using DefaultsBridge = typename DefaultsBridgeFor<typename ValueTypeOf<T>::type>::type;

// ---- NVUserDefaults ----

// The typed adapter over the application group's store. Its handle follows the current
// environment (a test or the program may replace it).
class NVUserDefaults {
 public:
  static NVUserDefaults& shared();

  // The bridge's value under the key, or the key's default when there is none.
  template <class T>
  T get(const DefaultsKey<T>& key) {
    platform::UserDefaults store = this->store();
    auto value = DefaultsBridge<T>::get(key.key(), store);
    if (!value) return key.defaultValue();
    return T(std::move(*value));
  }

  // Writes the value; an absent optional removes the key.
  template <class T>
  void set(const DefaultsKey<T>& key, const T& value) {
    platform::UserDefaults store = this->store();
    using V = typename ValueTypeOf<T>::type;
    DefaultsBridge<T>::save(key.key(), std::optional<V>(value), store);
  }

  // Removes the key (and, for wrapped values, the cache's copies).
  template <class T>
  void remove(const DefaultsKey<T>& key) {
    platform::UserDefaults store = this->store();
    DefaultsBridge<T>::remove(key.key(), store);
  }

  // Whether the store holds anything under the key.
  bool hasKey(std::string_view key) { return !store().objectForKey(key).isNull(); }

  // Makes the store's changes durable and visible to the other processes; false on failure.
  bool synchronize() {
    platform::UserDefaults store = this->store();
    return store.synchronize();
  }

  // A handle on the application group's store in the current environment.
  platform::UserDefaults store();

 private:
  NVUserDefaults() = default;
  struct Cached;
  Cached& cached();
};

// ---- NVUserDefault ----

// An accessor that reads and writes NVUserDefaults under the key that `keyPath` gives at the
// moment of each access.
template <class T>
class NVUserDefault {
 public:
  using KeyPath = DefaultsKey<T> (*)();
  explicit NVUserDefault(KeyPath keyPath) : keyPath_(keyPath) {}

  DefaultsKey<T> key() const { return keyPath_(); }
  T wrappedValue() const { return NVUserDefaults::shared().get(key()); }
  void setWrappedValue(const T& value) const { NVUserDefaults::shared().set(key(), value); }

 private:
  KeyPath keyPath_;
};

}  // namespace norvik
