#include "Platform/Loading/Internal/SourcedConnection.hpp"

#include <algorithm>
#include <array>
#include <new>
#include <utility>
#include <vector>

namespace platform::detail {

using networking::BodyRead;
using networking::BodyStatus;
using networking::Bytes;
using networking::Failure;
using networking::FailureCause;
using networking::FieldView;

namespace {

/// What moves in one iteration of the loop, so that others get their turn.
constexpr std::size_t mostBytesAtOnce = std::size_t{64} << 10;

}  // namespace

SourcedConnection::SourcedConnection(networking::EventLoop& loop, std::shared_ptr<ExchangeResponder> responder,
                                     Failing failing)
    : loop_(loop), responder_(std::move(responder)), failing_(std::move(failing)) {
  setMetrics({}, std::make_shared<ConnectionMetrics>(ConnectionMetrics{.protocol = "http/1.1"}));
}

SourcedConnection::~SourcedConnection() { loop_.cancelDeferred(*this); }

/// Nothing is told from inside of the call.
void SourcedConnection::start(networking::RequestStream& exchange) {
  stream_ = &exchange;
  hasStarted_ = true;
  loop_.defer(*this);
}

void SourcedConnection::cancel(networking::RequestStream&) {
  stream_ = nullptr;
  loop_.cancelDeferred(*this);
}

void SourcedConnection::bodyReady(networking::RequestStream&) { loop_.defer(*this); }

void SourcedConnection::setReading(networking::RequestStream&, bool isWanted) {
  isReading_ = isWanted;
  if (isWanted && step_ == Step::body) loop_.defer(*this);
}

/// Whatever is told may cancel the exchange, and let go of this.
void SourcedConnection::runDeferred() {
  const auto self = shared_from_this();
  try {
    go();
  } catch (const std::bad_alloc&) {
    if (stream_) std::exchange(stream_, nullptr)->failed({.failure = Failure::outOfMemory()});
  }
}

void SourcedConnection::go() {
  if (!stream_) return;
  switch (step_) {
    case Step::beginning:
      step_ = Step::request;
      // A head has no bytes here.
      stream_->requestBegan(0);
      if (stream_) loop_.defer(*this);
      return;
    case Step::request:
      return sendBody();
    case Step::head:
      return giveHead();
    case Step::body:
      return giveBody();
    case Step::awaiting:
      return;
  }
}

void SourcedConnection::sendBody() {
  networking::RequestBody* const body = stream_->requestBody();
  BodyStatus status = BodyStatus::end;
  for (const std::size_t before = sent_.count(); body && sent_.count() - before < mostBytesAtOnce;) {
    status = sendSome(*body);
    if (status != BodyStatus::bytes) break;
  }
  if (body && !sent_.isEmpty()) stream_->bodySent(sent_.count());
  if (!stream_) return;
  switch (status) {
    case BodyStatus::bytes:
      return loop_.defer(*this);
    case BodyStatus::pending:
      return;  // `bodyReady` goes on
    case BodyStatus::failed:
      return std::exchange(stream_, nullptr)
          ->failed({.failure = {FailureCause::requestBody, "the body of the request cannot be read"}});
    case BodyStatus::end:
      step_ = Step::awaiting;
      stream_->requestEnded();
      if (stream_) await();
  }
}

BodyStatus SourcedConnection::sendSome(networking::RequestBody& body) {
  if (const Bytes next = body.peek(); !next.empty()) {
    sent_.append(next);
    body.advance(next.size());
    return BodyStatus::bytes;
  }
  std::array<std::byte, 16384> room;
  const BodyRead read = body.read(room);
  sent_.append(Bytes(room).first(read.count));
  return read.status;
}

/// The function may outlive this, and be destroyed on any thread.
void SourcedConnection::await() {
  responder_->requestSent(std::move(sent_), [weak = weak_from_this(), &loop = loop_](SourcedResponse response) {
    loop.post([weak, response = std::move(response)]() mutable {
      if (const auto self = weak.lock()) self->responded(std::move(response));
    });
  });
}

void SourcedConnection::responded(SourcedResponse response) {
  if (!stream_ || step_ != Step::awaiting) return;
  response_ = std::move(response);
  step_ = Step::head;
  loop_.defer(*this);
}

bool SourcedConnection::hasProblem() const { return response_.problem.index() != 0; }

/// Where a body ends (RFC 9112, 6.3).
bool SourcedConnection::hasBody() const {
  return stream_->requestHead().method != "HEAD" && response_.status != 204 && response_.status != 304;
}

std::size_t SourcedConnection::bodyEnd() const {
  if (!hasBody()) return 0;
  return hasProblem() ? std::min(response_.bytesBeforeProblem, response_.body.count()) : response_.body.count();
}

void SourcedConnection::giveHead() {
  if (hasProblem() && !response_.hasHead) return fail();
  std::vector<FieldView> fields;
  for (const auto& [name, value] : response_.fields) fields.push_back({name, value});
  const bool isDelivered =
      stream_->head({.statusCode = response_.status,
                     .httpVersion = protocol(),
                     .fields = fields,
                     .bodyLength = hasBody() ? static_cast<std::int64_t>(response_.body.count()) : 0,
                     .hasBody = hasBody()}) == networking::BodyDisposition::deliver;
  if (!stream_) return;
  if (!isDelivered) given_ = bodyEnd();
  step_ = Step::body;
  loop_.defer(*this);
}

void SourcedConnection::giveBody() {
  const std::size_t end = bodyEnd();
  if (given_ < end) {
    if (!isReading_) return;  // `setReading` goes on
    const std::size_t count = std::min(end - given_, mostBytesAtOnce);
    const Bytes piece(response_.body.bytes() + given_, count);
    given_ += count;
    if (!stream_->body(piece)) stream_ = nullptr;
    if (!stream_) return;
  }
  if (given_ < end) return loop_.defer(*this);
  hasProblem() ? fail() : std::exchange(stream_, nullptr)->end();
}

void SourcedConnection::fail() {
  if (std::holds_alternative<SourcedTimeout>(response_.problem)) return failing_.byTimeout();
  if (const auto* failure = std::get_if<Failure>(&response_.problem)) {
    return std::exchange(stream_, nullptr)->failed({.failure = *failure, .responseBegan = response_.hasHead});
  }
  failing_.with(std::get<Error>(response_.problem));
  std::exchange(stream_, nullptr)->failed({.responseBegan = response_.hasHead});
}

}  // namespace platform::detail
