// norvik themes: every theme identifier and the two theme lists.
#include <algorithm>
#include <iomanip>
#include <iostream>

#include "cli.h"
#include "norvik/vocabulary/themes.h"

namespace norvik::cli {
namespace {

void addThemesCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  CLI::App* themes = app.add_subcommand("themes", "List the theme identifiers");
  themes->callback([&options, &run] {
    run = [&options] {
      const auto special = themesNeedsSpecialHandlingTabbar();
      const auto isSpecial = [&](NVThemeIdentifier theme) {
        return std::find(special.begin(), special.end(), theme) != special.end();
      };
      if (options.json) {
        std::vector<std::string_view> all, tabbar;
        for (NVThemeIdentifier theme : allThemeIdentifiers()) all.push_back(rawValue(theme));
        for (NVThemeIdentifier theme : special) tabbar.push_back(rawValue(theme));
        const auto gradient = themesSolidToGradient();
        printJSON({{"allCases", all},
                   {"themesNeedsSpecialHandlingTabbar", tabbar},
                   {"themesSolidToGradient",
                    std::vector<std::string_view>(gradient.begin(), gradient.end())}});
        return 0;
      }
      std::size_t index = 0;
      for (NVThemeIdentifier theme : allThemeIdentifiers()) {
        std::cout << std::setw(2) << index++ << "  ";
        if (isSpecial(theme)) {
          std::cout << std::left << std::setw(16) << rawValue(theme) << std::right
                    << "special tab bar\n";
        } else {
          std::cout << rawValue(theme) << "\n";
        }
      }
      std::cout << "solid to gradient:";
      for (std::string_view name : themesSolidToGradient()) std::cout << " " << name;
      std::cout << "\n";
      return 0;
    };
  });
}

const CommandRegistration registration(addThemesCommand);

}  // namespace
}  // namespace norvik::cli
