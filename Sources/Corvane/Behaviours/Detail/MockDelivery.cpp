#include "Corvane/Behaviours/Detail/MockDelivery.hpp"

#include <atomic>
#include <optional>
#include <stop_token>
#include <utility>

#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Request/Detail/RequestDescription.hpp"
#include "Corvane/Transport/Internal/RelocatedFile.hpp"
#include "Corvane/Transport/TaskManager.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Trap.hpp"

namespace corvane::detail {

using platform::Data;
using platform::DispatchQueue;
using platform::Error;
using platform::HTTPURLResponse;
using platform::URL;

namespace {

constexpr const char* httpVersion = "1.1";

/// A response that was not given yet. Who takes the exchange gives it its one outcome.
struct PendingMock : std::enable_shared_from_this<PendingMock> {
  PendingMock(std::shared_ptr<SendExchange> mocked, MockBody kind, platform::UniqueFunction<TaskOutcome()> maker)
      : exchange(std::move(mocked)), body(kind), makeOutcome(std::move(maker)) {}

  /// Any thread.
  void cancelSoon();
  /// What the outcome is given to; null for all but the first who asks.
  std::shared_ptr<SendExchange> take() { return isTaken.exchange(true) ? nullptr : std::move(exchange); }

  struct Stop {
    void operator()() const noexcept {
      if (const auto self = pending.lock()) self->cancelSoon();
    }

    std::weak_ptr<PendingMock> pending;
  };

  std::atomic<bool> isTaken = false;
  std::shared_ptr<SendExchange> exchange;
  MockBody body;
  platform::UniqueFunction<TaskOutcome()> makeOutcome;
  /// Destroyed first.
  std::optional<std::stop_callback<Stop>> stopping;
};

std::shared_ptr<RelocatedFile> writtenFile(const Data& data) {
  std::string path = platform::FileManager::temporaryDirectory() + "/" + platform::UUID().uuidString() + ".tmp";
  try {
    platform::FileManager::write(data, path);
  } catch (const std::exception& error) {
    platform::trap(std::string("The file of a mock cannot be written: ") + error.what());
  }
  return std::make_shared<RelocatedFile>(platform::TemporaryFile(std::move(path)), platform::TemporaryFile());
}

void give(PendingMock& pending) {
  // Cancelled meanwhile, or given.
  const auto exchange = pending.take();
  if (!exchange) return;
  try {
    TaskOutcome outcome = pending.makeOutcome();
    if (pending.body == MockBody::file && outcome.data) {
      outcome.file = writtenFile(*outcome.data);
      outcome.url = outcome.file->url();
    }
    concludeExchange(exchange, outcome, outcome);
  } catch (...) {
    report(exchange, Error::current());
  }
}

void cancel(PendingMock& pending) {
  const auto exchange = pending.take();
  if (!exchange) return;
  // The timer of the response goes on; what the request holds need not.
  pending.makeOutcome = nullptr;
  const Error cancelled(platform::NSURLErrorDomain, platform::URLErrorCode::cancelled, "cancelled");
  processTaskCompletion(exchange, {.data = {}, .url = {}, .response = nullptr, .error = cancelled});
}

void PendingMock::cancelSoon() {
  platform::detail::requiringMemory("a mock cannot be cancelled", [this] {
    mockBackgroundQueue().async([self = shared_from_this()] { cancel(*self); });
  });
}

}  // namespace

const URL& fallbackMockURL() {
  static const URL& url = *new URL("https://mock.corvane.invalid/");
  return url;
}

std::shared_ptr<const HTTPURLResponse> platformResponse(CannedResponse canned) {
  platform::URLResponseFacts facts{.mimeType = std::move(canned.mimeType),
                                   .expectedContentLength = canned.expectedContentLength,
                                   .textEncodingName = std::move(canned.textEncodingName),
                                   .suggestedFilename = std::move(canned.suggestedFilename)};
  return std::make_shared<const HTTPURLResponse>(
      std::move(canned.url).value_or(fallbackMockURL()), canned.status.rawValue(), httpVersion,
      canned.headers ? textHeaders(*canned.headers) : platform::HTTPHeaderFields(), std::move(facts));
}

std::optional<Error> computedError(std::optional<Error> own, HTTPStatus status, bool isAcceptable) {
  if (own || isAcceptable) return own;
  return HTTPResponseError::unacceptableStatus(status);
}

const DispatchQueue& mockBackgroundQueue() {
  static const DispatchQueue& queue = *new DispatchQueue("org.corvane.corvane.mock");
  return queue;
}

void respondFromMock(std::shared_ptr<SendExchange> exchange, MockBody body,
                     platform::UniqueFunction<double()> responseTime,
                     platform::UniqueFunction<TaskOutcome()> makeOutcome) {
  std::shared_ptr<PendingMock> pending;
  try {
    if (!exchange->shouldSend()) return;
    exchange->validate();
    const double delay = responseTime();
    const auto uuid = exchange->uuid();
    pending = std::make_shared<PendingMock>(exchange, body, std::move(makeOutcome));
    if (uuid) TaskManager::shared().insert([pending] { pending->cancelSoon(); }, *uuid);
    if (const auto& stop = exchange->bounds().stop; stop.stop_possible())
      pending->stopping.emplace(stop, PendingMock::Stop{pending});
    mockBackgroundQueue().asyncAfter(delay, [pending] { give(*pending); });
  } catch (...) {
    // A cancellation that reaches it has nothing to end any more, or was faster.
    if (!pending || pending->take()) report(std::move(exchange), Error::current());
  }
}

}  // namespace corvane::detail
