#pragma once

#include "Platform/Export.hpp"

namespace vantorel {
class Logger;
}

namespace corvane::detail {

/// The logger of this library, "org.corvane.Corvane". It lets every record through.
CORVANE_API const vantorel::Logger& moduleLogger();

}  // namespace corvane::detail
