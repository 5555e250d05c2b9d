#include "Corvane/Detail/ModuleLogger.hpp"

#include "Vantorel/Logger.hpp"

namespace corvane::detail {

const vantorel::Logger& moduleLogger() {
  static const vantorel::Logger& logger =
      *new vantorel::Logger("org.corvane.Corvane", [](const vantorel::LogRecord&) { return true; });
  return logger;
}

}  // namespace corvane::detail
