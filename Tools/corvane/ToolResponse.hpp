#pragma once

#include <Corvane/Corvane.hpp>
#include <memory>
#include <optional>
#include <string>

/// A response that is a success whenever its request accepts the status, whichever that is.
struct ToolResponse : corvane::ResponseRecord {
  using Result = corvane::HTTPResult<corvane::Data>;

  ToolResponse(std::optional<corvane::Data> bytes, std::optional<corvane::URL> file,
               std::shared_ptr<const corvane::URLResponse> response, std::optional<corvane::Error> error);

  std::string debugDescription() const;
  /// The number that the server sent, also where `HTTPStatus` has no name for it. Absent when none came.
  std::optional<int> statusCode() const;
  /// Whether an answer came, and came completely, whatever its status.
  bool isComplete() const;

  Result result;
};
