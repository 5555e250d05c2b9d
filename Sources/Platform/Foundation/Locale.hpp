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

  /// Language tags (RFC 5646), the most preferred first, e.g. "de-DE", "en"; none when the user has no
  /// preference. Unless set by `setPreferredLanguages`, they are read from the environment on first use, by the
  /// rules of POSIX and GNU gettext: LANGUAGE is a list separated by colons and counts unless the locale is
  /// "C" or "POSIX"; the locale is the first of LC_ALL, LC_MESSAGES and LANG that is set. What is not a
  /// locale's name is left out.
  static std::vector<std::string> preferredLanguages();
  /// For applications that know better. Absent: the environment's again, read anew.
  static void setPreferredLanguages(std::optional<std::vector<std::string>> tags);
};

}  // namespace platform
