#pragma once

#include <optional>
#include <string>

#include "Corvane/DebugOutput/HTTPRedaction.hpp"

namespace corvane::detail {

/// What holds for debug output about requests with this `sessionConfigurationIdentifier`: what was set for all, and
/// what their configuration adds, which is that of the `RedactionScope` where there is one. Any thread, as everything
/// here.
HTTPRedaction redactionFor(const std::optional<std::string>& identifier);

/// While it exists, debug output of this thread about requests with the identifier is redacted as the configuration
/// says that they were sent with, whatever was set since.
class RedactionScope {
 public:
  /// `redaction` is that of the configuration, and stays where it is. Null: there was none, and what is set now holds.
  RedactionScope(std::optional<std::string> identifier, const HTTPRedaction* redaction);
  ~RedactionScope();
  RedactionScope(const RedactionScope&) = delete;
  RedactionScope& operator=(const RedactionScope&) = delete;

  /// Null where nothing holds for the identifier.
  static const HTTPRedaction* find(const std::optional<std::string>& identifier);

 private:
  const std::optional<std::string> identifier_;
  const HTTPRedaction* const redaction_;
  const RedactionScope* const outer_;
};

/// Of a configuration, one call at a time, together with the configuration. Absent: that of the default one.
void setRedaction(std::optional<std::string> identifier, HTTPRedaction redaction);
void removeRedaction(const std::optional<std::string>& identifier);
void removeRedactions();

}  // namespace corvane::detail
