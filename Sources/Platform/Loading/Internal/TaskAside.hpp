#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Loading/Internal/SessionCore.hpp"
#include "Platform/Loading/Internal/TaskCore.hpp"

// What a task does beside the loop: for the sources that implement it.
namespace platform::detail {

template <class Work, class Next>
void TaskCore::doAside(Work work, Next next) {
  DispatchQueue::global().async([self = shared_from_this(), work = std::move(work), next = std::move(next)]() mutable {
    std::optional<decltype(work())> result;
    std::optional<Error> failure;
    try {
      result.emplace(work());
    } catch (...) {
      failure = Error::current();
    }
    // Both may have to be destroyed on the loop side.
    auto done = std::make_shared<std::pair<decltype(result), decltype(failure)>>(std::move(result), std::move(failure));
    self->core_->loop().post([self, done = std::move(done), next = std::move(next)]() mutable {
      self->take([&] { done->second ? self->finish(*done->second) : next(std::move(*done->first)); });
    });
  });
}

}  // namespace platform::detail
