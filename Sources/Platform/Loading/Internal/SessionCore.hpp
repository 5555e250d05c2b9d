#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Loading/Internal/HTTPLoader.hpp"
#include "Platform/Loading/URLSession.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"

namespace platform::detail {

class TaskCore;

/// What is behind a `URLSession`: its settings for every thread, and its tasks and connections for the loop.
class SessionCore : public std::enable_shared_from_this<SessionCore> {
 public:
  SessionCore(URLSessionConfiguration configuration, std::shared_ptr<URLSessionDelegate> delegate,
              DispatchQueue delegateQueue);
  ~SessionCore();

  // Any thread.
  networking::EventLoop& loop() const { return loop_; }
  const URLSessionConfiguration& configuration() const { return configuration_; }
  const DispatchQueue& delegateQueue() const { return delegateQueue_; }
  std::optional<std::string> description() const;
  void setDescription(std::optional<std::string> description);
  void setSession(const std::shared_ptr<URLSession>& session) { session_ = session; }
  bool isInvalidated() const;
  void invalidate(bool cancelTasks);

  // Loop side.
  bool acceptsTasks() const { return !isClosing_; }
  HTTPLoader& loader();
  /// The task is under way, and kept alive until its end. Again is fine.
  void begin(const std::shared_ptr<TaskCore>& task);
  /// The task is done; its session may be, too.
  void end(const std::shared_ptr<TaskCore>& task);
  /// Tells the task when the machine's network changes, and now and then in case the change goes unnoticed.
  void awaitConnectivity(const std::shared_ptr<TaskCore>& task);

 private:
  void cancelTasks();
  void closeWhenDone();
  void close(const std::shared_ptr<URLSession>& session);
  void challenge(const std::shared_ptr<const networking::TrustQuery>& query);
  void conclude(const std::shared_ptr<const networking::TrustQuery>& query, std::optional<Error> rejection);
  std::shared_ptr<URLSessionDelegate> delegate() const;

  networking::EventLoop& loop_;
  const URLSessionConfiguration configuration_;
  const DispatchQueue delegateQueue_;
  std::weak_ptr<URLSession> session_;

  mutable std::mutex mutex_;  ///< guards the next three; nothing is called while it is held
  std::shared_ptr<URLSessionDelegate> delegate_;
  std::optional<std::string> description_;
  bool isInvalidated_ = false;

  bool isClosing_ = false;  // from here on: loop side
  bool isClosed_ = false;
  std::vector<std::shared_ptr<TaskCore>> tasks_;  ///< each knows its place
  std::unique_ptr<HTTPLoader> loader_;
};

}  // namespace platform::detail
