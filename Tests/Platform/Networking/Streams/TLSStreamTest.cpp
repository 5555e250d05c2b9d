#include "TLSStreamTest.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <openssl/err.h>

#include <algorithm>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace platform::networking {
namespace {

using testing::IsEmpty;

std::string pattern(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>('a' + i % 23);
  return text;
}

TEST_F(TLSStreamTest, readsUntilTheClosingAlert) {
  connect();

  peer->write("hello");
  peer->sayGoodbye();
  peer->listenAndSend();

  EXPECT_EQ(received, "hello");
  EXPECT_EQ(last, IOStatus::closed);
}

/// The first bytes of a record may be here already, and count for what is still to come in the clear.
TEST_F(TLSStreamTest, expectsARecordLessThanIsStillToCome) {
  connect();

  stream->expect(100'000);
  EXPECT_GT(wire.expected(), 64'000U);
  EXPECT_LE(wire.expected(), 100'000U - 16 * 1024);

  stream->expect(16 * 1024);
  EXPECT_EQ(wire.expected(), 0U);
}

TEST_F(TLSStreamTest, failsWhenTheStreamEndsWithoutTheClosingAlert) {
  connect();

  peer->write("hello");
  peer->listenAndSend();
  wire.receiveEnd();

  EXPECT_EQ(received, "hello");
  EXPECT_EQ(last, IOStatus::failed);
  EXPECT_EQ(stream->failure()->cause, FailureCause::connectionLost);
  EXPECT_EQ(stream->failure()->message, "the TLS stream ended without its closing alert");
  EXPECT_EQ(readAll(), IOStatus::failed);
}

TEST_F(TLSStreamTest, failsWhereverTheStreamIsCutOff) {
  connect();
  peer->write("hello");
  peer->sayGoodbye();
  const std::size_t whole = peer->takeOutput().size();
  for (std::size_t cut = 0; cut < whole; ++cut) {
    stream.reset();
    wire = {};
    received.clear();
    connect();
    peer->write("hello");
    peer->sayGoodbye();

    wire.receive(peer->takeOutput().substr(0, cut));
    wire.receiveEnd();

    ASSERT_EQ(last, IOStatus::failed) << cut;
    ASSERT_TRUE(received.empty() || received == "hello") << cut;
  }
}

TEST_F(TLSStreamTest, failsWithTheReasonOfTheConnection) {
  connect();

  wire.receiveFailure({FailureCause::connectionLost, "reset", 104});

  EXPECT_EQ(last, IOStatus::failed);
  EXPECT_EQ(stream->failure()->message, "reset");
  EXPECT_EQ(stream->failure()->systemError, 104);
}

TEST_F(TLSStreamTest, failsWhenARecordWasChanged) {
  connect();
  peer->write("hello");
  std::string record = peer->takeOutput();
  record.back() = static_cast<char>(record.back() ^ 1);

  wire.receive(record);

  EXPECT_THAT(received, IsEmpty());
  EXPECT_EQ(last, IOStatus::failed);
  EXPECT_EQ(stream->failure()->cause, FailureCause::connectionLost);
}

TEST_F(TLSStreamTest, saysWhenNothingIsLeft) {
  connect();
  keepsReading = false;
  peer->write("hello");
  peer->listenAndSend();

  std::array<std::byte, 100> room;
  const IOResult result = stream->read(room);

  EXPECT_EQ(result.count, 5U);
  EXPECT_TRUE(result.isDrained);
}

TEST_F(TLSStreamTest, readsSeveralRecordsAtOnce) {
  connect();
  keepsReading = false;
  for (int i = 0; i < 4; ++i) peer->write(pattern(1000));
  wire.receive(peer->takeOutput());

  std::array<std::byte, 4000> room;

  EXPECT_EQ(stream->read(room).count, room.size());
}

TEST_F(TLSStreamTest, canBeReadAfterWritingFailed) {
  connect();
  wire.failWritesAfter(0, {FailureCause::connectionLost, "broken pipe", 32});

  EXPECT_EQ(write("a body that nobody wants").status, IOStatus::failed);
  EXPECT_EQ(stream->failure()->systemError, 32);
  peer->write("413");
  peer->sayGoodbye();
  wire.receive(peer->takeOutput());

  EXPECT_EQ(received, "413");
  EXPECT_EQ(last, IOStatus::closed);
}

TEST_F(TLSStreamTest, sendsSmallPiecesInOneRecord) {
  connect();
  const std::string head = "POST / HTTP/1.1\r\n\r\n";
  const std::string body = pattern(3000);
  const std::array<Bytes, 4> pieces = {std::as_bytes(std::span(head)), Bytes{}, std::as_bytes(std::span(body)),
                                       Bytes{}};
  const int before = wire.writes();

  EXPECT_EQ(stream->write(pieces).count, head.size() + body.size());
  EXPECT_EQ(wire.writes(), before + 1);
  peer->listenAndSend();

  EXPECT_EQ(peer->received(), head + body);
}

TEST_F(TLSStreamTest, sendsPiecesOfEachSizeInTheirOrder) {
  connect();
  const std::string whole = pattern(120'000);
  for (const std::size_t cut : {std::size_t{1}, std::size_t{16'383}, std::size_t{16'384}, std::size_t{40'000}}) {
    const Bytes bytes = std::as_bytes(std::span(whole));
    const std::array<Bytes, 3> pieces = {bytes.first(cut), bytes.subspan(cut, cut), bytes.subspan(2 * cut)};
    const std::size_t before = peer->received().size();

    EXPECT_EQ(stream->write(pieces).count, whole.size());
    peer->listenAndSend();

    EXPECT_EQ(peer->received().substr(before), whole) << cut;
  }
}

TEST_F(TLSStreamTest, waitsWhenTheConnectionTakesNoMore) {
  connect();
  const std::string whole = pattern(100'000);
  wire.allowWrites(20'000);
  std::size_t sent = write(whole).count;
  EXPECT_EQ(sent, 32'768U) << "Two records; the rest of the second waits.";
  EXPECT_EQ(write(whole.substr(sent)).status, IOStatus::wouldBlock);
  EXPECT_EQ(writable, 0);

  for (int i = 0; i < 100 && sent < whole.size(); ++i) {
    wire.allowWrites(5'000);
    sent += write(whole.substr(sent)).count;
    peer->listenAndSend();
  }
  wire.allowWrites(corvane::testkit::MemoryWire::unlimited);
  peer->listenAndSend();

  EXPECT_GE(writable, 1);
  EXPECT_EQ(peer->received(), whole);
}

TEST_F(TLSStreamTest, sendsAFile) {
  connect();
  const corvane::testkit::TemporaryDirectory directory;
  const std::string content = pattern(100'000);
  const detail::FileDescriptor file(::open(directory.write("body", content).c_str(), O_RDONLY | O_CLOEXEC));

  off_t offset = 0;
  while (true) {
    const IOResult result = stream->sendFile(file.number(), offset, content.size());
    ASSERT_EQ(result.status, IOStatus::done);
    if (result.count == 0) break;
    offset += static_cast<off_t>(result.count);
    peer->listenAndSend();
  }

  EXPECT_EQ(peer->received(), content);
}

TEST_F(TLSStreamTest, blamesAFileThatCannotBeRead) {
  connect();

  EXPECT_EQ(stream->sendFile(-1, 0, 10).status, IOStatus::failed);

  EXPECT_EQ(stream->failure()->cause, FailureCause::requestBody);
}

TEST_F(TLSStreamTest, saysGoodbye) {
  connect();

  stream->shutDown();
  peer->listen();

  EXPECT_TRUE(peer->heardGoodbye());
  EXPECT_TRUE(wire.isShutDown());
}

TEST_F(TLSStreamTest, refusesAnotherHandshake) {
  connect({.newest = TLS1_2_VERSION});

  peer->askForAnotherHandshake();
  peer->listenAndSend();
  peer->listenAndSend();

  EXPECT_EQ(peer->refusal(), SSL_R_NO_RENEGOTIATION);
  EXPECT_EQ(stream->handshake(), TLSStream::State::open);
  EXPECT_THAT(stream->chain(), IsEmpty()) << "Nobody is judged again.";
}

TEST_F(TLSStreamTest, changesItsKeysWhenAsked) {
  connect({.oldest = TLS1_3_VERSION});

  peer->askForNewKeys();
  peer->listenAndSend();
  EXPECT_EQ(write("with new keys").count, 13U);
  peer->listenAndSend();

  EXPECT_EQ(peer->received(), "with new keys");
}

TEST_F(TLSStreamTest, comesBackToAPeerThatSendsRecordsWithoutContent) {
  connect({.oldest = TLS1_3_VERSION});
  for (int i = 0; i < 6000; ++i) peer->askForNewKeys();
  const std::string flood = peer->takeOutput();
  ASSERT_GT(flood.size(), 140'000U);

  wire.receive(flood);
  const std::size_t unread = wire.unread();
  EXPECT_GT(unread, 0U) << "One call read all of it.";
  loop.iterate(Duration::zero());

  EXPECT_LT(wire.unread(), unread);
}

TEST_F(TLSStreamTest, givesUpAPeerThatMakesItSpeakAndDoesNotListen) {
  connect({.oldest = TLS1_3_VERSION});
  wire.allowWrites(0);
  for (int i = 0; i < 10'000; ++i) peer->askForNewKeys();

  wire.receive(peer->takeOutput());
  while (wire.unread() > 0) loop.iterate(Duration::zero());

  EXPECT_EQ(write("x").status, IOStatus::failed);
  EXPECT_EQ(stream->failure()->message, "the peer does not read what it asks for");
}

TEST_F(TLSStreamTest, leavesTheErrorsOfTheApplicationInOpenSSLsQueue) {
  connect();
  ERR_clear_error();
  ERR_raise(ERR_LIB_USER, 7);
  const unsigned long ours = ERR_peek_error();

  peer->write("hello");
  std::string record = peer->takeOutput();
  ERR_raise(ERR_LIB_USER, 7);
  record.back() = static_cast<char>(record.back() ^ 1);
  wire.receive(record);

  EXPECT_EQ(last, IOStatus::failed);
  EXPECT_EQ(ERR_peek_last_error(), ours);
  ERR_clear_error();
}

TEST_F(TLSStreamTest, readsThoughTheApplicationLeftErrorsInOpenSSLsQueue) {
  connect();
  ERR_raise(ERR_LIB_USER, 7);

  EXPECT_EQ(readAll(), IOStatus::wouldBlock);
  ERR_clear_error();
}

TEST_F(TLSStreamTest, mayBeDestroyedByItsOwner) {
  connect();
  struct Destroyer final : StreamOwner {
    explicit Destroyer(std::unique_ptr<TLSStream>& held) : stream(held) {}
    void streamReadable() override { stream.reset(); }
    void streamWritable() override {}
    std::unique_ptr<TLSStream>& stream;
  } destroyer(stream);
  stream->setOwner(&destroyer);

  peer->write("hello");
  wire.receive(peer->takeOutput());

  EXPECT_EQ(stream, nullptr);
  EXPECT_FALSE(wire.hasStream());
}

}  // namespace
}  // namespace platform::networking
