#include "CorvaneTesting/Internal/RequestReader.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzInput.hpp"
#include "ScriptedStream.hpp"

namespace platform::fuzz {

namespace {

namespace support = corvane::testkit;
using support::detail::RequestReader;

/// All that came over one connection, and how it ended.
struct Conversation {
  std::vector<support::ReceivedRequest> requests;
  std::string end;
};

void checkRequest(const support::ReceivedRequest& request) {
  require(!request.method.empty() && !request.target.empty(), "a request lacks its method or its target");
  require(request.head.ends_with("\r\n\r\n"), "a head does not end with its empty line");
  require(request.head.starts_with(request.method + " " + request.target + " " + request.version + "\r\n"),
          "a head does not start with its request line");
  require(request.path().find('?') == std::string::npos, "a path goes on after the question mark");
  for (const auto& field : request.headers) {
    require(!field.name.empty() && request.hasHeader(field.name), "a field has no name, or is not found");
  }
}

Conversation read(std::string_view bytes, std::uint32_t seed) {
  Conversation result;
  ScriptedStream stream(bytes, seed);
  RequestReader reader(stream);
  try {
    while (auto request = reader.readHead()) {
      checkRequest(*request);
      while (const auto piece = reader.readBodyPiece(*request)) {
        require(!piece->empty(), "a piece of a body is empty");
        request->body += *piece;
      }
      require(reader.hasReadBody(), "a body is over and is not");
      result.requests.push_back(std::move(*request));
    }
    result.end = "closed";
  } catch (const support::detail::BadRequest& error) {
    result.end = error.what();
  } catch (const support::detail::ConnectionOver&) {
    result.end = "cut off";
  }
  return result;
}

bool isSame(const support::ReceivedRequest& left, const support::ReceivedRequest& right) {
  if (left.trailers.size() != right.trailers.size()) return false;
  for (std::size_t index = 0; index < left.trailers.size(); ++index) {
    if (left.trailers[index].name != right.trailers[index].name) return false;
    if (left.trailers[index].value != right.trailers[index].value) return false;
  }
  return left.head == right.head && left.body == right.body && left.isChunked == right.isChunked;
}

/// The first byte chooses the cuts; the rest is what a client sends.
void check(std::string_view input) {
  const std::uint8_t seed = takeByte(input);
  const Conversation one = read(input, seed);
  const Conversation other = read(input, seed + 256U);
  require(one.end == other.end, "a cut changes how a connection ends");
  require(one.requests.size() == other.requests.size(), "a cut changes the number of requests");
  std::size_t size = 0;
  for (std::size_t index = 0; index < one.requests.size(); ++index) {
    require(isSame(one.requests[index], other.requests[index]), "a cut changes a request");
    size += one.requests[index].head.size() + one.requests[index].body.size();
  }
  require(size <= input.size(), "requests have more bytes than were sent");
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
