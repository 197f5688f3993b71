// Feeds arbitrary lines to the language-code readers: the stored interface-language code, the
// system's preferred language tags, a POSIX locale name and a list of `.lproj` folder codes.
//   line 1: the code stored under "appUserLanguage"
//   line 2: a POSIX locale name, for languageTagFromPosixLocale
//   line 3: folder codes separated by ',', for preferredLocalizationsFromArray
//   lines 4...: preferred language tags
// Invariants: the type of a stored code is 0 exactly when the code is none of the 37 codes, and
// names that code otherwise; only a valid folder name is ever attached as the language folder; a
// chosen localization is one of those offered; a code is valid only without path characters.
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_support.h"
#include "norvik/environment/language_environment.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/bundle.h"
#include "norvik/platform/environment.h"

using namespace norvik;
using norvik::fuzz::check;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (true) {
    const std::size_t end = text.find(separator, start);
    parts.emplace_back(text.substr(start, end == std::string_view::npos ? text.npos : end - start));
    if (end == std::string_view::npos) return parts;
    start = end + 1;
  }
}

bool tagCharacters(std::string_view tag) {
  for (const char c : tag) {
    const bool ok = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                    c == '-' || c == '_';
    if (!ok) return false;
  }
  return true;
}

// A private container and a bundle with a few language folders, made once per process.
void setUpEnvironment() {
  char pattern[] = "/tmp/norvik-language-fuzz-XXXXXX";
  const char* root = mkdtemp(pattern);
  if (!root) norvik::fuzz::fail("cannot make a temporary directory");
  const fs::path base(root);
  fs::create_directories(base / "group");
  for (const char* code : {"en", "de", "zh-Hans", "pt-BR", "Base"}) {
    fs::create_directories(base / "bundle" / (std::string(code) + ".lproj"));
  }
  platform::modifyEnvironment([&](platform::Environment& env) {
    env.appGroupContainerDirectory = (base / "group").string();
    env.mainBundlePath = (base / "bundle").string();
  });
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setUpEnvironment();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> lines =
      split(std::string_view(reinterpret_cast<const char*>(data), size), '\n');
  const std::string& code = lines[0];
  const std::string posix = lines.size() > 1 ? lines[1] : "";
  const std::vector<std::string> folders =
      lines.size() > 2 ? split(lines[2], ',') : std::vector<std::string>{};
  const std::vector<std::string> preferences(lines.begin() + std::min<std::size_t>(3, lines.size()),
                                             lines.end());

  const bool valid = platform::Bundle::isValidLocalizationCode(code);
  check(valid == (!code.empty() && code.size() <= 64 && tagCharacters(code)),
        "a folder code is 1 to 64 letters, digits, '-' and '_'");

  const std::string tag = platform::languageTagFromPosixLocale(posix);
  check(tagCharacters(tag), "a language tag from a POSIX name is made of tag characters");

  const auto chosen = platform::Bundle::preferredLocalizationsFromArray(folders, preferences, code);
  const bool anyValid = std::any_of(folders.begin(), folders.end(), [](const std::string& f) {
    return tagCharacters(f) && !f.empty() && f.size() <= 64;
  });
  check(chosen.size() == (anyValid ? 1u : 0u), "one localization is chosen when one is valid");
  if (!chosen.empty()) {
    check(std::find(folders.begin(), folders.end(), chosen[0]) != folders.end() &&
              platform::Bundle::isValidLocalizationCode(chosen[0]),
          "the chosen localization is a valid one of those offered");
  }

  platform::modifyEnvironment(
      [&](platform::Environment& env) { env.preferredLanguages = preferences; });
  NVAppGroupUserDefaults().setObject(platform::Value(code), kNVAppUserLanguageKey);
  const NVUserLanguageType type = NVUserLanguage::userLanguageType();
  const auto languages = NVUserLanguage::supportedLanguages();
  const bool known = std::any_of(languages.begin(), languages.end(),
                                 [&](const NVUserLanguageEntry& e) { return e.code == code; });
  check((type != 0) == known, "a stored code has a type exactly when it is one of the 37");
  if (type != 0) check(NVUserLanguage::userLanguageIDForType(type) == code, "type names the code");
  check(!NVUserLanguage::userLanguageName().empty(), "there is always a language name");
  (void)NVLanguageEnvironment::preferredLanguage();
  (void)NVLanguageEnvironment::preferredLanguage_Server();

  NVUserLanguage::updateUserLanguageAndNotify();
  if (const auto attached = BundleEx::attachedLanguageCode()) {
    check(platform::Bundle::isValidLocalizationCode(*attached), "only a folder name is attached");
    check(known && *attached == code, "only the stored, known code is attached");
  }
  return 0;
}
