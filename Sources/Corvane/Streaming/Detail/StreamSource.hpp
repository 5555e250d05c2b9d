#pragma once

#include <memory>
#include <optional>

#include "Corvane/Transport/Detail/SendBounds.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLResponse.hpp"
#include "Platform/Loading/URLResponseStream.hpp"

namespace corvane::detail {

/// Where the body of a streamed response comes from. For one reader at a time, on any thread.
class CORVANE_API StreamSource {
 public:
  using Step = platform::URLResponseStream::Step;

  StreamSource() = default;
  virtual ~StreamSource();
  StreamSource(const StreamSource&) = delete;
  StreamSource& operator=(const StreamSource&) = delete;

  /// As `URLResponseStream::next`, with the errors of a send. Once the stop of the call was requested, it fails, also
  /// where the rest of the body is there.
  virtual Step next() = 0;
  /// As `URLResponseStream::whenReady`; without a queue on one of the library's.
  virtual void whenReady(std::optional<platform::DispatchQueue> queue, platform::Block block) = 0;
  /// No more is read, since the body ended in this way. The exchange is then over, and its completion is called. One
  /// that is destroyed before is cancelled.
  virtual void conclude(std::optional<platform::Error> error) = 0;
};

/// Who takes the body of a streamed response.
class CORVANE_API StreamConsumer {
 public:
  virtual ~StreamConsumer();

  /// The response is acceptable. At most once, before the completion of the exchange.
  virtual void begin(std::shared_ptr<const platform::URLResponse> response, std::shared_ptr<StreamSource> source) = 0;
};

/// The bytes of a mock, in pieces.
class CORVANE_API MemorySource final : public StreamSource {
 public:
  /// `whenOver` is called once, when it is concluded or destroyed.
  MemorySource(platform::Data bytes, SendBounds bounds,
               platform::UniqueFunction<void(std::optional<platform::Error>)> whenOver);
  ~MemorySource() override;

  Step next() override;
  void whenReady(std::optional<platform::DispatchQueue> queue, platform::Block block) override;
  void conclude(std::optional<platform::Error> error) override;

 private:
  platform::Data bytes_;
  const SendBounds bounds_;
  std::size_t given_ = 0;
  platform::UniqueFunction<void(std::optional<platform::Error>)> whenOver_;
};

}  // namespace corvane::detail
