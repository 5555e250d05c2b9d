#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Export.hpp"

namespace platform {

/// The user's language settings. Thread-safe.
class CORVANE_API Locale {
 public:
  Locale() = delete;

  /// Language tags (RFC 5646), the most preferred first, e.g. "de-DE", "en"; empty when the user has no preference.
  /// Unless set by `setPreferredLanguages`, they are read from the environment on first use, by the rules of POSIX and
  /// GNU gettext: LANGUAGE is a list separated by colons and counts unless the locale is "C" or "POSIX"; the locale is
  /// the first of LC_ALL, LC_MESSAGES and LANG that is set and not empty. Text that is not the name of a locale is left
  /// out.
  static std::vector<std::string> preferredLanguages();
  /// Replaces the languages, for applications that know the user's choice. Absent: they are read from the environment
  /// again.
  static void setPreferredLanguages(std::optional<std::vector<std::string>> tags);
};

}  // namespace platform
