#pragma once

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "Platform/Networking/Streams/TLSStream.hpp"
#include "TestSupport/TLSPeer.hpp"

namespace platform::networking {

/// A TLS stream and its server over a wire of memory. `handshake` is called whenever there is something to read, as a
/// connector does.
class TLSStreamTest : public testing::Test, protected StreamOwner {
 protected:
  using TLSPeer = corvane::testkit::TLSPeer;

  void makePeer(TLSPeer::Options options = {}) {
    peer = std::make_unique<TLSPeer>(wire, certificate, std::move(options));
    makeStream();
  }
  void makeStream() {
    stream = std::make_unique<TLSStream>(loop, context, wire.makeStream(), origin);
    stream->setOwner(this);
  }
  /// Until neither side has anything to say.
  void talk() {
    stream->handshake();
    for (int i = 0; i < 10; ++i) {
      loop.iterate(Duration::zero());
      peer->listenAndSend();
    }
  }
  void connect(TLSPeer::Options options = {}) {
    makePeer(std::move(options));
    talk();
    ASSERT_EQ(stream->handshake(), TLSStream::State::judging);
    stream->applyVerdict(true);
    talk();
    ASSERT_EQ(stream->handshake(), TLSStream::State::open);
    ASSERT_TRUE(peer->isConnected());
  }

  void streamReadable() override {
    ++readable;
    if (stream->handshake() == TLSStream::State::open && keepsReading) readAll();
  }
  void streamWritable() override { ++writable; }

  /// Reads until nothing comes; the status that said so.
  IOStatus readAll() {
    while (true) {
      std::array<std::byte, 1000> room;
      const IOResult result = stream->read(room);
      if (result.status != IOStatus::done) return last = result.status;
      received.append(reinterpret_cast<const char*>(room.data()), result.count);
    }
  }
  IOResult write(std::string_view text) {
    const Bytes piece = std::as_bytes(std::span(text));
    return stream->write({&piece, 1});
  }

  EventLoop loop;
  std::shared_ptr<TLSContext> context = TLSContext::make();
  const Origin origin{.isSecure = true, .host = "localhost", .port = 443};
  corvane::testkit::CertificateAuthority root;
  corvane::testkit::Certificate certificate = root.issue(corvane::testkit::CertificateRequest::localhost());
  corvane::testkit::MemoryWire wire;
  std::unique_ptr<TLSPeer> peer;
  std::unique_ptr<TLSStream> stream;
  bool keepsReading = true;
  int readable = 0;
  int writable = 0;
  std::string received;
  IOStatus last = IOStatus::wouldBlock;
};

}  // namespace platform::networking
