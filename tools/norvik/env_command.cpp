// norvik env: the language, locale and carrier predicates and the server language tag.
#include <iomanip>
#include <iostream>

#include "cli.h"
#include "norvik/environment/language_environment.h"

namespace norvik::cli {
namespace {

nlohmann::json optionalText(const std::optional<std::string>& text) {
  return text ? nlohmann::json(*text) : nlohmann::json(nullptr);
}

nlohmann::json environmentReport() {
  using E = NVLanguageEnvironment;
  nlohmann::json language = {
      {"preferredLanguage", optionalText(E::preferredLanguage())},
      {"preferredLanguage_Server", optionalText(E::preferredLanguage_Server())},
      {"lastUserLanguage", optionalText(E::lastUserLanguage())}};
  const std::pair<const char*, bool (*)()> predicates[] = {
      {"isSystemSimplifiedChinese", &E::isSystemSimplifiedChinese},
      {"isAppSimplifiedChinese", &E::isAppSimplifiedChinese},
      {"isSystemTraditionalChinese", &E::isSystemTraditionalChinese},
      {"isAppTraditionalChinese", &E::isAppTraditionalChinese},
      {"isSystemChinese", &E::isSystemChinese},
      {"isAppChinese", &E::isAppChinese},
      {"isSystemEnglish", &E::isSystemEnglish},
      {"isAppEnglish", &E::isAppEnglish},
      {"isSystemRussian", &E::isSystemRussian},
      {"isAppRussian", &E::isAppRussian},
      {"isSystemJapanese", &E::isSystemJapanese},
      {"isAppJapanese", &E::isAppJapanese},
      {"isSystemFrench", &E::isSystemFrench},
      {"isAppFrench", &E::isAppFrench},
      {"isSystemKorean", &E::isSystemKorean},
      {"isAppKorean", &E::isAppKorean},
      {"isSystemDutch", &E::isSystemDutch},
      {"isAppDutch", &E::isAppDutch},
      {"isSystemThai", &E::isSystemThai},
      {"isAppThai", &E::isAppThai},
      {"isSystemGerman", &E::isSystemGerman},
      {"isAppGerman", &E::isAppGerman},
      {"isSystemPortuguese", &E::isSystemPortuguese},
      {"isAppPortuguese", &E::isAppPortuguese},
      {"isSystemArabic", &E::isSystemArabic},
      {"isAppArabic", &E::isAppArabic},
      {"isSystemGreek", &E::isSystemGreek},
      {"isAppGreek", &E::isAppGreek},
      {"isSystemSlovak", &E::isSystemSlovak},
      {"isAppSlovak", &E::isAppSlovak},
      {"isSystemHebrew", &E::isSystemHebrew},
  };
  for (const auto& [name, test] : predicates) language[name] = test();
  return {{"NVLanguageEnvironment", language},
          {"NVLocaleEnvironment",
           {{"isChina", NVLocaleEnvironment::isChina()}, {"isUSA", NVLocaleEnvironment::isUSA()}}},
          {"NVOperatorEnvironment",
           {{"operatorBrand", NVOperatorEnvironment::operatorBrand()},
            {"isChinese", NVOperatorEnvironment::isChinese()},
            {"isAmerican", NVOperatorEnvironment::isAmerican()}}},
          {"NVEnvironment",
           {{"prefersChinese", NVEnvironment::prefersChinese()},
            {"prefersUSA", NVEnvironment::prefersUSA()}}}};
}

void addEnvCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  CLI::App* env = app.add_subcommand(
      "env", "Language, locale and carrier predicates and the server language tag");
  env->callback([&options, &run] {
    run = [&options] {
      const nlohmann::json report = environmentReport();
      if (options.json) {
        printJSON(report);
        return 0;
      }
      for (const auto& [group, values] : report.items()) {
        std::cout << group << "\n";
        for (const auto& [name, value] : values.items()) {
          std::cout << "  " << std::left << std::setw(28) << name << " "
                    << (value.is_string() ? value.get<std::string>() : value.dump()) << "\n";
        }
      }
      return 0;
    };
  });
}

const CommandRegistration registration(addEnvCommand);

}  // namespace
}  // namespace norvik::cli
