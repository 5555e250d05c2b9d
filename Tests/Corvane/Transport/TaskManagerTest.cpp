#include "Corvane/Transport/TaskManager.hpp"

#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane {
namespace {

using corvane::testing::Expectation;

class FakeTask final : public platform::URLSessionTask {
 public:
  FakeTask() = default;
  explicit FakeTask(std::function<void()> whenCancelled) : whenCancelled_(std::move(whenCancelled)) {}
  void resume() override {}
  void cancel() override {
    ++cancellations_;
    if (whenCancelled_) whenCancelled_();
  }
  State state() const override { return State::running; }
  const platform::URLRequest& originalRequest() const override { return request_; }
  std::uint64_t taskIdentifier() const override { return 1; }
  std::shared_ptr<platform::Progress> progress() override { return platform::Progress::make(); }
  int cancellations() const { return cancellations_; }

 private:
  const platform::URLRequest request_{URL("http://127.0.0.1/")};
  std::function<void()> whenCancelled_;
  std::atomic<int> cancellations_ = 0;
};

// Operations happen in order, so once this one has, those before it have too.
void waitForEarlierOperations() {
  Expectation<void> cancelled;
  const UUID uuid;
  TaskManager::shared().insert(std::make_shared<FakeTask>(cancelled), uuid);
  TaskManager::shared().cancelTask(uuid);
  cancelled.wait();
}

TEST(TaskManagerTest, ignoresAnUnknownUUID) {
  TaskManager::shared().cancelTask(UUID());
  TaskManager::shared().removeTask(UUID());

  waitForEarlierOperations();
}

TEST(TaskManagerTest, cancelsATaskOnceAndForgetsIt) {
  auto task = std::make_shared<FakeTask>();
  const UUID uuid;

  TaskManager::shared().insert(task, uuid);
  TaskManager::shared().cancelTask(uuid);
  TaskManager::shared().cancelTask(uuid);
  waitForEarlierOperations();

  EXPECT_EQ(task->cancellations(), 1);
  EXPECT_EQ(task.use_count(), 1);
}

TEST(TaskManagerTest, forgetsARemovedTaskAndLetsItRun) {
  auto task = std::make_shared<FakeTask>();
  const UUID uuid;

  TaskManager::shared().insert(task, uuid);
  TaskManager::shared().removeTask(uuid);
  TaskManager::shared().cancelTask(uuid);
  waitForEarlierOperations();

  EXPECT_EQ(task->cancellations(), 0);
  EXPECT_EQ(task.use_count(), 1);
}

TEST(TaskManagerTest, keepsTheLaterOfTwoTasksUnderOneUUID) {
  auto first = std::make_shared<FakeTask>();
  auto second = std::make_shared<FakeTask>();
  const UUID uuid;

  TaskManager::shared().insert(first, uuid);
  TaskManager::shared().insert(second, uuid);
  TaskManager::shared().cancelTask(uuid);
  waitForEarlierOperations();

  EXPECT_EQ(first->cancellations(), 0);
  EXPECT_EQ(first.use_count(), 1);
  EXPECT_EQ(second->cancellations(), 1);
}

struct Cancel : HTTPRequestCancelable<Cancel> {
  int number = 0;
};

TEST(TaskManagerTest, givesEachRequestAUUIDThatItsCopiesShare) {
  const Cancel request{.number = 1};
  const Cancel other{.number = 1};
  const Cancel copy = request;

  EXPECT_NE(request.uuid, other.uuid);
  EXPECT_EQ(request.uuid, copy.uuid);
}

TEST(TaskManagerTest, cancelsAListOfRequestsInOrder) {
  const std::vector<Cancel> requests{Cancel{.number = 1}, Cancel{.number = 2}, Cancel{.number = 3}};
  Expectation<int> cancelled;
  for (const Cancel& request : requests)
    TaskManager::shared().insert(std::make_shared<FakeTask>([=] { cancelled.fulfil(request.number); }), request.uuid);

  cancel(requests);

  EXPECT_EQ(cancelled.waitForAll(3), (std::vector<int>{1, 2, 3}));
}

TEST(TaskManagerTest, cancelsNothingOfAnEmptyList) {
  cancel(std::vector<Cancel>());

  waitForEarlierOperations();
}

/// Notes its name when it is called.
std::shared_ptr<platform::Block> noting(const char* name, Expectation<std::string> events) {
  return std::make_shared<platform::Block>([=] { events(name); });
}

TEST(TaskManagerTest, tellsItsHandlersOfACancellationBeforeTheTask) {
  Expectation<std::string> events;
  const UUID uuid;
  const auto handler = noting("handler", events);
  TaskManager::shared().addCancellationHandler(handler, uuid);
  TaskManager::shared().insert(std::make_shared<FakeTask>([events] { events("task"); }), uuid);

  TaskManager::shared().cancelTask(uuid);
  TaskManager::shared().cancelTask(uuid);

  const std::vector<std::string> expected{"handler", "task", "handler"};
  EXPECT_EQ(events.waitForAll(3), expected);
  TaskManager::shared().removeCancellationHandler(handler, uuid);
}

TEST(TaskManagerTest, tellsItsHandlersInTheOrderInWhichTheyCame) {
  Expectation<std::string> events;
  const UUID uuid;
  const std::vector<std::string> names{"a", "b", "c", "d"};
  std::vector<std::shared_ptr<platform::Block>> handlers;
  for (const auto& name : names) handlers.push_back(noting(name.c_str(), events));
  for (const auto& handler : handlers) TaskManager::shared().addCancellationHandler(handler, uuid);

  TaskManager::shared().cancelTask(uuid);

  EXPECT_EQ(events.waitForAll(4), names);
  for (const auto& handler : handlers) TaskManager::shared().removeCancellationHandler(handler, uuid);
}

TEST(TaskManagerTest, tellsOnlyTheHandlersThatItStillHas) {
  Expectation<std::string> events;
  const UUID uuid;
  const auto first = noting("first", events);
  const auto second = noting("second", events);
  TaskManager::shared().addCancellationHandler(first, uuid);
  TaskManager::shared().addCancellationHandler(second, uuid);
  TaskManager::shared().addCancellationHandler(noting("stranger", events), UUID());

  TaskManager::shared().removeCancellationHandler(first, uuid);
  TaskManager::shared().removeCancellationHandler(first, uuid);
  TaskManager::shared().cancelTask(uuid);
  waitForEarlierOperations();

  EXPECT_EQ(events.waitForAll(1), std::vector<std::string>{"second"});
  TaskManager::shared().removeCancellationHandler(second, uuid);
}

}  // namespace
}  // namespace corvane
