#include "Corvane/Streaming/Detail/StreamSource.hpp"

#include <algorithm>
#include <utility>

#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Platform/Detail/RequiredMemory.hpp"

namespace corvane::detail {

using platform::Data;
using platform::DispatchQueue;
using platform::Error;
using platform::URLResponseStream;

StreamSource::~StreamSource() = default;

StreamConsumer::~StreamConsumer() = default;

MemorySource::MemorySource(Data bytes, SendBounds bounds, platform::UniqueFunction<void(std::optional<Error>)> whenOver)
    : bytes_(std::move(bytes)), bounds_(std::move(bounds)), whenOver_(std::move(whenOver)) {}

MemorySource::~MemorySource() {
  platform::detail::requiringMemory("the end of a stream cannot be told",
                                    [this] { conclude(HTTPResponseError::taskCancelled()); });
}

StreamSource::Step MemorySource::next() {
  if (bounds_.isStopped()) return {.status = URLResponseStream::Status::failed, .piece = {}, .error = bounds_.error()};
  const std::size_t count = std::min(URLResponseStream::pieceBytes, bytes_.count() - given_);
  if (count == 0) return {.status = URLResponseStream::Status::end};
  Data piece = bytes_.subdata(given_, count);
  given_ += count;
  return {.status = URLResponseStream::Status::piece, .piece = std::move(piece)};
}

void MemorySource::whenReady(std::optional<DispatchQueue> queue, platform::Block block) {
  queue.value_or(DispatchQueue::global()).async(std::move(block));
}

void MemorySource::conclude(std::optional<Error> error) {
  if (auto whenOver = std::exchange(whenOver_, nullptr)) whenOver(std::move(error));
}

}  // namespace corvane::detail
