#include "Platform/Foundation/Bundle.hpp"

#include <utility>

#include "Platform/Detail/Locking.hpp"

namespace platform {

struct Bundle::State {
  detail::Mutex mutex;
  std::optional<Dictionary> information CORVANE_GUARDED_BY(mutex);
};

Bundle::Bundle(std::optional<Dictionary> information) : state_(*new State{{}, std::move(information)}) {}

Bundle& Bundle::main() {
  static Bundle& bundle = *new Bundle(std::nullopt);
  return bundle;
}

Bundle& Bundle::library() {
  static Bundle& bundle = *new Bundle(Dictionary{{"CFBundleShortVersionString", CORVANE_VERSION}});
  return bundle;
}

std::optional<Dictionary> Bundle::infoDictionary() const {
  const detail::MutexLock lock(state_.mutex);
  return state_.information;
}

void Bundle::setInfoDictionary(std::optional<Dictionary> information) {
  const detail::MutexLock lock(state_.mutex);
  state_.information = std::move(information);
}

}  // namespace platform
