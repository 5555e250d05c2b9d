#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Vantorel/CapturingSink.hpp"

namespace corvane::testkit {

/// Captures all log records while it exists; its destructor restores the previous sink.
class LogCapture {
 public:
  /// Replaces the sink of the process.
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  /// The capturing sink, with its records.
  vantorel::CapturingSink* operator->() const { return sink_.get(); }
  /// The messages of all records so far, in their order.
  std::vector<std::string> messages() const;

 private:
  std::shared_ptr<vantorel::LogSink> previous_;
  std::shared_ptr<vantorel::CapturingSink> sink_;
};

}  // namespace corvane::testkit
