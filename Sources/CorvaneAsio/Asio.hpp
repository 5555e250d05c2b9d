#pragma once

/// Corvane in programs that run on standalone Asio: completion queues on an executor (`AsioQueue`), the main queue on a
/// context (`AsioMainLoop`), and requests with completion tokens (`async_send`). It includes Asio's `steady_timer`,
/// too.
///
///     #include <CorvaneAsio/Asio.hpp>
///
/// `<CorvaneAsio/BoostAsio.hpp>` has the same for Boost.Asio. A file that includes both headers qualifies the names:
/// `corvane::withAsio::async_send`, `corvane::withBoostAsio::async_send`.

#include <asio/associated_allocator.hpp>
#include <asio/associated_cancellation_slot.hpp>
#include <asio/associated_executor.hpp>
#include <asio/async_result.hpp>
#include <asio/cancellation_type.hpp>
#include <asio/execution.hpp>
#include <asio/execution_context.hpp>
#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
#include <asio/strand.hpp>
#include <asio/system_executor.hpp>

#include "Corvane/Corvane.hpp"
#include "CorvaneAsio/Detail/ContextGate.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/MainQueueAttachment.hpp"

#define CORVANE_ASIO ::asio
#define CORVANE_ASIO_ADAPTER withAsio
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
