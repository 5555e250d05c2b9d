#include <Corvane/Corvane.hpp>
#include <Platform/Foundation/Progress.hpp>
#include <cstdio>

using namespace corvane;
using platform::Progress, platform::ProgressObservation;

void show(const HTTPProgress& progress) {
  std::printf("%lld of %lld bytes\n", static_cast<long long>(progress.completedBytes()),
              static_cast<long long>(progress.totalBytes()));
}

int main() {
  const HTTPProgressHandler handler = show;  // as `send` takes it

  const std::shared_ptr<Progress> progress = Progress::make();
  const ProgressObservation observation =
      progress->observe([&](const std::shared_ptr<Progress>& each) { handler(HTTPProgress(each)); });
  progress->updateBytes(50, 200);
  progress->finishBytes(200, 200);
  std::printf("%.0f %%\n", progress->fractionCompleted() * 100);
}
