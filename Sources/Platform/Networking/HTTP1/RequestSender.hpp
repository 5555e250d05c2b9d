#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "Platform/Networking/Failure.hpp"
#include "Platform/Networking/HTTP1/RequestWriter.hpp"
#include "Platform/Networking/RequestBody.hpp"

namespace platform::networking {

/// Sends one request after the other over HTTP/1.1, as the stream takes it and the body has it. Head and first bytes of
/// a body go out in one write; a body in memory from where it is, a long one from a file without a copy.
class RequestSender {
 public:
  enum class Status : std::uint8_t {
    goesOn,          ///< it wrote as much as it was allowed to; to be called again
    blocked,         ///< the stream takes no more for now
    awaitsContinue,  ///< the head is out; `mayContinue` sends the body
    awaitsBody,      ///< the body has nothing for now; `bodyReady` goes on
    ended,           ///< all of the request is out
    streamFailed,    ///< `failure()`; nothing more is written
    bodyFailed       ///< the same, for the body's own fault
  };

  /// What is read from a body at once.
  static constexpr std::size_t bufferBytes = std::size_t{64} * 1024;
  /// From so many bytes on a body writes itself (`RequestBody::sendTo`); shorter ones go out with the head.
  static constexpr std::uint64_t directBytes = 32 * 1024;

  /// False: the request cannot be sent as it is. Both stay as they are until `reset`.
  bool begin(const RequestHead& head, RequestBody* body);
  /// Writes on, about so many bytes at most.
  Status advance(ByteStream& stream, std::size_t limit);
  /// The server wants the body, or nobody waits for its word any more (RFC 9110, 10.1.1).
  void mayContinue();
  void bodyReady();
  /// Nothing more is to be written.
  void abandon() { state_ = State::abandoned; }
  /// Forgets the request, and gives back memory.
  void reset();

  /// Of the head alone.
  std::size_t headBytes() const { return writer_.text().size(); }
  bool hasEnded() const { return state_ == State::ended; }
  bool saysClose() const { return writer_.saysClose(); }
  bool isAbandoned() const { return state_ == State::abandoned; }
  /// Whether `advance` has something to do.
  bool isUnderWay() const { return state_ == State::head || state_ == State::body || state_ == State::lastBytes; }
  bool awaitsContinue() const { return state_ == State::awaitingContinue; }
  /// Of the whole request.
  std::uint64_t bytesWritten() const { return bytesWritten_; }
  /// Of the body, without its framing.
  std::uint64_t bodySent() const { return bodySent_; }
  const Failure& failure() const { return failure_; }

 private:
  enum class State : std::uint8_t {
    idle,
    head,  ///< what is left of the head, and nothing with it
    awaitingContinue,
    body,  ///< what is left of the head, too, as long as there is any
    awaitingBody,
    lastBytes,  ///< the body is out, but for its framing
    ended,
    abandoned
  };
  enum class Load : std::uint8_t { loaded, direct, pending, failed };

  bool hasPieces() const { return !head_.empty() || hasBodyPieces(); }
  bool hasBodyPieces() const { return !prefix_.empty() || !data_.empty() || !suffix_.empty(); }
  std::uint64_t bodyLeft() const;
  Load load();
  Load loadByReading(std::uint64_t limit);
  Load loadEnd();
  void frame();
  Status sendDirectly(ByteStream& stream, std::size_t limit);
  Status writePieces(ByteStream& stream);
  void consume(std::size_t count);
  void endPieces();
  Status failed(Status status, Failure failure);

  State state_ = State::idle;
  RequestFraming framing_ = RequestFraming::none;
  bool expectsContinue_ = false;
  bool sendsDirectly_ = false;
  bool isPeeked_ = false;
  RequestBody* body_ = nullptr;
  std::uint64_t announced_ = 0;
  std::uint64_t bytesWritten_ = 0;
  std::uint64_t bodySent_ = 0;
  // What is to be written next, in this order.
  std::string_view head_;
  std::string_view prefix_;
  Bytes data_;
  std::string_view suffix_;

  RequestWriter writer_;
  std::array<char, 20> chunkLine_{};
  std::unique_ptr<std::byte[]> buffer_;
  Failure failure_;
};

}  // namespace platform::networking
