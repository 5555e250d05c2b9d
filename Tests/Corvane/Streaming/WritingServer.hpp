#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace corvane {

/// A server for one connection that writes a body of this length as fast as the client takes it, and knows how much it
/// could write.
class WritingServer {
 public:
  explicit WritingServer(std::uint64_t bodyBytes);
  ~WritingServer();
  WritingServer(const WritingServer&) = delete;
  WritingServer& operator=(const WritingServer&) = delete;

  std::string url() const;
  /// Waits until the client takes no more, or it wrote all; gives what it has written.
  std::uint64_t writtenWhenHeldUp();
  bool hasWrittenAll() const;
  /// Waits until the client closed the connection; false where it does not.
  bool waitUntilClosed();

 private:
  void run();
  void writeBody(int connection);
  void set(std::uint64_t written, bool isHeldUp);

  const std::uint64_t bodyBytes_;
  int listener_ = -1;
  int wakeUp_ = -1;
  std::uint16_t port_ = 0;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t written_ = 0;
  bool isHeldUp_ = false;
  bool isClosed_ = false;
  std::thread thread_;
};

}  // namespace corvane
