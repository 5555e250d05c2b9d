#include "Platform/Networking/HTTP2/HTTP2Session.hpp"

#include <nghttp2/nghttp2.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <new>

#include "Platform/Networking/HTTP2/HTTP2Callbacks.hpp"
#include "Platform/Networking/HTTP2/HTTP2FrameMeter.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

namespace {

void check(int result) {
  if (result != 0) throw std::bad_alloc();
}

/// Not every nghttp2 counts the pieces of a head, and those that do count each call in which one arrives, so that two
/// are needed for one. The meter counts them as they are.
template <class Option>
void allowContinuations(Option* option) {
  constexpr std::size_t count = 2 * HTTP2FrameMeter::maximumContinuations + 2;
  if constexpr (requires { nghttp2_option_set_max_continuations(option, count); }) {
    nghttp2_option_set_max_continuations(option, count);
  }
}

const nghttp2_option* options() {
  static const nghttp2_option* const shared = [] {
    nghttp2_option* made = nullptr;
    check(nghttp2_option_new(&made));
    nghttp2_option_set_no_auto_window_update(made, 1);
    nghttp2_option_set_max_reserved_remote_streams(made, 0);
    allowContinuations(made);
    nghttp2_option_set_max_send_header_block_length(made, HTTP2HeaderBlock::maximumBytes);
    return made;
  }();
  return shared;
}

nghttp2_nv field(std::string_view name, std::string_view value, std::uint8_t flags = NGHTTP2_NV_FLAG_NONE) {
  // The session copies what it does not find marked as static, and never writes to either.
  const auto bytes = [](std::string_view text) {
    return const_cast<std::uint8_t*>(reinterpret_cast<const std::uint8_t*>(text.data()));
  };
  return {bytes(name), bytes(value), name.size(), value.size(), flags};
}

/// Fields that speak of a connection of HTTP/1.1 (RFC 9113, 8.2.2), and `Host`, which `:authority` replaces.
bool isLeftOut(const FieldView& field) {
  using detail::equalsIgnoringCase;
  switch (field.name.size()) {
    case 2:
      return equalsIgnoringCase(field.name, "te") && !equalsIgnoringCase(field.value, "trailers");
    case 4:
      return equalsIgnoringCase(field.name, "host");
    case 7:
      return equalsIgnoringCase(field.name, "upgrade");
    case 10:
      return equalsIgnoringCase(field.name, "connection") || equalsIgnoringCase(field.name, "keep-alive");
    case 16:
      return equalsIgnoringCase(field.name, "proxy-connection");
    case 17:
      return equalsIgnoringCase(field.name, "transfer-encoding");
    default:
      return false;
  }
}

std::string_view authority(const RequestHead& head) {
  for (const FieldView& field : head.fields) {
    if (field.name.size() == 4 && detail::equalsIgnoringCase(field.name, "host")) return field.value;
  }
  return head.authority;
}

bool holdsLineBreakOrNUL(const RequestHead& head) {
  const auto isBad = [](std::string_view text) { return detail::holdsLineBreakOrNUL(text); };
  return isBad(head.method) || isBad(head.target) || isBad(head.authority) ||
         std::any_of(head.fields.begin(), head.fields.end(),
                     [&](const FieldView& field) { return isBad(field.name) || isBad(field.value); });
}

}  // namespace

HTTP2Session::HTTP2Session(HTTP2SessionEvents& events) : events_(events) {
  check(nghttp2_session_client_new2(&session_, HTTP2Callbacks::table(), this, options()));
  const std::array<nghttp2_settings_entry, 3> settings{{
      {NGHTTP2_SETTINGS_ENABLE_PUSH, 0},
      {NGHTTP2_SETTINGS_INITIAL_WINDOW_SIZE, streamWindowBytes},
      {NGHTTP2_SETTINGS_MAX_HEADER_LIST_SIZE, HTTP2HeaderBlock::maximumBytes},
  }};
  check(nghttp2_submit_settings(session_, NGHTTP2_FLAG_NONE, settings.data(), settings.size()));
  check(nghttp2_session_set_local_window_size(session_, NGHTTP2_FLAG_NONE, 0, connectionWindowBytes));
}

HTTP2Session::~HTTP2Session() { nghttp2_session_del(session_); }

std::optional<Failure> HTTP2Session::submit(HTTP2Stream& stream) {
  const RequestHead& head = stream.exchange()->requestHead();
  if (holdsLineBreakOrNUL(head)) {
    return Failure{FailureCause::invalidRequest, "the head of the request holds a line break or NUL", 0};
  }
  std::array<char, 20> digits;
  composeFields(head);
  if (head.contentLength) {
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), *head.contentLength).ptr;
    const std::string_view text(digits.data(), static_cast<std::size_t>(end - digits.data()));
    request_.push_back(field("content-length", text, NGHTTP2_NV_FLAG_NO_COPY_NAME));
  }
  nghttp2_data_provider provider{};
  provider.source.ptr = &stream;
  provider.read_callback = HTTP2Callbacks::readBody;
  const std::int32_t id = nghttp2_submit_request(session_, nullptr, request_.data(), request_.size(),
                                                 stream.hasBody() ? &provider : nullptr, &stream);
  if (id == NGHTTP2_ERR_NOMEM) throw std::bad_alloc();
  if (id < 0) return Failure{FailureCause::notProcessed, "the HTTP/2 connection takes no more requests", 0};
  stream.id = id;
  return std::nullopt;
}

void HTTP2Session::composeFields(const RequestHead& head) {
  constexpr std::uint8_t nameStays = NGHTTP2_NV_FLAG_NO_COPY_NAME;
  request_.clear();
  request_.push_back(field(":method", head.method, nameStays));
  request_.push_back(field(":scheme", head.isSecure ? "https" : "http", nameStays | NGHTTP2_NV_FLAG_NO_COPY_VALUE));
  request_.push_back(field(":authority", authority(head), nameStays));
  request_.push_back(field(":path", head.target, nameStays));
  for (const FieldView& each : head.fields) {
    if (!isLeftOut(each)) request_.push_back(field(each.name, each.value));
  }
}

void HTTP2Session::reset(const HTTP2Stream& stream, std::uint32_t code) {
  check(nghttp2_submit_rst_stream(session_, NGHTTP2_FLAG_NONE, stream.id, code));
}

void HTTP2Session::resume(const HTTP2Stream& stream) {
  // Fails only when the stream is gone or does not wait.
  if (nghttp2_session_resume_data(session_, stream.id) == NGHTTP2_ERR_NOMEM) throw std::bad_alloc();
}

void HTTP2Session::giveBack(const HTTP2Stream& stream, std::size_t count) {
  if (count > 0 && nghttp2_session_consume_stream(session_, stream.id, count) == NGHTTP2_ERR_NOMEM) {
    throw std::bad_alloc();
  }
}

void HTTP2Session::ping() { check(nghttp2_submit_ping(session_, NGHTTP2_FLAG_NONE, nullptr)); }

bool HTTP2Session::receive(Bytes bytes) {
  if (bytes.empty()) return isUsable();
  problem_.clear();
  const auto taken =
      nghttp2_session_mem_recv(session_, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  requireMemory(taken);
  if (taken < 0 && problem_.empty()) setProblem(nghttp2_strerror(static_cast<int>(taken)));
  return taken >= 0 && isUsable();
}

bool HTTP2Session::pull() {
  while (!output_.isFull()) {
    const std::uint8_t* bytes = nullptr;
    const auto count = nghttp2_session_mem_send(session_, &bytes);
    requireMemory(count);
    if (count < 0) return false;
    if (count == 0) break;
    output_.append(bytes, static_cast<std::size_t>(count));
    const bool goesOn = bytes[3] == NGHTTP2_CONTINUATION;
    if (goesOn) output_.extendLast();
    if (opening_ == nullptr) continue;
    output_.markLast(static_cast<std::size_t>(count), *opening_, 0, opening_->isSent());
    opening_ = nullptr;
  }
  return !isTerminated_;
}

void HTTP2Session::requireMemory(std::ptrdiff_t result) const {
  if (result == NGHTTP2_ERR_NOMEM || isOutOfMemory_) throw std::bad_alloc();
}

/// A broken session goes on to take bytes, and ignores them; the farewell to the server waits in it to be sent.
bool HTTP2Session::isUsable() const {
  return !isTerminated_ && (hasGoneAway_ || isExhausted() || nghttp2_session_check_request_allowed(session_) != 0);
}

std::size_t HTTP2Session::streamLimit() const {
  const std::uint32_t limit = nghttp2_session_get_remote_settings(session_, NGHTTP2_SETTINGS_MAX_CONCURRENT_STREAMS);
  return std::min<std::size_t>(limit, maximumStreams);
}

bool HTTP2Session::isExhausted() const {
  return nghttp2_session_get_next_stream_id(session_) > std::numeric_limits<std::int32_t>::max();
}

void HTTP2Session::setProblem(std::string_view text) { problem_ = detail::printable(text); }

void HTTP2Session::follow(HTTP2Stream& stream, HTTP2Stream::Step step) {
  switch (step) {
    case HTTP2Stream::Step::goOn:
      return;
    case HTTP2Stream::Step::ended:
      // An upload that nobody waits for any more ends here (RFC 9113, 8.1).
      if (!stream.isSent()) reset(stream, NGHTTP2_CANCEL);
      return;
    case HTTP2Stream::Step::abandoned:
      return reset(stream, NGHTTP2_CANCEL);
    case HTTP2Stream::Step::malformed:
      return reset(stream, NGHTTP2_PROTOCOL_ERROR);
  }
}

}  // namespace platform::networking
