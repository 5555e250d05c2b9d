#pragma once

#include <atomic>
#include <optional>
#include <string_view>
#include <vector>

#include "Corvane/HTTPVerbosityLevel.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/AnyValue.hpp"
#include "Platform/Foundation/URL.hpp"

namespace corvane {

struct HTTPRedaction;

/// The process-wide settings of the library, and functions for all its requests. May be used on any thread.
class CORVANE_API Corvane {
 public:
  Corvane() = delete;

  /// How long something takes, or may take: made of a number of seconds, or of any `std::chrono` duration.
  using Duration = platform::Seconds;

  /// How much is logged about each exchange; `none` at first. May be changed at any time.
  static std::atomic<HTTPVerbosityLevel> verbosity;

  /// What is left out of debug output and command lines for people (`curlCommand`), about every request; a
  /// configuration can add to it. Nothing at first.
  static HTTPRedaction redaction();
  /// Sets it, with effect on the next output.
  static void setRedaction(HTTPRedaction redaction);

  /// For tests; false at first. While it is true, every request that would use the network fails with an
  /// `HTTPNetworkForbiddenError`, which names the request, and nothing is sent. Mocks respond, also those of a
  /// `MockNetwork`, and file URLs are read as usual. May be changed at any time.
  static std::atomic<bool> isNetworkForbidden;

  /// Certificate files (DER) that are trust anchors in addition to the system's, in the order in which they were added.
  /// Only the last usable file counts.
  static std::vector<platform::URL> trustedCertificates();
  /// Adds a certificate file, with effect on the next connection. A file that is in the list already keeps its place.
  static void addTrustedCertificate(const platform::URL& file);
  /// Adds each file in the same way.
  static void addTrustedCertificates(const std::vector<platform::URL>& files);
  /// Removes all files, with effect on the next connection.
  static void removeTrustedCertificates();

  /// Cancels every request under way and discards every session, with its connections and the cookies that are the
  /// session's own: those in an `HTTPClientConfiguration::cookies` stay.
  static void resetSessions();

  /// The body that debug output cached under this key: text if the bytes are UTF-8, or else the bytes. Absent for an
  /// unknown key, and after the entry was removed because memory ran short or newer bodies needed the space.
  static std::optional<platform::AnyValue> httpDebugData(std::string_view key);
};

}  // namespace corvane
