#include "Corvane/Insight/HTTPObserver.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/LogCapture.hpp"
#include "CorvaneTesting/Ports.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "Platform/Detail/Locking.hpp"

namespace corvane {
namespace {

using platform::detail::Mutex;
using platform::detail::MutexLock;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testkit::MockResponse;
using testkit::Moment;
using testkit::TestServer;

/// Writes down what it is told.
class Chronicle final : public HTTPObserver {
 public:
  void exchangeStarted(const HTTPObservedExchange& exchange) override {
    note("started " + exchange.request.httpMethod + " " + exchange.url.path());
  }
  void responseReceived(const HTTPObservedExchange& exchange, const HTTPURLResponse& response) override {
    note("received " + std::to_string(response.statusCode()) + " for " + exchange.url.path());
  }
  void exchangeEnded(const HTTPObservedExchange& exchange, const std::shared_ptr<const TaskMetrics>& metrics,
                     const Error* error) override {
    const std::string count = std::to_string(metrics->transactions.size());
    note("ended " + exchange.url.path() + " after " + count + (error ? " with " + std::to_string(error->code()) : ""));
    ended.fulfil();
  }

  /// Of the first exchange.
  testkit::Expectation<void> ended;

  std::vector<std::string> notes() const {
    const MutexLock lock(mutex_);
    return notes_;
  }

 private:
  void note(std::string text) {
    const MutexLock lock(mutex_);
    notes_.push_back(std::move(text));
  }

  mutable Mutex mutex_;
  std::vector<std::string> notes_ CORVANE_GUARDED_BY(mutex_);
};

struct Thrower final : HTTPObserver {
  void exchangeStarted(const HTTPObservedExchange&) override { throw std::runtime_error("no notes"); }
};

struct ServiceGet : DataGetRequestable<ServiceGet> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = "observed";
  HTTPHeaders sharedHeaders() const { return {}; }
};

class HTTPObserverTest : public ::testing::Test {
 protected:
  ~HTTPObserverTest() override {
    HTTPObserver::setProcessWide(nullptr);
    HTTPClientConfiguration::removeAll();
    Corvane::resetSessions();
  }

  static void configure(std::shared_ptr<HTTPObserver> observer) {
    HTTPClientConfiguration configuration;
    configuration.observer = std::move(observer);
    HTTPClientConfiguration::set("observed", configuration);
  }

  TestServer server_;
  const std::shared_ptr<Chronicle> chronicle_ = std::make_shared<Chronicle>();
};

TEST_F(HTTPObserverTest, isToldOfEachStepBeforeTheCompletion) {
  HTTPObserver::setProcessWide(chronicle_);
  server_.enqueue(MockResponse(302).header("Location", "/there"));
  server_.enqueue(MockResponse(200).text("here"));

  EXPECT_EQ(DataGetRequest(server_.url("/start")).send().get().body.text(), "here");

  EXPECT_THAT(chronicle_->notes(), ElementsAre("started GET /start", "received 302 for /start",
                                               "received 200 for /start", "ended /start after 2"));
}

TEST_F(HTTPObserverTest, isToldOfFailures) {
  HTTPObserver::setProcessWide(chronicle_);

  EXPECT_TRUE(DataGetRequest(testkit::refusedUrl("/nobody")).send().result().error());

  EXPECT_THAT(chronicle_->notes(), ElementsAre("started GET /nobody", "ended /nobody after 1 with -1004"));
}

TEST_F(HTTPObserverTest, isToldOfCancellations) {
  HTTPObserver::setProcessWide(chronicle_);
  server_.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  auto future = DataGetRequest(server_.url("/slow")).send();
  ASSERT_TRUE(server_.waitForStall());

  future.cancel();
  EXPECT_TRUE(future.result().error());

  EXPECT_THAT(chronicle_->notes(), ElementsAre("started GET /slow", "ended /slow after 1 with -999"));
}

TEST_F(HTTPObserverTest, ofAConfigurationIsToldOfItsRequestsAlone) {
  configure(chronicle_);
  server_.enqueue(MockResponse(200));
  server_.enqueue(MockResponse(200));

  ServiceGet{.url = server_.url("/own")}.send().get();
  DataGetRequest(server_.url("/other")).send().get();

  EXPECT_THAT(chronicle_->notes(), ElementsAre("started GET /own", "received 200 for /own", "ended /own after 1"));
}

TEST_F(HTTPObserverTest, ofAConfigurationAndOfTheProcessAreBothTold) {
  const auto common = std::make_shared<Chronicle>();
  configure(chronicle_);
  HTTPObserver::setProcessWide(common);
  server_.enqueue(MockResponse(200));

  ServiceGet{.url = server_.url("/")}.send().get();

  EXPECT_EQ(chronicle_->notes().size(), 3U);
  EXPECT_EQ(common->notes(), chronicle_->notes());
}

struct UploadOfFile : UploadRequestable<UploadOfFile, DataResponse, URL> {
  URL url;
  URL body;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(HTTPObserverTest, isNotToldOfWhatIsRefusedBeforeItIsSent) {
  HTTPObserver::setProcessWide(chronicle_);

  const auto result = UploadOfFile{.url = server_.url(), .body = URL::file("/nowhere")}.send().result();

  ASSERT_TRUE(result.error());
  EXPECT_THAT(chronicle_->notes(), ElementsAre());
}

TEST_F(HTTPObserverTest, isToldOfDownloads) {
  HTTPObserver::setProcessWide(chronicle_);
  server_.enqueue(MockResponse(200).text("file"));

  DownloadGetRequest<std::string>(server_.url("/file")).send().get();

  EXPECT_THAT(chronicle_->notes(), ElementsAre("started GET /file", "received 200 for /file", "ended /file after 1"));
}

TEST_F(HTTPObserverTest, isToldOfStreams) {
  HTTPObserver::setProcessWide(chronicle_);
  server_.enqueue(MockResponse(200).text("pieces"));
  auto stream = StreamGetRequest(server_.url("/pieces")).stream();

  EXPECT_EQ(stream.next().get().value_or(Data()).text(), "pieces");
  EXPECT_FALSE(stream.next().get());

  chronicle_->ended.wait();
  EXPECT_THAT(chronicle_->notes(),
              ElementsAre("started GET /pieces", "received 200 for /pieces", "ended /pieces after 1"));
}

TEST_F(HTTPObserverTest, thatThrowsIsLoggedAndChangesNothingElse) {
  const testkit::LogCapture log;
  HTTPObserver::setProcessWide(std::make_shared<Thrower>());
  server_.enqueue(MockResponse(200).text("here"));

  EXPECT_EQ(DataGetRequest(server_.url()).send().get().body.text(), "here");

  EXPECT_THAT(log.messages(), Contains(HasSubstr("An observer of exchanges threw: no notes")));
}

TEST_F(HTTPObserverTest, isNotToldAnyMoreOnceItIsRemoved) {
  HTTPObserver::setProcessWide(chronicle_);
  HTTPObserver::setProcessWide(nullptr);
  server_.enqueue(MockResponse(200));

  DataGetRequest(server_.url()).send().get();

  EXPECT_TRUE(chronicle_->notes().empty());
}

}  // namespace
}  // namespace corvane
