#include <Corvane/Corvane.hpp>
#include <Platform/Dispatch/DelayedBlock.hpp>
#include <Platform/Dispatch/DispatchGroup.hpp>
#include <Platform/Dispatch/DispatchSemaphore.hpp>
#include <Platform/Dispatch/DispatchSource.hpp>
#include <atomic>
#include <chrono>
#include <cstdio>

using namespace corvane;
using namespace std::chrono_literals;

int sumOf(int count) {
  std::atomic<int> sum = 0;
  const platform::DispatchGroup group;
  for (int number = 1; number <= count; ++number) {
    group.enter();
    DispatchQueue::global().async([&sum, number, group] {
      sum += number;
      group.leave();
    });
  }
  group.wait();
  return sum;
}

int ticksOf(platform::Seconds interval, int count) {
  int ticks = 0;
  const platform::DispatchSemaphore done(0);
  const platform::DispatchTimer timer(DispatchQueue("com.example.ticks"));
  timer.setEventHandler([&] {
    if (++ticks == count) timer.cancel();
  });
  timer.setCancelHandler([&] { done.signal(); });
  timer.schedule(interval, interval);
  timer.activate();
  done.wait();
  return ticks;
}

bool isWithdrawn() {
  const DispatchQueue queue("com.example.later");
  std::atomic<bool> ran = false;
  platform::DelayedBlock later(queue, 1h, [&ran] { ran = true; });
  later.withdraw();
  return !ran;
}

int main() {
  std::printf("%d\n", sumOf(10));
  std::printf("%d ticks\n", ticksOf(1ms, 3));
  std::printf("%s\n", isWithdrawn() ? "withdrawn" : "too late");
}
