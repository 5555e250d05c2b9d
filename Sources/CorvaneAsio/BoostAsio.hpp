#pragma once

/// Corvane in programs that run on Boost.Asio: completion queues on an executor (`AsioQueue`), the main queue on a
/// context (`AsioMainLoop`), and requests with completion tokens (`async_send`). It includes Asio's `steady_timer`,
/// too.
///
///     #include <CorvaneAsio/BoostAsio.hpp>
///
/// `<CorvaneAsio/Asio.hpp>` has the same for standalone Asio. A file that includes both headers qualifies the names:
/// `corvane::withAsio::async_send`, `corvane::withBoostAsio::async_send`.

#include <boost/asio/associated_allocator.hpp>
#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/cancellation_type.hpp>
#include <boost/asio/execution.hpp>
#include <boost/asio/execution_context.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/system_executor.hpp>

#include "Corvane/Corvane.hpp"
#include "CorvaneAsio/Detail/ContextGate.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/MainQueueAttachment.hpp"

#define CORVANE_ASIO ::boost::asio
#define CORVANE_ASIO_ADAPTER withBoostAsio
// In this order, as each uses the ones before it.
// clang-format off
#include "CorvaneAsio/Detail/AsioContext.hpp"
#include "CorvaneAsio/Detail/AsyncOperation.hpp"
#include "CorvaneAsio/AsioMainLoop.hpp"
#include "CorvaneAsio/AsioQueue.hpp"
#include "CorvaneAsio/AsyncSend.hpp"
#include "CorvaneAsio/AsyncNext.hpp"
// clang-format on
#undef CORVANE_ASIO
#undef CORVANE_ASIO_ADAPTER
