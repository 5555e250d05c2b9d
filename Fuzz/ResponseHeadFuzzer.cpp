#include "Platform/Loading/Internal/ResponseHead.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzInput.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::fuzz {

namespace {

using detail::BodyFraming;
using detail::HeadEvent;
using detail::LoadFailure;
using detail::ResponseHead;

/// Each with its line end; the last one without, if the text has none.
std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size() - 1);
    lines.push_back(text.substr(0, end + 1));
    text.remove_prefix(end + 1);
  }
  return lines;
}

/// Takes lines up to the end of the final head. Returns how many it took.
std::size_t feed(ResponseHead& head, const std::vector<std::string_view>& lines) {
  std::size_t taken = 0;
  while (taken < lines.size() && !head.isComplete()) {
    const auto result = head.consume(lines[taken++]);
    if (const auto* failure = std::get_if<LoadFailure>(&result)) {
      require(failure->code == URLErrorCode::cannotParseResponse && !failure->message.empty(),
              "a head fails with another error");
      require(head.consume("X: y\r\n") == result && head.consume("\r\n") == result, "a failure does not stay");
      break;
    }
    const HeadEvent event = std::get<HeadEvent>(result);
    require((event == HeadEvent::complete) == head.isComplete(), "a head ends without being complete");
    require(event != HeadEvent::trailer, "a trailer comes before the body");
  }
  return taken;
}

void checkFields(const ResponseHead& head) {
  for (const auto& [name, value] : head.fields()) {
    require(HTTPHeaderFields::problem(name, value).empty(), "a field is accepted that may not be sent on");
    require(
        value.empty() || (value.front() != ' ' && value.front() != '\t' && value.back() != ' ' && value.back() != '\t'),
        "a value keeps the space around it");
  }
}

void checkFraming(const ResponseHead& head, bool isHeadRequest) {
  const bool isWithoutBody = isHeadRequest || head.statusCode() == 204 || head.statusCode() == 304;
  const bool isChunked = head.fields().contains("Transfer-Encoding");
  const auto lengths = head.fields().values("Content-Length");
  require(!isChunked || lengths.empty(), "two fields frame the body");
  require(lengths.size() <= 1, "repeated lengths do not become one");
  require((head.framing() == BodyFraming::none) == isWithoutBody, "a body is expected where there is none");
  if (isWithoutBody) return;
  require((head.framing() == BodyFraming::chunked) == isChunked, "chunks are expected without reason");
  require((head.framing() == BodyFraming::length) == !lengths.empty(), "a length is ignored, or made up");
  if (!lengths.empty()) {
    const std::size_t zeros = std::min(lengths[0].find_first_not_of('0'), lengths[0].size() - 1);
    require(lengths[0].substr(zeros) == std::to_string(head.contentLength()), "the length is another");
  }
}

std::string written(const ResponseHead& head) {
  std::string text = head.httpVersion() + " " + std::to_string(head.statusCode()) + " \r\n";
  for (const auto& [name, value] : head.fields()) text.append(name).append(":").append(value).append("\r\n");
  return text + "\r\n";
}

void requireSame(const ResponseHead& left, const ResponseHead& right, std::string_view invariant) {
  require(left.statusCode() == right.statusCode() && left.httpVersion() == right.httpVersion() &&
              left.fields() == right.fields() && left.framing() == right.framing() &&
              left.contentLength() == right.contentLength(),
          invariant);
}

/// The first byte chooses the method; then come the lines.
void check(std::string_view input) {
  const bool isHeadRequest = takeByte(input) == 'H';
  const std::string_view method = isHeadRequest ? "HEAD" : "GET";
  const auto lines = linesOf(input);

  ResponseHead head(method);
  const std::size_t taken = feed(head, lines);
  ResponseHead reused("GET");
  feed(reused, {"HTTP/1.1 200 OK\r\n", "Content-Length: 7\r\n", "X: y\r\n"});
  reused.reset(method);
  require(feed(reused, lines) == taken && reused.isComplete() == head.isComplete(),
          "a reused head differs from a new one");
  if (!head.isComplete()) return;

  requireSame(head, reused, "a reused head reads otherwise");
  require(head.statusCode() >= 200 && head.statusCode() <= 999, "the status of a final head is out of range");
  checkFields(head);
  checkFraming(head, isHeadRequest);
  ResponseHead again(method);
  const std::string text = written(head);
  feed(again, linesOf(text));
  require(again.isComplete(), "a head that is written again is refused");
  requireSame(head, again, "a head that is written again reads otherwise");
  // Trailers change nothing that was read.
  for (std::size_t index = taken; index < lines.size(); ++index) head.consume(lines[index]);
  if (head.isComplete()) requireSame(head, reused, "a trailer changes the head");
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
