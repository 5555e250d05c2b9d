#pragma once

#include <memory>

#include "Vantorel/LogSink.hpp"

namespace vantorel::detail {

/// Writes records to standard error, one after the other, coloured on a terminal.
std::shared_ptr<LogSink> makeStandardErrorSink();

}  // namespace vantorel::detail
