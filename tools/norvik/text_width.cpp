#include "text_width.h"

#include <sys/ioctl.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <unistd.h>

#include <cstdlib>

namespace norvik::cli {
namespace {

int columnsOf(UChar32 c) {
  if (c < 0) return 1;  // a malformed byte
  const auto category = static_cast<UCharCategory>(u_charType(c));
  if (category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK || category == U_FORMAT_CHAR ||
      c == 0x200B) {
    return 0;
  }
  const int eastAsian = u_getIntPropertyValue(c, UCHAR_EAST_ASIAN_WIDTH);
  return eastAsian == U_EA_WIDE || eastAsian == U_EA_FULLWIDTH ? 2 : 1;
}

// Calls `visit(columns, endOffset)` for each character; stops when it returns false.
template <class Visit>
void forEachCharacter(std::string_view text, Visit visit) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  const auto length = static_cast<int32_t>(text.size());
  for (int32_t i = 0; i < length;) {
    UChar32 c = 0;
    U8_NEXT(bytes, i, length, c);
    if (!visit(columnsOf(c), static_cast<std::size_t>(i))) return;
  }
}

}  // namespace

int displayWidth(std::string_view text) {
  int width = 0;
  forEachCharacter(text, [&](int columns, std::size_t) {
    width += columns;
    return true;
  });
  return width;
}

std::string fitToWidth(std::string_view text, int width) {
  int used = 0;
  std::size_t end = 0;
  forEachCharacter(text, [&](int columns, std::size_t next) {
    if (used + columns > width) return false;
    used += columns;
    end = next;
    return true;
  });
  return std::string(text.substr(0, end));
}

std::string centredIn(std::string_view text, int width) {
  const std::string fitted = fitToWidth(text, width);
  const int pad = width - displayWidth(fitted);
  const int left = pad / 2;
  return std::string(static_cast<std::size_t>(left), ' ') + fitted +
         std::string(static_cast<std::size_t>(pad - left), ' ');
}

std::string paddedTo(std::string_view text, int width) {
  const std::string fitted = fitToWidth(text, width);
  return fitted + std::string(static_cast<std::size_t>(width - displayWidth(fitted)), ' ');
}

int terminalWidth() {
  winsize size{};
  if (isatty(STDOUT_FILENO) && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    return size.ws_col;
  }
  if (const char* columns = std::getenv("COLUMNS")) {
    char* end = nullptr;
    const long value = std::strtol(columns, &end, 10);
    if (end != columns && *end == '\0' && value > 0 && value < 10000)
      return static_cast<int>(value);
  }
  return 80;
}

}  // namespace norvik::cli
