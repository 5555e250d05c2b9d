#include "Corvane/Transport/TaskManager.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <stop_token>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane {
namespace {

using corvane::testkit::Expectation;

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

struct CancelableGet : DataGetRequestable<CancelableGet>, HTTPRequestCancelable<CancelableGet> {
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST(TaskManagerTest, hasTheTaskThatARequestInsertsUntilItRemovesIt) {
  const auto kept = std::make_shared<FakeTask>(), removed = std::make_shared<FakeTask>();
  const CancelableGet request, other;

  request.insertTaskIntoTaskManager(kept);
  other.insertTaskIntoTaskManager(removed);
  other.removeFromTaskManager();
  request.cancel();
  other.cancel();
  waitForEarlierOperations();

  EXPECT_EQ(kept->cancellations(), 1);
  EXPECT_EQ(removed->cancellations(), 0);
}

TEST(TaskManagerTest, hasNoTaskOfARequestThatCannotBeCancelled) {
  const auto task = std::make_shared<FakeTask>();
  const DataGetRequest request("http://127.0.0.1/");

  request.insertTaskIntoTaskManager(task);
  request.removeFromTaskManager();
  waitForEarlierOperations();

  EXPECT_EQ(task.use_count(), 1);
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

/// A send that notes its name when its stop is requested.
struct NotedSend {
  NotedSend(std::string name, Expectation<std::string> events)
      : callback(stop.get_token(), [name = std::move(name), events] { events(name); }) {}

  std::stop_source stop;
  std::stop_callback<std::function<void()>> callback;
};

TEST(TaskManagerTest, stopsSendsBeforeItCancelsTheTask) {
  Expectation<std::string> events;
  const UUID uuid;
  const NotedSend send("send", events);
  TaskManager::shared().insertSend(send.stop, uuid);
  TaskManager::shared().insert(std::make_shared<FakeTask>([events] { events("task"); }), uuid);

  TaskManager::shared().cancelTask(uuid);

  const std::vector<std::string> expected{"send", "task"};
  EXPECT_EQ(events.waitForAll(2), expected);
  TaskManager::shared().removeSend(send.stop, uuid);
}

TEST(TaskManagerTest, stopsSendsInTheOrderInWhichTheyCame) {
  Expectation<std::string> events;
  const UUID uuid;
  const std::vector<std::string> names{"a", "b", "c", "d"};
  std::vector<std::unique_ptr<NotedSend>> sends;
  for (const auto& name : names) sends.push_back(std::make_unique<NotedSend>(name, events));
  for (const auto& send : sends) TaskManager::shared().insertSend(send->stop, uuid);

  TaskManager::shared().cancelTask(uuid);

  EXPECT_EQ(events.waitForAll(4), names);
  for (const auto& send : sends) TaskManager::shared().removeSend(send->stop, uuid);
}

TEST(TaskManagerTest, stopsOnlyTheSendsThatItStillHas) {
  Expectation<std::string> events;
  const UUID uuid, other;
  const NotedSend first("first", events), second("second", events), stranger("stranger", events);
  TaskManager::shared().insertSend(first.stop, uuid);
  TaskManager::shared().insertSend(second.stop, uuid);
  TaskManager::shared().insertSend(stranger.stop, other);

  TaskManager::shared().removeSend(first.stop, uuid);
  TaskManager::shared().removeSend(first.stop, uuid);
  TaskManager::shared().cancelTask(uuid);
  waitForEarlierOperations();

  EXPECT_EQ(events.waitForAll(1), std::vector<std::string>{"second"});
  TaskManager::shared().removeSend(second.stop, uuid);
  TaskManager::shared().removeSend(stranger.stop, other);
}

}  // namespace
}  // namespace corvane
