#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "CorvaneTesting/Internal/Stream.hpp"
#include "CorvaneTesting/ReceivedRequest.hpp"

namespace corvane::testkit::detail {

/// The client sent something that is no HTTP/1.1 request.
struct BadRequest : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Reads the requests of one connection, one after the other.
class RequestReader {
 public:
  explicit RequestReader(Stream& stream) : stream_(stream) {}

  bool holdsBytes() const { return !buffer_.empty() || stream_.holdsBytes(); }

  /// The next request without its body; absent when the client closed in good order. Throws `BadRequest`.
  std::optional<ReceivedRequest> readHead();
  /// The next bytes of the current request's body; absent at its end. Trailers go to the request.
  std::optional<std::string> readBodyPiece(ReceivedRequest& request);
  /// The announced length of the current body, when it was announced and not chunked.
  std::uint64_t announcedLength() const { return remaining_; }
  bool hasReadBody() const { return state_ == State::done; }

 private:
  enum class State { done, length, chunkHead, chunkData, trailers };

  bool fill();
  void fillOrEnd();
  std::string line();
  std::string take(std::size_t most);
  void parseHead(ReceivedRequest& request);
  void parseRequestLine(ReceivedRequest& request, const std::string& line);
  void chooseFraming(ReceivedRequest& request);
  void readChunkHead();
  void readTrailers(ReceivedRequest& request);

  Stream& stream_;
  std::string buffer_;
  State state_ = State::done;
  std::uint64_t remaining_ = 0;
};

}  // namespace corvane::testkit::detail
