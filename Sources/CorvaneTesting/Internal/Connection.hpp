#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

#include "CorvaneTesting/Internal/RequestReader.hpp"
#include "CorvaneTesting/Internal/RequestRecorder.hpp"
#include "CorvaneTesting/Internal/ResponseQueue.hpp"
#include "CorvaneTesting/Internal/ResponseScript.hpp"
#include "CorvaneTesting/Internal/Stream.hpp"
#include "Platform/Detail/Locking.hpp"

namespace corvane::testkit::detail {

class TlsContext;

/// What the connections of one server share.
struct ServerContext {
  ResponseQueue responses;
  RequestRecorder recorder;
  Event stop;
  std::shared_ptr<TlsContext> tls;
  std::atomic<bool> discardsBodies = false;
  std::atomic<bool> ignoresExpectContinue = false;
};

/// Serves one client on a thread of its own.
class Connection {
 public:
  Connection(Descriptor socket, ServerContext& context);
  ~Connection();

  /// The thread has nothing more to do.
  bool isFinished() const { return isFinished_.load(std::memory_order_acquire); }
  int number() const { return number_; }

  // From the test's thread, while the connection waits for a request; false when it does not.
  bool sendIfIdle(std::string_view bytes);
  bool endIfIdle(Ending ending);

 private:
  void run();
  void serve();
  void shakeHands();
  bool serveNextRequest(std::optional<MockResponse> first);
  bool waitForRequest();
  bool passIdleTime();
  void setIdle(bool isIdle);
  void receiveBody(ReceivedRequest& request, std::optional<MockResponse>& response);
  void readBody(ReceivedRequest& request, std::optional<std::uint64_t> limit);
  bool respondEarly(const ReceivedRequest& request, const MockResponse& response);
  MockResponse responseTo(const ReceivedRequest& request);
  bool send(const MockResponse& response, const ReceivedRequest& request);
  void perform(const std::vector<Step>& steps, const ResponseScript& script = {});
  void performAtOnce(const std::vector<Step>& steps);
  void performStep(const Step& step, const ResponseScript& script);
  void sendBytes(std::string_view bytes, const ResponseScript& script);
  void sendGenerated(const SendGenerated& generated, const ResponseScript& script);
  void hold(const Latch& latch);
  [[noreturn]] void end(Ending ending);
  void closeSocket();
  bool requestClosesConnection(const ReceivedRequest& request) const;

  ServerContext& context_;
  const int number_;
  std::unique_ptr<Stream> stream_;
  RequestReader reader_;
  int requestCount_ = 0;
  std::vector<IdleStep> idleSteps_;
  std::string sni_;
  std::string tlsVersion_;
  platform::detail::Mutex idleMutex_;
  bool isIdle_ CORVANE_GUARDED_BY(idleMutex_) = false;
  std::optional<Ending> ending_;
  std::atomic<bool> isFinished_ = false;
  std::thread thread_;
};

}  // namespace corvane::testkit::detail
