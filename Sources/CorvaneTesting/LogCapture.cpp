#include "CorvaneTesting/LogCapture.hpp"

#include "Vantorel/LogSink.hpp"

namespace corvane::testkit {

LogCapture::LogCapture() : previous_(vantorel::logSink()), sink_(std::make_shared<vantorel::CapturingSink>()) {
  vantorel::setLogSink(sink_);
}

LogCapture::~LogCapture() { vantorel::setLogSink(previous_); }

std::vector<std::string> LogCapture::messages() const {
  std::vector<std::string> messages;
  for (auto& record : sink_->records()) messages.push_back(std::move(record.message));
  return messages;
}

}  // namespace corvane::testkit
