#include "Corvane/Transport/Deadline.hpp"

#include <chrono>

namespace corvane {

double Deadline::sinceStart() { return platform::Seconds(std::chrono::steady_clock::now().time_since_epoch()).count(); }

double Deadline::remaining() const { return kind_ == Kind::moment ? time_ - sinceStart() : time_; }

}  // namespace corvane
