// norvik timeline: the hour labels of the day timeline.
#include <iostream>

#include "cli.h"
#include "norvik/calendar/date_utils.h"
#include "norvik/platform/date_formatter.h"

namespace norvik::cli {
namespace {

struct TimelineArgs {
  bool twelveHour = false;
  bool twentyFourHour = false;
};

void addTimelineCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<TimelineArgs>();
  CLI::App* timeline = app.add_subcommand(
      "timeline", "Print the hour labels of a day (the user's clock unless one is chosen)");
  auto* twelve = timeline->add_flag("--12h", args->twelveHour, "Use the 12-hour clock");
  timeline->add_flag("--24h", args->twentyFourHour, "Use the 24-hour clock")->excludes(twelve);
  timeline->callback([&options, &run, args] {
    run = [&options, args] {
      bool is24Hour =
          args->twentyFourHour || (!args->twelveHour && platform::DateFormatter::uses24HourClock());
      nlohmann::json labels = nlohmann::json::array();
      for (int hour = 0; hour <= 24; ++hour) {
        std::string label = NVDateUtils::formatTimeline(hour, is24Hour);
        if (options.json) {
          labels.push_back({{"hour", hour}, {"label", label}});
        } else {
          std::cout << label << "\n";
        }
      }
      if (options.json) printJSON({{"is24Hour", is24Hour}, {"formatTimeline", labels}});
      return 0;
    };
  });
}

const CommandRegistration registration(addTimelineCommand);

}  // namespace
}  // namespace norvik::cli
