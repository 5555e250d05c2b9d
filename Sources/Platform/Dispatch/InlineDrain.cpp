#include "Platform/Dispatch/CooperativeWait.hpp"
#include "Platform/Dispatch/Internal/LocalQueues.hpp"
#include "Platform/Dispatch/Internal/SerialQueueCore.hpp"
#include "Platform/Trap.hpp"

namespace platform {

InlineDrain::InlineDrain() : queues_(detail::LocalQueues::begin()) {}

InlineDrain::~InlineDrain() { queues_.end(); }

void InlineDrain::allow(const DispatchQueue& queue) {
  auto* const serial = dynamic_cast<detail::SerialQueueCore*>(queue.core().get());
  if (!serial) trap("InlineDrain can drain only serial queues of the pool, not the queue \"" + queue.label() + "\".");
  serial->allowInlineDrain();
}

bool InlineDrain::run() { return queues_.run(); }

void InlineDrain::flush() { queues_.flush(); }

}  // namespace platform
