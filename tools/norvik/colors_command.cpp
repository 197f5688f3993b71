// norvik colors: the list-colour palette as swatches, or one parsed colour.
#include <unistd.h>

#include <cmath>
#include <iomanip>
#include <iostream>
#include <optional>
#include <sstream>

#include "cli.h"
#include "norvik/vocabulary/colors.h"

namespace norvik::cli {
namespace {

struct ColorsArgs {
  std::optional<std::string> parse;
  double alpha = 1.0;
};

// A two-cell swatch in 24-bit colour when standard output is a terminal, nothing otherwise.
std::string swatch(const NVColor& color) {
  if (!isatty(STDOUT_FILENO)) return "";
  std::ostringstream out;
  out << "\x1b[48;2;" << std::lround(color.red * 255) << ';' << std::lround(color.green * 255)
      << ';' << std::lround(color.blue * 255) << "m    \x1b[0m ";
  return out.str();
}

int showPalette(const GlobalOptions& options) {
  const auto palette = projectColors();
  if (options.json) {
    printJSON({{"projectColors", std::vector<std::string_view>(palette.begin(), palette.end())},
               {"randomColors",
                std::vector<std::string_view>(randomColors().begin(), randomColors().end())}});
    return 0;
  }
  for (std::size_t row = 0; row < palette.size() / 5; ++row) {
    for (std::size_t shade = 0; shade < 5; ++shade) {
      const std::string_view text = palette[row * 5 + shade];
      std::cout << swatch(NVColor::colorWithHexString(text)) << text << "  ";
    }
    std::cout << "\n";
  }
  return 0;
}

int showParsed(const GlobalOptions& options, const ColorsArgs& args) {
  const NVColor color = NVColor::colorWithHexString(*args.parse, args.alpha);
  const std::string hex = hexStringFromColor(color);
  const std::string key = NVColor::keyForColorWithHexString(*args.parse, args.alpha);
  const bool clear = color == NVColor::clearColor();
  if (options.json) {
    printJSON({{"colorWithHexString",
                {{"text", *args.parse},
                 {"red", color.red},
                 {"green", color.green},
                 {"blue", color.blue},
                 {"alpha", color.alpha}}},
               {"hexStringFromColor", hex},
               {"keyForColorWithHexString", key},
               {"transparent", clear}});
    return 0;
  }
  std::cout << swatch(color) << "#" << hex << (clear ? "  (transparent)" : "") << "\n"
            << std::fixed << std::setprecision(4) << "red " << color.red << "  green "
            << color.green << "  blue " << color.blue << "  alpha " << color.alpha << "\n"
            << "cache key " << key << "\n";
  return 0;
}

void addColorsCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<ColorsArgs>();
  CLI::App* colors = app.add_subcommand("colors", "Show the list-colour palette or parse a colour");
  colors->add_option("--parse", args->parse, "Hexadecimal colour text to parse (#930000)");
  colors->add_option("--alpha", args->alpha, "Alpha of the parsed colour, 0 to 1")
      ->capture_default_str();
  colors->callback([&options, &run, args, colors] {
    const bool alphaGiven = colors->count("--alpha") > 0;
    run = [&options, args, alphaGiven] {
      if (alphaGiven && !args->parse) throw UsageError("--alpha needs --parse");
      if (!(args->alpha >= 0 && args->alpha <= 1)) throw UsageError("--alpha must be from 0 to 1");
      return args->parse ? showParsed(options, *args) : showPalette(options);
    };
  });
}

const CommandRegistration registration(addColorsCommand);

}  // namespace
}  // namespace norvik::cli
