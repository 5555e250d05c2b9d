#include "TestSupport/HTTP2Peer.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace corvane::testkit {

namespace {

void check(int result) {
  if (result < 0) throw std::logic_error(nghttp2_strerror(result));
}

std::vector<nghttp2_nv> packed(const Fields& fields) {
  std::vector<nghttp2_nv> result;
  const auto bytes = [](const std::string& text) {
    return const_cast<std::uint8_t*>(reinterpret_cast<const std::uint8_t*>(text.data()));
  };
  for (const auto& [name, value] : fields) {
    result.push_back({bytes(name), bytes(value), name.size(), value.size(), NGHTTP2_NV_FLAG_NONE});
  }
  return result;
}

}  // namespace

struct HTTP2Peer::Callbacks {
  static HTTP2Peer& peer(void* user) { return *static_cast<HTTP2Peer*>(user); }

  static int begin(nghttp2_session*, const nghttp2_frame* frame, void* user) {
    if (frame->headers.cat == NGHTTP2_HCAT_REQUEST) {
      peer(user).requests_.push_back({});
      peer(user).requests_.back().id = frame->hd.stream_id;
    }
    return 0;
  }

  static int field(nghttp2_session*, const nghttp2_frame* frame, const std::uint8_t* name, std::size_t nameBytes,
                   const std::uint8_t* value, std::size_t valueBytes, std::uint8_t, void* user) {
    peer(user)
        .requestOf(frame->hd.stream_id)
        .fields.emplace_back(std::string(reinterpret_cast<const char*>(name), nameBytes),
                             std::string(reinterpret_cast<const char*>(value), valueBytes));
    return 0;
  }

  static int data(nghttp2_session* session, std::uint8_t, std::int32_t id, const std::uint8_t* bytes, std::size_t count,
                  void* user) {
    peer(user).requestOf(id).body.append(reinterpret_cast<const char*>(bytes), count);
    if (peer(user).options_.givesWindowsBack) check(nghttp2_session_consume(session, id, count));
    return 0;
  }

  static int frame(nghttp2_session*, const nghttp2_frame* frame, void* user) {
    if (frame->hd.type == NGHTTP2_PING && (frame->hd.flags & NGHTTP2_FLAG_ACK) == 0) ++peer(user).pings_;
    if (frame->hd.type == NGHTTP2_RST_STREAM) peer(user).requestOf(frame->hd.stream_id).isReset = true;
    if (frame->hd.type != NGHTTP2_HEADERS && frame->hd.type != NGHTTP2_DATA) return 0;
    if (frame->hd.flags & NGHTTP2_FLAG_END_STREAM) peer(user).requestOf(frame->hd.stream_id).isComplete = true;
    return 0;
  }

  static ssize_t read(nghttp2_session* session, std::int32_t id, std::uint8_t* buffer, std::size_t length,
                      std::uint32_t* flags, nghttp2_data_source*, void* user) {
    Body& body = peer(user).bodies_[id];
    const std::size_t count = std::min(length, body.text.size() - body.sent);
    if (count == 0 && !body.isFinished) return NGHTTP2_ERR_DEFERRED;
    std::memcpy(buffer, body.text.data() + body.sent, count);
    body.sent += count;
    if (body.sent < body.text.size() || !body.isFinished) return static_cast<ssize_t>(count);
    *flags |= NGHTTP2_DATA_FLAG_EOF;
    if (!body.trailers.empty()) {
      *flags |= NGHTTP2_DATA_FLAG_NO_END_STREAM;
      const auto fields = packed(body.trailers);
      check(nghttp2_submit_trailer(session, id, fields.data(), fields.size()));
    }
    return static_cast<ssize_t>(count);
  }
};

std::string HTTP2Peer::Request::field(std::string_view name) const {
  for (const auto& [each, value] : fields) {
    if (each == name) return value;
  }
  return {};
}

HTTP2Peer::HTTP2Peer(MemoryWire& wire, Options options) : wire_(wire), options_(options) {
  nghttp2_session_callbacks* callbacks = nullptr;
  check(nghttp2_session_callbacks_new(&callbacks));
  nghttp2_session_callbacks_set_on_begin_headers_callback(callbacks, Callbacks::begin);
  nghttp2_session_callbacks_set_on_header_callback(callbacks, Callbacks::field);
  nghttp2_session_callbacks_set_on_data_chunk_recv_callback(callbacks, Callbacks::data);
  nghttp2_session_callbacks_set_on_frame_recv_callback(callbacks, Callbacks::frame);
  nghttp2_option* option = nullptr;
  check(nghttp2_option_new(&option));
  nghttp2_option_set_no_auto_window_update(option, 1);
  check(nghttp2_session_server_new2(&session_, callbacks, this, option));
  nghttp2_option_del(option);
  nghttp2_session_callbacks_del(callbacks);
  const std::array<nghttp2_settings_entry, 2> entries{{
      {NGHTTP2_SETTINGS_MAX_CONCURRENT_STREAMS, options.maximumStreams},
      {NGHTTP2_SETTINGS_INITIAL_WINDOW_SIZE, options.windowBytes},
  }};
  check(nghttp2_submit_settings(session_, NGHTTP2_FLAG_NONE, entries.data(), entries.size()));
}

HTTP2Peer::~HTTP2Peer() { nghttp2_session_del(session_); }

HTTP2Peer::Request& HTTP2Peer::requestOf(std::int32_t id) {
  for (Request& request : requests_) {
    if (request.id == id) return request;
  }
  throw std::logic_error("the client speaks of a stream that it did not open");
}

bool HTTP2Peer::take() {
  const std::string bytes = wire_.takeWritten();
  return nghttp2_session_mem_recv(session_, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()) ==
         static_cast<ssize_t>(bytes.size());
}

std::string HTTP2Peer::ready() {
  std::string bytes;
  const std::uint8_t* piece = nullptr;
  for (;;) {
    const auto count = nghttp2_session_mem_send(session_, &piece);
    check(static_cast<int>(count));
    if (count == 0) return bytes;
    bytes.append(reinterpret_cast<const char*>(piece), static_cast<std::size_t>(count));
  }
}

bool HTTP2Peer::send() {
  const std::string bytes = ready();
  constexpr std::size_t pieceBytes = 65536;
  for (std::size_t at = 0; at < bytes.size(); at += pieceBytes)
    wire_.queue(std::string_view(bytes).substr(at, pieceBytes));
  if (!bytes.empty()) wire_.receive({});
  return !bytes.empty();
}

void HTTP2Peer::respond(std::int32_t id, const Fields& head, std::string body, const Fields& trailers) {
  const auto fields = packed(head);
  if (body.empty() && trailers.empty()) {
    check(nghttp2_submit_response(session_, id, fields.data(), fields.size(), nullptr));
    return;
  }
  bodies_[id] = {std::move(body), 0, true, trailers};
  nghttp2_data_provider provider{};
  provider.read_callback = Callbacks::read;
  check(nghttp2_submit_response(session_, id, fields.data(), fields.size(), &provider));
}

void HTTP2Peer::respondInterim(std::int32_t id, const Fields& head) {
  const auto fields = packed(head);
  check(nghttp2_submit_headers(session_, NGHTTP2_FLAG_NONE, id, nullptr, fields.data(), fields.size(), nullptr));
}

void HTTP2Peer::begin(std::int32_t id, const Fields& head) {
  const auto fields = packed(head);
  nghttp2_data_provider provider{};
  provider.read_callback = Callbacks::read;
  check(nghttp2_submit_response(session_, id, fields.data(), fields.size(), &provider));
}

void HTTP2Peer::write(std::int32_t id, std::string_view piece, bool isLast) {
  Body& body = bodies_[id];
  body.text.erase(0, std::exchange(body.sent, 0));
  body.text += piece;
  body.isFinished = isLast;
  nghttp2_session_resume_data(session_, id);  // fails when it was not waiting
}

std::size_t HTTP2Peer::waiting(std::int32_t id) const {
  const auto body = bodies_.find(id);
  return body == bodies_.end() ? 0 : body->second.text.size() - body->second.sent;
}

void HTTP2Peer::reset(std::int32_t id, std::uint32_t code) {
  check(nghttp2_submit_rst_stream(session_, NGHTTP2_FLAG_NONE, id, code));
}

void HTTP2Peer::goAway(std::int32_t last, std::uint32_t code) {
  check(nghttp2_submit_goaway(session_, NGHTTP2_FLAG_NONE, last, code, nullptr, 0));
}

void HTTP2Peer::announceStreamLimit(std::uint32_t limit) {
  const nghttp2_settings_entry entry{NGHTTP2_SETTINGS_MAX_CONCURRENT_STREAMS, limit};
  check(nghttp2_submit_settings(session_, NGHTTP2_FLAG_NONE, &entry, 1));
}

void HTTP2Peer::openWindow(std::int32_t id, std::int32_t bytes) {
  check(nghttp2_submit_window_update(session_, NGHTTP2_FLAG_NONE, id, bytes));
}

}  // namespace corvane::testkit
