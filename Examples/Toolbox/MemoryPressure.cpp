#include <Corvane/Corvane.hpp>
#include <Platform/Dispatch/DispatchSemaphore.hpp>
#include <Platform/Dispatch/DispatchSource.hpp>
#include <Platform/Foundation/ObjectCache.hpp>
#include <cstdio>

using platform::DispatchMemoryPressureSource, platform::MemoryPressure;

int main() {
  platform::ObjectCache pictures(1'000'000);
  pictures.setObject(platform::Data(std::string(5000, 'x')), "ada.png");

  const platform::DispatchSemaphore emptied(0);
  const DispatchMemoryPressureSource source(platform::DispatchQueue("com.example.memory"), {MemoryPressure::critical});
  source.setEventHandler([&](MemoryPressure) {
    pictures.removeAll();
    emptied.signal();
  });
  source.activate();

  std::printf("%zu picture\n", pictures.count());
  DispatchMemoryPressureSource::notify(MemoryPressure::critical);  // as the application's own watch of memory would
  emptied.wait();
  std::printf("%zu pictures\n", pictures.count());
}
