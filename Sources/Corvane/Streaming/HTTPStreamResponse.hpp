#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Corvane/Responses/ResponseRecord.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLResponse.hpp"
#include "Velisand/Result.hpp"

namespace corvane {

/// How a streamed response ended: the facts of the response, and whether its body came whole.
struct CORVANE_API HTTPStreamResponse : ResponseRecord {
  /// The type of `result`.
  using Result = velisand::Result<void>;

  /// Builds it from the outcome of an exchange. With an error, the result is that failure, which has the response.
  HTTPStreamResponse(std::optional<platform::Data> bytes, std::optional<platform::URL> file,
                     std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Error> error);

  /// One human-readable line; see `describe`.
  std::string debugDescription() const;

  /// A success, once the whole body was delivered. Otherwise what went wrong: the errors of a send. `data` is absent,
  /// but for a status that is not acceptable: then it is the first 64 KiB of the body, which no handler is given.
  Result result;
};

}  // namespace corvane
