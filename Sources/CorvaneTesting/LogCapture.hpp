#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Vantorel/CapturingSink.hpp"

namespace corvane::testing {

/// Captures what is logged while it lives; afterwards the sink from before is back.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  vantorel::CapturingSink* operator->() const { return sink_.get(); }
  std::vector<std::string> messages() const;

 private:
  std::shared_ptr<vantorel::LogSink> previous_;
  std::shared_ptr<vantorel::CapturingSink> sink_;
};

}  // namespace corvane::testing
