#pragma once

/// Corvane in programs that run on GLib's main loop, such as GTK programs: completion queues of a context
/// (`GLibQueue`), and the main queue on a context (`GLibMainLoop`).
///
///     #include <CorvaneGLib/GLib.hpp>

#include <glib.h>

#include <string>
#include <utility>

#include "Corvane/Corvane.hpp"
#include "Platform/Dispatch/MainQueueAttachment.hpp"

namespace corvane {

namespace detail {

/// Submits blocks to a main context, which it keeps.
class GLibSubmission {
 public:
  explicit GLibSubmission(GMainContext* context)
      : context_(g_main_context_ref(context ? context : g_main_context_default())) {}
  GLibSubmission(GLibSubmission&& other) noexcept : context_(std::exchange(other.context_, nullptr)) {}
  GLibSubmission& operator=(GLibSubmission&&) = delete;
  ~GLibSubmission() {
    if (context_) g_main_context_unref(context_);
  }

  void operator()(platform::Block block) const {
    GSource* source = g_idle_source_new();
    g_source_set_name(source, "corvane");
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, &call, new platform::Block(std::move(block)), &drop);
    g_source_attach(source, context_);
    g_source_unref(source);
  }

 private:
  static gboolean call(gpointer block) {
    (*static_cast<platform::Block*>(block))();
    return G_SOURCE_REMOVE;
  }
  static void drop(gpointer block) { delete static_cast<platform::Block*>(block); }

  GMainContext* context_;
};

}  // namespace detail

/// A serial completion queue whose blocks run in a main context of GLib, with the default priority.
///
///     const GLibQueue queue;
///     request.send(queue, [](DataResponse response) { … });
///     g_main_loop_run(loop);
///
/// Any thread may submit blocks; a block never runs inside the call that submits it. As on every queue, an exception
/// that escapes a block ends the process.
///
/// The queue keeps the context alive. **When the loop ends**, blocks wait until the context is iterated again, and so
/// does a thread in `sync`. So iterate a private context until all requests have completed, before you release it.
class GLibQueue : public platform::DispatchQueue {
 public:
  /// A queue on this context. Null is the default context, as everywhere in GLib.
  explicit GLibQueue(GMainContext* context = nullptr, std::string label = "corvane.glib")
      : DispatchQueue(std::move(label), detail::GLibSubmission(context)) {}
};

/// Lets a main context of GLib drain the library's main queue as long as this object exists: completions for which no
/// queue was named run where the context is iterated.
///
///     const GLibMainLoop mainLoop;
///     request.send([loop](DataResponse response) { …; g_main_loop_quit(loop); });
///     g_main_loop_run(loop);
///
/// Any thread can wake the loop; nothing is polled. The context is kept alive meanwhile. Blocks that are pending at the
/// end wait for the next loop that drains the main queue. Only one loop at a time can drain it; a second one traps.
class GLibMainLoop {
 public:
  /// Drains the main queue in this context. Null is the default context.
  explicit GLibMainLoop(GMainContext* context = nullptr) : attachment_(detail::GLibSubmission(context)) {}

  /// Ends the attachment early. May be called on any thread.
  void detach() { attachment_.detach(); }

 private:
  platform::MainQueueAttachment attachment_;
};

}  // namespace corvane
