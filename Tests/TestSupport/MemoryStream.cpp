#include "TestSupport/MemoryStream.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <optional>
#include <stdexcept>
#include <utility>

namespace corvane::testkit {

using platform::networking::Bytes;
using platform::networking::ByteStream;
using platform::networking::Failure;
using platform::networking::FailureCause;
using platform::networking::IOResult;
using platform::networking::IOStatus;

struct MemoryWire::State {
  Options options;
  Stream* stream = nullptr;
  std::deque<std::string> incoming;
  bool hasEnd = false;
  std::optional<Failure> readFailure;

  std::string written;
  std::size_t allowance = unlimited;
  std::size_t eachWrite = unlimited;
  std::size_t failsAfter = unlimited;
  Failure writeFailure;
  bool waitsToWrite = false;
  bool isShutDown = false;
  bool hasNews = false;
  int reads = 0;
  int writes = 0;
  std::uint64_t expected = 0;
};

class MemoryWire::Stream final : public ByteStream {
 public:
  explicit Stream(std::shared_ptr<State> state) : state_(std::move(state)) { state_->stream = this; }
  ~Stream() override {
    state_->stream = nullptr;
    state_->isShutDown = true;
  }

  using ByteStream::owner;

  IOResult read(std::span<std::byte> room) override {
    ++state_->reads;
    auto& incoming = state_->incoming;
    if (incoming.empty()) return atEnd();
    std::string& piece = incoming.front();
    const std::size_t count = std::min(piece.size(), room.size());
    std::memcpy(room.data(), piece.data(), count);
    piece.erase(0, count);
    if (piece.empty()) incoming.pop_front();
    const bool isLast = incoming.empty() && !state_->hasEnd && !state_->readFailure;
    // As with a socket: only a read that found less than it had room for knows.
    return {IOStatus::done, count, isLast && state_->options.saysDrained && count < room.size()};
  }

  IOResult write(std::span<const Bytes> pieces) override {
    ++state_->writes;
    std::size_t room = std::min({state_->allowance, state_->eachWrite, state_->failsAfter});
    std::size_t count = 0;
    for (const Bytes piece : pieces) {
      const std::size_t part = std::min(piece.size(), room);
      state_->written.append(reinterpret_cast<const char*>(piece.data()), part);
      room -= part;
      count += part;
    }
    return taken(count);
  }

  IOResult sendFile(int file, off_t offset, std::size_t count) override {
    ++state_->writes;
    std::array<char, 4096> buffer{};
    const std::size_t room = std::min({count, buffer.size(), state_->allowance, state_->eachWrite, state_->failsAfter});
    if (room == 0) return taken(0);
    const ssize_t length = ::pread(file, buffer.data(), room, offset);
    if (length < 0) {
      failure_ = Failure{FailureCause::requestBody, "the file could not be read", errno};
      return {IOStatus::failed, 0};
    }
    if (length == 0) return {IOStatus::done, 0};
    state_->written.append(buffer.data(), static_cast<std::size_t>(length));
    return taken(static_cast<std::size_t>(length));
  }

  void expect(std::uint64_t count) override { state_->expected = count; }
  void shutDown() override { state_->isShutDown = true; }
  bool hasNews() const override { return state_->hasNews; }
  bool isSecure() const override { return state_->options.isSecure; }
  const std::optional<Failure>& failure() const override { return failure_; }
  int descriptor() const override { return -1; }

 private:
  IOResult atEnd() {
    if (state_->readFailure) {
      failure_ = state_->readFailure;
      return {IOStatus::failed, 0};
    }
    return {state_->hasEnd ? IOStatus::closed : IOStatus::wouldBlock, 0};
  }

  IOResult taken(std::size_t count) {
    if (state_->allowance != unlimited) state_->allowance -= count;
    if (state_->failsAfter != unlimited) state_->failsAfter -= count;
    if (count > 0) return {IOStatus::done, count};
    if (state_->failsAfter == 0) {
      failure_ = state_->writeFailure;
      return {IOStatus::failed, 0};
    }
    state_->waitsToWrite = true;
    return {IOStatus::wouldBlock, 0};
  }

  std::shared_ptr<State> state_;
  std::optional<Failure> failure_;
};

MemoryWire::MemoryWire(Options options) : state_(std::make_shared<State>()) { state_->options = options; }

std::unique_ptr<ByteStream> MemoryWire::makeStream() {
  if (state_->stream) throw std::logic_error("the wire has a stream");
  return std::make_unique<Stream>(state_);
}

bool MemoryWire::hasStream() const { return state_->stream != nullptr; }

void MemoryWire::tellReadable() {
  state_->hasNews = false;
  if (state_->stream && state_->stream->owner()) state_->stream->owner()->streamReadable();
}

void MemoryWire::queue(std::string_view bytes) {
  if (!bytes.empty()) state_->incoming.emplace_back(bytes);
}

void MemoryWire::receive(std::string_view bytes) {
  queue(bytes);
  tellReadable();
}

void MemoryWire::announce(std::string_view bytes) {
  queue(bytes);
  state_->hasNews = true;
}

void MemoryWire::receiveByteByByte(std::string_view bytes) {
  for (const char byte : bytes) receive({&byte, 1});
}

void MemoryWire::receiveEnd() {
  state_->hasEnd = true;
  tellReadable();
}

void MemoryWire::receiveFailure(Failure failure) {
  state_->readFailure = std::move(failure);
  tellReadable();
}

void MemoryWire::allowWrites(std::size_t bytes) {
  state_->allowance = bytes;
  if (bytes == 0 || !std::exchange(state_->waitsToWrite, false)) return;
  if (state_->stream && state_->stream->owner()) state_->stream->owner()->streamWritable();
}

void MemoryWire::limitEachWrite(std::size_t bytes) { state_->eachWrite = bytes; }

void MemoryWire::failWritesAfter(std::size_t bytes, Failure failure) {
  state_->failsAfter = bytes;
  state_->writeFailure = std::move(failure);
  if (!std::exchange(state_->waitsToWrite, false)) return;
  if (state_->stream && state_->stream->owner()) state_->stream->owner()->streamWritable();
}

const std::string& MemoryWire::written() const { return state_->written; }
std::string MemoryWire::takeWritten() { return std::exchange(state_->written, {}); }
int MemoryWire::reads() const { return state_->reads; }
int MemoryWire::writes() const { return state_->writes; }

std::uint64_t MemoryWire::expected() const { return state_->expected; }

std::size_t MemoryWire::unread() const {
  std::size_t count = 0;
  for (const std::string& piece : state_->incoming) count += piece.size();
  return count;
}

bool MemoryWire::isShutDown() const { return state_->isShutDown; }

}  // namespace corvane::testkit
