#pragma once

#include <nghttp2/nghttp2.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace platform::networking {

class HTTP2Session;
class HTTP2Stream;

/// What nghttp2 calls; the session is each one's `user`.
struct HTTP2Callbacks {
  /// The same for all sessions.
  static const nghttp2_session_callbacks* table();

  static ssize_t readBody(nghttp2_session* session, std::int32_t id, std::uint8_t* buffer, std::size_t length,
                          std::uint32_t* flags, nghttp2_data_source* source, void* user);

 private:
  static ssize_t readPiece(nghttp2_session* session, std::int32_t id, std::uint8_t* buffer, std::size_t length,
                           std::uint32_t* flags, nghttp2_data_source* source, void* user);
  static int sendBody(nghttp2_session* session, nghttp2_frame* frame, const std::uint8_t* header, std::size_t length,
                      nghttp2_data_source* source, void* user);
  static int beforeFrame(nghttp2_session* session, const nghttp2_frame* frame, void* user);
  static int frameNotSent(nghttp2_session* session, const nghttp2_frame* frame, int error, void* user);
  static int beginHeaders(nghttp2_session* session, const nghttp2_frame* frame, void* user);
  static int header(nghttp2_session* session, const nghttp2_frame* frame, const std::uint8_t* name,
                    std::size_t nameBytes, const std::uint8_t* value, std::size_t valueBytes, std::uint8_t flags,
                    void* user);
  static int data(nghttp2_session* session, std::uint8_t flags, std::int32_t id, const std::uint8_t* bytes,
                  std::size_t count, void* user);
  static int frame(nghttp2_session* session, const nghttp2_frame* frame, void* user);
  static int invalidFrame(nghttp2_session* session, const nghttp2_frame* frame, int error, void* user);
  static int streamClosed(nghttp2_session* session, std::int32_t id, std::uint32_t code, void* user);
  static int problem(nghttp2_session* session, int error, const char* text, std::size_t length, void* user);
};

}  // namespace platform::networking
