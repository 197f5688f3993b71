// norvik keychain: store, read and remove secrets of the synchronised keychain.
#include <iostream>

#include "cli.h"
#include "norvik/settings/keychain.h"

namespace norvik::cli {
namespace {

struct KeychainArgs {
  std::string key;
  std::string value;
};

void addKeychainCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<KeychainArgs>();
  CLI::App* keychain =
      app.add_subcommand("keychain", "Secrets of the synchronised keychain (Secret Service)");
  keychain->require_subcommand(1);
  const KeychainStore& store = NVKeychain::shared().syncedKeychain();

  CLI::App* set = keychain->add_subcommand("set", "Store a secret under a key");
  set->add_option("key", args->key, "Key")->required();
  set->add_option("value", args->value, "Secret text")->required();
  set->callback([&options, &run, &store, args] {
    run = [&options, &store, args] {
      if (args->key.empty()) throw UsageError("the key must not be empty");
      bool stored = store.setString(args->value, args->key);
      if (options.json) printJSON({{"set", {{"key", args->key}, {"stored", stored}}}});
      return stored ? 0 : 1;
    };
  });

  CLI::App* get = keychain->add_subcommand("get", "Print the secret stored under a key");
  get->add_option("key", args->key, "Key")->required();
  get->callback([&options, &run, &store, args] {
    run = [&options, &store, args] {
      std::optional<std::string> value = store.getString(args->key);
      if (options.json) {
        printJSON(
            {{"get", {{"key", args->key}, {"value", value ? nlohmann::json(*value) : nullptr}}}});
      } else if (value) {
        std::cout << *value << "\n";
      } else {
        printError("no secret for key '" + args->key + "'");
      }
      return value ? 0 : 1;
    };
  });

  CLI::App* remove = keychain->add_subcommand("remove", "Remove the secret stored under a key");
  remove->add_option("key", args->key, "Key")->required();
  remove->callback([&options, &run, &store, args] {
    run = [&options, &store, args] {
      bool removed = store.remove(args->key);
      if (options.json) printJSON({{"remove", {{"key", args->key}, {"removed", removed}}}});
      return removed ? 0 : 1;
    };
  });
}

const CommandRegistration registration(addKeychainCommand);

}  // namespace
}  // namespace norvik::cli
