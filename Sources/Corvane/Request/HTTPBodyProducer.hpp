#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <type_traits>
#include <utility>

#include "Corvane/Request/HTTPMediaType.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLBodyStream.hpp"

namespace corvane {

namespace detail {
/// Returns the next bytes; absent at the end.
using BodyPull = platform::UniqueFunction<std::optional<platform::Data>()>;
/// Fills the front of the room, and returns how much of it; 0 at the end.
using BodyFill = platform::UniqueFunction<std::size_t(std::span<std::byte>)>;

template <class F>
concept PullsBody = requires(std::decay_t<F>& function) {
  { function() } -> std::same_as<std::optional<platform::Data>>;
};
template <class F>
concept FillsBody = requires(std::decay_t<F>& function, std::span<std::byte> room) {
  { function(room) } -> std::convertible_to<std::size_t>;
  requires std::integral<decltype(function(room))>;
};
}  // namespace detail

/// What is known of a body that a function produces.
///
///     HTTPBodyProducer(nextRow, {.rewind = [] { beginAgain(); }});
struct HTTPBodyProducerOptions {
  /// The number of bytes in all, which is announced: a body that becomes shorter or longer fails the send. Absent, the
  /// default: the body is sent in chunks (HTTP/1.1) or without a "content-length" (HTTP/2).
  std::optional<std::uint64_t> length = std::nullopt;
  /// Makes the function begin again with the first byte. Called before the body is sent again, on the queue of the
  /// function. Empty, the default: the body can be sent once. What it throws is the error of the send.
  platform::UniqueFunction<void()> rewind = nullptr;
};

/// The body of a request that is produced while it is sent: by a function, or from a file or a descriptor.
///
///     HTTPBodyProducer([rows]() mutable -> std::optional<Data> {
///       if (!rows.next()) return std::nullopt;  // the end
///       return rows.asText();
///     })
///     HTTPBodyProducer([&](std::span<std::byte> room) { return image.read(room); }, {.length = image.size()})
///
///     HTTPBodyProducer::ofFile(URL::file("log.txt"))
///
/// **Queue.** The functions are called on a serial queue that belongs to the producer, one call at a time, never on the
/// network's thread. A call may block; it keeps a worker thread. The first call is made when a connection is ready for
/// the body, and the further ones so that two pieces at most are ahead of what was sent: memory is bounded by the
/// pieces. Empty pieces are skipped.
///
/// **Errors.** An exception from a function ends the send, as the error of its response; the server gets an incomplete
/// request. So does a body of another length than was announced, also where it is compressed or a part of a form:
/// "CFNetwork" -1021.
///
/// **Time.** The time in which a request waits for its producer does not count for `timeoutInterval`; it counts for a
/// deadline. Over HTTP/1.1 a function that is silent for 2 s when the server's response is complete already ends the
/// request there: the response counts, and the rest of the body is not sent.
///
/// **Sending it again.** A redirect (307, 308), a retry, a poll, or a connection that broke may need the body once
/// more. Without `rewind` the request is then not repeated, and fails with a sentence that says so: -1021, or the error
/// of the connection; a further send fails before it connects. Copies share the functions. If two requests send one
/// producer at the same time, the later one takes it over, and the earlier one fails.
///
/// The default content type is "application/octet-stream".
class CORVANE_API HTTPBodyProducer {
 public:
  /// Produces a body by a function that returns a `std::optional<Data>`, absent at the end.
  template <detail::PullsBody F>
  explicit HTTPBodyProducer(F&& pull, HTTPBodyProducerOptions options = {})
      : HTTPBodyProducer(detail::BodyPull(std::forward<F>(pull)), std::move(options), Erased()) {}
  /// Produces a body by a function that fills the front of a room of 64 KiB and returns the number of bytes; 0 at the
  /// end.
  template <detail::FillsBody F>
  explicit HTTPBodyProducer(F&& fill, HTTPBodyProducerOptions options = {})
      : HTTPBodyProducer(detail::BodyFill(std::forward<F>(fill)), std::move(options), Erased()) {}
  /// A stream of the platform's, for a source of your own. Requires: it is not null.
  explicit HTTPBodyProducer(std::shared_ptr<platform::URLBodyStream> stream) : stream_(std::move(stream)) {}
  // Chosen for any other function; does not compile.
  template <class F>
    requires(!detail::PullsBody<F> && !detail::FillsBody<F> && !std::same_as<std::decay_t<F>, HTTPBodyProducer> &&
             !std::convertible_to<F, std::shared_ptr<platform::URLBodyStream>>)
  explicit HTTPBodyProducer(F&&, const HTTPBodyProducerOptions& = {}) {
    static_assert(
        detail::PullsBody<F>,
        "A body is produced by a function that returns std::optional<Data>, absent at the end, or by one that "
        "takes a std::span<std::byte> and returns how many bytes it put there");
  }

  /// Bytes that exist already, for a place where a producer is needed.
  static HTTPBodyProducer ofData(platform::Data bytes);
  /// The content of a file, read while it is sent, and read again where the body is sent again. Its length is that at
  /// this moment, and must not change. Throws "kCFErrorDomainCFNetwork" -1002, -1100, -1101, -1102 or -1008 when it
  /// cannot be opened.
  static HTTPBodyProducer ofFile(const platform::URL& file);
  /// What can be read from a descriptor until its end: a pipe, a socket, standard input. Takes the descriptor over, and
  /// closes it. The body cannot be sent again. While it waits for bytes it keeps a worker thread; a cancelled request
  /// ends that wait. Throws "NSPOSIXErrorDomain" `EBADF`.
  static HTTPBodyProducer ofDescriptor(int descriptor, std::optional<std::uint64_t> length = std::nullopt);

  /// The number of bytes; absent when it is unknown.
  std::optional<std::uint64_t> length() const { return stream_->length(); }
  /// Whether the body can be sent more than once.
  bool isRepeatable() const { return stream_->isRepeatable(); }
  /// What a `URLRequest` takes. Never null.
  const std::shared_ptr<platform::URLBodyStream>& bodyStream() const { return stream_; }
  /// "application/octet-stream".
  HTTPMediaType contentType() const { return HTTPMediaType::applicationOctetStream; }

 private:
  struct Erased {};
  HTTPBodyProducer(detail::BodyPull pull, HTTPBodyProducerOptions options, Erased);
  HTTPBodyProducer(detail::BodyFill fill, HTTPBodyProducerOptions options, Erased);

  std::shared_ptr<platform::URLBodyStream> stream_;
};

}  // namespace corvane
