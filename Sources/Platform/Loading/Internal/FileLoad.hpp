#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/Internal/LoadFailure.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace platform::detail {

/// Reads the file of a file URL into memory, on the calling thread, as a load would deliver it.
struct FileLoad {
  FileLoad(const URL& url, std::int64_t maximumBytes);

  std::optional<Data> data;
  std::shared_ptr<const URLResponse> response;
  std::optional<Error> error;

 private:
  std::optional<LoadFailure> read(const std::string& path, std::int64_t maximumBytes);
};

}  // namespace platform::detail
