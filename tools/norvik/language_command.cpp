// norvik language: the interface language chosen for the application and its extensions.
#include <csignal>
#include <iostream>

#include "cli.h"
#include "norvik/environment/message_identifiers.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/bundle.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/message_channel.h"

namespace norvik::cli {
namespace {

struct LanguageArgs {
  std::string code;
  int count = -1;
  double timeout = -1;
};

nlohmann::json currentChoice() {
  const auto id = NVUserLanguage::userLanguageID();
  return {{"userLanguageType", NVUserLanguage::userLanguageType()},
          {"userLanguageID", id ? nlohmann::json(*id) : nlohmann::json(nullptr)},
          {"userLanguageName", NVUserLanguage::userLanguageName()},
          {"localeForCurrentLanguage", NVUserLanguage::localeForCurrentLanguage().identifier()}};
}

void printChoice(const nlohmann::json& choice) {
  const auto& id = choice["userLanguageID"];
  std::cout << (id.is_null() ? std::string("system") : id.get<std::string>()) << " (type "
            << choice["userLanguageType"].get<unsigned>() << ") "
            << choice["userLanguageName"].get<std::string>() << "\n";
}

NVUserLanguageType typeForCode(const std::string& code) {
  if (code == "system") return 0;
  for (const auto& entry : NVUserLanguage::supportedLanguages()) {
    if (entry.code == code) return entry.type;
  }
  throw UsageError("unknown language code '" + code + "' (see norvik language list)");
}

volatile std::sig_atomic_t interrupted = 0;

int watch(const GlobalOptions& options, const LanguageArgs& args) {
  // Start-up makes this process listen for language changes like any other of the application.
  BundleEx::installOnMainBundle();
  auto channel = platform::MessageChannel::open(kNVAppGroupIdentifier, kNVWormholeMessageDirectory);
  if (!channel) {
    printError("the application-group container is not available");
    return 1;
  }
  const auto own = platform::Bundle::main()->bundleIdentifier().value_or("");
  int received = 0;
  const auto report = [&](std::string_view identifier, const platform::Value& sender) {
    ++received;
    const std::string from = sender.string() ? *sender.string() : "";
    if (identifier == NVUserLanguageDidChangeNotification) {
      // The shared observer ignores messages carrying this program's own bundle identifier, which
      // every norvik process shares; apply those here.
      if (from == own) NVUserLanguage::updateUserLanguageAndNotify();
      nlohmann::json choice = currentChoice();
      if (options.json) {
        printJSON({{"message", identifier}, {"sender", from}, {"choice", choice}});
      } else {
        std::cout << "language changed by " << (from.empty() ? "(unknown)" : from) << ": ";
        printChoice(choice);
      }
    } else if (options.json) {
      printJSON({{"message", identifier}, {"sender", toJSON(sender)}});
    } else {
      std::cout << "message " << identifier << " from " << plainText(sender) << "\n";
    }
    std::cout.flush();
  };
  for (std::string_view identifier :
       {NVUserLanguageDidChangeNotification, kNVWormholeMessageIdentifier_AccountStatusChanged,
        kNVWormholeMessageIdentifier_CountDownStatusChanged,
        kNVWormholeMessageIdentifier_DBUpgraded, kNVWormholeMessageIdentifier_DataChanged,
        kNVWormholeMessageIdentifier_SignIn, kNVWormholeMessageIdentifier_SignOut,
        kNVWormholeMessageIdentifier_UserSettingsChanged}) {
    channel->listenForMessageWithIdentifier(
        identifier, [&report, identifier](const platform::Value& v) { report(identifier, v); });
  }
  std::signal(SIGINT, [](int) { interrupted = 1; });
  std::signal(SIGTERM, [](int) { interrupted = 1; });
  if (!options.json) {
    std::cout << "watching " << channel->directoryPath() << " (Ctrl-C to stop)\n";
    std::cout.flush();
  }
  platform::runDefaultMainLoop(args.timeout, [&] {
    return interrupted != 0 || (args.count >= 0 && received >= args.count);
  });
  return 0;
}

void addLanguageCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<LanguageArgs>();
  CLI::App* language = app.add_subcommand(
      "language", "Show or choose the interface language of the application and its extensions");
  language->callback([&options, &run, language] {
    if (!language->get_subcommands().empty()) return;
    run = [&options] {
      const nlohmann::json choice = currentChoice();
      if (options.json) {
        printJSON(choice);
      } else {
        printChoice(choice);
      }
      return 0;
    };
  });

  CLI::App* set = language->add_subcommand("set", "Choose a language code, or system");
  set->add_option("code", args->code, "A code of norvik language list, or system")->required();
  set->callback([&options, &run, args] {
    run = [&options, args] {
      const NVUserLanguageType type = typeForCode(args->code);
      const bool changed = NVUserLanguage::setUserLanguageType(type);
      nlohmann::json choice = currentChoice();
      if (options.json) {
        choice["setUserLanguageType"] = changed;
        printJSON(choice);
      } else {
        std::cout << (changed ? "now " : "unchanged: ");
        printChoice(choice);
      }
      return 0;
    };
  });

  CLI::App* list = language->add_subcommand("list", "The languages that can be chosen");
  list->callback([&options, &run] {
    run = [&options] {
      nlohmann::json all = nlohmann::json::array();
      for (const auto& entry : NVUserLanguage::supportedLanguages()) {
        if (options.json) {
          all.push_back({{"userLanguageType", entry.type},
                         {"userLanguageID", entry.code},
                         {"nativeName", entry.nativeName}});
        } else {
          std::cout << entry.type << "\t" << entry.code << "\t" << entry.nativeName << "\n";
        }
      }
      if (options.json) printJSON(all);
      return 0;
    };
  });

  CLI::App* watchCommand = language->add_subcommand(
      "watch", "Stay running and print each language change made by another process");
  watchCommand->add_option("--count", args->count, "Stop after this many messages");
  watchCommand->add_option("--timeout", args->timeout, "Stop after this many seconds");
  watchCommand->callback(
      [&options, &run, args] { run = [&options, args] { return watch(options, *args); }; });
}

const CommandRegistration registration(addLanguageCommand);

}  // namespace
}  // namespace norvik::cli
