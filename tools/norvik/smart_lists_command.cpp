// norvik smart-lists: the smart-list identifiers with their localized names.
#include <iomanip>
#include <iostream>

#include "cli.h"
#include "norvik/vocabulary/smart_projects.h"

namespace norvik::cli {
namespace {

void addSmartListsCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  CLI::App* lists =
      app.add_subcommand("smart-lists", "List the smart-list identifiers and their names");
  lists->callback([&options, &run] {
    run = [&options] {
      if (options.json) {
        nlohmann::json entries = nlohmann::json::array();
        for (const SmartProjectName& entry : SmartProject::nameTable()) {
          entries.push_back(
              {{"identifier", entry.identifier},
               {"displayKey", entry.displayKey},
               {"nameForSmartProjectID", SmartProject::nameForSmartProjectID(entry.identifier)},
               {"isSmartProject", isSmartProject(entry.identifier)}});
        }
        printJSON({{"smartProjects", entries},
                   {"inbox", SmartProject::nameForSmartProjectID(kNVLocalInboxID)}});
        return 0;
      }
      for (const SmartProjectName& entry : SmartProject::nameTable()) {
        std::cout << std::left << std::setw(34) << entry.identifier << std::setw(24)
                  << SmartProject::nameForSmartProjectID(entry.identifier)
                  << (isSmartProject(entry.identifier) ? "smart project" : "") << "\n";
      }
      std::cout << std::setw(34) << kNVLocalInboxID
                << SmartProject::nameForSmartProjectID(kNVLocalInboxID) << "\n";
      return 0;
    };
  });
}

const CommandRegistration registration(addSmartListsCommand);

}  // namespace
}  // namespace norvik::cli
