#include "ConnectionHarness.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace platform::networking {

std::string_view ScriptedBody::left() const {
  const std::size_t end = std::min(available, text_.size());
  return std::string_view(text_).substr(0, end).substr(std::min(sent_, end));
}

Bytes ScriptedBody::peek() {
  if (way_ != Way::peek) return {};
  const std::string_view text = left().substr(0, pieceBytes);
  return std::as_bytes(std::span(text));
}

BodyRead ScriptedBody::read(std::span<std::byte> room) {
  const std::string_view text = left().substr(0, std::min(pieceBytes, room.size()));
  if (text.empty()) return {sent_ < text_.size() ? BodyStatus::pending : atEnd, 0};
  std::memcpy(room.data(), text.data(), text.size());
  sent_ += text.size();
  return {BodyStatus::bytes, text.size()};
}

std::optional<IOResult> ScriptedBody::sendTo(ByteStream& stream, std::size_t limit) {
  if (way_ != Way::sendTo) return std::nullopt;
  ++directWrites;
  const std::string_view text = left().substr(0, limit);
  if (text.empty()) return IOResult{IOStatus::done, 0};
  const std::array<Bytes, 1> pieces{std::as_bytes(std::span(text))};
  const IOResult result = stream.write(pieces);
  sent_ += result.count;
  return result;
}

void ScriptedExchange::sends(ScriptedBody& body) {
  requestBytes = &body;
  request.contentLength = body.length();
}

void ScriptedExchange::note(std::string_view text) {
  EXPECT_FALSE(isOver_) << text << " after " << log_;
  log_.append(log_.empty() ? "" : " | ").append(text);
  called(text.substr(0, text.find(' ')));
}

void ScriptedExchange::bodySent(std::uint64_t total) {
  EXPECT_FALSE(isOver_);
  EXPECT_GT(total, sent_);
  sent_ = total;
  called("bodySent");
}

void ScriptedExchange::progressed() {
  EXPECT_FALSE(isOver_);
  ++progress_;
  called("progressed");
}

BodyDisposition ScriptedExchange::head(const ResponseHeadView& head) {
  note("head " + std::to_string(head.statusCode));
  return disposition;
}

bool ScriptedExchange::body(Bytes bytes) {
  EXPECT_FALSE(isOver_);
  EXPECT_FALSE(bytes.empty());
  body_.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  called("body");
  return takesBody;
}

std::span<std::byte> ScriptedExchange::bodyRoom(std::size_t count) {
  EXPECT_FALSE(isOver_);
  EXPECT_GT(count, 0u);
  called("bodyRoom");
  room_.resize(roomBytes);
  return std::as_writable_bytes(std::span(room_));
}

bool ScriptedExchange::bodyFilled(std::size_t count) {
  EXPECT_LE(count, room_.size());
  filledBytes_ += count;
  body_.append(room_, 0, count);
  called("bodyFilled");
  return takesBody;
}

void ScriptedExchange::trailers(std::span<const FieldView> fields) {
  std::string text = "trailers";
  for (const FieldView& field : fields) text.append(" ").append(field.name).append("=").append(field.value);
  note(text);
}

void ScriptedExchange::end() {
  note("end");
  isOver_ = true;
}

void ScriptedExchange::failed(ExchangeFailure failure) {
  failure_ = std::move(failure);
  note("failed: " + failure_->failure.message);
  isOver_ = true;
}

void HTTP1ConnectionTest::connect(corvane::testkit::MemoryWire::Options options) {
  connection.reset();
  wire = corvane::testkit::MemoryWire(options);
  told.clear();
  connection = std::make_unique<HTTP1Connection>(loop, wire.makeStream(), *this);
  iterate();
}

void HTTP1ConnectionTest::connectionAvailable(HTTPConnection& one) {
  EXPECT_EQ(&one, connection.get());
  EXPECT_EQ(one.capacity(), 1u);
  note("available");
  if (onAvailable) onAvailable();
}

void HTTP1ConnectionTest::connectionRetired(HTTPConnection& one) {
  EXPECT_EQ(&one, connection.get());
  EXPECT_EQ(one.capacity(), 0u);
  note("retired");
}

void HTTP1ConnectionTest::connectionClosed(HTTPConnection& one) {
  EXPECT_EQ(&one, connection.get());
  EXPECT_EQ(one.active(), 0u);
  EXPECT_TRUE(wire.isShutDown());
  note("closed");
  if (destroysWhenClosed) connection.reset();
}

}  // namespace platform::networking
