#pragma once
// The library's logger: one line per message on standard error, with the source file, function
// and line it came from. Tests and hosts may redirect the lines to a sink of their own.
//
// Thread-safe: the sink is replaced under a lock and every line is written whole.
#include <functional>
#include <string>
#include <string_view>

namespace norvik {

enum class SVLogLevel { debug, info, warning, error };

// One logged message and where it came from.
struct SVLogRecord {
  SVLogLevel level = SVLogLevel::info;
  std::string message;
  std::string filePath;
  std::string function;
  int line = 0;
};

struct SVLoggerObjcWrapper {
  // Writes "<level> <file name>:<line> <function>: <message>" to standard error (or hands the
  // record to the sink). An empty file or function is written as "?".
  static void logError(std::string_view message, std::string_view filePath,
                       std::string_view function, int line);
  static void logWarning(std::string_view message, std::string_view filePath,
                         std::string_view function, int line);
  static void logInfo(std::string_view message, std::string_view filePath,
                      std::string_view function, int line);
  static void log(SVLogLevel level, std::string_view message, std::string_view filePath,
                  std::string_view function, int line);

  using Sink = std::function<void(const SVLogRecord&)>;
  // Replaces where records go; an empty sink restores standard error. Returns the previous sink.
  // The sink runs under the logger's lock, so it must not log itself.
  static Sink setSink(Sink sink);
  // The text form of a record as it is written to standard error (without the newline).
  static std::string formatRecord(const SVLogRecord& record);
};

// Logs at error level with the caller's file, function and line.
#define NV_LOG_ERROR(message) \
  ::norvik::SVLoggerObjcWrapper::logError((message), __FILE__, __func__, __LINE__)

}  // namespace norvik
