#include "norvik/platform/logger.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace norvik {

namespace {

// The sink, guarded by its mutex; also held while writing so that lines never interleave.
std::mutex& sinkMutex() {
  static std::mutex mutex;
  return mutex;
}

SVLoggerObjcWrapper::Sink& sinkSlot() {
  static SVLoggerObjcWrapper::Sink sink;
  return sink;
}

std::string_view levelName(SVLogLevel level) {
  switch (level) {
    case SVLogLevel::debug:
      return "DEBUG";
    case SVLogLevel::info:
      return "INFO";
    case SVLogLevel::warning:
      return "WARNING";
    case SVLogLevel::error:
      return "ERROR";
  }
  return "ERROR";
}

std::string_view fileName(std::string_view path) {
  const auto slash = path.find_last_of('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace

std::string SVLoggerObjcWrapper::formatRecord(const SVLogRecord& record) {
  const std::string_view file = fileName(record.filePath);
  std::string text;
  text.reserve(record.message.size() + file.size() + record.function.size() + 24);
  text += levelName(record.level);
  text += ' ';
  text += file.empty() ? std::string_view("?") : file;
  text += ':';
  text += std::to_string(record.line);
  text += ' ';
  text += record.function.empty() ? std::string_view("?") : std::string_view(record.function);
  text += ": ";
  text += record.message;
  return text;
}

void SVLoggerObjcWrapper::log(SVLogLevel level, std::string_view message, std::string_view filePath,
                              std::string_view function, int line) {
  SVLogRecord record{level, std::string(message), std::string(filePath), std::string(function),
                     line};
  std::lock_guard lock(sinkMutex());
  if (sinkSlot()) {
    sinkSlot()(record);
    return;
  }
  const std::string text = formatRecord(record) + '\n';
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

void SVLoggerObjcWrapper::logError(std::string_view message, std::string_view filePath,
                                   std::string_view function, int line) {
  log(SVLogLevel::error, message, filePath, function, line);
}

void SVLoggerObjcWrapper::logWarning(std::string_view message, std::string_view filePath,
                                     std::string_view function, int line) {
  log(SVLogLevel::warning, message, filePath, function, line);
}

void SVLoggerObjcWrapper::logInfo(std::string_view message, std::string_view filePath,
                                  std::string_view function, int line) {
  log(SVLogLevel::info, message, filePath, function, line);
}

SVLoggerObjcWrapper::Sink SVLoggerObjcWrapper::setSink(Sink sink) {
  std::lock_guard lock(sinkMutex());
  return std::exchange(sinkSlot(), std::move(sink));
}

}  // namespace norvik
