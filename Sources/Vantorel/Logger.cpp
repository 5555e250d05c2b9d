#include "Vantorel/Logger.hpp"

#include <utility>

#include "Vantorel/LogRecord.hpp"
#include "Vantorel/LogSink.hpp"

namespace vantorel {

using platform::Dictionary;
using Category = std::optional<std::string>;
using UserInfo = std::optional<Dictionary>;

std::atomic<bool> Logger::shouldLogStackTrace = false;

Logger::Logger(std::string name, Validation validation) : name_(std::move(name)), validation_(std::move(validation)) {}

void Logger::debug(std::string message, UserInfo userInfo, Category category, const char* file, const char* function,
                   int line, bool withStackTrace) const {
  log({LogLevel::debug, std::move(message), std::move(userInfo), std::move(category), file, function, line,
       withStackTrace});
}

void Logger::info(std::string message, UserInfo userInfo, Category category, const char* file, const char* function,
                  int line, bool withStackTrace) const {
  log({LogLevel::info, std::move(message), std::move(userInfo), std::move(category), file, function, line,
       withStackTrace});
}

void Logger::error(std::string message, UserInfo userInfo, Category category, const char* file, const char* function,
                   int line, bool withStackTrace) const {
  log({LogLevel::error, std::move(message), std::move(userInfo), std::move(category), file, function, line,
       withStackTrace});
}

void Logger::fault(std::string message, UserInfo userInfo, Category category, const char* file, const char* function,
                   int line, bool withStackTrace) const {
  log({LogLevel::fault, std::move(message), std::move(userInfo), std::move(category), file, function, line,
       withStackTrace});
}

void Logger::log(LogRecord record) const {
  record.logger = name_;
  record.time = std::chrono::system_clock::now();
  if (validation_ && !validation_(record)) return;
  logSink()->write(record);
}

}  // namespace vantorel
