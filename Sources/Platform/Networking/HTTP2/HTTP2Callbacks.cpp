#include "Platform/Networking/HTTP2/HTTP2Callbacks.hpp"

#include <new>
#include <string_view>
#include <tuple>

#include "Platform/Networking/HTTP2/HTTP2Session.hpp"

namespace platform::networking {

namespace {

constexpr std::size_t frameHeaderBytes = 9;

HTTP2Session& sessionOf(void* user) { return *static_cast<HTTP2Session*>(user); }

HTTP2Stream* streamOf(nghttp2_session* session, std::int32_t id) {
  return id == 0 ? nullptr : static_cast<HTTP2Stream*>(nghttp2_session_get_stream_user_data(session, id));
}

std::string_view text(const std::uint8_t* bytes, std::size_t count) {
  return {reinterpret_cast<const char*>(bytes), count};
}

/// What nghttp2 calls in place of the function: it is C, and no exception may pass through it. Where memory runs out,
/// the session is given up.
template <auto function>
struct Contained;
template <class Result, class... Arguments, Result (*function)(Arguments...)>
struct Contained<function> {
  static Result call(Arguments... arguments) noexcept {
    try {
      return function(arguments...);
    } catch (const std::bad_alloc&) {
      // The user is always the last.
      sessionOf(std::get<sizeof...(Arguments) - 1>(std::tie(arguments...))).noteOutOfMemory();
      return NGHTTP2_ERR_CALLBACK_FAILURE;
    }
  }
};
template <auto function>
constexpr auto contained = &Contained<function>::call;

bool endsStream(const nghttp2_frame& frame) { return (frame.hd.flags & NGHTTP2_FLAG_END_STREAM) != 0; }

}  // namespace

template <class Tell>
void HTTP2Session::tell(HTTP2Stream& stream, Tell tell) {
  HTTP2Stream::Step step = HTTP2Stream::Step::goOn;
  try {
    step = tell();
  } catch (const std::bad_alloc&) {
    stream.fail(Failure::outOfMemory());
    step = HTTP2Stream::Step::abandoned;
  }
  follow(stream, step);
}

const nghttp2_session_callbacks* HTTP2Callbacks::table() {
  static const nghttp2_session_callbacks* const shared = [] {
    nghttp2_session_callbacks* made = nullptr;
    if (nghttp2_session_callbacks_new(&made) != 0) throw std::bad_alloc();
    nghttp2_session_callbacks_set_send_data_callback(made, contained<sendBody>);
    nghttp2_session_callbacks_set_before_frame_send_callback(made, contained<beforeFrame>);
    nghttp2_session_callbacks_set_on_frame_not_send_callback(made, contained<frameNotSent>);
    nghttp2_session_callbacks_set_on_begin_headers_callback(made, contained<beginHeaders>);
    nghttp2_session_callbacks_set_on_header_callback(made, contained<header>);
    // What nghttp2 finds wrong with a field is judged like every other: controls in a value may be kept.
    nghttp2_session_callbacks_set_on_invalid_header_callback(made, contained<header>);
    nghttp2_session_callbacks_set_on_data_chunk_recv_callback(made, contained<data>);
    nghttp2_session_callbacks_set_on_frame_recv_callback(made, contained<frame>);
    nghttp2_session_callbacks_set_on_invalid_frame_recv_callback(made, contained<invalidFrame>);
    nghttp2_session_callbacks_set_on_stream_close_callback(made, contained<streamClosed>);
    nghttp2_session_callbacks_set_error_callback2(made, contained<problem>);
    return made;
  }();
  return shared;
}

ssize_t HTTP2Callbacks::readBody(nghttp2_session* session, std::int32_t id, std::uint8_t* buffer, std::size_t length,
                                 std::uint32_t* flags, nghttp2_data_source* source, void* user) {
  return contained<readPiece>(session, id, buffer, length, flags, source, user);
}

/// Reads the body's next bytes to where their frame will stand in the output, after its header.
ssize_t HTTP2Callbacks::readPiece(nghttp2_session*, std::int32_t, std::uint8_t*, std::size_t length,
                                  std::uint32_t* flags, nghttp2_data_source* source, void* user) {
  auto& stream = *static_cast<HTTP2Stream*>(source->ptr);
  auto& output = sessionOf(user).output_;
  const std::size_t count = stream.bodyRoom(length);
  const auto piece = stream.takeBody(output.room(frameHeaderBytes + count).subspan(frameHeaderBytes));
  if (piece.read.status == BodyStatus::pending) return NGHTTP2_ERR_DEFERRED;
  if (piece.read.status == BodyStatus::failed) {
    stream.fail({FailureCause::requestBody, "the body of the request could not be read", 0});
    return NGHTTP2_ERR_TEMPORAL_CALLBACK_FAILURE;
  }
  *flags |= NGHTTP2_DATA_FLAG_NO_COPY;
  if (piece.isLast) *flags |= NGHTTP2_DATA_FLAG_EOF;
  return static_cast<ssize_t>(piece.read.count);
}

int HTTP2Callbacks::sendBody(nghttp2_session*, nghttp2_frame* frame, const std::uint8_t* header, std::size_t length,
                             nghttp2_data_source* source, void* user) {
  auto& session = sessionOf(user);
  auto& output = session.output_;
  output.append(header, frameHeaderBytes);
  output.commit(length);
  output.markLast(frameHeaderBytes + length, *static_cast<HTTP2Stream*>(source->ptr), length, endsStream(*frame));
  session.events_.dataFramed(length);
  return output.isFull() ? static_cast<int>(NGHTTP2_ERR_PAUSE) : 0;
}

int HTTP2Callbacks::beforeFrame(nghttp2_session* session, const nghttp2_frame* frame, void* user) {
  auto& self = sessionOf(user);
  if (frame->hd.type == NGHTTP2_HEADERS) {
    self.opening_ = streamOf(session, frame->hd.stream_id);
    if (self.opening_ && self.opening_->isAttached())
      self.opening_->exchange()->requestBegan(frameHeaderBytes + frame->hd.length);
  } else if (frame->hd.type == NGHTTP2_GOAWAY) {
    // Nobody but nghttp2 sends one, and only to end a session whose server broke the protocol.
    self.isTerminated_ = true;
    const std::string_view reason = text(frame->goaway.opaque_data, frame->goaway.opaque_data_len);
    self.setProblem(reason.empty() ? nghttp2_http2_strerror(frame->goaway.error_code) : reason);
  }
  return 0;
}

int HTTP2Callbacks::frameNotSent(nghttp2_session* session, const nghttp2_frame* frame, int error, void*) {
  HTTP2Stream* const stream = streamOf(session, frame->hd.stream_id);
  if (frame->hd.type != NGHTTP2_HEADERS || !stream) return 0;
  if (error == NGHTTP2_ERR_FRAME_SIZE_ERROR || error == NGHTTP2_ERR_HEADER_COMP) {
    stream->fail({FailureCause::invalidRequest, "the head of the request is too large for HTTP/2", 0});
  }
  return 0;
}

int HTTP2Callbacks::beginHeaders(nghttp2_session*, const nghttp2_frame*, void* user) {
  sessionOf(user).block_.begin();
  return 0;
}

int HTTP2Callbacks::header(nghttp2_session* session, const nghttp2_frame* frame, const std::uint8_t* name,
                           std::size_t nameBytes, const std::uint8_t* value, std::size_t valueBytes, std::uint8_t,
                           void* user) {
  auto& self = sessionOf(user);
  HTTP2Stream* const stream = streamOf(session, frame->hd.stream_id);
  if (!stream || !stream->isAttached()) return 0;
  const auto problem = self.block_.add(text(name, nameBytes), text(value, valueBytes), stream->fieldBytes());
  if (!problem) return 0;
  self.follow(*stream, stream->malformed(std::string(*problem)));
  return NGHTTP2_ERR_TEMPORAL_CALLBACK_FAILURE;
}

int HTTP2Callbacks::data(nghttp2_session* session, std::uint8_t, std::int32_t id, const std::uint8_t* bytes,
                         std::size_t count, void* user) {
  auto& self = sessionOf(user);
  // One slow stream must not hold up the others: only its own window is kept shut.
  if (nghttp2_session_consume_connection(session, count) == NGHTTP2_ERR_NOMEM) return NGHTTP2_ERR_CALLBACK_FAILURE;
  HTTP2Stream* const stream = streamOf(session, id);
  if (!stream || !stream->isAttached()) return 0;
  self.tell(*stream, [&] { return stream->takeBody({reinterpret_cast<const std::byte*>(bytes), count}); });
  self.giveBack(*stream, stream->consumed(count));
  return 0;
}

int HTTP2Callbacks::frame(nghttp2_session* session, const nghttp2_frame* frame, void* user) {
  auto& self = sessionOf(user);
  HTTP2Stream* const stream = streamOf(session, frame->hd.stream_id);
  switch (frame->hd.type) {
    case NGHTTP2_HEADERS:
      self.block_.setWireBytes(frameHeaderBytes + frame->hd.length);
      if (stream) self.tell(*stream, [&] { return stream->takeFields(self.block_, endsStream(*frame)); });
      break;
    case NGHTTP2_DATA:
      if (stream && endsStream(*frame)) self.tell(*stream, [&] { return stream->takeEnd(); });
      break;
    case NGHTTP2_RST_STREAM:
      if (stream) stream->resetCode = frame->rst_stream.error_code;
      break;
    case NGHTTP2_GOAWAY:
      self.hasGoneAway_ = true;
      self.events_.serverGoesAway(frame->goaway.last_stream_id, frame->goaway.error_code);
      break;
    default:
      break;
  }
  return 0;
}

int HTTP2Callbacks::invalidFrame(nghttp2_session* session, const nghttp2_frame* frame, int error, void* user) {
  // The stream that a frame of the connection names by mistake fails with the connection.
  const bool isOfAStream = frame->hd.type <= NGHTTP2_RST_STREAM || frame->hd.type == NGHTTP2_WINDOW_UPDATE;
  HTTP2Stream* const stream = isOfAStream ? streamOf(session, frame->hd.stream_id) : nullptr;
  if (!stream) return 0;
  const std::string& problem = sessionOf(user).problem_;
  stream->malformed("the response breaks HTTP/2: " + (problem.empty() ? nghttp2_strerror(error) : problem));
  return 0;
}

int HTTP2Callbacks::streamClosed(nghttp2_session* session, std::int32_t id, std::uint32_t code, void* user) {
  auto& self = sessionOf(user);
  HTTP2Stream* const stream = streamOf(session, id);
  if (!stream) return 0;
  if (self.opening_ == stream) self.opening_ = nullptr;
  self.output_.forget(*stream);
  self.events_.streamClosed(*stream, code);
  return 0;
}

int HTTP2Callbacks::problem(nghttp2_session*, int, const char* text, std::size_t length, void* user) {
  sessionOf(user).setProblem({text, length});
  return 0;
}

}  // namespace platform::networking
