#include "Vantorel/Internal/StandardErrorSink.hpp"

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_color_sinks.h>

#include <string>

#include "Vantorel/Internal/StackTrace.hpp"
#include "Vantorel/LogRecord.hpp"

namespace vantorel::detail {

namespace {

spdlog::level::level_enum spdlogLevel(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return spdlog::level::debug;
    case LogLevel::info:
      return spdlog::level::info;
    case LogLevel::error:
      return spdlog::level::err;
    case LogLevel::fault:
      return spdlog::level::critical;
  }
  return spdlog::level::off;
}

class StandardErrorSink final : public LogSink {
 public:
  StandardErrorSink() {
    sink_.set_pattern("%Y-%m-%d %H:%M:%S.%e %^%l%$ %n: %v");
    sink_.set_level(spdlog::level::trace);
  }

  void write(const LogRecord& record) override {
    auto line = text(record);
    if (record.shouldLogStackTrace) line += stackTrace();
    sink_.log(spdlog::details::log_msg(record.time, {}, record.logger, spdlogLevel(record.level), line));
  }

 private:
  // The sink alone, without a spdlog logger: the host's own registry and settings stay untouched.
  spdlog::sinks::stderr_color_sink_mt sink_;
};

}  // namespace

std::shared_ptr<LogSink> makeStandardErrorSink() { return std::make_shared<StandardErrorSink>(); }

}  // namespace vantorel::detail
