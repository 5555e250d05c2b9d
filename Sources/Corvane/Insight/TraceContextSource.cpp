#include "Corvane/Insight/TraceContextSource.hpp"

namespace corvane {

std::optional<TraceContext> TraceContextSource::operator()() const { return (*function_)(); }

}  // namespace corvane
