#include "Platform/Networking/Streams/SocketStream.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "TestSupport/LoopRun.hpp"
#include "TestSupport/OpenDescriptors.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace platform::networking {
namespace {

using corvane::testkit::runUntil;
using detail::FileDescriptor;

/// A TCP connection over the loopback interface: the stream, and the peer's bare socket, which blocks.
class SocketStreamTest : public testing::Test, protected StreamOwner {
 protected:
  void SetUp() override {
    const FileDescriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(::bind(listener.number(), reinterpret_cast<sockaddr*>(&address), size), 0);
    ASSERT_EQ(::listen(listener.number(), 1), 0);
    ASSERT_EQ(::getsockname(listener.number(), reinterpret_cast<sockaddr*>(&address), &size), 0);
    FileDescriptor ours(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(::connect(ours.number(), reinterpret_cast<sockaddr*>(&address), size), 0);
    ASSERT_EQ(::fcntl(ours.number(), F_SETFL, O_NONBLOCK), 0);
    peer = FileDescriptor(::accept4(listener.number(), nullptr, nullptr, SOCK_CLOEXEC));
    int systemError = 0;
    stream = SocketStream::make(loop, std::move(ours), systemError);
    ASSERT_EQ(systemError, 0);
    stream->setOwner(this);
    loop.iterate(Duration::zero());  // the first event: it can be written
  }

  void streamReadable() override {
    ++readable;
    if (destroysItself) stream.reset();
  }
  void streamWritable() override { ++writable; }

  IOResult read(std::size_t size = 100) {
    text.resize(size);
    const IOResult result = stream->read(std::as_writable_bytes(std::span(text)));
    text.resize(result.count);
    return result;
  }
  IOResult write(std::string_view bytes) {
    const Bytes piece = std::as_bytes(std::span(bytes));
    return stream->write({&piece, 1});
  }
  void peerSays(std::string_view bytes) {
    ASSERT_EQ(::send(peer.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }
  std::string peerHears(std::size_t size) {
    std::string all(size, '\0');
    const ssize_t count = ::recv(peer.number(), all.data(), size, MSG_WAITALL);
    all.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return all;
  }
  void peerResets() {
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(peer.number(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    peer.close();
  }
  bool waitForReadable(int count) {
    return runUntil(loop, [&] { return readable >= count; });
  }
  /// Writes until the connection takes no more; how many bytes it took.
  std::size_t fill() {
    const std::string block(65'536, 'x');
    std::size_t sent = 0;
    while (true) {
      const IOResult result = write(block);
      if (result.status != IOStatus::done) return sent;
      sent += result.count;
    }
  }

  EventLoop loop;
  FileDescriptor peer;
  std::unique_ptr<SocketStream> stream;
  std::string text;
  int readable = 0;
  int writable = 0;
  bool destroysItself = false;
};

TEST_F(SocketStreamTest, readsWhatThePeerSays) {
  EXPECT_EQ(read().status, IOStatus::wouldBlock);
  peerSays("hello");
  ASSERT_TRUE(waitForReadable(1));

  const IOResult result = read();

  EXPECT_EQ(result.status, IOStatus::done);
  EXPECT_TRUE(result.isDrained);
  EXPECT_EQ(text, "hello");
}

TEST_F(SocketStreamTest, doesNotTakeFullRoomForTheEnd) {
  peerSays("hello");
  ASSERT_TRUE(waitForReadable(1));

  EXPECT_FALSE(read(3).isDrained);
  EXPECT_TRUE(read(3).isDrained);
}

TEST_F(SocketStreamTest, isNotDrainedWhenThePeerHungUpInTheSameEvent) {
  peerSays("hello");
  peer.close();
  ASSERT_TRUE(waitForReadable(1));
  while (loop.iterate(Duration::zero()) || readable == 0) {
  }

  EXPECT_FALSE(read().isDrained);
  EXPECT_EQ(read().status, IOStatus::closed);
}

TEST_F(SocketStreamTest, tellsOfAnEndThatComesLater) {
  peerSays("hello");
  ASSERT_TRUE(waitForReadable(1));
  EXPECT_TRUE(read().isDrained);

  peer.close();
  ASSERT_TRUE(waitForReadable(2));

  EXPECT_EQ(read().status, IOStatus::closed);
}

TEST_F(SocketStreamTest, failsWhenThePeerResets) {
  peerResets();
  ASSERT_TRUE(waitForReadable(1));

  EXPECT_EQ(read().status, IOStatus::failed);
  EXPECT_EQ(stream->failure()->cause, FailureCause::connectionLost);
  EXPECT_EQ(stream->failure()->systemError, ECONNRESET);
  EXPECT_EQ(read().status, IOStatus::failed) << "An end after an error is none.";
}

TEST_F(SocketStreamTest, doesNotTakeAResetForTheEndWhenWritingMetItFirst) {
  peerResets();
  ASSERT_TRUE(waitForReadable(1));

  EXPECT_EQ(write("hello").status, IOStatus::failed);
  EXPECT_EQ(stream->failure()->systemError, ECONNRESET);

  EXPECT_EQ(read().status, IOStatus::failed);
}

TEST_F(SocketStreamTest, canBeReadAfterWritingFailed) {
  peerSays("413");
  peer.close();
  ASSERT_TRUE(waitForReadable(1));
  ASSERT_TRUE(runUntil(loop, [&] { return write("more").status == IOStatus::failed; }));
  EXPECT_EQ(stream->failure()->systemError, EPIPE);

  EXPECT_EQ(read().count, 3U);
  EXPECT_EQ(text, "413");
  EXPECT_EQ(read().status, IOStatus::closed);
}

TEST_F(SocketStreamTest, writesPiecesInTheirOrder) {
  const std::array<Bytes, 4> pieces = {std::as_bytes(std::span(std::string_view("one "))), Bytes{},
                                       std::as_bytes(std::span(std::string_view("two "))),
                                       std::as_bytes(std::span(std::string_view("three")))};

  EXPECT_EQ(stream->write(pieces).count, 13U);

  EXPECT_EQ(peerHears(13), "one two three");
}

TEST_F(SocketStreamTest, writesManyPiecesInSeveralCalls) {
  const std::string_view letter = "x";
  const std::vector<Bytes> pieces(40, std::as_bytes(std::span(letter)));

  const std::size_t count = stream->write(pieces).count;

  EXPECT_GT(count, 0U);
  EXPECT_LE(count, pieces.size());
}

TEST_F(SocketStreamTest, tellsOnceWhenWritingMayGoOn) {
  const std::size_t sent = fill();
  EXPECT_EQ(writable, 0);

  EXPECT_EQ(peerHears(sent).size(), sent);
  ASSERT_TRUE(runUntil(loop, [&] { return writable > 0; }));
  EXPECT_EQ(write("more").status, IOStatus::done);
  peerHears(4);
  loop.iterate(Duration::zero());

  EXPECT_EQ(writable, 1);
}

TEST_F(SocketStreamTest, sendsAFileFromWhereItIsAskedTo) {
  const corvane::testkit::TemporaryDirectory directory;
  const FileDescriptor file(::open(directory.write("body", "0123456789").c_str(), O_RDONLY | O_CLOEXEC));

  EXPECT_EQ(stream->sendFile(file.number(), 3, 4).count, 4U);
  const IOResult atEnd = stream->sendFile(file.number(), 10, 4);

  EXPECT_EQ(peerHears(4), "3456");
  EXPECT_EQ(atEnd.status, IOStatus::done);
  EXPECT_EQ(atEnd.count, 0U);
}

TEST_F(SocketStreamTest, blamesAFileThatCannotBeRead) {
  EXPECT_EQ(stream->sendFile(-1, 0, 4).status, IOStatus::failed);

  EXPECT_EQ(stream->failure()->cause, FailureCause::requestBody);
}

TEST_F(SocketStreamTest, blamesTheConnectionWhenAFileCannotBeSent) {
  const corvane::testkit::TemporaryDirectory directory;
  const FileDescriptor file(::open(directory.write("body", "0123456789").c_str(), O_RDONLY | O_CLOEXEC));
  peerResets();
  ASSERT_TRUE(waitForReadable(1));

  EXPECT_EQ(stream->sendFile(file.number(), 0, 10).status, IOStatus::failed);

  EXPECT_EQ(stream->failure()->cause, FailureCause::connectionLost);
}

TEST_F(SocketStreamTest, raisesNoSignalWhateverIsWritten) {
  static volatile std::sig_atomic_t signals = 0;
  signals = 0;
  const auto previous = std::signal(SIGPIPE, [](int) { signals = signals + 1; });
  const corvane::testkit::TemporaryDirectory directory;
  const FileDescriptor file(::open(directory.write("body", "0123456789").c_str(), O_RDONLY | O_CLOEXEC));
  stream->shutDown();

  EXPECT_EQ(stream->sendFile(file.number(), 0, 10).status, IOStatus::failed);
  EXPECT_EQ(write("hello").status, IOStatus::failed);

  EXPECT_EQ(stream->failure()->systemError, EPIPE);
  EXPECT_EQ(signals, 0);
  sigset_t mask;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  EXPECT_EQ(::sigismember(&mask, SIGPIPE), 0) << "The mask stays the application's.";
  std::signal(SIGPIPE, previous);
}

TEST_F(SocketStreamTest, sendsSmallWritesAtOnce) {
  int on = 0;
  socklen_t size = sizeof on;

  ASSERT_EQ(::getsockopt(stream->descriptor(), IPPROTO_TCP, TCP_NODELAY, &on, &size), 0);

  EXPECT_EQ(on, 1);
}

TEST_F(SocketStreamTest, shutsDownItsDirectionOnly) {
  stream->shutDown();

  EXPECT_EQ(peerHears(1), "");
  peerSays("hello");
  ASSERT_TRUE(waitForReadable(1));
  EXPECT_EQ(read().count, 5U);
}

TEST_F(SocketStreamTest, mayBeDestroyedByItsOwner) {
  destroysItself = true;
  fill();
  peerResets();

  ASSERT_TRUE(waitForReadable(1));

  EXPECT_EQ(stream, nullptr);
  EXPECT_EQ(writable, 0);
}

TEST_F(SocketStreamTest, leavesTheLoopBeforeItsDescriptorIsClosed) {
  const corvane::testkit::DescriptorCopy copy(stream->descriptor());

  stream.reset();

  EXPECT_TRUE(corvane::testkit::staleWatches().empty());
}

/// Of a peer that sends fast, bytes are told of when many are there.
class GatheringSocketStreamTest : public SocketStreamTest {
 protected:
  static constexpr std::uint64_t plenty = 1 << 20;

  /// How many bytes must be there before the system tells of them.
  int leastToTell() const {
    int count = 0;
    socklen_t size = sizeof count;
    EXPECT_EQ(::getsockopt(stream->descriptor(), SOL_SOCKET, SO_RCVLOWAT, &count, &size), 0);
    return count;
  }

  std::size_t readAll() {
    std::size_t total = 0;
    for (IOResult result = read(256 * 1024); result.status == IOStatus::done; result = read(256 * 1024)) {
      total += result.count;
    }
    return total;
  }

  /// The peer sends so much at once, and the stream is told what is still to come. How much arrives in one turn is the
  /// system's.
  void receiveFast(std::uint64_t ahead) {
    const std::string block(128 * 1024, 'x');
    for (int attempt = 0; attempt < 100 && leastToTell() == 1; ++attempt) {
      peerSays(block);
      for (std::size_t left = block.size(); left > 0; left -= readAll()) {
        ASSERT_TRUE(waitForReadable(readable + 1));
      }
      stream->expect(ahead);
    }
    ASSERT_NE(leastToTell(), 1);
  }
};

TEST_F(GatheringSocketStreamTest, waitsForManyBytesOfAFastPeer) {
  receiveFast(plenty);

  EXPECT_EQ(leastToTell(), 128 * 1024);
}

TEST_F(GatheringSocketStreamTest, waitsForNoMoreThanWhatIsStillToCome) {
  receiveFast(100'000);
  EXPECT_EQ(leastToTell(), 100'000);
  const int before = readable;
  peerSays(std::string(100'000, 'x'));

  ASSERT_TRUE(waitForReadable(before + 1));

  EXPECT_EQ(leastToTell(), 100'000) << "It was not told because time had passed.";
  EXPECT_EQ(readAll(), 100'000U);
}

TEST_F(GatheringSocketStreamTest, tellsOfFewBytesAMomentLater) {
  receiveFast(plenty);
  const int before = readable;
  peerSays("x");

  ASSERT_TRUE(waitForReadable(before + 1));

  EXPECT_EQ(readAll(), 1U);
  EXPECT_EQ(leastToTell(), 1);
}

TEST_F(GatheringSocketStreamTest, tellsOfTheEndWithoutMoreBytes) {
  receiveFast(plenty);
  const int before = readable;
  peer.close();

  ASSERT_TRUE(waitForReadable(before + 1));

  EXPECT_EQ(read().status, IOStatus::closed);
}

TEST_F(GatheringSocketStreamTest, waitsOnThoughItIsToldTheSameAgain) {
  receiveFast(plenty);

  stream->expect(plenty);

  EXPECT_EQ(leastToTell(), 128 * 1024);
}

TEST_F(GatheringSocketStreamTest, waitsForNothingOfASlowPeer) {
  peerSays("hello");
  ASSERT_TRUE(waitForReadable(1));
  EXPECT_EQ(readAll(), 5U);

  stream->expect(plenty);

  EXPECT_EQ(leastToTell(), 1);
}

TEST_F(GatheringSocketStreamTest, waitsForNothingWhereTheRestIsUnknown) {
  receiveFast(plenty);

  stream->expect(0);

  EXPECT_EQ(leastToTell(), 1);
}

}  // namespace
}  // namespace platform::networking
