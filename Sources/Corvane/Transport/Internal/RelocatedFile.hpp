#pragma once

#include <memory>

#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace corvane::detail {

/// A downloaded file in a temporary directory of its own, under the name that its response suggests, or at the
/// destination that the caller chose. File and directory are removed with this value, unless the file was handed out.
class RelocatedFile {
 public:
  /// Moves a file that has arrived. Where that fails, the failure is logged, and the file stays where it is.
  static std::shared_ptr<RelocatedFile> relocate(platform::TemporaryFile received,
                                                 const platform::URLResponse* response);

  /// One that is where the caller wants it.
  static std::shared_ptr<RelocatedFile> atDestination(platform::TemporaryFile received);

  RelocatedFile(platform::TemporaryFile file, platform::TemporaryFile directory);
  ~RelocatedFile() { remove(); }
  RelocatedFile(const RelocatedFile&) = delete;
  RelocatedFile& operator=(const RelocatedFile&) = delete;

  const platform::URL& url() const { return url_; }
  bool isAtDestination() const { return isAtDestination_; }
  /// From now on another owner removes the file.
  void keep();
  void remove();

 private:
  platform::TemporaryFile file_;
  /// None for a file that could not be moved.
  platform::TemporaryFile directory_;
  const platform::URL url_;
  bool isAtDestination_ = false;
};

}  // namespace corvane::detail
