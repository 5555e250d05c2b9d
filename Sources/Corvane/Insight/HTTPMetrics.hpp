#pragma once

#include "Platform/Metrics/TaskMetrics.hpp"

namespace corvane {

using platform::ConnectionMetrics;
using platform::MetricsInterval;
using platform::NetworkAddress;
using platform::TaskMetrics;
using platform::TransactionBytes;
using platform::TransactionMetrics;

}  // namespace corvane
