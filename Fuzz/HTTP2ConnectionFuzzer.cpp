#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Networking/HTTP2/HTTP2Connection.hpp"
#include "Platform/Trap.hpp"

namespace platform::fuzz {

namespace {

using namespace platform::networking;

/// What the server sends is the input, cut into pieces of a size; what it is sent is counted.
class FuzzStream final : public ByteStream {
 public:
  FuzzStream(std::string_view input, std::size_t pieceBytes, std::size_t& written)
      : input_(input), pieceBytes_(pieceBytes), written_(written) {}

  void open() { isOpen_ = true; }
  void tell() {
    if (owner()) owner()->streamReadable();
  }

  IOResult read(std::span<std::byte> room) override {
    if (!isOpen_) return {};
    if (input_.empty()) return {IOStatus::closed, 0};
    const std::size_t count = std::min({pieceBytes_, room.size(), input_.size()});
    std::memcpy(room.data(), input_.data(), count);
    input_.remove_prefix(count);
    return {IOStatus::done, count};
  }
  IOResult write(std::span<const Bytes> pieces) override {
    std::size_t count = 0;
    for (const Bytes piece : pieces) count += piece.size();
    written_ += count;
    return {IOStatus::done, count};
  }
  IOResult sendFile(int, off_t, std::size_t) override { trap("HTTP/2 sends no files"); }
  void shutDown() override {}
  bool hasNews() const override { return false; }
  bool isSecure() const override { return false; }
  const std::optional<Failure>& failure() const override { return failure_; }
  int descriptor() const override { return -1; }

 private:
  std::string_view input_;
  std::size_t pieceBytes_;
  std::size_t& written_;
  bool isOpen_ = false;
  std::optional<Failure> failure_;
};

/// A body that never ends.
class EndlessBody final : public RequestBody {
 public:
  std::optional<std::uint64_t> length() const override { return std::nullopt; }
  bool rewind() override { return true; }
  void advance(std::size_t) override {}
  BodyRead read(std::span<std::byte> room) override {
    std::memset(room.data(), 'u', room.size());
    return {BodyStatus::bytes, room.size()};
  }
};

enum class Habit : std::uint8_t { plain, head, upload, discards, refusesBody, cancels, slow, cancelsInHead };
constexpr std::uint8_t habits = 8;

class FuzzExchange final : public RequestStream {
 public:
  FuzzExchange(HTTP2Connection& connection, Habit habit) : connection_(connection), habit_(habit) {
    head_.method = habit == Habit::head ? "HEAD" : "GET";
    head_.authority = "a";
    head_.target = "/";
  }

  Habit habit() const { return habit_; }
  /// What came of it, to be compared.
  std::string record;
  int outcomes = 0;
  bool isGivenUp = false;

  const RequestHead& requestHead() const override { return head_; }
  RequestBody* requestBody() override { return habit_ == Habit::upload ? &body_ : nullptr; }
  void requestBegan(std::size_t) override { checkUnderWay(); }
  void bodySent(std::uint64_t) override { checkUnderWay(); }
  void requestEnded() override { checkUnderWay(); }
  void progressed() override { checkUnderWay(); }

  BodyDisposition head(const ResponseHeadView& head) override {
    checkUnderWay();
    if (hasHead_) trap("a response has two heads");
    if (head.statusCode < 200 || head.statusCode > 999) trap("the status is out of range");
    hasHead_ = true;
    length_ = head.bodyLength;
    record += std::to_string(head.statusCode);
    takeFields(head.fields);
    if (habit_ == Habit::cancelsInHead) giveUp();
    return habit_ == Habit::discards ? BodyDisposition::discard : BodyDisposition::deliver;
  }
  bool body(Bytes bytes) override {
    checkUnderWay();
    if (!hasHead_ || bytes.empty() || habit_ == Habit::discards || habit_ == Habit::head) trap("a body out of place");
    record.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    received_ += static_cast<std::int64_t>(bytes.size());
    if (habit_ == Habit::cancels) giveUp();
    if (habit_ == Habit::slow) connection_.setReading(*this, received_ % 2 == 0);
    if (habit_ != Habit::refusesBody) return true;
    isGivenUp = true;
    record.clear();
    return false;
  }
  void trailers(std::span<const FieldView> fields) override {
    checkUnderWay();
    if (!hasHead_) trap("trailers without a head");
    takeFields(fields);
  }
  void end() override {
    checkUnderWay();
    if (!hasHead_) trap("a response ends without a head");
    if (length_ >= 0 && habit_ != Habit::discards && received_ != length_) trap("a body is not as long as told");
    record += ".";
    ++outcomes;
  }
  void failed(ExchangeFailure failure) override {
    checkUnderWay();
    if (failure.failure.message.empty()) trap("a failure without a reason");
    // How much of it arrived before depends on how it is cut.
    record = "!" + std::to_string(static_cast<int>(failure.failure.cause));
    ++outcomes;
  }

 private:
  void checkUnderWay() const {
    if (outcomes > 0 || isGivenUp) trap("an exchange is told of something after its end");
  }
  void giveUp() {
    isGivenUp = true;
    record.clear();
    connection_.cancel(*this);
  }
  void takeFields(std::span<const FieldView> fields) {
    for (const FieldView& field : fields) {
      if (field.name.empty() || field.name.front() == ':') trap("a field without a name");
      if (field.value.find_first_of(std::string_view("\0\r\n", 3)) != field.value.npos) trap("a field is two");
      bytes_ += field.name.size() + field.value.size();
      record.append("{").append(field.name).append(":").append(field.value).append("}");
    }
    if (bytes_ > 262144) trap("the fields exceed their bound");
  }

  HTTP2Connection& connection_;
  Habit habit_;
  RequestHead head_;
  EndlessBody body_;
  bool hasHead_ = false;
  std::int64_t length_ = -1;
  std::int64_t received_ = 0;
  std::size_t bytes_ = 0;
};

class Owner final : public HTTPConnectionOwner {
 public:
  std::unique_ptr<HTTP2Connection> connection;
  int retired = 0;

 private:
  void connectionAvailable(HTTPConnection&) override {}
  void connectionRetired(HTTPConnection&) override { ++retired; }
  void connectionClosed(HTTPConnection&) override {
    if (retired != 1) trap("a connection closes without having been retired");
    connection.reset();
  }
};

/// Lets exchanges of these habits meet what the server sends; gives what came of them.
std::string outcome(std::string_view input, std::size_t pieceBytes, std::uint8_t habit) {
  static EventLoop loop;
  std::size_t written = 0;
  Owner owner;
  auto stream = std::make_unique<FuzzStream>(input, pieceBytes, written);
  FuzzStream& wire = *stream;
  owner.connection = std::make_unique<HTTP2Connection>(loop, std::move(stream), owner);
  std::deque<FuzzExchange> exchanges;
  for (const auto each : {static_cast<Habit>(habit % habits), Habit::plain, Habit::slow}) {
    owner.connection->start(exchanges.emplace_back(*owner.connection, each));
  }
  loop.iterate(Duration::zero());
  wire.open();
  wire.tell();
  for (int iteration = 0; owner.connection; ++iteration) {
    if (iteration > 10'000) trap("a connection never ends");
    loop.iterate(Duration::zero());
  }
  // Endless uploads fill what windows the server opened: each of the three at most what it says.
  if (habit % habits != static_cast<std::uint8_t>(Habit::upload) && written > 65536 + 16 * input.size()) {
    trap("a server makes the client write without end");
  }
  std::string all;
  for (const FuzzExchange& each : exchanges) {
    // A body that breaks its rules may be given up before or after that shows.
    const bool isComparable = each.habit() != Habit::cancels && each.habit() != Habit::refusesBody;
    if (each.outcomes != (each.isGivenUp ? 0 : 1)) trap("an exchange has no outcome");
    if (isComparable) all += each.record + "|";
  }
  return all;
}

/// Frames of which the input says type, flags, stream and payload, so that all of them are whole.
std::string framed(std::string_view input) {
  std::string bytes("\0\0\0\4\0\0\0\0\0", 9);
  while (input.size() >= 4) {
    const std::size_t count = std::min<std::size_t>(static_cast<unsigned char>(input[3]), input.size() - 4);
    bytes.append(2, '\0').push_back(static_cast<char>(count));
    bytes.push_back(static_cast<char>(input[0] % 16));
    bytes.push_back(input[1]);
    bytes.append(3, '\0').push_back(static_cast<char>(input[2] % 8));
    bytes.append(input.substr(4, count));
    input.remove_prefix(4 + count);
  }
  return bytes;
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size < 2) return 0;
  const std::string_view input(reinterpret_cast<const char*>(bytes) + 2, size - 2);
  const std::string stream = bytes[0] % 2 == 0 ? platform::fuzz::framed(input) : std::string(input);
  const std::uint8_t habit = bytes[1];
  const std::string whole = platform::fuzz::outcome(stream, stream.size() + 1, habit);
  for (const std::size_t pieceBytes : {std::size_t{1}, std::size_t{7}}) {
    const std::string cut = platform::fuzz::outcome(stream, pieceBytes, habit);
    if (cut != whole) platform::trap("cut otherwise, it ends otherwise: " + whole + " and " + cut);
  }
  return 0;
}
