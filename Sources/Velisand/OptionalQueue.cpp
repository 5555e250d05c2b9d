#include "Velisand/OptionalQueue.hpp"

#include <utility>

namespace velisand {

using platform::Block;
using platform::DispatchQueue;

void async(const std::optional<DispatchQueue>& queue, Block block) {
  (queue ? *queue : DispatchQueue::main()).async(std::move(block));
}

const DispatchQueue& inlineExecutor() {
  static const DispatchQueue& queue =
      *new DispatchQueue("org.corvane.Velisand.whereItArises", [](Block drain) { drain(); });
  return queue;
}

std::optional<DispatchQueue> currentQueue() {
  if (auto current = DispatchQueue::current()) return current;
  return inlineExecutor();
}

}  // namespace velisand
