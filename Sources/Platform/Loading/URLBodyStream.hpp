#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/URL.hpp"

namespace platform {

/// The body of a request that is made while it is sent.
///
/// Each transmission of the body is a *pass*. A task opens a pass when a connection is ready for its body, and another
/// one when the body has to be sent again, after a redirect for example. If that is impossible, the task fails. A
/// stream may be given to several requests. Its functions are called on any thread, several at a time.
///
///     URLRequest request(url);
///     request.httpMethod = "PUT";
///     request.httpBodyStream = URLBodyStream::ofFile(URL::file("/var/log/syslog"));
class CORVANE_API URLBodyStream {
 public:
  /// One reading of the body, from its first byte. The functions that a task calls:
  class CORVANE_API Pass {
   public:
    virtual ~Pass();
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

    /// The next bytes; absent at the end. Called on a serial queue of the task's, one call at a time, after the bytes
    /// of earlier calls have been sent but for two of them at most. It may block: its thread serves nothing else
    /// meanwhile. Empty bytes are skipped. What it throws is the error of the task.
    virtual std::optional<Data> next() = 0;
    /// The pass is not needed any more: a `next` that waits returns soon, whatever it returns. Called at most once, on
    /// any thread, maybe during `next`. Must not block.
    virtual void interrupt() noexcept {}

   protected:
    Pass() = default;
  };

  virtual ~URLBodyStream();
  URLBodyStream(const URLBodyStream&) = delete;
  URLBodyStream& operator=(const URLBodyStream&) = delete;

  /// The number of bytes of a pass; absent when that is not known beforehand. It never changes.
  virtual std::optional<std::uint64_t> length() const = 0;
  /// Whether there can be more than one pass, one after the other or at the same time. It never changes.
  virtual bool isRepeatable() const = 0;
  /// Whether there can be no further pass. A task whose body is exhausted fails before it asks for a connection.
  bool isExhausted() const { return (isOpened_ && !isRepeatable()) || arePartsExhausted(); }
  /// A new pass; never null. Called on the queue of `next`; may block. Throws "kCFErrorDomainCFNetwork" -1021 for a
  /// second pass where there cannot be one, and what `makePass` throws. The pass fails with -1021 where it becomes
  /// shorter or longer than `length` says.
  std::shared_ptr<Pass> open();

  /// The bytes.
  static std::shared_ptr<URLBodyStream> ofData(Data bytes);
  /// The content of a file, read while it is sent. Each pass opens the file. Throws "kCFErrorDomainCFNetwork" -1002,
  /// -1100, -1101, -1102 or -1008 when it cannot be opened; a pass also fails when the file has changed its length:
  /// -1021.
  static std::shared_ptr<URLBodyStream> ofFile(const URL& file);
  /// What can be read from the descriptor until its end: of a pipe, a socket, a terminal. There is only one pass. Takes
  /// over the descriptor, and closes it. A pass that waits for bytes keeps a worker thread.
  static std::shared_ptr<URLBodyStream> ofDescriptor(int descriptor, std::optional<std::uint64_t> length = {});
  /// One after the other.
  static std::shared_ptr<URLBodyStream> joined(std::vector<std::shared_ptr<URLBodyStream>> streams);

 protected:
  URLBodyStream() = default;

 private:
  /// Makes a pass for `open`: once, or any number of times for a stream that is repeatable. What it throws is the error
  /// of the task.
  virtual std::shared_ptr<Pass> makePass() = 0;
  /// Whether a stream that this one reads is exhausted. A stream that is made of others overrides it.
  virtual bool arePartsExhausted() const { return false; }

  std::atomic<bool> isOpened_ = false;
};

}  // namespace platform
