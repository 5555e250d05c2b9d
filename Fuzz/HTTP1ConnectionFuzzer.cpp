#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/Networking/HTTP1/HTTP1Connection.hpp"
#include "Platform/Trap.hpp"

namespace platform::networking::fuzz {

namespace {

/// What the server does, as the input says: its bytes in pieces, and when it takes how many of ours.
struct Script {
  std::deque<std::string> incoming;
  bool hasEnd = false;
  bool isBroken = false;
  std::size_t allowance = 0;
  bool isWritingBroken = false;
  std::string written;
};

class ScriptStream final : public ByteStream {
 public:
  explicit ScriptStream(Script& script) : script_(script) {}
  using ByteStream::owner;

  IOResult read(std::span<std::byte> room) override {
    if (!script_.incoming.empty()) {
      std::string& piece = script_.incoming.front();
      const std::size_t count = std::min(piece.size(), room.size());
      std::memcpy(room.data(), piece.data(), count);
      piece.erase(0, count);
      if (piece.empty()) script_.incoming.pop_front();
      return {IOStatus::done, count, script_.incoming.empty() && !script_.hasEnd && !script_.isBroken};
    }
    if (script_.isBroken) return fail();
    return {script_.hasEnd ? IOStatus::closed : IOStatus::wouldBlock};
  }
  IOResult write(std::span<const Bytes> pieces) override {
    if (script_.isWritingBroken) return fail();
    std::size_t count = 0;
    for (const Bytes piece : pieces) {
      const std::size_t part = std::min(piece.size(), script_.allowance);
      script_.written.append(reinterpret_cast<const char*>(piece.data()), part);
      script_.allowance -= part;
      count += part;
    }
    return count > 0 ? IOResult{IOStatus::done, count} : IOResult{IOStatus::wouldBlock};
  }
  IOResult sendFile(int, off_t, std::size_t) override { return fail(); }
  void shutDown() override {}
  bool hasNews() const override { return false; }
  bool isSecure() const override { return false; }
  const std::optional<Failure>& failure() const override { return failure_; }
  int descriptor() const override { return -1; }

 private:
  IOResult fail() {
    failure_ = Failure{};
    return {IOStatus::failed};
  }

  Script& script_;
  std::optional<Failure> failure_;
};

class Body final : public RequestBody {
 public:
  explicit Body(bool hasLength) : hasLength_(hasLength) {}
  std::optional<std::uint64_t> length() const override {
    return hasLength_ ? std::optional<std::uint64_t>(bytes.size()) : std::nullopt;
  }
  bool rewind() override { return false; }
  void advance(std::size_t) override {}
  BodyRead read(std::span<std::byte> room) override {
    const std::size_t count = std::min({room.size(), bytes.size() - sent_, std::size_t{100}});
    std::memcpy(room.data(), bytes.data() + sent_, count);
    sent_ += count;
    return {count > 0 ? BodyStatus::bytes : BodyStatus::end, count};
  }

  const std::string bytes = std::string(1000, 'b');

 private:
  const bool hasLength_;
  std::size_t sent_ = 0;
};

/// An exchange that lets nothing pass but what it was promised.
class Exchange final : public RequestStream {
 public:
  Exchange(unsigned flags, Body* body) : body_(body), discards_((flags & 4U) != 0), room_((flags & 8U) != 0 ? 64 : 0) {
    head_.method = (flags & 1U) != 0 ? "HEAD" : "POST";
    head_.authority = "h";
    head_.target = "/";
    if ((flags & 16U) != 0) head_.fields = {&expectation_, 1};
    if (body_) head_.contentLength = body_->length();
  }

  const RequestHead& requestHead() const override { return head_; }
  RequestBody* requestBody() override { return body_; }
  void requestBegan(std::size_t) override { in(Stage::begun, Stage::fresh); }
  void bodySent(std::uint64_t total) override {
    if (isOver() || total <= sent_ || !body_ || total > body_->bytes.size()) trap("the body's progress is wrong");
    sent_ = total;
  }
  void requestEnded() override {
    if (isOver() || isSent_ || (body_ && sent_ != body_->bytes.size())) trap("the request did not end");
    isSent_ = true;
  }
  void progressed() override {
    if (isOver()) trap("progress after the end");
  }
  BodyDisposition head(const ResponseHeadView& head) override {
    in(Stage::body, Stage::begun);
    if (head.statusCode < 200) trap("an interim head was told");
    length_ = head.bodyLength;
    return discards_ ? BodyDisposition::discard : BodyDisposition::deliver;
  }
  bool body(Bytes bytes) override { return take(bytes.size()); }
  std::span<std::byte> bodyRoom(std::size_t) override { return room_; }
  bool bodyFilled(std::size_t count) override {
    if (count > room_.size()) trap("more was read than there was room for");
    return take(count);
  }
  void trailers(std::span<const FieldView>) override { in(Stage::body, Stage::body); }
  void end() override {
    in(Stage::over, Stage::body);
    if (!discards_ && length_ >= 0 && received_ != static_cast<std::uint64_t>(length_)) trap("the end came too early");
  }
  void failed(ExchangeFailure) override {
    if (isOver()) trap("a second outcome");
    stage_ = Stage::over;
  }
  bool isOver() const { return stage_ == Stage::over; }
  std::uint64_t received() const { return received_; }

 private:
  enum class Stage { fresh, begun, body, over };

  void in(Stage next, Stage expected) {
    if (stage_ != expected) trap("a call out of order");
    stage_ = next;
  }
  bool take(std::size_t count) {
    in(Stage::body, Stage::body);
    if (discards_ || count == 0) trap("a body that nobody wanted");
    received_ += count;
    if (length_ >= 0 && received_ > static_cast<std::uint64_t>(length_)) trap("more body than announced");
    return true;
  }

  RequestHead head_;
  const FieldView expectation_{"Expect", "100-continue"};
  Body* const body_;
  const bool discards_;
  std::vector<std::byte> room_;
  Stage stage_ = Stage::fresh;
  bool isSent_ = false;
  std::uint64_t sent_ = 0;
  std::int64_t length_ = -1;
  std::uint64_t received_ = 0;
};

class Owner final : public HTTPConnectionOwner {
 public:
  std::unique_ptr<HTTP1Connection> connection;
  int retired = 0;

  void connectionAvailable(HTTPConnection& one) override {
    if (one.capacity() != 1 || one.active() != 0) trap("it is not available");
  }
  void connectionRetired(HTTPConnection&) override {
    if (++retired > 1) trap("retired twice");
  }
  void connectionClosed(HTTPConnection&) override {
    if (retired != 1) trap("closed before it was retired");
    connection.reset();
  }
};

/// One step of the server: each input line is one, "<what><bytes>".
void step(char what, std::string_view bytes, Script& script, Owner& owner, ScriptStream& stream) {
  switch (what) {
    case 'r':
      if (!bytes.empty()) script.incoming.emplace_back(bytes);
      break;
    case 'w':
      script.allowance += bytes.size() * 37;
      break;
    case 'e':
      script.hasEnd = true;
      break;
    case 'b':
      script.isBroken = true;
      break;
    case 'x':
      script.isWritingBroken = true;
      break;
    default:
      return;
  }
  if (stream.owner() && (what == 'w' || what == 'x')) stream.owner()->streamWritable();
  if (owner.connection && stream.owner() && what != 'w') stream.owner()->streamReadable();
}

void check(std::string_view input) {
  if (input.empty()) return;
  const auto flags = static_cast<unsigned char>(input.front());
  input.remove_prefix(1);
  static EventLoop& loop = *new EventLoop;
  Script script;
  Owner owner;
  auto made = std::make_unique<ScriptStream>(script);
  ScriptStream& stream = *made;
  owner.connection = std::make_unique<HTTP1Connection>(loop, std::move(made), owner);
  std::deque<Body> bodies;
  std::deque<Exchange> exchanges;
  std::size_t given = input.size();
  const auto startIfPossible = [&] {
    if (!owner.connection || owner.connection->capacity() == 0 || exchanges.size() > 20) return;
    Body* const body = (flags & 32U) != 0 ? &bodies.emplace_back((flags & 64U) != 0) : nullptr;
    owner.connection->start(exchanges.emplace_back(flags, body));
  };
  startIfPossible();
  // Steps are separated by 0xFF, which no text needs.
  while (!input.empty() && owner.connection) {
    const std::size_t end = std::min(input.find('\xFF'), input.size());
    const std::string_view line = input.substr(0, end);
    input.remove_prefix(std::min(input.size(), end + 1));
    if (!line.empty()) step(line.front(), line.substr(1), script, owner, stream);
    loop.iterate(Duration::zero());
    startIfPossible();
  }
  std::uint64_t received = 0;
  for (const Exchange& exchange : exchanges) received += exchange.received();
  if (received > given) trap("bytes were invented");
  if (!owner.connection) {
    for (const Exchange& exchange : exchanges) {
      if (!exchange.isOver()) trap("an exchange without an outcome");
    }
  }
}

}  // namespace

}  // namespace platform::networking::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  platform::networking::fuzz::check({reinterpret_cast<const char*>(bytes), size});
  return 0;
}
