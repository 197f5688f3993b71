#pragma once
// Secrets that follow the user to the user's other devices, kept in the system's secret store
// (the freedesktop Secret Service), and the member names and error codes of batch results.
//
// Items are stored in the default collection under the attributes "service", "account" (the
// item's key) and "synchronizable" (true for items that should follow the user). When no Secret
// Service is reachable, or it refuses, an operation fails (false or absent) and says why through
// the library's logger; a secret is never written anywhere else. Keys must be non-empty UTF-8
// without NUL characters.

#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

namespace norvik {

// Members of a batch-result dictionary and its per-item error codes.
inline constexpr std::string_view kNVKeyForAdd = "add";
inline constexpr std::string_view kNVKeyForUpdate = "update";
inline constexpr std::string_view kNVKeyForDelete = "delete";
inline constexpr std::string_view kNVKeyForError = "id2error";
inline constexpr std::string_view kNVKeyForEtag = "id2etag";
inline constexpr std::string_view kNVError_EXISTED = "EXISTED";
inline constexpr std::string_view kNVError_NOT_EXISTED = "NOT_EXISTED";
inline constexpr std::string_view kNVError_DELETED = "DELETED";

// A handle on the items of one service. Any thread may use it.
class KeychainStore {
 public:
  KeychainStore(std::string_view service, bool synchronizable);

  const std::string& service() const noexcept { return service_; }
  bool synchronizable() const noexcept { return synchronizable_; }

  // Stores the value under `key`, replacing an earlier one; false when it could not be stored.
  bool setString(std::string_view value, std::string_view key) const;
  bool setData(const platform::Data& value, std::string_view key) const;
  // The value stored under `key`; absent when there is none or the store cannot be reached. A
  // string read back from data that is not UTF-8 text is absent too.
  std::optional<std::string> getString(std::string_view key) const;
  std::optional<platform::Data> getData(std::string_view key) const;
  // Removes the item; true when it is gone afterwards (also when there was none), false when the
  // store could not be reached.
  bool remove(std::string_view key) const;

 private:
  std::string service_;
  bool synchronizable_;
};

class NVKeychain {
 public:
  // The process's keychain, made on first use.
  static NVKeychain& shared();
  // Items of the service "<reverse-domain prefix>.task.sync" that follow the user.
  const KeychainStore& syncedKeychain() const noexcept { return syncedKeychain_; }

 private:
  NVKeychain();
  KeychainStore syncedKeychain_;
};

}  // namespace norvik
