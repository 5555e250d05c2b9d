#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/Loading/DownloadOptions.hpp"
#include "Platform/Loading/Internal/LoadFailure.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace platform::detail {

/// Reads the file of a file URL, on the calling thread, as a load would deliver it.
struct FileLoad {
  static FileLoad intoMemory(const URL& url, std::int64_t maximumBytes);
  /// `goesOn` is asked for each piece: a copy that nobody waits for any more ends, without a file.
  /// Throws a `DigestMismatch`.
  static FileLoad intoFile(const URL& url, std::int64_t maximumBytes, const DownloadOptions& options,
                           const std::function<bool()>& goesOn);

  std::optional<Data> data;
  TemporaryFile file;
  std::shared_ptr<const URLResponse> response;
  std::optional<Error> error;

 private:
  std::optional<LoadFailure> read(const std::string& path, std::int64_t maximumBytes);
  std::optional<LoadFailure> copy(const std::string& path, std::int64_t maximumBytes, const DownloadOptions& options,
                                  const std::function<bool()>& goesOn);
  void conclude(const URL& url, const std::optional<LoadFailure>& failure);

  std::int64_t count_ = 0;
};

}  // namespace platform::detail
