// Feeds arbitrary command-line values to the parsers of numbers, instants and days that the
// `norvik` commands share (tools/norvik/arguments.h). A value is either accepted or refused with a
// UsageError whose printed form is one short line; nothing else may escape. An accepted day must be
// a real calendar day that its YYYY-MM-DD text reads back as, and an accepted instant must be
// finite.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "arguments.h"
#include "fuzz_support.h"
#include "norvik/platform/environment.h"

using namespace norvik;
using norvik::fuzz::check;

namespace {

std::string dayText(const GregorianDate& day) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", day.year, day.month, day.day);
  return buffer;
}

void checkDay(const GregorianDate& day) {
  check(day.month >= 1 && day.month <= 12 && day.day >= 1 && day.day <= 31, "a calendar day");
  if (day.year >= 0) {
    check(cli::parseGregorianDay(dayText(day)) == day, "a day's text reads back as the day");
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  platform::modifyEnvironment([](platform::Environment& env) { env.timeZoneIdentifier = "UTC"; });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // An argument of a program ends at its first NUL.
  std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  text.resize(std::min(text.size(), text.find('\0')));
  try {
    switch (data[0] % 6) {
      case 0:
        (void)cli::parseNumber<int>(text, "a number");
        break;
      case 1:
        (void)cli::parseNumber<double>(text, "a number");
        break;
      case 2:
        check(std::isfinite(cli::parseInstant(text).timeIntervalSince1970()), "a finite instant");
        break;
      case 3:
        checkDay(cli::parseGregorianDay(text));
        break;
      case 4:
        check(std::isfinite(cli::parseLocalDay(text).timeIntervalSince1970()), "a finite day");
        break;
      default:
        check(std::isfinite(cli::parseLocalDate(text).timeIntervalSince1970()), "a finite date");
        break;
    }
  } catch (const cli::UsageError& e) {
    const std::string message = e.what();
    check(!message.empty(), "a refusal has a reason");
    // The program prints it through oneLine: printable, no line break, bounded.
    const std::string line = cli::oneLine(message);
    check(line.size() <= 400 + 4 * 4 + 3, "a printed refusal is short");
    for (const char c : line) {
      check(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F, "a printed refusal is one line");
    }
  }
  return 0;
}
