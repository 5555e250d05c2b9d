#pragma once

#include <stdlib.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Foundation/FileManager.hpp"
#include "SessionTest.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace platform {

/// Sets an environment variable for as long as it lives. Nothing else may read the environment meanwhile.
class ScopedVariable {
 public:
  ScopedVariable(std::string name, const std::string& value) : name_(std::move(name)) {
    if (const char* saved = ::getenv(name_.c_str())) saved_ = saved;
    ::setenv(name_.c_str(), value.c_str(), 1);
  }
  ~ScopedVariable() {
    if (saved_) {
      ::setenv(name_.c_str(), saved_->c_str(), 1);
    } else {
      ::unsetenv(name_.c_str());
    }
  }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  std::string name_;
  std::optional<std::string> saved_;
};

/// What a task's progress told, call by call.
class ProgressLog {
 public:
  struct Call {
    std::int64_t completed;
    std::int64_t total;
    double fraction;
    std::optional<AnyValue> completedBytes;
    std::optional<AnyValue> totalBytes;
  };

  explicit ProgressLog(URLSessionTask& task) : progress_(task.progress()) {
    observation_ = progress_->observe([log = log_](const std::shared_ptr<Progress>& progress) {
      const std::lock_guard lock(log->mutex);
      log->calls.push_back({progress->completedUnitCount(), progress->totalUnitCount(), progress->fractionCompleted(),
                            progress->userInfo(ProgressKey::byteCompletedCount),
                            progress->userInfo(ProgressKey::byteTotalCount)});
      log->changed.notify_all();
    });
  }
  std::vector<Call> calls() const {
    const std::lock_guard lock(log_->mutex);
    return log_->calls;
  }
  Call last() const { return calls().back(); }
  /// Waits until it told of so many units; false when it does not within 20 s.
  [[nodiscard]] bool waitFor(std::int64_t completed) const {
    std::unique_lock lock(log_->mutex);
    return log_->changed.wait_for(lock, std::chrono::seconds(20),
                                  [&] { return !log_->calls.empty() && log_->calls.back().completed >= completed; });
  }
  ProgressObservation& observation() { return observation_; }

 private:
  struct Log {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Call> calls;
  };
  std::shared_ptr<Log> log_ = std::make_shared<Log>();
  std::shared_ptr<Progress> progress_;
  ProgressObservation observation_;
};

/// A server, a session, a directory for the test's own files, and another that is the temporary directory meanwhile.
class TransferTest : public SessionTest {
 protected:
  Downloaded download(URLRequest request) { return Download(session, std::move(request)).resume().wait(); }
  Downloaded download(std::string_view target) { return download(URLRequest(URL(server.url(target)))); }
  Downloaded downloadOf(corvane::testkit::MockResponse scripted) {
    server.enqueue(std::move(scripted));
    return download("/");
  }
  template <class Body>
  Loaded upload(URLRequest request, const Body& body) {
    return Upload(session, std::move(request), body).resume().wait();
  }

  /// A file of the test's own.
  URL file(std::string_view name, std::string_view bytes) const { return URL::file(files.write(name, bytes)); }
  static std::string contents(const std::optional<TemporaryFile>& file) {
    return file ? FileManager::contents(file->path()).text() : "<no file>";
  }
  /// What downloads left.
  std::vector<std::string> leftovers() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(temporary.path())) names.push_back(entry.path());
    return names;
  }
  corvane::testkit::TemporaryDirectory files;
  corvane::testkit::TemporaryDirectory temporary;
  ScopedVariable variable{"TMPDIR", temporary.path().string()};
};

}  // namespace platform
