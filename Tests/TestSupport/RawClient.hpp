#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "CorvaneTesting/Internal/Descriptor.hpp"
#include "CorvaneTesting/TestServer.hpp"

namespace corvane::testkit {

/// A client that sends what it is told and shows what comes back, byte for byte. Reads give up after ten seconds.
class RawClient {
 public:
  explicit RawClient(const TestServer& server, const std::string& address = "127.0.0.1");

  void send(std::string_view bytes);
  /// At least one byte more; empty at the end of the stream. Throws `std::system_error` on a reset.
  std::string receive();
  /// Everything until the end of the stream.
  std::string receiveAll();
  std::string receiveExactly(std::size_t count);
  /// Everything up to and including the text.
  std::string receiveUntil(std::string_view text);
  std::string exchange(std::string_view request);
  void closeSending();
  void close() { socket_.reset(); }
  int descriptor() const { return socket_.value(); }

 private:
  detail::Descriptor socket_;
  std::string buffer_;
};

/// A GET that asks to close the connection afterwards.
std::string closingGet(std::string_view target);
std::string get(std::string_view target);

}  // namespace corvane::testkit
