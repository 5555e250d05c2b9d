#include <sys/socket.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "Platform/Loading/Internal/Chunks.hpp"
#include "Platform/Loading/Internal/ConnectionPool.hpp"
#include "Platform/Loading/Internal/CurlOption.hpp"
#include "Platform/Loading/Internal/Exchange.hpp"

/// How an exchange's body is sent in pieces, and what becomes of an answer that comes meanwhile.
namespace platform::detail {

namespace {

/// Of an answer that is found on a broken connection.
constexpr std::size_t unreadLimit = 64 * 1024;

}  // namespace

std::size_t Exchange::readBody(char* room, std::size_t size, std::size_t count, void* self) {
  auto& exchange = *static_cast<Exchange*>(self);
  if (exchange.takesNoMore()) return 0;
  if (exchange.hasUnreadAnswer()) {
    exchange.pool_.noteHeld(exchange);
    return CURL_READFUNC_PAUSE;
  }
  auto read = exchange.source_->read({reinterpret_cast<std::byte*>(room), size * count});
  if (const auto* bytes = std::get_if<std::size_t>(&read)) return *bytes;
  exchange.fail(std::get<LoadFailure>(std::move(read)));
  return CURL_READFUNC_ABORT;
}

int Exchange::seekBody(void* self, curl_off_t offset, int origin) {
  auto& exchange = *static_cast<Exchange*>(self);
  if (origin != SEEK_SET || !exchange.source_) return CURL_SEEKFUNC_CANTSEEK;
  exchange.source_->seek(offset);
  return CURL_SEEKFUNC_OK;
}

/// A server that has seen enough answers and closes; whoever goes on sending then loses the answer. Over HTTP/2
/// servers talk all the time, and the answer is not lost.
bool Exchange::hasUnreadAnswer() const {
  char byte = 0;
  return socket >= 0 && !startedOnMultiplexed_ && ::recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
}

/// Ends the body early when it is of no use any more. The connection is then no good for another request.
bool Exchange::takesNoMore() {
  if (!isRefused() && !(gate_ && gate_->lostOutput())) return false;
  if (!forbidsReuse_) setOption(handle_, CURLOPT_FORBID_REUSE, 1L);
  forbidsReuse_ = true;
  return true;
}

void Exchange::holdSending() { curl_easy_pause(handle_, CURLPAUSE_SEND); }

void Exchange::continueSending() { curl_easy_pause(handle_, CURLPAUSE_CONT); }

void Exchange::keepUnread(int descriptor) {
  if (!isSending() || gate_ || head_.hasBegun()) return;
  unread_.resize(unreadLimit);
  const ssize_t count = ::recv(descriptor, unread_.data(), unread_.size(), MSG_PEEK | MSG_DONTWAIT);
  unread_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
}

/// libcurl gave up a plain connection because it could not send; what the server had said before was kept.
bool Exchange::takeLeftAnswer() {
  std::string_view left = unread_;
  while (!response_) {
    const std::size_t end = left.find('\n');
    if (end == left.npos) return false;
    std::string line(left.substr(0, end + 1));
    if (receiveHeaderLine(line.data(), 1, line.size(), this) == 0) return false;
    left.remove_prefix(line.size());
  }
  return takeLeftBody(left);
}

bool Exchange::takeLeftBody(std::string_view left) {
  std::string joined;
  if (head_.framing() == BodyFraming::none || !wantsBody_) return true;
  if (head_.framing() == BodyFraming::length) {
    joined = left.substr(0, static_cast<std::size_t>(std::min(head_.contentLength(), std::int64_t{unreadLimit})));
  } else if (head_.framing() == BodyFraming::chunked) {
    auto content = joinedChunks(left);
    if (!content) return false;
    joined = std::move(*content);
  } else {
    return false;  // the connection broke, which is no end
  }
  return joined.empty() || receiveBody(joined.data(), 1, joined.size(), this) != 0;
}

/// As far as can be told: the end of chunks is known to libcurl alone, and that of a stream to nobody.
bool Exchange::isAnswerComplete() const {
  if (!response_) return false;
  if (!wantsBody_ || head_.framing() == BodyFraming::none) return true;
  return head_.framing() == BodyFraming::length && received_ == head_.contentLength();
}

}  // namespace platform::detail
