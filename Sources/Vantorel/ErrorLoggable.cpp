#include "Vantorel/ErrorLoggable.hpp"

namespace vantorel {

using platform::Dictionary;

ErrorLoggable::~ErrorLoggable() = default;

std::string ErrorLoggable::logMessage() const { return message(); }

std::optional<Dictionary> ErrorLoggable::additionalLogInfo() const { return std::nullopt; }

Dictionary createLogInfoDictionary(const platform::Error& error) {
  Dictionary info{{"message", error.message()}, {"domain", error.domain()}, {"code", error.code()}};
  if (const auto* loggable = error.as<ErrorLoggable>()) {
    if (const auto additional = loggable->additionalLogInfo()) info.merge(*additional);
  }
  return info;
}

}  // namespace vantorel
