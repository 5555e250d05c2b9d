#include <Corvane/Corvane.hpp>
#include <Vantorel/CapturingSink.hpp>
#include <Vantorel/LogRecord.hpp>
#include <Vantorel/LogSink.hpp>
#include <Vantorel/Logger.hpp>
#include <cstdio>

using namespace vantorel;

class Console final : public LogSink {
 public:
  void write(const LogRecord& record) override {
    std::printf("%s %s: %s\n", std::string(name(record.level)).c_str(), record.logger.c_str(), record.message.c_str());
  }
};

bool isImportant(const LogRecord& record) { return record.level == LogLevel::error || record.level == LogLevel::fault; }

int main() {
  setLogSink(std::make_shared<Console>());
  const Logger logger("com.example.sync", isImportant);
  logger.info("3 files to send");
  logger.error("photo.jpg was refused");

  const auto sink = std::make_shared<CapturingSink>();  // as tests use
  setLogSink(sink);
  logger.fault("the index is broken");
  std::printf("%zu record\n", sink->records().size());
}
