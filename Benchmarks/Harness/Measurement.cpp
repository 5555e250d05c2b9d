#include "Harness/Measurement.hpp"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "Harness/Process.hpp"

namespace bench {
namespace {

constexpr const char* marker = "--measure";
constexpr double patienceSeconds = 60;

std::unique_ptr<Client> makeClient(const MeasuringPlan& plan) {
  for (const ClientKind& kind : clientKinds()) {
    if (plan.client == kind.name) return kind.make(plan.task);
  }
  throw std::runtime_error("There is no client '" + plan.client + "'");
}

MeasuringPlan planFrom(const std::vector<std::string>& arguments) {
  MeasuringPlan plan;
  plan.client = arguments.at(2);
  plan.warmUp = std::stoi(arguments.at(3));
  plan.count = std::stoi(arguments.at(4));
  plan.core = std::stoi(arguments.at(5));
  plan.task.wire = static_cast<Wire>(std::stoi(arguments.at(6)));
  plan.task.port = static_cast<std::uint16_t>(std::stoi(arguments.at(7)));
  plan.task.path = arguments.at(8);
  plan.task.concurrency = std::stoi(arguments.at(9));
  plan.task.bodyBytes = std::stoull(arguments.at(10));
  plan.task.certificateFolder = arguments.at(11);
  return plan;
}

Measurement runHere(const MeasuringPlan& plan) {
  stayOnCore(plan.core);
  allowManyDescriptors();
  const std::unique_ptr<Client> client = makeClient(plan);
  client->run(plan.warmUp);
  const double cpuBefore = Usage::now().cpuSeconds;
  const auto start = std::chrono::steady_clock::now();
  client->run(plan.count);
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  const Usage usage = Usage::now();
  return {elapsed.count(), usage.cpuSeconds - cpuBefore, usage.peakMebibytes};
}

}  // namespace

Measurement measurementOf(const std::vector<std::string>& arguments) {
  ChildProcess process(arguments);
  std::istringstream line(process.readLine(patienceSeconds));
  Measurement measurement;
  if (!(line >> measurement.seconds >> measurement.cpuSeconds >> measurement.peakMebibytes)) {
    throw std::runtime_error("The measuring process says: " + line.str());
  }
  process.waitForSuccess(patienceSeconds);
  return measurement;
}

void tell(const Measurement& measurement) {
  std::printf("%.9f %.9f %.6f\n", measurement.seconds, measurement.cpuSeconds, measurement.peakMebibytes);
}

std::vector<std::string> commandOf(const MeasuringPlan& plan) {
  const Task& task = plan.task;
  return {std::filesystem::read_symlink("/proc/self/exe").string(),
          marker,
          plan.client,
          std::to_string(plan.warmUp),
          std::to_string(plan.count),
          std::to_string(plan.core),
          std::to_string(static_cast<int>(task.wire)),
          std::to_string(task.port),
          task.path,
          std::to_string(task.concurrency),
          std::to_string(task.bodyBytes),
          task.certificateFolder};
}

Measurement measure(const MeasuringPlan& plan) { return measurementOf(commandOf(plan)); }

bool isMeasuringProcess(const std::vector<std::string>& arguments) {
  return arguments.size() > 1 && arguments[1] == marker;
}

void runMeasuringProcess(const std::vector<std::string>& arguments) { tell(runHere(planFrom(arguments))); }

}  // namespace bench
