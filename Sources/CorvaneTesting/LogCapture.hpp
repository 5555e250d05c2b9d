#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Vantorel/CapturingSink.hpp"

namespace corvane::testing {

/// Captures what is logged while it lives; afterwards the sink from before is back.
class LogCapture {
 public:
  /// Takes the place of the process's sink.
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  /// The records, by the members of `vantorel::CapturingSink`.
  vantorel::CapturingSink* operator->() const { return sink_.get(); }
  /// The messages of all records so far, in their order.
  std::vector<std::string> messages() const;

 private:
  std::shared_ptr<vantorel::LogSink> previous_;
  std::shared_ptr<vantorel::CapturingSink> sink_;
};

}  // namespace corvane::testing
