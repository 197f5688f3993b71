#pragma once
// The two sites of the service, the international site (Norvik) and the China-region site (Lumo):
// their base addresses, pre-sign-in user names and related markers, all kept in the application
// group's store, and predicates that tell whether an address or host belongs to a site.
//
// Base addresses are "https://" plus the host, without a trailing slash. Each has a built-in value
// fixed when the library is built (norvik/platform/build_config.h). Every setter writes the store
// through, except updateLastSignedAccountType. All comparisons are exact and case-sensitive.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace norvik {

inline constexpr std::string_view kNVLumoSiteDomainKey = "LumoSiteDomain";
inline constexpr std::string_view kNVNorvikSiteDomainKey = "NorvikSiteDomain";
inline constexpr std::string_view kNVCustomWebSiteDomainKey = "CustomWebSiteDomain";
inline constexpr std::string_view kNVCurrentIPTypeKey = "CurrentIPType";
inline constexpr std::string_view kNVBeforeLoginUserBelongsToNorvikKey =
    "BeforeLoginUserBelongsToNorvik";
inline constexpr std::string_view kNVBeforeLoginLumoUserNameKey = "BeforeLoginLumoUserName";
inline constexpr std::string_view kNVBeforeLoginNorvikUserNameKey = "BeforeLoginNorvikUserName";
inline constexpr std::string_view kNVLastSignedAccountTypeKey = "lastSignedAccountType";

struct NVSiteDomainConfigurator {
  // The built-in base addresses of the two sites.
  static std::string_view builtInNorvikSiteDomain();
  static std::string_view builtInLumoSiteDomain();

  // The stored base address (a stored number reads as its decimal text), else the built-in one.
  // Setting std::nullopt removes the stored address.
  static std::string LumoSiteDomain();
  static void setLumoSiteDomain(std::optional<std::string> address);
  static std::string NorvikSiteDomain();
  static void setNorvikSiteDomain(std::optional<std::string> address);

  // An optional custom web address, stored as given; std::nullopt when absent.
  static std::optional<std::string> customWebSiteDomain();
  static void setCustomWebSiteDomain(std::optional<std::string> address);

  // An integer for the networking layer; 0 when absent or not a number.
  static std::int64_t currentIPType();
  static void setCurrentIPType(std::int64_t type);

  // Whether the user on the sign-in screen belongs to the international site; false when absent.
  static bool isBeforeLoginUserBelongsToNorvik();
  static void setBeforeLoginUserBelongsToNorvik(bool belongs);

  // User names typed before sign-in; std::nullopt when absent.
  static std::optional<std::string> beforeLoginLumoUserName();
  static void setBeforeLoginLumoUserName(std::optional<std::string> name);
  static std::optional<std::string> beforeLoginNorvikUserName();
  static void setBeforeLoginNorvikUserName(std::optional<std::string> name);

  // The Norvik user name when `siteDomain` is exactly NorvikSiteDomain(), else (any other address
  // or none) the Lumo user name.
  static std::optional<std::string> beforeLoginUsernameWithSiteDomain(
      std::optional<std::string_view> siteDomain);
  // Stores `name` as the user name of that site (Norvik when `siteDomain` is exactly
  // NorvikSiteDomain(), else Lumo). A mainland-China mobile number written with a blank (after a
  // country prefix) is stored as the part after its last blank.
  static void setBeforeLoginUsername(std::optional<std::string> name,
                                     std::optional<std::string_view> siteDomain);

  // The kind of account last signed in; 10 when absent. The update does not write the store
  // through (it reaches the other processes with the next write-through).
  static std::int64_t lastSignedAccountType();
  static void updateLastSignedAccountType(std::int64_t type);

  // The site addresses with every "https://" removed: the bare hosts.
  static std::string NorvikDomain();
  static std::string LumoDomain();
};

// The receiver equals NorvikSiteDomain() / NorvikDomain(); the built-in address of the
// international site does not count once another one is configured.
bool isNorvikSiteDomain(std::string_view address);
bool isNorvikDomain(std::string_view host);
// The receiver equals LumoSiteDomain() / LumoDomain(), or the built-in China-region address / host,
// so that a redirected China-region site still recognises links of the real one.
bool isLumoSiteDomain(std::string_view address);
bool isLumoDomain(std::string_view host);

// A mainland-China mobile number: 11 digits, the first "1" and the second 3 to 9, optionally after
// a country prefix "+86", "0086" or "86" with or without one blank after it ("+86 13812345678",
// "8613812345678"). Nothing else may surround it.
bool isMobilePhoneFormatInChina(std::string_view text);

}  // namespace norvik
