#include "Corvane/Detail/ModuleLogger.hpp"

#include "Corvane/Settings.hpp"
#include "Vantorel/LogRecord.hpp"
#include "Vantorel/LogSink.hpp"
#include "Vantorel/Logger.hpp"

namespace corvane::detail {

namespace {

/// What is for developers goes to the sink that they set, and to standard error when they ask for it.
bool isWanted(const vantorel::LogRecord& record) {
  const bool isForDevelopers = record.level == vantorel::LogLevel::debug || record.level == vantorel::LogLevel::info;
  return !isForDevelopers || Corvane::verbosity != HTTPVerbosityLevel::none || !vantorel::isLogSinkDefault();
}

}  // namespace

const vantorel::Logger& moduleLogger() {
  static const vantorel::Logger& logger = *new vantorel::Logger("org.corvane.Corvane", &isWanted);
  return logger;
}

}  // namespace corvane::detail
