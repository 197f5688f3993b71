#include "norvik/environment/site_domain.h"

#include <algorithm>
#include <array>
#include <exception>

#include "norvik/environment/user_language.h"

#ifndef NORVIK_NORVIK_SITE_DOMAIN
#define NORVIK_NORVIK_SITE_DOMAIN "https://api.norvik.app"
#endif
#ifndef NORVIK_LUMO_SITE_DOMAIN
#define NORVIK_LUMO_SITE_DOMAIN "https://api.lumo.cn"
#endif

namespace norvik::detail {
namespace {

constexpr std::string_view kScheme = "https://";

std::optional<std::string> storedString(std::string_view key) {
  const platform::Value value = NVAppGroupUserDefaults().objectForKey(key);
  if (const std::string* text = value.string()) return *text;
  return std::nullopt;
}

void storeString(std::string_view key, const std::optional<std::string>& value, bool writeThrough) {
  try {
    auto store = NVAppGroupUserDefaults();
    if (value) {
      store.setObject(platform::Value(*value), key);
    } else {
      store.removeObjectForKey(key);
    }
    if (writeThrough) store.synchronize();
  } catch (const std::exception&) {
  }
}

std::string withoutScheme(std::string text) {
  for (auto at = text.find(kScheme); at != std::string::npos; at = text.find(kScheme, at)) {
    text.erase(at, kScheme.size());
  }
  return text;
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace
}  // namespace norvik::detail

namespace norvik {

using detail::storedString;
using detail::storeString;

std::string_view NVSiteDomainConfigurator::builtInNorvikSiteDomain() {
  return NORVIK_NORVIK_SITE_DOMAIN;
}

std::string_view NVSiteDomainConfigurator::builtInLumoSiteDomain() {
  return NORVIK_LUMO_SITE_DOMAIN;
}

std::string NVSiteDomainConfigurator::LumoSiteDomain() {
  return storedString(kNVLumoSiteDomainKey).value_or(std::string(builtInLumoSiteDomain()));
}

void NVSiteDomainConfigurator::setLumoSiteDomain(std::optional<std::string> address) {
  storeString(kNVLumoSiteDomainKey, address, true);
}

std::string NVSiteDomainConfigurator::NorvikSiteDomain() {
  return storedString(kNVNorvikSiteDomainKey).value_or(std::string(builtInNorvikSiteDomain()));
}

void NVSiteDomainConfigurator::setNorvikSiteDomain(std::optional<std::string> address) {
  storeString(kNVNorvikSiteDomainKey, address, true);
}

std::optional<std::string> NVSiteDomainConfigurator::customWebSiteDomain() {
  return storedString(kNVCustomWebSiteDomainKey);
}

void NVSiteDomainConfigurator::setCustomWebSiteDomain(std::optional<std::string> address) {
  storeString(kNVCustomWebSiteDomainKey, address, true);
}

std::int64_t NVSiteDomainConfigurator::currentIPType() {
  return NVAppGroupUserDefaults().integerForKey(kNVCurrentIPTypeKey);
}

void NVSiteDomainConfigurator::setCurrentIPType(std::int64_t type) {
  auto store = NVAppGroupUserDefaults();
  store.setInteger(type, kNVCurrentIPTypeKey);
  store.synchronize();
}

bool NVSiteDomainConfigurator::isBeforeLoginUserBelongsToNorvik() {
  return NVAppGroupUserDefaults().boolForKey(kNVBeforeLoginUserBelongsToNorvikKey);
}

void NVSiteDomainConfigurator::setBeforeLoginUserBelongsToNorvik(bool belongs) {
  auto store = NVAppGroupUserDefaults();
  store.setBool(belongs, kNVBeforeLoginUserBelongsToNorvikKey);
  store.synchronize();
}

std::optional<std::string> NVSiteDomainConfigurator::beforeLoginLumoUserName() {
  return storedString(kNVBeforeLoginLumoUserNameKey);
}

void NVSiteDomainConfigurator::setBeforeLoginLumoUserName(std::optional<std::string> name) {
  storeString(kNVBeforeLoginLumoUserNameKey, name, true);
}

std::optional<std::string> NVSiteDomainConfigurator::beforeLoginNorvikUserName() {
  return storedString(kNVBeforeLoginNorvikUserNameKey);
}

void NVSiteDomainConfigurator::setBeforeLoginNorvikUserName(std::optional<std::string> name) {
  storeString(kNVBeforeLoginNorvikUserNameKey, name, true);
}

std::optional<std::string> NVSiteDomainConfigurator::beforeLoginUsernameWithSiteDomain(
    std::optional<std::string_view> siteDomain) {
  if (siteDomain && *siteDomain == NorvikSiteDomain()) return beforeLoginNorvikUserName();
  return beforeLoginLumoUserName();
}

void NVSiteDomainConfigurator::setBeforeLoginUsername(std::optional<std::string> name,
                                                      std::optional<std::string_view> siteDomain) {
  if (name && isMobilePhoneFormatInChina(*name)) {
    if (const auto blank = name->rfind(' '); blank != std::string::npos) {
      name = name->substr(blank + 1);
    }
  }
  if (siteDomain && *siteDomain == NorvikSiteDomain()) {
    setBeforeLoginNorvikUserName(std::move(name));
  } else {
    setBeforeLoginLumoUserName(std::move(name));
  }
}

std::int64_t NVSiteDomainConfigurator::lastSignedAccountType() {
  const platform::Value stored = NVAppGroupUserDefaults().objectForKey(kNVLastSignedAccountTypeKey);
  if (stored.isNull()) return 10;
  return NVAppGroupUserDefaults().integerForKey(kNVLastSignedAccountTypeKey);
}

void NVSiteDomainConfigurator::updateLastSignedAccountType(std::int64_t type) {
  NVAppGroupUserDefaults().setInteger(type, kNVLastSignedAccountTypeKey);
}

std::string NVSiteDomainConfigurator::NorvikDomain() {
  return detail::withoutScheme(NorvikSiteDomain());
}

std::string NVSiteDomainConfigurator::LumoDomain() {
  return detail::withoutScheme(LumoSiteDomain());
}

bool isNorvikSiteDomain(std::string_view address) {
  return address == NVSiteDomainConfigurator::NorvikSiteDomain();
}

bool isNorvikDomain(std::string_view host) {
  return host == NVSiteDomainConfigurator::NorvikDomain();
}

bool isLumoSiteDomain(std::string_view address) {
  return address == NVSiteDomainConfigurator::LumoSiteDomain() ||
         address == NVSiteDomainConfigurator::builtInLumoSiteDomain();
}

bool isLumoDomain(std::string_view host) {
  return host == NVSiteDomainConfigurator::LumoDomain() ||
         host ==
             detail::withoutScheme(std::string(NVSiteDomainConfigurator::builtInLumoSiteDomain()));
}

bool isMobilePhoneFormatInChina(std::string_view text) {
  constexpr std::array<std::string_view, 3> kPrefixes{"+86", "0086", "86"};
  const auto isNumber = [](std::string_view digits) {
    return digits.size() == 11 && digits[0] == '1' && digits[1] >= '3' && digits[1] <= '9' &&
           std::all_of(digits.begin(), digits.end(), detail::isDigit);
  };
  if (isNumber(text)) return true;
  for (std::string_view prefix : kPrefixes) {
    if (!text.starts_with(prefix)) continue;
    std::string_view rest = text.substr(prefix.size());
    if (rest.starts_with(' ')) rest.remove_prefix(1);
    if (isNumber(rest)) return true;
  }
  return false;
}

}  // namespace norvik
