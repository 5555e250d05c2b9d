#pragma once

#include <Corvane/Corvane.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/// The response of a download that is a success whenever its request accepts the status, whichever that is.
struct ToolDownloadResponse : corvane::ResponseRecord {
  using Result = corvane::HTTPResult<corvane::URL>;

  ToolDownloadResponse(std::optional<corvane::Data> bytes, std::optional<corvane::URL> file,
                       std::shared_ptr<const corvane::URLResponse> response, std::optional<corvane::Error> error);

  std::string debugDescription() const;
  /// Only a success has a use for the file.
  bool keepsFile() const { return result.body() != nullptr; }

  Result result;
};

/// A response that is a success whenever its request accepts the status, whichever that is.
struct ToolResponse : corvane::ResponseRecord {
  using Result = corvane::HTTPResult<corvane::Data>;

  ToolResponse(std::optional<corvane::Data> bytes, std::optional<corvane::URL> file,
               std::shared_ptr<const corvane::URLResponse> response, std::optional<corvane::Error> error);
  /// A success has no body: it is in the file.
  ToolResponse(const ToolDownloadResponse& download);

  std::string debugDescription() const;
  /// Whether a response came, and came completely, whatever its status.
  bool isComplete() const;

  Result result;
  /// Where the body was downloaded to, if it was.
  std::optional<corvane::URL> file;
  std::uintmax_t bodyBytes = 0;
};
