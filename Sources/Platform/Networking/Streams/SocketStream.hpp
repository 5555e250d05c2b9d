#pragma once

#include <memory>
#include <optional>
#include <span>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"
#include "Platform/Networking/Loop/Timer.hpp"
#include "Platform/Networking/Streams/ByteStream.hpp"

namespace platform::networking {

/// A TCP connection in the clear. Watched by the loop from its making to its destruction, which closes it.
class SocketStream final : public ByteStream, private Watcher, private Timer {
 public:
  /// Takes over a socket that does not block, connected or about to be. Null, with the system's error, when the loop
  /// cannot watch it.
  static std::unique_ptr<SocketStream> make(EventLoop& loop, detail::FileDescriptor socket, int& systemError);
  ~SocketStream() override;

  /// For a socket whose `connect` is under way: tells the owner that it is writable once that has ended, either way.
  void awaitConnection() { waitsForWriting_ = true; }
  /// How `connect` ended; 0 when it worked. To be asked once, after `streamWritable`.
  int connectionError() const;

  IOResult read(std::span<std::byte> room) override;
  void expect(std::uint64_t count) override;
  IOResult write(std::span<const Bytes> pieces) override;
  IOResult sendFile(int file, off_t offset, std::size_t count) override;
  void shutDown() override;
  bool hasNews() const override { return loop_.isAboutToTell(socket_.number()); }
  bool isSecure() const override { return false; }
  const std::optional<Failure>& failure() const override { return failure_; }
  int descriptor() const override { return socket_.number(); }

 private:
  SocketStream(EventLoop& loop, detail::FileDescriptor socket) : loop_(loop), socket_(std::move(socket)) {}

  void descriptorReady(Readiness readiness) override;
  void timerFired() override;
  void tellOfBytes(int count);
  IOResult copyFile(int file, off_t offset, std::size_t count);
  IOResult afterSending(ssize_t count);
  IOResult failed(int systemError, const char* message);

  EventLoop& loop_;
  detail::FileDescriptor socket_;
  std::optional<Failure> failure_;
  /// Since the owner was told to read.
  std::size_t receivedInTurn_ = 0;
  /// The system tells of bytes when so many are there (SO_RCVLOWAT, socket(7)).
  int leastToTell_ = 1;
  /// The system was asked for a large receive buffer.
  bool hasLargeBuffer_ = false;
  /// Set by the destructor, for those who call the owner.
  bool* isGone_ = nullptr;
  bool waitsForWriting_ = false;
  /// The end, or an error, follows what can be read: a short read does not mean that nothing is left.
  bool hungUp_ = false;
  /// The system reported an error: whatever ends here was cut off.
  bool isBroken_ = false;
};

}  // namespace platform::networking
