#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Foundation/TypeName.hpp"

namespace corvane::detail {

/// A list that grows from any thread.
template <class Element>
class ThreadSafeArray {
 public:
  ThreadSafeArray() : queue_("org.corvane.corvane.ThreadSafeArray<" + platform::typeName<Element>() + ">") {}
  ThreadSafeArray(const ThreadSafeArray&) = delete;
  ThreadSafeArray& operator=(const ThreadSafeArray&) = delete;

  void reserve(std::size_t count) {
    queue_.sync([&] { array_.reserve(count); });
  }
  void append(Element element) {
    queue_.sync([&] { array_.push_back(std::move(element)); });
  }
  /// What was appended up to now. Elements that are appended later make a new list.
  std::vector<Element> take() {
    return queue_.sync([&] { return std::exchange(array_, {}); });
  }

 private:
  const platform::DispatchQueue queue_;
  std::vector<Element> array_;
};

}  // namespace corvane::detail
