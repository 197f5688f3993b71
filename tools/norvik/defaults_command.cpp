// norvik defaults: read and write the application-group key-value store.
#include <charconv>
#include <ctime>
#include <iostream>

#include "arguments.h"
#include "cli.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/json.h"
#include "norvik/platform/user_defaults.h"

namespace norvik::cli {
namespace {

struct DefaultsArgs {
  std::string key;
  std::string value;
  std::string type = "string";
};

platform::UserDefaults appGroupStore() {
  return platform::UserDefaults(kNVAppGroupIdentifier);
}

platform::Data parseHex(const std::string& text) {
  if (text.size() % 2 != 0) throw UsageError("data must be an even number of hexadecimal digits");
  platform::Data data;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    data.push_back(parseNumber<unsigned>(text.substr(i, 2), "hexadecimal") & 0xff);
  }
  return data;
}

platform::Value parseTypedValue(const std::string& type, const std::string& text) {
  if (type == "string") return platform::Value(text);
  if (type == "int") return platform::Value(parseNumber<long long>(text, "an integer"));
  if (type == "real") return platform::Value(parseNumber<double>(text, "a real number"));
  if (type == "bool") {
    if (text == "true" || text == "YES" || text == "1") return platform::Value(true);
    if (text == "false" || text == "NO" || text == "0") return platform::Value(false);
    throw UsageError("'" + text + "' is not a boolean (true or false)");
  }
  if (type == "date") return platform::Value(parseInstant(text));
  if (type == "data") return platform::Value(parseHex(text));
  if (type == "json") {
    auto value = platform::decodeJSON(text);
    if (!value) throw UsageError("'" + text + "' is not valid JSON");
    return *value;
  }
  throw UsageError("unknown type '" + type + "'");
}

void addDefaultsCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<DefaultsArgs>();
  CLI::App* defaults =
      app.add_subcommand("defaults", "Read and write the application-group key-value store");
  defaults->require_subcommand(1);

  CLI::App* get = defaults->add_subcommand("get", "Print the value stored under a key");
  get->add_option("key", args->key, "Key")->required();
  get->callback([&options, &run, args] {
    run = [&options, args] {
      platform::Value value = appGroupStore().objectForKey(args->key);
      if (options.json) {
        printJSON({{"key", args->key}, {"value", toJSON(value)}});
      } else if (value.isNull()) {
        printError("no value for key '" + args->key + "'");
        return 1;
      } else {
        std::cout << plainText(value) << "\n";
      }
      return 0;
    };
  });

  CLI::App* set = defaults->add_subcommand("set", "Store a typed value under a key");
  set->add_option("key", args->key, "Key")->required();
  set->add_option("value", args->value, "Value")->required();
  set->add_option("--type", args->type, "Type of the value")
      ->check(CLI::IsMember({"string", "int", "real", "bool", "date", "data", "json"}))
      ->capture_default_str();
  set->callback([&options, &run, args] {
    run = [&options, args] {
      platform::Value value = parseTypedValue(args->type, args->value);
      platform::UserDefaults store = appGroupStore();
      store.setObject(value, args->key);
      bool durable = store.synchronize();
      if (options.json)
        printJSON({{"key", args->key}, {"value", toJSON(value)}, {"synchronized", durable}});
      return durable ? 0 : 1;
    };
  });

  CLI::App* remove = defaults->add_subcommand("remove", "Remove the value stored under a key");
  remove->add_option("key", args->key, "Key")->required();
  remove->callback([&options, &run, args] {
    run = [&options, args] {
      platform::UserDefaults store = appGroupStore();
      store.removeObjectForKey(args->key);
      bool durable = store.synchronize();
      if (options.json) printJSON({{"key", args->key}, {"removed", true}});
      return durable ? 0 : 1;
    };
  });

  CLI::App* list = defaults->add_subcommand("list", "List every key and value of the store");
  list->callback([&options, &run] {
    run = [&options] {
      platform::Value all(appGroupStore().dictionaryRepresentation());
      if (options.json) {
        printJSON(toJSON(all));
      } else {
        for (const auto& [key, value] : *all.dictionary()) {
          std::cout << key << " = " << plainText(value) << "\n";
        }
      }
      return 0;
    };
  });
}

const CommandRegistration registration(addDefaultsCommand);

}  // namespace
}  // namespace norvik::cli
