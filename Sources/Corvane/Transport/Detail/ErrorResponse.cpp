#include "Corvane/Transport/Detail/ErrorResponse.hpp"

#include <cstddef>
#include <fstream>
#include <string>
#include <utility>

#include "Platform/Loading/HTTPErrorResponse.hpp"

namespace corvane::detail {

using platform::Data;
using platform::Error;
using platform::HTTPErrorResponse;
using platform::HTTPURLResponse;
using platform::URLResponse;

namespace {

/// What an error says fits in there.
constexpr std::size_t mostBytesOfFile = std::size_t{64} * 1024;

std::optional<Data> beginningOf(const platform::URL& file) {
  std::ifstream stream(file.fileSystemPath(), std::ios::binary);
  std::string bytes(mostBytesOfFile, '\0');
  stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (stream.bad() || !stream.is_open()) return std::nullopt;
  bytes.resize(static_cast<std::size_t>(stream.gcount()));
  return Data(bytes);
}

}  // namespace

void attachResponse(Error* error, const std::shared_ptr<const URLResponse>& response, const std::optional<Data>& body) {
  if (!error || error->response()) return;
  auto http = std::dynamic_pointer_cast<const HTTPURLResponse>(response);
  if (http) *error = error->withResponse(std::make_shared<const HTTPErrorResponse>(std::move(http), body));
}

void attachResponse(Error* error, const TaskOutcome& outcome) {
  if (!error) return;
  if (outcome.metrics && !error->metrics()) *error = error->withMetrics(outcome.metrics);
  if (error->response() || !outcome.response) return;
  const bool isInFile = !outcome.data && outcome.url;
  attachResponse(error, outcome.response, isInFile ? beginningOf(*outcome.url) : outcome.data);
}

}  // namespace corvane::detail
