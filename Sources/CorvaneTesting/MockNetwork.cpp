#include "CorvaneTesting/MockNetwork.hpp"

#include "CorvaneTesting/Internal/MockNetworkCore.hpp"
#include "CorvaneTesting/Internal/Recorder.hpp"
#include "CorvaneTesting/Internal/Replay.hpp"
#include "Platform/Loading/Detail/ExchangeSources.hpp"

namespace corvane::testkit {

using detail::MockNetworkCore;
using platform::detail::ExchangeSources;

MockNetwork::MockNetwork() : core_(std::make_shared<MockNetworkCore>()) { ExchangeSources::add(core_); }

MockNetwork::~MockNetwork() {
  ExchangeSources::remove(*core_);
  core_->close();
}

MockRoute MockNetwork::route(const std::type_info* type, std::string_view pattern) {
  auto state = std::make_shared<detail::RouteState>(type, detail::URLPattern(pattern));
  core_->add(state);
  return MockRoute(std::move(state));
}

void MockNetwork::record(HTTPRedaction redaction) {
  core_->record(std::make_shared<detail::Recorder>(std::move(redaction)));
}

ExchangeRecording MockNetwork::recording() const {
  const auto recorder = core_->recorder();
  return recorder ? recorder->recording() : ExchangeRecording();
}

void MockNetwork::replay(ExchangeRecording recording, ReplayOptions options) {
  core_->add(std::make_shared<detail::Replay>(std::move(recording), options));
}

std::vector<SentRequest> MockNetwork::requests() const { return core_->requests(); }

std::vector<SentRequest> MockNetwork::unmatchedRequests() const { return core_->unmatchedRequests(); }

bool MockNetwork::waitForRequests(std::size_t count, Milliseconds limit) const {
  return core_->waitForRequests(count, std::chrono::steady_clock::now() + limit);
}

}  // namespace corvane::testkit
