// norvik settings: list, read, write and remove the settings of the registry.
#include <charconv>
#include <ctime>
#include <iostream>
#include <optional>

#include "arguments.h"
#include "cli.h"
#include "norvik/settings/defaults_cache.h"
#include "norvik/settings/registry.h"

namespace norvik::cli {
namespace {

struct SettingsArgs {
  std::string name;
  std::string value;
};

const DefaultsSetting& findSetting(const std::string& name) {
  for (const DefaultsSetting& setting : DefaultsKeys::allSettings()) {
    if (setting.name == name) return setting;
  }
  throw UsageError("unknown setting '" + name + "' (see 'norvik settings list')");
}

// The command-line text of a value for a setting of the given type.
platform::Value parseSettingValue(const DefaultsSetting& setting, const std::string& text) {
  const std::string& type = setting.type;
  if (type == "String") return platform::Value(text);
  if (type == "Int") return platform::Value(parseNumber<int>(text, "an Int"));
  if (type == "Int64") return platform::Value(parseNumber<long long>(text, "an Int64"));
  if (type == "Double") return platform::Value(parseNumber<double>(text, "a number"));
  if (type == "Bool") {
    if (text == "true" || text == "YES" || text == "1") return platform::Value(true);
    if (text == "false" || text == "NO" || text == "0") return platform::Value(false);
    throw UsageError("'" + text + "' is not a Bool (true or false)");
  }
  if (type == "Date") return platform::Value(parseInstant(text));
  throw UsageError("setting '" + setting.name + "' has an unknown type");
}

nlohmann::json describeJSON(const DefaultsSetting& setting) {
  return {{"name", setting.name},
          {"key", setting.key()},
          {"type", setting.type},
          {"wrapped", setting.wrapped},
          {"optional", setting.optional},
          {"perUser", setting.perUser},
          {"value", toJSON(setting.value())},
          {"defaultValue", toJSON(setting.defaultValue())}};
}

// Why the stored value of a setting cannot be known (the store, or for a wrapped setting the
// settings cache, could not be read); nothing when it can.
std::optional<std::string> unreadable(const DefaultsSetting& setting) {
  platform::UserDefaults store = NVUserDefaults::shared().store();
  if (store.storeStatus() == platform::UserDefaults::StoreStatus::unreadable) {
    return store.storeProblem();
  }
  if (setting.wrapped) {
    SVDatabaseUserDefaults& cache = SVCustomUserDefaultsCacheManager::shared().inDatabaseCache();
    if (cache.storeStatus() == platform::UserDefaults::StoreStatus::unreadable) {
      return cache.storeProblem();
    }
  }
  return std::nullopt;
}

// Whether the last write reached every store: the application group's, and for a wrapped setting
// the settings cache's table too.
bool saved(const DefaultsSetting& setting) {
  bool durable = NVUserDefaults::shared().synchronize();
  if (setting.wrapped) {
    durable = !SVCustomUserDefaultsCacheManager::shared().inDatabaseCache().hasUnsavedChanges() &&
              durable;
  }
  return durable;
}

std::string shown(const platform::Value& value) {
  if (value.isNull()) return "(absent)";
  if (value.type() == platform::Value::Type::Boolean) return *value.boolValue() ? "true" : "false";
  return plainText(value);
}

void addSettingsCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<SettingsArgs>();
  CLI::App* settings = app.add_subcommand("settings", "Read and write the typed settings");
  settings->require_subcommand(1);

  CLI::App* list =
      settings->add_subcommand("list", "Every setting with its key, value and default");
  list->callback([&options, &run] {
    run = [&options] {
      nlohmann::json all = nlohmann::json::array();
      for (const DefaultsSetting& setting : DefaultsKeys::allSettings()) {
        if (options.json) {
          all.push_back(describeJSON(setting));
        } else {
          std::cout << setting.name << " [" << setting.key() << "] = " << shown(setting.value())
                    << " (default " << shown(setting.defaultValue()) << ")\n";
        }
      }
      if (options.json) printJSON({{"list", all}});
      return 0;
    };
  });

  CLI::App* get = settings->add_subcommand("get", "Print a setting's value");
  get->add_option("name", args->name, "Registry name, e.g. currentUserID")->required();
  get->callback([&options, &run, args] {
    run = [&options, args] {
      const DefaultsSetting& setting = findSetting(args->name);
      platform::Value value = setting.value();
      // A default printed for a store that could not be read would pass for the stored value.
      if (auto why = unreadable(setting)) {
        std::cerr << "norvik: settings get " << setting.name
                  << ": the stored value cannot be read: " << *why << "\n";
        return 1;
      }
      if (options.json) {
        printJSON({{"get", describeJSON(setting)}});
      } else {
        std::cout << shown(value) << "\n";
      }
      return 0;
    };
  });

  CLI::App* set = settings->add_subcommand("set", "Write a setting");
  set->add_option("name", args->name, "Registry name")->required();
  set->add_option("value", args->value, "Value, as text of the setting's type")->required();
  set->callback([&options, &run, args] {
    run = [&options, args] {
      const DefaultsSetting& setting = findSetting(args->name);
      platform::Value value = parseSettingValue(setting, args->value);
      if (!setting.set(value))
        throw UsageError("'" + args->value + "' does not fit " + setting.type);
      bool durable = saved(setting);
      if (options.json) {
        printJSON({{"set", describeJSON(setting)}, {"synchronized", durable}});
      }
      return durable ? 0 : 1;
    };
  });

  CLI::App* remove = settings->add_subcommand("remove", "Remove a setting (its default applies)");
  remove->add_option("name", args->name, "Registry name")->required();
  remove->callback([&options, &run, args] {
    run = [&options, args] {
      const DefaultsSetting& setting = findSetting(args->name);
      setting.remove();
      bool durable = saved(setting);
      if (options.json) printJSON({{"remove", describeJSON(setting)}, {"synchronized", durable}});
      return durable ? 0 : 1;
    };
  });
}

const CommandRegistration registration(addSettingsCommand);

}  // namespace
}  // namespace norvik::cli
