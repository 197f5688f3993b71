#include "norvik/settings/keychain.h"

#include <libsecret/secret.h>

#include <memory>
#include <string>

#include "norvik/platform/build_config.h"
#include "norvik/platform/logger.h"

namespace norvik {
namespace {

// The schema of this library's items. Its name is part of what identifies an item.
const SecretSchema& schema() {
  static const std::string name = std::string(kNVReverseDomainPrefix) + ".Keychain";
  static const SecretSchema value = {name.c_str(),
                                     SECRET_SCHEMA_NONE,
                                     {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                      {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                      {"synchronizable", SECRET_SCHEMA_ATTRIBUTE_BOOLEAN},
                                      {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                     0,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr};
  return value;
}

struct TableDeleter {
  void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
using Attributes = std::unique_ptr<GHashTable, TableDeleter>;

Attributes attributes(const std::string& service, std::string_view key, bool synchronizable) {
  GHashTable* table = g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free);
  g_hash_table_insert(table, g_strdup("service"), g_strdup(service.c_str()));
  g_hash_table_insert(table, g_strdup("account"),
                      g_strndup(key.data(), static_cast<gsize>(key.size())));
  g_hash_table_insert(table, g_strdup("synchronizable"),
                      g_strdup(synchronizable ? "true" : "false"));
  return Attributes(table);
}

// Reports a failure and frees the error; false so that callers can return it.
// The key as it may appear in a one-line message: control characters escaped.
std::string printable(std::string_view key) {
  std::string out;
  for (const char c : key) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) {
      static constexpr char kHex[] = "0123456789ABCDEF";
      out += "\\x";
      out += kHex[byte >> 4];
      out += kHex[byte & 0xF];
    } else {
      out += c;
    }
  }
  return out;
}

bool failed(const char* operation, std::string_view key, GError* error) {
  NV_LOG_ERROR("keychain: cannot " + std::string(operation) + " '" + printable(key) +
               "': " + (error ? error->message : "the secret service refused"));
  if (error) g_error_free(error);
  return false;
}

// A key is non-empty UTF-8 text without NUL characters (the secret service takes attributes as
// UTF-8); other keys are refused with a message.
bool validKey(std::string_view key) {
  if (!key.empty() && key.find('\0') == std::string_view::npos &&
      g_utf8_validate(key.data(), static_cast<gssize>(key.size()), nullptr)) {
    return true;
  }
  NV_LOG_ERROR("keychain: a key must be non-empty UTF-8 text without NUL characters");
  return false;
}

bool store(const KeychainStore& handle, const void* bytes, std::size_t size,
           const char* contentType, std::string_view key) {
  if (!validKey(key)) return false;
  Attributes attrs = attributes(handle.service(), key, handle.synchronizable());
  SecretValue* value =
      secret_value_new(static_cast<const gchar*>(bytes), static_cast<gssize>(size), contentType);
  std::string label = handle.service() + " " + std::string(key);
  GError* error = nullptr;
  gboolean ok = secret_password_storev_binary_sync(
      &schema(), attrs.get(), SECRET_COLLECTION_DEFAULT, label.c_str(), value, nullptr, &error);
  secret_value_unref(value);
  if (!ok) return failed("store", key, error);
  return true;
}

std::optional<std::string> lookup(const KeychainStore& handle, std::string_view key) {
  if (!validKey(key)) return std::nullopt;
  Attributes attrs = attributes(handle.service(), key, handle.synchronizable());
  GError* error = nullptr;
  SecretValue* value = secret_password_lookupv_binary_sync(&schema(), attrs.get(), nullptr, &error);
  if (error) {
    failed("read", key, error);
    return std::nullopt;
  }
  if (!value) return std::nullopt;
  gsize length = 0;
  const gchar* bytes = secret_value_get(value, &length);
  std::string result(bytes ? bytes : "", bytes ? length : 0);
  secret_value_unref(value);
  return result;
}

}  // namespace

KeychainStore::KeychainStore(std::string_view service, bool synchronizable)
    : service_(service), synchronizable_(synchronizable) {}

bool KeychainStore::setString(std::string_view value, std::string_view key) const {
  return store(*this, value.data(), value.size(), "text/plain", key);
}

bool KeychainStore::setData(const platform::Data& value, std::string_view key) const {
  return store(*this, value.data(), value.size(), "application/octet-stream", key);
}

std::optional<std::string> KeychainStore::getString(std::string_view key) const {
  std::optional<std::string> bytes = lookup(*this, key);
  if (!bytes || !g_utf8_validate(bytes->data(), static_cast<gssize>(bytes->size()), nullptr)) {
    return std::nullopt;
  }
  return bytes;
}

std::optional<platform::Data> KeychainStore::getData(std::string_view key) const {
  std::optional<std::string> bytes = lookup(*this, key);
  if (!bytes) return std::nullopt;
  return platform::Data(bytes->begin(), bytes->end());
}

bool KeychainStore::remove(std::string_view key) const {
  if (!validKey(key)) return false;
  Attributes attrs = attributes(service_, key, synchronizable_);
  GError* error = nullptr;
  secret_password_clearv_sync(&schema(), attrs.get(), nullptr, &error);
  if (error) return failed("remove", key, error);
  return true;
}

NVKeychain::NVKeychain()
    : syncedKeychain_(std::string(kNVReverseDomainPrefix) + ".task.sync", true) {}

NVKeychain& NVKeychain::shared() {
  static NVKeychain instance;
  return instance;
}

}  // namespace norvik
