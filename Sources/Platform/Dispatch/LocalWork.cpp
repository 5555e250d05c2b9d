#include "Platform/Dispatch/AssistedWait.hpp"
#include "Platform/Dispatch/Internal/LocalQueues.hpp"
#include "Platform/Dispatch/Internal/SerialQueueCore.hpp"
#include "Platform/Trap.hpp"

namespace platform {

LocalWork::LocalWork() : queues_(detail::LocalQueues::begin()) {}

LocalWork::~LocalWork() { queues_.end(); }

void LocalWork::allow(const DispatchQueue& queue) {
  auto* const serial = dynamic_cast<detail::SerialQueueCore*>(queue.core().get());
  if (!serial) trap("LocalWork can drain only serial queues of the pool, not the queue \"" + queue.label() + "\".");
  serial->allowLocalWork();
}

bool LocalWork::run() { return queues_.run(); }

void LocalWork::flush() { queues_.flush(); }

}  // namespace platform
