// Prints what the library logs about exchanges at each verbosity, fetches a body it parked, and writes a command line
// of a request.
//
//   example_Debugging http://127.0.0.1:8080

#include <Corvane/Corvane.hpp>
#include <Vantorel/LogRecord.hpp>
#include <Vantorel/LogSink.hpp>
#include <cstdio>

using namespace corvane;

// Takes the place of the default sink, which writes to standard error.
class Console final : public vantorel::LogSink {
 public:
  void write(const vantorel::LogRecord& record) override {
    std::printf("%s %s\n", std::string(name(record.level)).c_str(), text(record).c_str());
    lastText = text(record);
  }

  std::string lastText;
};

int main(int argc, char** argv) {
  const std::string server = argc > 1 ? argv[1] : "http://127.0.0.1:8080/";
  const auto console = std::make_shared<Console>();
  vantorel::setLogSink(console);

  Corvane::verbosity = HTTPVerbosityLevel::brief;
  DataGetRequest(server + "users/7").send().wait();
  DataGetRequest(server + "status/503").send().wait();

  Corvane::verbosity = HTTPVerbosityLevel::verbose;
  DataPostRequest(server + "echo", "hello", HTTPHeaders{{"Content-Type", "text/plain"}}).send().wait();
  DataGetRequest(server + "get").send().wait();

  const std::size_t quote = console->lastText.find('"');
  const std::string key = console->lastText.substr(quote + 1, UUID().uuidString().size());
  if (const auto body = Corvane::httpDebugData(key)) std::printf("%.32s\n", body->description().c_str());

  HTTPRedaction redaction = HTTPRedaction::secrets();
  redaction.headerFields.push_back("X-Session");
  Corvane::setRedaction(redaction);
  DataGetRequest(server + "get?token=42", HTTPHeaders{{"X-Session", "7"}}).send().wait();

  const DataPostRequest request(server + "echo", "it's me", HTTPHeaders{{"Authorization", "Bearer secret"}});
  std::printf("%s\n", request.shellCommand({.hidesSecrets = true}).text.c_str());
}
