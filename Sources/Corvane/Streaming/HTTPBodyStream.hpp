#pragma once

#include <memory>
#include <utility>

#include "Corvane/Responses/ResponseRecord.hpp"
#include "Corvane/Streaming/Detail/StreamCore.hpp"
#include "Corvane/Streaming/HTTPSequence.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Velisand/Future.hpp"

namespace corvane {

/// A response whose body is read while it arrives, made by `stream()` of an `HTTPStreaming` request. Its items are
/// pieces of the body, decoded from their content codings, each of 1 byte to 64 KiB; where one ends means nothing.
///
///     auto stream = request.stream();
///     while (const auto piece = co_await stream.next()) file.write(piece->view());
class CORVANE_API HTTPBodyStream : public HTTPSequence<platform::Data> {
 public:
  /// For the library's own use.
  explicit HTTPBodyStream(std::shared_ptr<detail::StreamCore> core) : HTTPSequence(core), head_(core->head()) {}

  /// Status, header fields and URL of the response, as soon as they are here; `data` is absent. Fails as the first
  /// `next` does: with an unacceptable status, for one. You need not ask for it.
  const velisand::Future<ResponseRecord>& head() const { return head_; }

 private:
  velisand::Future<ResponseRecord> head_;
};

}  // namespace corvane
