// norvik site: the base addresses of the service's two sites and the tests on addresses.
#include <iostream>

#include "cli.h"
#include "norvik/environment/site_domain.h"

namespace norvik::cli {
namespace {

using C = NVSiteDomainConfigurator;

struct SiteArgs {
  std::string site;
  std::string address;
};

nlohmann::json optionalText(const std::optional<std::string>& text) {
  return text ? nlohmann::json(*text) : nlohmann::json(nullptr);
}

void printTable(const nlohmann::json& values) {
  for (const auto& [name, value] : values.items()) {
    std::cout << name << "\t" << (value.is_string() ? value.get<std::string>() : value.dump())
              << "\n";
  }
}

nlohmann::json siteReport() {
  return {{"NorvikSiteDomain", C::NorvikSiteDomain()},
          {"LumoSiteDomain", C::LumoSiteDomain()},
          {"NorvikDomain", C::NorvikDomain()},
          {"LumoDomain", C::LumoDomain()},
          {"customWebSiteDomain", optionalText(C::customWebSiteDomain())},
          {"currentIPType", C::currentIPType()},
          {"isBeforeLoginUserBelongsToNorvik", C::isBeforeLoginUserBelongsToNorvik()},
          {"beforeLoginNorvikUserName", optionalText(C::beforeLoginNorvikUserName())},
          {"beforeLoginLumoUserName", optionalText(C::beforeLoginLumoUserName())},
          {"lastSignedAccountType", C::lastSignedAccountType()}};
}

void store(const std::string& site, std::optional<std::string> address) {
  if (address && !address->starts_with("https://") && !address->starts_with("http://") &&
      site != "custom") {
    throw UsageError("a site address starts with https:// (got '" + *address + "')");
  }
  if (site == "norvik") {
    C::setNorvikSiteDomain(std::move(address));
  } else if (site == "lumo") {
    C::setLumoSiteDomain(std::move(address));
  } else {
    C::setCustomWebSiteDomain(std::move(address));
  }
}

void addSiteCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<SiteArgs>();
  CLI::App* site =
      app.add_subcommand("site", "Show and set the service's site addresses; test an address");
  const auto show = [&options] {
    const nlohmann::json report = siteReport();
    if (options.json) {
      printJSON(report);
    } else {
      printTable(report);
    }
    return 0;
  };
  site->callback([&run, site, show] {
    if (site->get_subcommands().empty()) run = show;
  });

  const auto sites = CLI::IsMember({"norvik", "lumo", "custom"});
  CLI::App* set = site->add_subcommand("set", "Store the base address of a site");
  set->add_option("site", args->site, "norvik, lumo or custom")->required()->check(sites);
  set->add_option("address", args->address, "https:// and the host")->required();
  set->callback([&run, args, show] {
    run = [args, show] {
      store(args->site, args->address);
      return show();
    };
  });

  CLI::App* reset = site->add_subcommand("reset", "Return a site to its built-in address");
  reset->add_option("site", args->site, "norvik, lumo or custom")->required()->check(sites);
  reset->callback([&run, args, show] {
    run = [args, show] {
      store(args->site, std::nullopt);
      return show();
    };
  });

  CLI::App* test = site->add_subcommand("test", "Tell which site an address or host belongs to");
  test->add_option("address", args->address, "An address, a host or a user name")->required();
  test->callback([&options, &run, args] {
    run = [&options, args] {
      const std::string& a = args->address;
      const nlohmann::json result = {{"address", a},
                                     {"isNorvikSiteDomain", isNorvikSiteDomain(a)},
                                     {"isNorvikDomain", isNorvikDomain(a)},
                                     {"isLumoSiteDomain", isLumoSiteDomain(a)},
                                     {"isLumoDomain", isLumoDomain(a)},
                                     {"isMobilePhoneFormatInChina", isMobilePhoneFormatInChina(a)}};
      if (options.json) {
        printJSON(result);
      } else {
        printTable(result);
      }
      return 0;
    };
  });
}

const CommandRegistration registration(addSiteCommand);

}  // namespace
}  // namespace norvik::cli
