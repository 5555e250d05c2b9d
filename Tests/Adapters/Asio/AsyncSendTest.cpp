#include <atomic>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include "AsioFixture.hpp"

namespace corvane {
namespace {

using net::awaitable;
using net::use_awaitable;

/// Asio starts the system's threads on their first use, and keeps them.
class AsyncSendTest : public AsioTest {
 protected:
  static void SetUpTestSuite() {
    std::promise<void> hasRun;
    net::post(net::system_executor(), [&] { hasRun.set_value(); });
    hasRun.get_future().wait();
  }
};

struct User {
  std::int64_t id;
  std::string login;
};
struct GetUser : JSONGetRequestable<GetUser, User> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct Download : DownloadRequestable<Download, Data> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};
/// Fails to be copied at the last of so many times.
struct HardlyCopied : DataGetRequestable<HardlyCopied> {
  HardlyCopied(URL to, int copies) : url(std::move(to)), left(std::make_shared<int>(copies)) {}
  HardlyCopied(const HardlyCopied& other) : url(other.url), left(other.left) {
    if (--*left == 0) throw std::runtime_error("not copied");
  }

  URL url;
  std::shared_ptr<int> left;
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct GetNews : DataGetRequestable<GetNews>, HTTPPolling<GetNews> {
  static constexpr double pollingRate = 3600;
  static URL where;

  URL url = where;
  HTTPHeaders sharedHeaders() const { return {}; }
};
URL GetNews::where("/");
struct RetriedGet : DataGetRequestable<RetriedGet>, HTTPRetryAttempting<RetriedGet> {
  URL url;
  double retryInterval = 0;
  std::int64_t retryLimit = 3;
  std::int64_t retryDelta = 0;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(AsyncSendTest, callsACallbackOnTheContextThatIsGivenFirst) {
  server.enqueue(MockResponse(200).text("hello"));
  std::thread::id thread;
  std::string text;

  async_send(context, get(), [&](std::exception_ptr error, HTTPResponse<Data> response) {
    EXPECT_FALSE(error);
    thread = std::this_thread::get_id();
    text = response.body.text();
  });
  const bool wasCalledAtOnce = !text.empty();

  EXPECT_TRUE(runToTheEnd());
  EXPECT_FALSE(wasCalledAtOnce);
  EXPECT_EQ(thread, std::this_thread::get_id());
  EXPECT_EQ(text, "hello");
}

TEST_F(AsyncSendTest, callsACallbackOnItsAssociatedExecutor) {
  server.enqueue(MockResponse(200).text("hello"));
  const auto strand = net::make_strand(context);
  bool isInStrand = false;

  async_send(get(), net::bind_executor(strand, [&](std::exception_ptr, const HTTPResponse<Data>&) {
               isInStrand = strand.running_in_this_thread();
             }));

  EXPECT_TRUE(runToTheEnd());
  EXPECT_TRUE(isInStrand);
}

TEST_F(AsyncSendTest, callsACallbackWithoutAnExecutorOnTheSystemsThreads) {
  server.enqueue(MockResponse(200).text("hello"));

  const auto thread = testkit::await<std::thread::id>([&](auto done) {
    async_send(get(), [done](std::exception_ptr, const HTTPResponse<Data>&) { done(std::this_thread::get_id()); });
  });

  EXPECT_NE(thread, std::this_thread::get_id());
}

TEST_F(AsyncSendTest, tellsACallbackTheErrorAndTheFactsThereAre) {
  server.enqueue(MockResponse(404).header("X-Reason", "gone").text("nothing here"));
  std::string message, reason, body;
  HTTPStatus status = HTTPStatus::unknown;

  async_send(context, get(), [&](std::exception_ptr error, const HTTPResponse<Data>& response) {
    message = messageOf(error);
    status = response.status;
    body = response.data->text();
    EXPECT_TRUE(response.body.isEmpty());
  });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, "HTTPStatus: notFound:404 is unacceptable");
  EXPECT_EQ(status, HTTPStatus::notFound);
  EXPECT_EQ(body, "nothing here");
}

TEST_F(AsyncSendTest, givesAFuture) {
  server.enqueue(MockResponse(200).json(R"({"id": 7, "login": "ada"})"));
  server.enqueue(MockResponse(500));
  const GetUser request{.url = server.url("/users/7")};

  std::future<HTTPResponse<User>> user = async_send(request, net::use_future);
  EXPECT_EQ(user.get().body.login, "ada");
  std::future<HTTPResponse<User>> nobody = async_send(request, net::use_future);
  EXPECT_THROW(nobody.get(), Error);
}

// What the network thread posts must be done before that context is destroyed, at the end of the process.
TEST_F(AsyncSendTest, endsForAFutureWithTheContextThatRunsItsHandler) {
  std::shared_ptr<detail::ContextGate> gate;
  auto future = net::async_initiate<const net::use_future_t<>&, void(std::exception_ptr, int)>(
      [&](auto handler) {
        gate = asio_detail::gateOf(net::get_associated_executor(handler, net::system_executor()));
        std::move(handler)(nullptr, 1);
      },
      net::use_future);
  EXPECT_EQ(future.get(), 1);
  EXPECT_EQ(gate, asio_detail::gateOf(net::system_executor()));
}

TEST_F(AsyncSendTest, isAwaited) {
  server.enqueue(MockResponse(200).json(R"({"id": 7, "login": "ada"})"));
  std::string login;
  std::thread::id thread;

  net::co_spawn(
      context,
      [&]() -> awaitable<void> {
        const GetUser request{.url = server.url("/users/7")};
        const auto response = co_await async_send(request, use_awaitable);
        login = response.body.login;
        thread = std::this_thread::get_id();
      },
      net::detached);

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(login, "ada");
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(AsyncSendTest, throwsTheErrorAtTheAwait) {
  server.enqueue(MockResponse(500));
  std::string message;

  net::co_spawn(
      context,
      [&]() -> awaitable<void> {
        try {
          co_await async_send(get(), use_awaitable);
        } catch (const Error& error) {
          message = error.message();
        }
      },
      net::detached);

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, "HTTPStatus: internalServerError:500 is unacceptable");
}

TEST_F(AsyncSendTest, canBeAwaitedAsATuple) {
  server.enqueue(MockResponse(500));
  std::string message;

  net::co_spawn(
      context,
      [&]() -> awaitable<void> {
        const auto [error, response] = co_await async_send(get(), net::experimental::as_tuple(use_awaitable));
        message = messageOf(error);
      },
      net::detached);

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, "HTTPStatus: internalServerError:500 is unacceptable");
}

TEST_F(AsyncSendTest, isDeferredUntilItIsLaunched) {
  server.enqueue(MockResponse(200).text("later"));
  std::string text;

  auto operation = async_send(context, get(), net::experimental::deferred);
  const int sentEarly = server.connectionCount();
  std::move(operation)([&](std::exception_ptr, const HTTPResponse<Data>& response) { text = response.body.text(); });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(sentEarly, 0);
  EXPECT_EQ(text, "later");
}

TEST_F(AsyncSendTest, sendsManyAtOnce) {
  constexpr int count = 500;
  server.handleAll([](const auto& request) { return MockResponse(200).text(request.target); });
  std::vector<std::string> texts(count);

  for (int number = 0; number < count; ++number) {
    net::co_spawn(
        context,
        [this, number, &texts]() -> awaitable<void> {
          const auto target = "/" + std::to_string(number);
          texts[static_cast<std::size_t>(number)] = (co_await async_send(get(target), use_awaitable)).body.text();
        },
        net::detached);
  }

  EXPECT_TRUE(runToTheEnd());
  for (int number = 0; number < count; ++number) {
    EXPECT_EQ(texts[static_cast<std::size_t>(number)], "/" + std::to_string(number));
  }
}

TEST_F(AsyncSendTest, letsAnExceptionOfTheHandlerOutOfRun) {
  server.enqueue(MockResponse(200));
  async_send(context, get(), [](std::exception_ptr, const HTTPResponse<Data>&) { throw std::out_of_range("too far"); });

  EXPECT_THROW(context.run(), std::out_of_range);

  EXPECT_TRUE(runToTheEnd());
}

TEST_F(AsyncSendTest, failsWhenTheRequestShouldNotBeSent) {
  std::string message;
  Get request = get();
  request.shouldSend = false;

  async_send(context, request,
             [&](std::exception_ptr error, const HTTPResponse<Data>&) { message = messageOf(error); });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, cancelledMessage);
}

TEST_F(AsyncSendTest, tellsTheProgressOfADownloadOnTheSameExecutor) {
  server.enqueue(MockResponse(200).generatedBody(3'000'000));
  std::int64_t bytes = 0;
  bool isOver = false;

  async_send(
      context, Download{.url = server.url("/file")},
      [&, runner = std::this_thread::get_id()](const HTTPProgress& progress) {
        EXPECT_FALSE(isOver);
        EXPECT_EQ(std::this_thread::get_id(), runner);
        bytes = progress.completedBytes();
      },
      [&](std::exception_ptr error, const HTTPResponse<Data>& response) {
        isOver = true;
        EXPECT_EQ(messageOf(error), "no error");
        EXPECT_EQ(response.body.count(), 3'000'000U);
      });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_TRUE(isOver);
  EXPECT_EQ(bytes, 3'000'000);
}

TEST_F(AsyncSendTest, sendsWithoutAnybodyWhoWantsToKnowTheProgress) {
  server.enqueue(MockResponse(200).text(std::string(100'000, 'x')));
  std::size_t bytes = 0;

  async_send(context, Download{.url = server.url("/file")}, nullptr,
             [&](const std::exception_ptr&, const HTTPResponse<Data>& response) { bytes = response.body.count(); });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(bytes, 100'000U);
}

TEST_F(AsyncSendTest, tellsTheProgressOneAtATimeAndFirstAlsoInAThreadPool) {
  net::thread_pool pool(3);
  std::atomic<int> inside = 0, calls = 0, strays = 0;
  for (int number = 0; number < 20; ++number) {
    server.enqueue(MockResponse(200).text(std::string(300'000, 'x')));
    const testkit::Expectation<void> answered;
    std::atomic<bool> isOver = false;
    async_send(
        pool, Download{.url = server.url("/file")},
        [&](const HTTPProgress&) {
          ++calls;
          if (++inside != 1 || isOver) ++strays;
          std::this_thread::yield();
          --inside;
        },
        [&](const std::exception_ptr&, const HTTPResponse<Data>&) {
          if (inside != 0) ++strays;
          isOver = true;
          answered();
        });
    answered.wait();
  }
  pool.join();

  EXPECT_GE(calls, 20);
  EXPECT_EQ(strays, 0);
}

TEST_F(AsyncSendTest, downloadsToAFile) {
  server.enqueue(MockResponse(200).text("hello"));
  server.enqueue(MockResponse(404));
  std::vector<std::string> outcomes;

  for (int number = 0; number < 2; ++number) {
    async_send(context, DownloadGetRequest<>(server.url("/file")),
               [&](const std::exception_ptr& error, const HTTPResponse<URL>& response) {
                 std::string text = "no file";
                 if (!error) {
                   std::getline(std::ifstream(response.body.path()), text);
                   std::filesystem::remove_all(std::filesystem::path(response.body.path()).parent_path());
                 }
                 outcomes.push_back(text);
               });
    EXPECT_TRUE(runToTheEnd());
    context.restart();
  }

  EXPECT_THAT(outcomes, ::testing::ElementsAre("hello", "no file"));
}

TEST_F(AsyncSendTest, tellsTheHandlersOfAPollingRequestOnTheSameExecutor) {
  server.enqueue(MockResponse(200));
  GetNews::where = server.url("/news");
  std::vector<std::string> calls;
  const auto note = [&, runner = std::this_thread::get_id()](const char* what) {
    EXPECT_EQ(std::this_thread::get_id(), runner);
    calls.emplace_back(what);
  };
  GetNews::poll([&](const GetNews&, const DataResponse&) { note("poll"); });

  async_send(context, GetNews(), [&](const std::exception_ptr&, const HTTPResponse<Data>&) { note("handler"); });

  EXPECT_TRUE(runToTheEnd());
  GetNews::stopPolling();
  EXPECT_THAT(calls, ::testing::ElementsAre("poll", "handler"));
}

TEST_F(AsyncSendTest, throwsWhatKeepsItFromBeingSentAndCallsNoHandler) {
  int throws = 0, responses = 0;
  for (int copies = 1; copies < 12; ++copies) {
    server.handleAll([](const auto&) { return MockResponse(200); });
    const HardlyCopied request(server.url("/"), copies);
    bool isAnswered = false, hasThrown = false;
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> handler = held;
    try {
      async_send(context, request, [&, held = std::move(held)](const std::exception_ptr&, const HTTPResponse<Data>&) {
        isAnswered = true;
      });
    } catch (const std::runtime_error&) {
      hasThrown = true;
    }
    EXPECT_TRUE(runToTheEnd());
    context.restart();
    EXPECT_NE(hasThrown, isAnswered) << copies;
    EXPECT_TRUE(handler.expired()) << copies;
    throws += hasThrown ? 1 : 0;
    responses += isAnswered ? 1 : 0;
  }
  EXPECT_GT(throws, 0);
  EXPECT_GT(responses, 0);
}

TEST_F(AsyncSendTest, sendsABatch) {
  server.handleAll([](const auto& request) { return MockResponse(request.target == "/1" ? 500 : 200); });
  std::size_t responses = 0, failures = 0;

  net::co_spawn(
      context,
      [&]() -> awaitable<void> {
        const std::vector<Get> requests{get("/0"), get("/1"), get("/2")};
        for (const auto& response : co_await async_send(requests, HTTPBatchMode::parallel(), use_awaitable)) {
          ++responses;
          if (!response.result) ++failures;
        }
      },
      net::detached);

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(responses, 3U);
  EXPECT_EQ(failures, 1U);
}

TEST_F(AsyncSendTest, retries) {
  server.enqueue(MockResponse(500));
  server.enqueue(MockResponse(200).text("at last"));
  std::int64_t failCount = 0;

  async_send_attempting_retry(context, RetriedGet{.url = server.url("/")},
                              [&](std::exception_ptr error, const HTTPRetryResult<DataResponse>& result) {
                                EXPECT_EQ(messageOf(error), "no error");
                                failCount = result.failCount();
                                EXPECT_EQ(result.lastResponse()->data->text(), "at last");
                              });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(failCount, 1);
}

/// Counts what is allocated by its copies.
template <class T>
struct CountingAllocator {
  using value_type = T;
  struct Counts {
    std::atomic<int> live = 0, all = 0;
  };

  explicit CountingAllocator(std::shared_ptr<Counts> shared) : counts(std::move(shared)) {}
  template <class U>
  CountingAllocator(const CountingAllocator<U>& other)  // NOLINT(google-explicit-constructor)
      : counts(std::reinterpret_pointer_cast<Counts>(other.counts)) {}
  T* allocate(std::size_t count) {
    ++counts->live;
    ++counts->all;
    return std::allocator<T>().allocate(count);
  }
  void deallocate(T* target, std::size_t count) {
    --counts->live;
    std::allocator<T>().deallocate(target, count);
  }
  template <class U>
  bool operator==(const CountingAllocator<U>& other) const {
    return static_cast<const void*>(counts.get()) == static_cast<const void*>(other.counts.get());
  }

  std::shared_ptr<Counts> counts;
};

struct AllocatingHandler {
  using allocator_type = CountingAllocator<void>;
  allocator_type get_allocator() const noexcept { return allocator; }

  void operator()(std::exception_ptr, const HTTPResponse<Data>&) const { *liveInside = allocator.counts->live; }

  CountingAllocator<void> allocator;
  int* liveInside;
};

TEST_F(AsyncSendTest, keepsTheHandlerInMemoryOfItsOwnAllocatorAndReturnsItFirst) {
  server.enqueue(MockResponse(200));
  const auto counts = std::make_shared<CountingAllocator<void>::Counts>();
  int liveInside = -1;

  async_send(context, get(), AllocatingHandler{CountingAllocator<void>(counts), &liveInside});

  EXPECT_TRUE(runToTheEnd());
  EXPECT_GE(counts->all, 1);
  EXPECT_EQ(liveInside, 0);
  EXPECT_EQ(counts->live, 0);
}

TEST_F(AsyncSendTest, destroysTheHandlerAndCancelsTheRequestWhenTheContextIsDestroyed) {
  holdResponses();
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> held = token;
  std::optional<net::io_context> ending(std::in_place);
  async_send(*ending, get(), [token = std::move(token)](std::exception_ptr, const HTTPResponse<Data>&) {
    FAIL() << "nobody runs the context";
  });
  server.takeRequest();

  ending.reset();

  EXPECT_TRUE(held.expired());
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(AsyncSendTest, destroysTheHandlerWhoseResponseIsThereWhenTheContextIsDestroyed) {
  server.enqueue(MockResponse(200));
  server.enqueue(MockResponse(200));
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> held = token;
  std::optional<net::io_context> ending(std::in_place);
  async_send(*ending, get(), [token = std::move(token)](std::exception_ptr, const HTTPResponse<Data>&) {
    FAIL() << "nobody runs the context";
  });
  get().send().wait();
  server.takeRequest();

  ending.reset();

  EXPECT_TRUE(held.expired());
}

TEST_F(AsyncSendTest, survivesTheEndOfTheContextWhileResponsesArrive) {
  server.handleAll([](const auto&) { return MockResponse(200).text("x"); });
  for (int round = 0; round < 20; ++round) {
    std::atomic<int> completed = 0;
    std::optional<net::thread_pool> pool(std::in_place, 2);
    for (int number = 0; number < 20; ++number) {
      async_send(*pool, get(), [&](std::exception_ptr, const HTTPResponse<Data>&) {
        ++completed;
        completed.notify_one();
      });
    }
    completed.wait(0);
    pool->stop();
    pool.reset();
  }
}

/// Sends once more when it is destroyed.
struct Farewell {
  net::io_context::executor_type executor;
  Get request;
  std::shared_ptr<int> held;

  Farewell(net::io_context::executor_type on, Get what, std::shared_ptr<int> token)
      : executor(on), request(std::move(what)), held(std::move(token)) {}
  Farewell(Farewell&&) = default;
  ~Farewell() {
    if (held) async_send(executor, request, [held = held](const std::exception_ptr&, const HTTPResponse<Data>&) {});
  }
  void operator()() {}
};

TEST_F(AsyncSendTest, survivesAFirstUseWhileTheContextIsDestroyed) {
  server.handleAll([](const auto&) { return MockResponse(200); });
  auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> handler = held;
  std::optional<net::io_context> ending(std::in_place);
  net::post(*ending, Farewell(ending->get_executor(), get(), std::move(held)));

  ending.reset();

  EXPECT_TRUE(handler.expired());
  // Nothing comes back that would touch what is gone.
  get().send().wait();
}

TEST_F(AsyncSendTest, survivesTheEndOfTheContextOfAStrand) {
  for (int round = 0; round < 20; ++round) {
    server.handleAll([](const auto&) { return MockResponse(200); });
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> handler = held;
    std::optional<net::io_context> ending(std::in_place);
    const auto call = [&] { return [held](const std::exception_ptr&, const HTTPResponse<Data>&) {}; };
    async_send(*ending, get(), call());
    async_send(get(), net::bind_executor(net::make_strand(*ending), call()));
    held = nullptr;
    EXPECT_TRUE(server.waitForRequests(2 * round + 1));

    ending.reset();

    EXPECT_TRUE(handler.expired());
  }
}

}  // namespace
}  // namespace corvane
