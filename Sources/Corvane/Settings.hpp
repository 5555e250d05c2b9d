#pragma once

#include <atomic>
#include <optional>
#include <string_view>
#include <vector>

#include "Corvane/HTTPVerbosityLevel.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/AnyValue.hpp"
#include "Platform/Foundation/URL.hpp"

namespace corvane {

/// The process-wide settings of the library, and what concerns all its requests.
class CORVANE_API Corvane {
 public:
  Corvane() = delete;

  /// How much is logged about each exchange; `none` at first. May be changed at any time.
  static std::atomic<HTTPVerbosityLevel> verbosity;

  /// For tests; false at first. While it is true, every request that would use the network fails with an
  /// `HTTPNetworkForbiddenError`, which names it, and nothing is sent; mocks answer and file URLs are read as usual.
  /// May be changed at any time.
  static std::atomic<bool> isNetworkForbidden;

  /// Certificate files (DER) that servers may be trusted through, beside the system's anchors, in the order
  /// in which they were added. Of several, only the last that can be used counts.
  static std::vector<platform::URL> trustedCertificates();
  /// Takes effect with the next connection. A URL that is there already keeps its place.
  static void addTrustedCertificate(const platform::URL& file);
  /// Adds each of them in the same manner.
  static void addTrustedCertificates(const std::vector<platform::URL>& files);
  /// Removes all of them, with effect on the next connection.
  static void removeTrustedCertificates();

  /// Cancels every request under way and forgets every session, with its connections and cookies.
  static void resetSessions();

  /// The body that debug output cached under this key: text where the bytes are UTF-8, else the bytes.
  /// Absent for an unknown key, and once memory got short.
  static std::optional<platform::AnyValue> httpDebugData(std::string_view key);
};

}  // namespace corvane
