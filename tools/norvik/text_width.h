#pragma once
// Terminal display width of UTF-8 text, for the calendar grids: East Asian wide and fullwidth
// characters take two columns, combining marks and format characters none, everything else one
// (ambiguous-width characters count as narrow, as terminals outside East Asian locales show them).
#include <string>
#include <string_view>

namespace norvik::cli {

// The columns `text` takes on a terminal; malformed UTF-8 counts one column a byte.
int displayWidth(std::string_view text);

// The longest leading part of `text` that takes at most `width` columns (whole characters only).
std::string fitToWidth(std::string_view text, int width);

// `text` fitted to `width` columns and centred in them with spaces (the extra space goes right).
std::string centredIn(std::string_view text, int width);

// `text` fitted to `width` columns and padded with spaces on the right.
std::string paddedTo(std::string_view text, int width);

// The width of the terminal on standard output; else COLUMNS when it is a number; else 80.
int terminalWidth();

}  // namespace norvik::cli
