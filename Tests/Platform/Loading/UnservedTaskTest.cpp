#include <functional>
#include <future>
#include <memory>
#include <utility>

#include "CacheTest.hpp"
#include "Platform/Loading/URLSessionObserver.hpp"

namespace platform {
namespace {

/// Tasks that end between the moment when the cache has a response for them and the turn of the loop that serves it.
class UnservedTaskTest : public HTTPCacheTest {
 protected:
  struct Observer : URLSessionObserver {
    std::shared_ptr<URLSessionTaskObserver> observerOf(const URLSessionTask&) override {
      if (auto once = std::exchange(whenOneBegins, nullptr)) once();
      return nullptr;
    }
    /// Called once, on the loop.
    std::function<void()> whenOneBegins;
  };

  UnservedTaskTest() {
    URLSessionConfiguration observed;
    observed.observer = observer;
    session = makeSession(std::move(observed));
    store({{"Cache-Control", "max-age=60"}});
  }
  static void expectCancelled(const Loaded& loaded) {
    ASSERT_EQ(loaded.code(), URLErrorCode::cancelled);
    EXPECT_EQ(loaded.error->userInfo().find(URLErrorKey::requestWasSent)->boolean(), false);
  }

  std::shared_ptr<Observer> observer = std::make_shared<Observer>();
};

TEST_F(UnservedTaskTest, oneThatIsCancelledSaysThatNothingWasSent) {
  Load second(session, get());
  observer->whenOneBegins = [&] { second.cancel(); };

  expectCancelled(second.resume().wait());
  EXPECT_EQ(load(get()).body(), "first");
  EXPECT_EQ(second.completions(), 1);
}

TEST_F(UnservedTaskTest, oneWhoseSessionIsClosedIsNotServed) {
  std::promise<void> holds;
  std::promise<void> released;
  Load holder(session, get());
  Load second(session, get());
  observer->whenOneBegins = [&] {
    holds.set_value();
    released.get_future().wait();
  };
  holder.resume();
  holds.get_future().wait();
  // Both come in the next turn of the loop.
  second.resume();
  session->invalidateAndCancel();
  released.set_value();

  expectCancelled(second.wait());
  static_cast<void>(holder.wait());
  EXPECT_EQ(server.requestCount(), 1);
}

}  // namespace
}  // namespace platform
