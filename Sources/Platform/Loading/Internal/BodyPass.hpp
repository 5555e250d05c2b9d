#pragma once

#include <memory>
#include <optional>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLBodyStream.hpp"

namespace platform::detail {

/// What a pull came to: bytes, an error, or with neither the end.
struct BodyPiece {
  std::optional<Data> bytes;
  std::optional<Error> error;
};

/// One pass over a stream, on a queue that opens it, asks it for pieces, and destroys it.
class BodyPass : public std::enable_shared_from_this<BodyPass> {
 public:
  using Receiver = UniqueFunction<void(BodyPiece)>;

  BodyPass(std::shared_ptr<URLBodyStream> stream, DispatchQueue queue)
      : stream_(std::move(stream)), queue_(std::move(queue)) {}

  // Loop side.
  /// Asks for the next piece, and hands it to the receiver on the queue. Throws `std::bad_alloc`; the receiver is not
  /// called then.
  void pull(Receiver receiver);
  /// Nothing more is needed: wakes a pull that waits. The receiver of that is still called.
  void close() noexcept;

 private:
  BodyPiece nextPiece() noexcept;
  bool isClosed();
  bool keep(const std::shared_ptr<URLBodyStream::Pass>& opened);

  const std::shared_ptr<URLBodyStream> stream_;
  const DispatchQueue queue_;
  /// Of the queue.
  std::shared_ptr<URLBodyStream::Pass> pass_;
  Mutex mutex_;
  bool isClosed_ CORVANE_GUARDED_BY(mutex_) = false;
  /// What `close` interrupts; null before it is open, and once it is closed.
  std::shared_ptr<URLBodyStream::Pass> interruptible_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace platform::detail
