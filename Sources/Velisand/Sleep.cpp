#include "Velisand/Sleep.hpp"

#include <memory>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Dispatch/DelayedBlock.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Velisand/Detail/WeakStop.hpp"

namespace velisand {

using platform::DelayedBlock;
using platform::DispatchQueue;
using platform::Seconds;

namespace {

/// The clock owns it, until the time is over or it was stopped.
class Sleep : public std::enable_shared_from_this<Sleep> {
 public:
  explicit Sleep(Future<void> future) : future_(std::move(future)) {}

  void begin(Seconds duration, std::stop_token stop) {
    timer_ = DelayedBlock(DispatchQueue::global(), duration,
                          [self = shared_from_this()] { self->future_.markCompletion(); });
    cancelled_.watch(future_.stopToken(), weak_from_this());
    stopped_.watch(std::move(stop), weak_from_this());
  }

 private:
  friend class detail::WeakStop<Sleep>;

  void wasStopped() noexcept {
    platform::detail::requiringMemory("a sleep cannot be ended", [this] {
      const bool isFirst = future_.markFailure(
          platform::NSError(platform::NSURLErrorDomain, platform::URLErrorCode::cancelled, "The sleep was cancelled"));
      if (isFirst) timer_.withdraw();
    });
  }

  const Future<void> future_;
  DelayedBlock timer_;
  detail::WeakStop<Sleep> cancelled_, stopped_;
};

}  // namespace

Future<void> sleepFor(Seconds duration, std::stop_token stop) {
  Future<void> future;
  if (duration.count() > 0) {
    std::make_shared<Sleep>(future)->begin(duration, std::move(stop));
  } else {
    future.markCompletion();
  }
  return future;
}

}  // namespace velisand
