#include "norvik/environment/app_constants.h"

#include <array>
#include <cctype>
#include <limits>
#include <random>

#include "norvik/platform/bundle.h"
#include "norvik/platform/format.h"
#include "platform/integer_text.h"

namespace norvik {
namespace {

std::optional<std::string> infoString(std::string_view key) {
  auto value = platform::Bundle::main()->objectForInfoDictionaryKey(key);
  if (!value || !value->string()) return std::nullopt;
  return *value->string();
}

using detail::leadingInteger;

// The leading decimal digits of one version part; 0 when it has none. Large parts saturate.
std::uint64_t versionPartValue(std::string_view part) noexcept {
  std::uint64_t value = 0;
  for (char c : part) {
    if (c < '0' || c > '9') break;
    if (value > (std::numeric_limits<std::uint64_t>::max() - 9) / 10) {
      return std::numeric_limits<std::uint64_t>::max();
    }
    value = value * 10 + static_cast<unsigned>(c - '0');
  }
  return value;
}

std::string_view nextPart(std::string_view& rest) noexcept {
  const auto dot = rest.find('.');
  std::string_view part = rest.substr(0, dot);
  rest = dot == std::string_view::npos ? std::string_view{} : rest.substr(dot + 1);
  return part;
}

std::string systemVersion() {
  return platform::currentEnvironment()->device.systemVersion;
}

}  // namespace

std::optional<std::string> NVConstants::bundleIdentifier() {
  return infoString("CFBundleIdentifier");
}

std::optional<std::string> NVConstants::bundleVersionString() {
  return infoString("CFBundleShortVersionString");
}

std::optional<std::string> NVConstants::buildVersionString() {
  return infoString("CFBundleVersion");
}

std::int64_t NVConstants::bundleVersionInteger() {
  auto version = bundleVersionString();
  return version ? versionInteger(*version) : 0;
}

std::int64_t NVConstants::versionInteger(std::string_view marketingVersion) {
  std::string digits;
  digits.reserve(marketingVersion.size());
  for (char c : marketingVersion) {
    if (c != '.') digits.push_back(c);
  }
  const std::int64_t n = leadingInteger(digits);
  // Number of decimal digits of n (of its magnitude; 0 has one digit).
  int k = 1;
  for (std::int64_t rest = n / 10; rest != 0; rest /= 10) ++k;
  std::int64_t result = n;
  for (int i = k; i < 4; ++i) result *= 10;
  for (int i = 4; i < k; ++i) result /= 10;
  return result;
}

NVDeviceType NVCurrentDeviceType() {
  const std::string& idiom = platform::currentEnvironment()->device.idiom;
  if (idiom == "phone") return NVDeviceTypePhone;
  if (idiom == "pad") return NVDeviceTypePad;
  if (idiom == "tv") return NVDeviceTypeTV;
  if (idiom == "carPlay" || idiom == "car") return NVDeviceTypeCarPlay;
  return NVDeviceTypeOther;
}

bool NVCurrentDeviceIsiPhone() {
  return NVCurrentDeviceType() == NVDeviceTypePhone;
}
bool NVCurrentDeviceIsiPad() {
  return NVCurrentDeviceType() == NVDeviceTypePad;
}
bool NVCurrentDeviceIsSimulator() noexcept {
  return false;
}

bool isLaterThanIPhone8() {
  const std::string model = platform::currentEnvironment()->device.modelIdentifier;
  if (model.find("iPhone") == std::string::npos || model.size() < 6) return false;
  std::string_view generation = std::string_view(model).substr(6);
  generation = generation.substr(0, generation.find(','));
  return leadingInteger(generation) > 9;
}

int compareVersionsNumerically(std::string_view a, std::string_view b) noexcept {
  while (!a.empty() || !b.empty()) {
    const std::uint64_t left = versionPartValue(nextPart(a));
    const std::uint64_t right = versionPartValue(nextPart(b));
    if (left != right) return left < right ? -1 : 1;
  }
  return 0;
}

bool NVSystemVersionLaterThanVersion(std::string_view version) {
  return compareVersionsNumerically(systemVersion(), version) > 0;
}

bool NVSystemVersionLaterThanOrEqualToVersion(std::string_view version) {
  return compareVersionsNumerically(systemVersion(), version) >= 0;
}

bool NVSystemVersionEqualToVersion(std::string_view version) {
  return compareVersionsNumerically(systemVersion(), version) == 0;
}

bool IsAppExtension() {
  static const bool isExtension = [] {
    auto environment = platform::currentEnvironment();
    if (environment->isAppExtension) return true;
    std::string_view path = platform::Bundle::main()->bundlePath();
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return path.ends_with(".appex");
  }();
  return isExtension;
}

std::string generate32UUID() {
  // One generator per thread, seeded from the system's entropy source.
  thread_local std::mt19937_64 generator = [] {
    std::random_device device;
    std::seed_seq seed{device(), device(), device(), device(),
                       device(), device(), device(), device()};
    return std::mt19937_64(seed);
  }();
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t i = 0; i < bytes.size(); i += 8) {
    const std::uint64_t word = generator();
    for (std::size_t j = 0; j < 8; ++j) bytes[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
  }
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0f) | 0x40);  // version 4
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3f) | 0x80);  // RFC 4122 variant
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(32);
  for (std::uint8_t byte : bytes) {
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 0x0f]);
  }
  return text;
}

std::string urlEncoded(std::string_view text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result;
  result.reserve(text.size());
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) || c == '-' || c == '.' || c == '_' || c == '~') {
      result.push_back(c);
    } else {
      result.push_back('%');
      result.push_back(kDigits[byte >> 4]);
      result.push_back(kDigits[byte & 0x0f]);
    }
  }
  return result;
}

}  // namespace norvik
