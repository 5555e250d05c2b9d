#include "CorvaneTesting/TestServer.hpp"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "CorvaneTesting/Internal/Listener.hpp"
#include "CorvaneTesting/Internal/TlsStream.hpp"

namespace corvane::testkit {

namespace {

void printFailure(const std::string& failure) { std::fprintf(stderr, "test server: %s\n", failure.c_str()); }

std::atomic<void (*)(const std::string&)> failureReporter = &printFailure;

std::string bracketed(std::string_view host) {
  const bool isV6 = host.find(':') != std::string_view::npos;
  return isV6 ? "[" + std::string(host) + "]" : std::string(host);
}

}  // namespace

struct TestServer::Core {
  detail::ServerContext context;
  std::string address;
  std::unique_ptr<detail::Listener> listener;
};

TestServer::TestServer() : TestServer(ServerOptions()) {}

TestServer::TestServer(Tls tls)
    : TestServer([&] {
        ServerOptions options;
        options.tls = std::move(tls);
        return options;
      }()) {}

TestServer::TestServer(ServerOptions options) : core_(std::make_unique<Core>()) {
  if (options.tls) core_->context.tls = std::make_shared<detail::TlsContext>(*options.tls);
  if (!options.keepsRequests) core_->context.recorder.keepNothing();
  core_->listener = std::make_unique<detail::Listener>(options.addresses, options.port, core_->context);
  core_->address = options.addresses.front();
}

TestServer::~TestServer() {
  core_->context.stop.raise();
  core_->listener.reset();
  for (const std::string& failure : takeFailures()) failureReporter.load()(failure);
}

std::uint16_t TestServer::port() const { return core_->listener->port(); }

std::string TestServer::authority() const { return bracketed(core_->address) + ":" + std::to_string(port()); }

std::string TestServer::url(std::string_view target) const { return url(target, core_->address); }

std::string TestServer::url(std::string_view target, std::string_view host) const {
  const std::string scheme = core_->context.tls ? "https://" : "http://";
  return scheme + bracketed(host) + ":" + std::to_string(port()) + std::string(target);
}

void TestServer::enqueue(MockResponse response) { core_->context.responses.enqueue(std::move(response)); }

void TestServer::handle(std::string path, Handler handler) {
  core_->context.responses.handle(std::move(path), std::move(handler));
}

void TestServer::handleAll(Handler handler) { core_->context.responses.handleAll(std::move(handler)); }

std::size_t TestServer::remainingResponses() const { return core_->context.responses.remaining(); }

void TestServer::discardBodies() { core_->context.discardsBodies = true; }

void TestServer::ignoreExpectContinue() { core_->context.ignoresExpectContinue = true; }

ReceivedRequest TestServer::takeRequest(Milliseconds limit) {
  if (auto request = core_->context.recorder.takeRequest(limit)) return std::move(*request);
  throw std::runtime_error("no request arrived within " + std::to_string(limit.count()) + " ms; all " +
                           std::to_string(requestCount()) + " that had arrived were taken");
}

std::vector<ReceivedRequest> TestServer::requests() const { return core_->context.recorder.requests(); }

std::vector<ConnectionRecord> TestServer::connections() const { return core_->context.recorder.connections(); }

int TestServer::requestCount() const { return core_->context.recorder.requestCount(); }

int TestServer::headCount() const { return core_->context.recorder.headCount(); }

std::uint64_t TestServer::bodyBytesReceived() const { return core_->context.recorder.bodyBytes(); }

int TestServer::connectionCount() const { return core_->context.recorder.connectionCount(); }

int TestServer::openConnections() const { return core_->context.recorder.openConnections(); }

int TestServer::idleConnections() const { return core_->context.recorder.idleConnections(); }

int TestServer::stalledConnections() const { return core_->context.recorder.standstills(); }

bool TestServer::waitUntil(const std::function<bool()>& predicate, Milliseconds limit) const {
  return core_->context.recorder.waitUntil(predicate, limit);
}

bool TestServer::waitForConnections(int count, Milliseconds limit) const {
  return waitUntil([&] { return connectionCount() >= count; }, limit);
}

bool TestServer::waitForRequests(int count, Milliseconds limit) const {
  return waitUntil([&] { return requestCount() >= count; }, limit);
}

bool TestServer::waitForStall(Milliseconds limit) const {
  return waitUntil([&] { return stalledConnections() > 0; }, limit);
}

bool TestServer::waitUntilAllClosed(Milliseconds limit) const {
  return waitUntil([&] { return openConnections() == 0; }, limit);
}

int TestServer::sendOnIdleConnections(std::string_view bytes) {
  int count = 0;
  // The connection may not have noticed yet that its response is out when the client has it already.
  (void)waitUntil([&] {
    core_->listener->forEachConnection([&](detail::Connection& each) { count += each.sendIfIdle(bytes) ? 1 : 0; });
    return count > 0;
  });
  return count;
}

int TestServer::closeIdleConnections() { return endIdleConnections(Ending::close); }

int TestServer::resetIdleConnections() { return endIdleConnections(Ending::reset); }

int TestServer::endIdleConnections(Ending ending) {
  std::vector<int> ended;
  (void)waitUntil([&] {
    core_->listener->forEachConnection([&](detail::Connection& each) {
      if (each.endIfIdle(ending)) ended.push_back(each.number());
    });
    return !ended.empty();
  });
  (void)waitUntil([&] {
    return std::none_of(ended.begin(), ended.end(), [&](int number) { return core_->context.recorder.isOpen(number); });
  });
  return static_cast<int>(ended.size());
}

void TestServer::stopListening() { core_->listener->stopAccepting(); }

std::vector<std::string> TestServer::failures() const { return core_->context.recorder.failures(); }

std::vector<std::string> TestServer::takeFailures() { return core_->context.recorder.takeFailures(); }

void TestServer::reportFailuresTo(void (*reporter)(const std::string&)) { failureReporter = reporter; }

}  // namespace corvane::testkit
