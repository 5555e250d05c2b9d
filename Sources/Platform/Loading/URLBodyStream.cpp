#include "Platform/Loading/URLBodyStream.hpp"

#include <algorithm>
#include <string>
#include <utility>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/Internal/DescriptorBody.hpp"
#include "Platform/Loading/Internal/FileBodyStream.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform {

namespace {

class DataStream final : public URLBodyStream {
 public:
  explicit DataStream(Data bytes) : bytes_(std::move(bytes)) {}

  std::optional<std::uint64_t> length() const override { return bytes_.count(); }
  bool isRepeatable() const override { return true; }

 private:
  class DataPass final : public Pass {
   public:
    explicit DataPass(Data bytes) : bytes_(std::move(bytes)) {}
    std::optional<Data> next() override { return std::exchange(bytes_, std::nullopt); }

   private:
    std::optional<Data> bytes_;
  };

  std::shared_ptr<Pass> makePass() override { return std::make_shared<DataPass>(bytes_); }

  const Data bytes_;
};

using Streams = std::vector<std::shared_ptr<URLBodyStream>>;

class JoinedPass final : public URLBodyStream::Pass {
 public:
  explicit JoinedPass(std::shared_ptr<const Streams> streams) : streams_(std::move(streams)) {}

  std::optional<Data> next() override {
    while (const auto pass = present()) {
      if (auto bytes = pass->next()) return bytes;
      const detail::MutexLock lock(mutex_);
      pass_.reset();
    }
    return std::nullopt;
  }

  void interrupt() noexcept override {
    detail::MutexLock lock(mutex_);
    isInterrupted_ = true;
    const std::shared_ptr<Pass> pass = pass_;
    lock.unlock();
    if (pass) pass->interrupt();
  }

 private:
  /// Null after the last one.
  std::shared_ptr<Pass> present() {
    if (pass_ || place_ == streams_->size()) return pass_;
    const std::shared_ptr<Pass> opened = (*streams_)[place_++]->open();
    const detail::MutexLock lock(mutex_);
    if (isInterrupted_) return nullptr;
    pass_ = opened;
    return pass_;
  }

  const std::shared_ptr<const Streams> streams_;
  std::size_t place_ = 0;
  detail::Mutex mutex_;
  /// Changed with the mutex, by the queue's thread alone, which may read it without.
  std::shared_ptr<Pass> pass_;
  bool isInterrupted_ CORVANE_GUARDED_BY(mutex_) = false;
};

class JoinedStream final : public URLBodyStream {
 public:
  explicit JoinedStream(Streams streams) : streams_(std::make_shared<const Streams>(std::move(streams))) {
    for (const auto& stream : *streams_) {
      const auto length = stream->length();
      length_ = length_ && length ? std::optional(*length_ + *length) : std::nullopt;
    }
  }

  std::optional<std::uint64_t> length() const override { return length_; }
  bool isRepeatable() const override {
    return std::all_of(streams_->begin(), streams_->end(), [](const auto& stream) { return stream->isRepeatable(); });
  }

 private:
  std::shared_ptr<Pass> makePass() override { return std::make_shared<JoinedPass>(streams_); }
  bool arePartsExhausted() const override {
    return std::any_of(streams_->begin(), streams_->end(), [](const auto& stream) { return stream->isExhausted(); });
  }

  const std::shared_ptr<const Streams> streams_;
  std::optional<std::uint64_t> length_ = 0;
};

[[noreturn]] void failExhausted(std::string message) {
  throw Error(kCFErrorDomainCFNetwork, URLErrorCode::requestBodyStreamExhausted, std::move(message));
}

/// Holds a pass to the length of its stream, also where that is not the length of what is sent: under a content coding,
/// or as a part of a body.
class CountedPass final : public URLBodyStream::Pass {
 public:
  CountedPass(std::shared_ptr<Pass> pass, std::uint64_t length) : pass_(std::move(pass)), length_(length) {}

  std::optional<Data> next() override {
    std::optional<Data> bytes = pass_->next();
    count_ += bytes ? bytes->count() : 0;
    if (count_ > length_) {
      failExhausted("the body of the request is longer than the " + std::to_string(length_) +
                    " bytes announced for it");
    }
    if (!bytes && count_ < length_) {
      failExhausted("the body of the request ended after " + std::to_string(count_) + " of " + std::to_string(length_) +
                    " bytes");
    }
    return bytes;
  }

  void interrupt() noexcept override { pass_->interrupt(); }

 private:
  const std::shared_ptr<Pass> pass_;
  const std::uint64_t length_;
  std::uint64_t count_ = 0;
};

}  // namespace

URLBodyStream::Pass::~Pass() = default;
URLBodyStream::~URLBodyStream() = default;

std::shared_ptr<URLBodyStream::Pass> URLBodyStream::open() {
  if (isOpened_.exchange(true) && !isRepeatable()) failExhausted(detail::exhaustedBodyMessage);
  std::shared_ptr<Pass> pass = makePass();
  const std::optional<std::uint64_t> length = this->length();
  return length ? std::make_shared<CountedPass>(std::move(pass), *length) : std::move(pass);
}

std::shared_ptr<URLBodyStream> URLBodyStream::ofData(Data bytes) {
  return std::make_shared<DataStream>(std::move(bytes));
}

std::shared_ptr<URLBodyStream> URLBodyStream::ofFile(const URL& file) {
  return std::make_shared<detail::FileBodyStream>(file);
}

std::shared_ptr<URLBodyStream> URLBodyStream::ofDescriptor(int descriptor, std::optional<std::uint64_t> length) {
  return std::make_shared<detail::DescriptorBody>(descriptor, length);
}

std::shared_ptr<URLBodyStream> URLBodyStream::joined(std::vector<std::shared_ptr<URLBodyStream>> streams) {
  return std::make_shared<JoinedStream>(std::move(streams));
}

}  // namespace platform
