#pragma once

/// Corvane in programs that run on Qt's event loop: completion queues of an object or a thread (`QtQueue`), and the
/// main queue on the event loop (`QtMainLoop`).
///
///     #include <CorvaneQt/Qt.hpp>

#include "Corvane/Corvane.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/MainQueueAttachment.hpp"

// After the others: Qt defines common words as macros.
#include <QtCore/QCoreApplication>
#include <QtCore/QMetaObject>
#include <QtCore/QObject>
#include <QtCore/QThread>
#include <memory>
#include <string>
#include <utility>

namespace corvane {

namespace detail {

/// Submits blocks to the event loop of an object's thread, as long as the object exists.
class QtSubmission {
 public:
  /// With `owns`, the object is destroyed together with this, or earlier.
  explicit QtSubmission(QObject* context, bool owns = false) : link_(std::make_shared<Link>()), owns_(owns) {
    link_->context = context;
    link_->destroyed = QObject::connect(context, &QObject::destroyed, [link = link_] {
      const platform::detail::MutexLock lock(link->mutex);
      link->context = nullptr;
    });
  }
  QtSubmission(QtSubmission&&) noexcept = default;
  QtSubmission& operator=(QtSubmission&&) = delete;
  ~QtSubmission() {
    if (!link_) return;
    const platform::detail::MutexLock lock(link_->mutex);
    // An object whose end waits for the lock is still there to be disconnected from.
    if (!link_->context) return;
    QObject::disconnect(link_->destroyed);
    if (owns_) link_->context->deleteLater();
  }

  void operator()(platform::Block block) const {
    const platform::detail::MutexLock lock(link_->mutex);
    if (link_->context) QMetaObject::invokeMethod(link_->context, std::move(block), Qt::QueuedConnection);
  }

  /// An object that belongs to the thread, and exists as long as that runs.
  static QObject* receiverIn(QThread& thread) {
    auto* receiver = new QObject;
    receiver->moveToThread(&thread);
    QObject::connect(&thread, &QThread::finished, receiver, &QObject::deleteLater);
    return receiver;
  }

 private:
  struct Link {
    platform::detail::Mutex mutex;
    QObject* context CORVANE_GUARDED_BY(mutex) = nullptr;
    QMetaObject::Connection destroyed;
  };

  std::shared_ptr<Link> link_;
  bool owns_;
};

}  // namespace detail

/// A serial completion queue whose blocks run in the event loop of an object's thread.
///
///     const QtQueue queue(this);
///     request.send(queue, [this](DataResponse response) { show(response); });
///
/// Any thread may submit blocks; a block never runs inside the call that submits it. As on every queue, an exception
/// that escapes a block ends the process.
///
/// **When the object is destroyed**, pending blocks are dropped without being run, like Qt's own queued calls. Later
/// blocks are dropped at once; a `sync` throws. So a completion on the queue of a window may use the window: it is not
/// called once the window is gone. When the event loop ends, blocks wait until another event loop runs in that thread,
/// or the object is destroyed.
class QtQueue : public platform::DispatchQueue {
 public:
  /// A queue on the event loop of the object's thread. Requires: the object exists during the call, and is not moved to
  /// another thread while the queue is used.
  explicit QtQueue(QObject* context, std::string label = "corvane.qt")
      : DispatchQueue(std::move(label), detail::QtSubmission(context)) {}
  /// A queue on the event loop of a thread, for as long as that runs. Requires: the thread has not finished. (A pointer
  /// to a `QThread` is refused: as an object, it belongs to the thread that created it.)
  explicit QtQueue(QThread& thread, std::string label = "corvane.qt")
      : DispatchQueue(std::move(label), detail::QtSubmission(detail::QtSubmission::receiverIn(thread), true)) {}
  explicit QtQueue(QThread* thread, std::string label = "corvane.qt") = delete;
};

/// Lets Qt's event loop drain the library's main queue as long as this object exists: completions for which no queue
/// was named run in the event loop of the application's thread.
///
///     QCoreApplication application(argc, argv);
///     const QtMainLoop mainLoop;
///     request.send([](DataResponse response) { …; QCoreApplication::quit(); });
///     return application.exec();
///
/// Any thread can wake the loop; nothing is polled. The context object (the application by default) may be destroyed
/// first; then the main queue is not drained any more. Pending blocks wait for the next loop that drains the main
/// queue. Only one loop at a time can drain it; a second one traps.
class QtMainLoop {
 public:
  /// Drains the main queue in the event loop of the object's thread. Requires: the object exists during the call; for
  /// the default, the application exists.
  explicit QtMainLoop(QObject* context = QCoreApplication::instance()) : attachment_(detail::QtSubmission(context)) {}

  /// Ends the attachment early. May be called on any thread.
  void detach() { attachment_.detach(); }

 private:
  platform::MainQueueAttachment attachment_;
};

}  // namespace corvane
