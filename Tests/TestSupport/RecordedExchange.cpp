#include "TestSupport/RecordedExchange.hpp"

#include <algorithm>
#include <cstring>
#include <span>

namespace corvane::testkit {

using platform::networking::BodyDisposition;
using platform::networking::BodyRead;
using platform::networking::BodyStatus;
using platform::networking::Bytes;
using platform::networking::FieldView;

namespace {

Fields copied(std::span<const FieldView> views) {
  Fields fields;
  for (const FieldView& view : views) fields.emplace_back(view.name, view.value);
  return fields;
}

}  // namespace

RecordedExchange::RecordedExchange(std::string method, std::string target)
    : method_(std::move(method)), target_(std::move(target)) {
  rebuild();
}

RecordedExchange& RecordedExchange::with(std::string name, std::string value) {
  requestFields_.emplace_back(std::move(name), std::move(value));
  rebuild();
  return *this;
}

RecordedExchange& RecordedExchange::with(platform::networking::RequestBody& body, bool isAnnounced) {
  body_ = &body;
  if (isAnnounced) contentLength = body.length();
  rebuild();
  return *this;
}

void RecordedExchange::rebuild() {
  views_.clear();
  for (const auto& [name, value] : requestFields_) views_.push_back({name, value});
  head_.method = method_;
  head_.authority = "example.org";
  head_.target = target_;
  head_.fields = views_;
  head_.contentLength = contentLength;
}

std::string RecordedExchange::field(std::string_view name) const {
  for (const auto& [each, value] : fields) {
    if (each == name) return value;
  }
  return {};
}

void RecordedExchange::requestBegan(std::size_t) {
  ++begun;
  if (onBegan) onBegan();
}

BodyDisposition RecordedExchange::head(const platform::networking::ResponseHeadView& head) {
  ++heads;
  status = head.statusCode;
  bodyLength = head.bodyLength;
  hasBody = head.hasBody;
  fields = copied(head.fields);
  return onHead ? onHead() : BodyDisposition::deliver;
}

bool RecordedExchange::body(Bytes bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  received += text;
  return !onBody || onBody(text);
}

void RecordedExchange::trailers(std::span<const FieldView> views) {
  trailing = copied(views);
  if (onTrailers) onTrailers();
}

void RecordedExchange::end() {
  ++ends;
  ++outcomes;
  if (onOutcome) onOutcome();
}

void RecordedExchange::failed(platform::networking::ExchangeFailure what) {
  failure = std::move(what);
  ++outcomes;
  if (onOutcome) onOutcome();
}

ScriptedBody::ScriptedBody(std::string text, bool isPeekable)
    : text_(std::move(text)), isFinished_(true), isPeekable_(isPeekable) {}

std::optional<std::uint64_t> ScriptedBody::length() const {
  return isFinished_ ? std::optional<std::uint64_t>(text_.size()) : std::nullopt;
}

bool ScriptedBody::rewind() {
  taken_ = 0;
  return true;
}

Bytes ScriptedBody::peek() {
  if (!isPeekable_) return {};
  return std::as_bytes(std::span(text_)).subspan(taken_);
}

BodyRead ScriptedBody::read(std::span<std::byte> room) {
  ++asked_;
  if (fails_) return {BodyStatus::failed, 0};
  const std::size_t count = std::min(room.size(), text_.size() - taken_);
  if (count == 0) return {isFinished_ ? BodyStatus::end : BodyStatus::pending, 0};
  std::memcpy(room.data(), text_.data() + taken_, count);
  taken_ += count;
  return {BodyStatus::bytes, count};
}

}  // namespace corvane::testkit
