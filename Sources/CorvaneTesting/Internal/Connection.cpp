#include "CorvaneTesting/Internal/Connection.hpp"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

#include "CorvaneTesting/Internal/Text.hpp"
#include "CorvaneTesting/Internal/TlsStream.hpp"
#include "Platform/Foundation/Detail/ASCII.hpp"

namespace corvane::testkit::detail {

using platform::detail::equalsIgnoringCase;
using platform::detail::MutexLock;

namespace {

using std::chrono::milliseconds;

/// How long a connection that is closed before its request was read goes on reading, so that the client gets
/// the response and not a reset (RFC 9112 section 9.6).
constexpr milliseconds lingerLimit{2000};

std::unique_ptr<Stream> makeStream(Descriptor socket, const ServerContext& context) {
  if (context.tls) return std::make_unique<TlsStream>(std::move(socket), context.stop, context.tls);
  return std::make_unique<Stream>(std::move(socket), context.stop);
}

}  // namespace

Connection::Connection(Descriptor socket, ServerContext& context)
    : context_(context),
      number_(context.recorder.connectionOpened()),
      stream_(makeStream(std::move(socket), context)),
      reader_(*stream_),
      thread_([this] { run(); }) {}

Connection::~Connection() { thread_.join(); }

void Connection::run() {
  try {
    serve();
  } catch (const ConnectionOver&) {
    // The client left or the server stops: both are ordinary ends, and closing is all that is left to do.
  } catch (const std::exception& error) {
    context_.recorder.failed(std::string("connection ") + std::to_string(number_) + ": " + error.what());
  }
  closeSocket();
  context_.recorder.connectionClosed(number_);
  isFinished_.store(true, std::memory_order_release);
}

void Connection::serve() {
  std::optional<MockResponse> first = context_.responses.takeForNewConnection();
  if (first) performAtOnce(ScriptWriter::takeSteps(*first, Moment::onAccept));
  shakeHands();
  if (first) perform(ScriptWriter::takeSteps(*first, Moment::afterHandshake));
  while (serveNextRequest(std::exchange(first, std::nullopt))) {
  }
}

void Connection::shakeHands() {
  auto* tls = dynamic_cast<TlsStream*>(stream_.get());
  if (!tls) return;
  tls->onAlert([this](const std::string& alert) {
    context_.recorder.updateConnection(number_, [&](ConnectionRecord& record) { record.alerts.push_back(alert); });
  });
  const TlsStream::Handshake handshake = tls->shakeHands();
  sni_ = handshake.sni;
  tlsVersion_ = handshake.version;
  context_.recorder.updateConnection(number_, [&](ConnectionRecord& record) {
    record.sni = handshake.sni;
    record.tlsVersion = handshake.version;
    record.resumedSession = handshake.resumed;
    record.handshakeError = handshake.error;
  });
  if (!handshake.error.empty()) end(handshake.isToBeReset ? Ending::reset : Ending::drop);
}

bool Connection::serveNextRequest(std::optional<MockResponse> response) {
  if (!waitForRequest()) return false;
  ReceivedRequest request;
  try {
    std::optional<ReceivedRequest> head = reader_.readHead();
    if (!head) return false;
    request = std::move(*head);
    request.connectionNumber = number_;
    request.indexOnConnection = ++requestCount_;
    request.localAddress = stream_->localAddress();
    request.sni = sni_;
    request.tlsVersion = tlsVersion_;
    context_.recorder.headArrived();
    if (!response) response = context_.responses.takeBeforeBody(request);
    if (response && ScriptWriter::respondsBeforeRest(*response)) {
      readBody(request, ScriptWriter::respondsBeforeRest(*response));
      return respondEarly(request, *response);
    }
    receiveBody(request, response);
  } catch (const BadRequest& error) {
    context_.recorder.failed("connection " + std::to_string(number_) + " sent a malformed request: " + error.what());
    return send(MockResponse(400).text(std::string(error.what()) + "\n").closeConnection(), request);
  }
  // Before the request is visible: a test that sees it may enqueue the response to the next one.
  if (!response) response = context_.responses.takeQueued(request);
  context_.recorder.requestArrived(request);
  if (!response) response = responseTo(request);
  return send(*response, request) && !requestClosesConnection(request);
}

bool Connection::waitForRequest() {
  if (reader_.holdsBytes()) return true;
  setIdle(true);
  try {
    const bool goesOn = passIdleTime();
    setIdle(false);
    return goesOn && !ending_;
  } catch (const ConnectionOver&) {
    setIdle(false);
    throw;
  }
}

bool Connection::passIdleTime() {
  milliseconds passed{0};
  for (const IdleStep& step : std::exchange(idleSteps_, {})) {
    if (stream_->waitForBytes(step.after - passed) != Stream::Woke::timedOut) return true;
    passed = step.after;
    if (!step.bytes) {
      ending_ = Ending::close;
      return false;
    }
    const MutexLock lock(idleMutex_);
    stream_->write(*step.bytes);
  }
  stream_->waitForBytes(std::nullopt);
  return true;
}

void Connection::setIdle(bool isIdle) {
  {
    const MutexLock lock(idleMutex_);
    isIdle_ = isIdle;
  }
  context_.recorder.idleChanged(isIdle ? 1 : -1);
}

bool Connection::sendIfIdle(std::string_view bytes) {
  const MutexLock lock(idleMutex_);
  if (!isIdle_) return false;
  try {
    return stream_->writeWithoutWaiting(bytes) == bytes.size();
  } catch (const ConnectionOver&) {
    return false;
  }
}

bool Connection::endIfIdle(Ending ending) {
  const MutexLock lock(idleMutex_);
  if (!isIdle_) return false;
  ending_ = ending;
  stream_->endReading();
  return true;
}

void Connection::receiveBody(ReceivedRequest& request, std::optional<MockResponse>& response) {
  if (response) perform(ScriptWriter::takeSteps(*response, Moment::beforeRequestBody));
  const bool expectsContinue = equalsIgnoringCase(request.header("Expect").value_or(""), "100-continue");
  if (expectsContinue && !reader_.hasReadBody() && !context_.ignoresExpectContinue) {
    stream_->write("HTTP/1.1 100 Continue\r\n\r\n");
  }
  if (response && ScriptWriter::actsAt(*response, Moment::insideRequestBody)) {
    readBody(request, ScriptWriter::requestBodyPoint(*response).value_or(reader_.announcedLength() / 2));
    perform(ScriptWriter::takeSteps(*response, Moment::insideRequestBody));
  }
  readBody(request, std::nullopt);
}

void Connection::readBody(ReceivedRequest& request, std::optional<std::uint64_t> limit) {
  while (!limit || request.bodySize < *limit) {
    std::optional<std::string> piece = reader_.readBodyPiece(request);
    if (!piece) return;
    request.bodySize += piece->size();
    if (!context_.discardsBodies) request.body += *piece;
    context_.recorder.bodyBytesArrived(piece->size());
  }
}

bool Connection::respondEarly(const ReceivedRequest& request, const MockResponse& response) {
  context_.recorder.requestArrived(request);
  if (!send(response, request)) return false;
  if (request.hasHeader("Expect")) {
    ending_ = Ending::close;
    return false;
  }
  ReceivedRequest rest = request;
  while (reader_.readBodyPiece(rest)) {
  }
  return !requestClosesConnection(request);
}

MockResponse Connection::responseTo(const ReceivedRequest& request) {
  const std::string line = request.method + " " + request.target;
  try {
    if (auto response = context_.responses.take(request)) return *response;
    const std::string problem = "no response was scripted for " + line + " (request " +
                                std::to_string(request.indexOnConnection) + " on connection " +
                                std::to_string(number_) + ")";
    context_.recorder.failed(problem);
    return MockResponse(500).text("The test server says: " + problem + ".\n");
  } catch (const std::exception& error) {
    const std::string problem = "the handler of " + line + " threw: " + error.what();
    context_.recorder.failed(problem);
    return MockResponse(500).text("The test server says: " + problem + ".\n");
  }
}

bool Connection::requestClosesConnection(const ReceivedRequest& request) const {
  return equalsIgnoringCase(request.header("Connection").value_or(""), "close") || request.version == "HTTP/1.0";
}

bool Connection::send(const MockResponse& response, const ReceivedRequest& request) {
  const ResponseScript script = ScriptWriter::write(response, request.method);
  perform(script.steps, script);
  idleSteps_ = script.idleSteps;
  if (script.closes || requestClosesConnection(request)) ending_ = Ending::close;
  return !script.closes;
}

void Connection::perform(const std::vector<Step>& steps, const ResponseScript& script) {
  for (const Step& step : steps) performStep(step, script);
}

void Connection::performAtOnce(const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    // A client that is reset before it sent anything may not have noticed yet that it was connected.
    const auto* ending = std::get_if<Ending>(&step);
    if (ending && *ending == Ending::reset) stream_->waitForBytes(lingerLimit);
    performStep(step, {});
  }
}

void Connection::performStep(const Step& step, const ResponseScript& script) {
  if (const auto* bytes = std::get_if<SendBytes>(&step)) {
    sendBytes(bytes->bytes, script);
  } else if (const auto* generated = std::get_if<SendGenerated>(&step)) {
    sendGenerated(*generated, script);
  } else if (const auto* pause = std::get_if<PauseFor>(&step)) {
    stream_->pause(pause->duration);
  } else if (const auto* latch = std::get_if<Latch>(&step)) {
    hold(*latch);
  } else {
    end(std::get<Ending>(step));
  }
}

void Connection::sendBytes(std::string_view bytes, const ResponseScript& script) {
  if (script.throttleBytes == 0) return stream_->write(bytes);
  while (!bytes.empty()) {
    stream_->write(bytes.substr(0, script.throttleBytes));
    bytes.remove_prefix(std::min(script.throttleBytes, bytes.size()));
    stream_->pause(script.throttleTick);
  }
}

void Connection::sendGenerated(const SendGenerated& generated, const ResponseScript& script) {
  for (std::uint64_t sent = 0; sent < generated.count;) {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(pieceSize, generated.count - sent));
    sendBytes(generatedWindow(generated.offset + sent, count), script);
    sent += count;
  }
}

void Connection::hold(const Latch& latch) {
  const Standstill standstill(context_.recorder);
  stream_->pause(std::nullopt, latch.descriptor());
}

void Connection::end(Ending ending) {
  if (ending == Ending::stall) {
    const Standstill standstill(context_.recorder);
    stream_->stall();
  }
  if (ending == Ending::halfClose) {
    stream_->sayGoodbye();
    stream_->closeSending();
    const Standstill standstill(context_.recorder);
    stream_->drain(std::nullopt);
    throw ConnectionOver();
  }
  ending_ = ending;
  throw ConnectionOver();
}

void Connection::closeSocket() {
  try {
    if (ending_ == Ending::reset) stream_->resetAtClose();
    if (ending_ == Ending::close) {
      stream_->sayGoodbye();
      stream_->closeSending();
      stream_->drain(reader_.hasReadBody() ? milliseconds(0) : lingerLimit);
    }
    if (ending_ == Ending::drop) stream_->drain(milliseconds(0));
  } catch (const ConnectionOver&) {
    // The client was faster; the socket only needs to be closed.
  }
  stream_->close();
}

}  // namespace corvane::testkit::detail
