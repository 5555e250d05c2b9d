#pragma once

#include <memory>
#include <optional>

#include "Corvane/Transport/Internal/RelocatedFile.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/DownloadOptions.hpp"
#include "Platform/Loading/Internal/DestinationPath.hpp"
#include "Platform/Loading/Internal/LoadFailure.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace corvane::detail {

/// Where an intercepted download is saved. Each response waits in a file of its own, beside the destination; the one
/// that the request ends with takes the destination, so that no other one touches it. With `resumes` each response
/// takes it as it arrives: what was kept of it belongs to the destination. Thread-safe.
class DownloadPlace {
 public:
  /// Throws an `Error` (-3000) where nothing can be saved.
  DownloadPlace(platform::DownloadOptions options, platform::URL url);

  const platform::DownloadOptions& options() const { return options_; }
  /// Whether responses wait beside the destination.
  bool isDeferred() const { return path_.has_value(); }
  /// An empty file for a response to wait in, which only those can read who can read the file that it is to replace.
  /// Throws an `Error` (-3000). Requires: `isDeferred`.
  platform::TemporaryFile makeBeside() const;
  /// Names the destination in an error of a response that was to wait beside it.
  platform::Error named(platform::Error error) const;

  /// Gives the destination to a response that waited. Throws an `Error` (-3005) where that was taken meanwhile.
  std::shared_ptr<RelocatedFile> take(RelocatedFile& beside) const;
  /// Saves a body as if it had arrived with this head. Throws the errors of a download.
  std::shared_ptr<RelocatedFile> save(const platform::Data& body, const platform::URLResponse* head) const;

 private:
  void check(std::optional<platform::detail::LoadFailure> failure, bool requestWasSent = true) const;

  const platform::DownloadOptions options_;
  const platform::URL url_;
  std::optional<platform::detail::DestinationPath> path_;
};

}  // namespace corvane::detail
