#include "CorvaneTesting/Internal/Event.hpp"

#include <sys/eventfd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace corvane::testkit::detail {

Event::Event() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!descriptor_.isOpen()) throw std::system_error(errno, std::generic_category(), "cannot make an event");
}

void Event::raise() {
  if (raised_.exchange(true, std::memory_order_acq_rel)) return;
  const std::uint64_t one = 1;
  if (::write(descriptor_.value(), &one, sizeof one) != sizeof one) {
    throw std::system_error(errno, std::generic_category(), "cannot raise an event");
  }
}

}  // namespace corvane::testkit::detail
