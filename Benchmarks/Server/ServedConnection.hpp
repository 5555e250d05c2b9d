#pragma once

#include <openssl/ssl.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "Harness/Descriptor.hpp"

namespace bench {

/// One accepted connection: reads requests, writes responses, never blocks.
class ServedConnection {
 public:
  /// `tls` is null for a plain connection.
  ServedConnection(std::uint64_t number, Descriptor socket, SSL_CTX* tls);
  ~ServedConnection();
  ServedConnection(const ServedConnection&) = delete;
  ServedConnection& operator=(const ServedConnection&) = delete;

  std::uint64_t number() const { return number_; }
  int descriptor() const { return socket_.number(); }
  /// Whether the connection is to be dropped, being closed by either side and nothing left to send.
  bool isOver() const { return failed_ || ((peerIsDone_ || closing_) && !hasOutput()); }
  /// Whether the response to an earlier request must be written before the next is taken.
  bool isBusy() const { return hasOutput() || waiting_; }

  /// Takes what has arrived.
  void receive();
  /// The path of the next complete request, valid until the next call of `receive`; empty when there is none. A GET
  /// is complete with its head, a PUT with the body that its Content-Length announces, which is thrown away.
  std::string_view takeRequest();
  void send(std::string_view bytes);
  /// After what `send` was given, `count` bytes of no meaning.
  void sendFiller(std::uint64_t count) { filler_ = count; }
  void closeWhenSent() { closing_ = true; }
  void setWaiting(bool waiting) { waiting_ = waiting; }
  /// Writes until done or until the socket takes no more.
  void flush();

 private:
  bool hasOutput() const { return !output_.empty() || filler_ > 0; }
  std::int64_t read(char* room, std::size_t count);
  std::int64_t write(const char* bytes, std::size_t count);
  std::int64_t tlsOutcome(int result);
  void discardBody();
  void takeUpload(std::string_view head);

  std::uint64_t number_;
  Descriptor socket_;
  SSL* tls_ = nullptr;
  std::string input_;
  std::size_t consumed_ = 0;
  /// Of the PUT whose body is arriving.
  std::string uploadPath_;
  std::uint64_t uploadBytesLeft_ = 0;
  bool isUploading_ = false;
  std::string output_;
  std::size_t sent_ = 0;
  std::uint64_t filler_ = 0;
  bool failed_ = false;
  bool peerIsDone_ = false;
  bool closing_ = false;
  bool waiting_ = false;
};

}  // namespace bench
