#include <gmock/gmock.h>

#include "TLSStreamTest.hpp"

namespace platform::networking {
namespace {

using testing::IsEmpty;
using testing::SizeIs;
using State = TLSStream::State;

class TLSHandshakeTest : public TLSStreamTest {};

/// With each version.
class TLSHandshakeVersionTest : public TLSStreamTest, public testing::WithParamInterface<int> {
 protected:
  static TLSPeer::Options version() { return {.oldest = GetParam(), .newest = GetParam()}; }
};
INSTANTIATE_TEST_SUITE_P(TLSHandshakeTest, TLSHandshakeVersionTest, testing::Values(TLS1_2_VERSION, TLS1_3_VERSION));

TEST_P(TLSHandshakeVersionTest, sendsNothingBeforeTheVerdict) {
  makePeer(version());
  stream->handshake();
  peer->listenAndSend();
  ASSERT_EQ(stream->handshake(), State::judging);
  EXPECT_THAT(stream->chain(), SizeIs(1));

  EXPECT_EQ(write("GET /secret").status, IOStatus::wouldBlock);
  wire.receive("more of the server");
  EXPECT_EQ(stream->handshake(), State::judging);

  EXPECT_THAT(wire.written(), IsEmpty());
  EXPECT_FALSE(peer->isConnected());
}

TEST_P(TLSHandshakeVersionTest, goesOnAfterTheVerdict) {
  connect(version());

  EXPECT_EQ(write("GET /").count, 5U);
  peer->listenAndSend();

  EXPECT_EQ(peer->received(), "GET /");
  EXPECT_FALSE(stream->wasResumed());
}

TEST_P(TLSHandshakeVersionTest, endsWithAnAlertWhenTheServerIsRefused) {
  makePeer(version());
  talk();

  stream->applyVerdict(false);
  EXPECT_EQ(stream->handshake(), State::failed);
  peer->listen();

  EXPECT_EQ(stream->failure()->cause, FailureCause::serverNotTrusted);
  EXPECT_EQ(peer->refusal(), SSL_R_SSLV3_ALERT_BAD_CERTIFICATE);
  EXPECT_FALSE(peer->isConnected());
  EXPECT_EQ(write("GET /secret").status, IOStatus::failed);
}

TEST_P(TLSHandshakeVersionTest, takesAByteAtATime) {
  makePeer(version());
  peer->sendByteByByte();
  talk();
  ASSERT_EQ(stream->handshake(), State::judging);
  stream->applyVerdict(true);
  talk();
  ASSERT_EQ(stream->handshake(), State::open);

  peer->write("hello");
  peer->listenAndSend();

  EXPECT_EQ(received, "hello");
}

TEST_P(TLSHandshakeVersionTest, failsWhereverTheServerBreaksItOff) {
  // Signatures vary in length, so the places differ from run to run.
  for (std::size_t cut = 0;; cut += 3) {
    stream.reset();
    wire = {};
    makePeer(version());
    stream->handshake();
    peer->listen();
    const std::string flight = peer->takeOutput();
    if (cut >= flight.size()) break;
    wire.receive(flight.substr(0, cut));
    const bool wasAsked = stream->handshake() == State::judging;
    if (wasAsked) stream->applyVerdict(true);

    wire.receiveEnd();

    ASSERT_EQ(stream->handshake(), State::failed) << cut;
    ASSERT_EQ(stream->failure()->cause, FailureCause::secureConnectionFailed) << cut;
  }
}

TEST_P(TLSHandshakeVersionTest, failsWhenItsLastFlightCannotLeave) {
  makePeer(version());
  talk();
  wire.failWritesAfter(0, {FailureCause::connectionLost, "reset", 104});

  stream->applyVerdict(true);
  talk();

  EXPECT_EQ(stream->handshake(), State::failed);
  EXPECT_EQ(stream->failure()->cause, FailureCause::secureConnectionFailed);
  EXPECT_EQ(stream->failure()->systemError, 104);
}

TEST_F(TLSHandshakeTest, saysWhenTheServerWantsACertificateBeforeTLS13) {
  makePeer({.newest = TLS1_2_VERSION, .requiresCertificate = true});
  talk();
  stream->applyVerdict(true);

  talk();

  EXPECT_EQ(stream->handshake(), State::failed);
  EXPECT_EQ(stream->failure()->cause, FailureCause::clientCertificateRequired);
  EXPECT_EQ(stream->failure()->message, "the server asks for a client certificate, and none is set");
}

TEST_F(TLSHandshakeTest, saysWhenTheServerWantsACertificateWithTLS13) {
  makePeer({.oldest = TLS1_3_VERSION, .requiresCertificate = true});
  talk();
  stream->applyVerdict(true);

  talk();

  EXPECT_EQ(stream->handshake(), State::open);
  EXPECT_EQ(readAll(), IOStatus::failed);
  EXPECT_EQ(stream->failure()->cause, FailureCause::clientCertificateRequired);
  EXPECT_EQ(stream->failure()->message, "the server asks for a client certificate, and none is set");
}

TEST_F(TLSHandshakeTest, refusesVersionsBefore12) {
  makePeer({.oldest = TLS1_VERSION, .newest = TLS1_1_VERSION});

  talk();

  EXPECT_EQ(stream->handshake(), State::failed);
  EXPECT_EQ(stream->failure()->cause, FailureCause::secureConnectionFailed);
  EXPECT_EQ(stream->failure()->message, "the server refused the TLS handshake: protocol version (alert 70)");
}

TEST_F(TLSHandshakeTest, failsWhenTheServerDoesNotSpeakTLS) {
  makeStream();
  stream->handshake();

  wire.receive("HTTP/1.1 400 Bad Request\r\n\r\n");

  EXPECT_EQ(stream->handshake(), State::failed);
  EXPECT_EQ(stream->failure()->cause, FailureCause::secureConnectionFailed);
  EXPECT_EQ(stream->failure()->message,
            "the TLS handshake failed: the server does not speak TLS on this port: wrong version number");
}

TEST_F(TLSHandshakeTest, failsForANameThatTLSCannotCarry) {
  TLSStream named(loop, context, wire.makeStream(), {.isSecure = true, .host = std::string(300, 'a'), .port = 443});

  EXPECT_EQ(named.handshake(), State::failed);
  EXPECT_EQ(named.failure()->cause, FailureCause::secureConnectionFailed);
}

TEST_F(TLSHandshakeTest, offersHTTP2First) {
  connect({.protocols = "\x08http/1.1\x02h2"});
  EXPECT_EQ(stream->agreedProtocol(), "http/1.1");

  wire = {};
  connect({.protocols = "\x02h2\x08http/1.1"});
  EXPECT_EQ(stream->agreedProtocol(), "h2");
}

TEST_F(TLSHandshakeTest, offersHTTP2OnlyWhereItIsWanted) {
  context = TLSContext::make({.offersHTTP2 = false});

  connect({.protocols = "\x02h2\x08http/1.1"});

  EXPECT_EQ(stream->agreedProtocol(), "http/1.1");
}

TEST_F(TLSHandshakeTest, agreesOnNoProtocolWithAServerThatKnowsNone) {
  connect();

  EXPECT_EQ(stream->agreedProtocol(), "");
}

}  // namespace
}  // namespace platform::networking
