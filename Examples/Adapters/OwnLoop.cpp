// Lives on an event loop of its own making.
//
//   example_OwnLoop URL

#include <Corvane/Corvane.hpp>
#include <Platform/Dispatch/MainQueueAttachment.hpp>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>

using namespace corvane;

class Loop {
 public:
  void post(platform::Block block) {
    const std::lock_guard lock(mutex_);
    blocks_.push_back(std::move(block));
    changed_.notify_one();
  }

  void runOne() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !blocks_.empty(); });
    auto block = std::move(blocks_.front());
    blocks_.pop_front();
    lock.unlock();
    block();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<platform::Block> blocks_;
};

int main(int argc, char** argv) {
  const DataGetRequest request(URL(argc > 1 ? argv[1] : "http://127.0.0.1:8080/bytes/100"));
  int responses = 0;

  Loop loop;
  const auto executor = [&loop](platform::Block drain) { loop.post(std::move(drain)); };
  const DispatchQueue queue("example.loop", executor);
  const platform::MainQueueAttachment attachment(executor);

  request.send([&](const DataResponse&) { ++responses; });
  request.send(queue, [&](const DataResponse&) { ++responses; });
  while (responses < 2) loop.runOne();

  std::printf("%d responses\n", responses);
}
