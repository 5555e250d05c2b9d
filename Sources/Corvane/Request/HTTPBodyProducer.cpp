#include "Corvane/Request/HTTPBodyProducer.hpp"

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Trap.hpp"

namespace corvane {

using platform::Data;
using platform::DispatchQueue;
using platform::URLBodyStream;

namespace {

constexpr std::size_t roomBytes = std::size_t{64} * 1024;

/// The functions of one producer. Passes take turns on its queue: the last one that was opened has them.
class Functions {
 public:
  Functions(detail::BodyPull pull, platform::UniqueFunction<void()> rewind)
      : pull_(std::move(pull)), rewind_(std::move(rewind)) {}

  bool canRewind() const { return static_cast<bool>(rewind_); }
  /// The number of the pass.
  std::uint64_t begin() {
    return queue_.sync([this] {
      if (passes_ > 0) rewind_();
      return ++passes_;
    });
  }
  std::optional<Data> next(std::uint64_t pass) {
    return queue_.sync([&]() -> std::optional<Data> {
      if (pass == passes_) return pull_();
      throw platform::Error(platform::kCFErrorDomainCFNetwork, platform::URLErrorCode::requestBodyStreamExhausted,
                            "another request took over the producer of the body");
    });
  }

 private:
  const DispatchQueue queue_{"corvane.producer"};
  // Of the queue.
  detail::BodyPull pull_;
  platform::UniqueFunction<void()> rewind_;
  std::uint64_t passes_ = 0;
};

class FunctionPass final : public URLBodyStream::Pass {
 public:
  explicit FunctionPass(std::shared_ptr<Functions> functions)
      : functions_(std::move(functions)), number_(functions_->begin()) {}

  std::optional<Data> next() override { return functions_->next(number_); }

 private:
  const std::shared_ptr<Functions> functions_;
  const std::uint64_t number_;
};

class FunctionStream final : public URLBodyStream {
 public:
  FunctionStream(detail::BodyPull pull, HTTPBodyProducerOptions options)
      : length_(options.length),
        functions_(std::make_shared<Functions>(std::move(pull), std::move(options.rewind))),
        isRepeatable_(functions_->canRewind()) {}

  std::optional<std::uint64_t> length() const override { return length_; }
  bool isRepeatable() const override { return isRepeatable_; }

 private:
  std::shared_ptr<Pass> makePass() override { return std::make_shared<FunctionPass>(functions_); }

  const std::optional<std::uint64_t> length_;
  const std::shared_ptr<Functions> functions_;
  const bool isRepeatable_;
};

Data filled(detail::BodyFill& fill) {
  Data bytes;
  bytes.resize(roomBytes);
  const std::size_t count = fill({bytes.mutableBytes(), roomBytes});
  if (count > roomBytes) platform::trap("The producer of a body says that it put more bytes into its room than fit");
  bytes.resize(count);
  return bytes;
}

}  // namespace

HTTPBodyProducer::HTTPBodyProducer(detail::BodyPull pull, HTTPBodyProducerOptions options, Erased)
    : stream_(std::make_shared<FunctionStream>(std::move(pull), std::move(options))) {}

HTTPBodyProducer::HTTPBodyProducer(detail::BodyFill fill, HTTPBodyProducerOptions options, Erased)
    : HTTPBodyProducer(detail::BodyPull([fill = std::move(fill)]() mutable -> std::optional<Data> {
                         Data bytes = filled(fill);
                         return bytes.isEmpty() ? std::nullopt : std::optional(std::move(bytes));
                       }),
                       std::move(options), Erased()) {}

HTTPBodyProducer HTTPBodyProducer::ofData(Data bytes) {
  return HTTPBodyProducer(URLBodyStream::ofData(std::move(bytes)));
}

HTTPBodyProducer HTTPBodyProducer::ofFile(const platform::URL& file) {
  return HTTPBodyProducer(URLBodyStream::ofFile(file));
}

HTTPBodyProducer HTTPBodyProducer::ofDescriptor(int descriptor, std::optional<std::uint64_t> length) {
  return HTTPBodyProducer(URLBodyStream::ofDescriptor(descriptor, length));
}

}  // namespace corvane
