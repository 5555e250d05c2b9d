#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <string>
#include <string_view>

#include "SweepProcesses.hpp"

// Runs every form of sending while an allocation fails: the first, the second and so on, until the form needs no more.
// Exactly one outcome is to come of each (a value, an error or an exception), or the process is to end with a sentence
// that says "out of memory". By default some of the numbers are tried, with `--full` each.

namespace {

using corvane::testkit::FailingAllocations;
using corvane::testkit::SweepRange;
using corvane::testkit::SweepScene;
using corvane::testkit::SweepServer;
using corvane::testkit::SweepVerdict;
using corvane::testkit::SweepWorkers;
using Which = FailingAllocations::Which;

struct Options {
  std::string scene;
  std::size_t step = 3;
  std::size_t at = 0;
  int patience = 20;
  bool triesOne = true;
  bool triesLater = true;
  bool isCold = false;
  bool lists = false;
};

[[noreturn]] void explain() {
  std::fputs(
      "allocation_sweep [--full | --step N] [--scene NAME] [--one | --later] [--cold] [--patience SECONDS] [--list]\n"
      "allocation_sweep --scene NAME --at N [--one | --later] [--cold]   one run in this process, with stacks\n",
      stderr);
  std::exit(2);
}

Options parsed(int count, char** arguments) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string_view name = arguments[i];
    const auto value = [&]() -> const char* { return ++i < count ? arguments[i] : (explain(), nullptr); };
    if (name == "--full") {
      options.step = 1;
    } else if (name == "--step") {
      options.step = std::strtoul(value(), nullptr, 10);
    } else if (name == "--scene") {
      options.scene = value();
    } else if (name == "--at") {
      options.at = std::strtoul(value(), nullptr, 10);
    } else if (name == "--patience") {
      options.patience = std::atoi(value());
    } else if (name == "--one") {
      options.triesLater = false;
    } else if (name == "--later") {
      options.triesOne = false;
    } else if (name == "--cold") {
      options.isCold = true;
    } else if (name == "--list") {
      options.lists = true;
    } else {
      explain();
    }
  }
  if (options.step == 0) explain();
  return options;
}

const char* nameOf(Which which) { return which == Which::one ? "one" : "later"; }

const char* defectOf(SweepVerdict verdict) {
  switch (verdict) {
    case SweepVerdict::repeated:
      return "not exactly one outcome";
    case SweepVerdict::unusable:
      return "the next request failed";
    case SweepVerdict::hung:
      return "no outcome";
    case SweepVerdict::crashed:
      return "the process ended without a sentence";
    default:
      return nullptr;
  }
}

/// Returns how many defects there are.
int sweep(const SweepScene& scene, Which which, const SweepRange& range, const Options& options,
          const std::string& server) {
  std::map<SweepVerdict, int> counts;
  std::size_t last = 0;
  int defects = 0;
  SweepWorkers workers(scene, which, range, server, options.patience);
  workers.run([&](const SweepWorkers::Finding& finding) {
    ++counts[finding.verdict];
    last = finding.number;
    const char* const defect = defectOf(finding.verdict);
    if (defect) {
      ++defects;
      std::printf("DEFECT %s --%s --at %zu%s: %s\n%s", scene.name, nameOf(which), finding.number,
                  range.isCold ? " --cold" : "", defect, finding.text.c_str());
    } else if (options.lists) {
      std::printf("%s %s %zu: %c %s\n", scene.name, nameOf(which), finding.number, static_cast<char>(finding.verdict),
                  finding.text.c_str());
    }
    std::fflush(stdout);
  });
  std::printf("%-16s %-5s %s up to %4zu: %3d values, %3d errors, %3d exceptions, %3d ends, %d defects\n", scene.name,
              nameOf(which), range.isCold ? "cold" : "warm", last, counts[SweepVerdict::value],
              counts[SweepVerdict::error], counts[SweepVerdict::exception], counts[SweepVerdict::ended], defects);
  std::fflush(stdout);
  return defects;
}

int sweepAll(const Options& options, const std::string& server) {
  int defects = 0;
  std::size_t run = 0;
  for (const SweepScene& scene : corvane::testkit::sweepScenes()) {
    if (!options.scene.empty() && options.scene != scene.name) continue;
    const std::size_t place = static_cast<std::size_t>(&scene - corvane::testkit::sweepScenes().data());
    for (const Which which : {Which::one, Which::andLater}) {
      if (!(which == Which::one ? options.triesOne : options.triesLater)) continue;
      // What is made once in a process is the same for all scenes.
      const bool alsoCold = options.scene.empty() ? place == 0 || place == 2 : options.isCold;
      // Other numbers for each, so that what they have in common is tried at many of them.
      const std::size_t first = 1 + run++ % options.step;
      if (alsoCold)
        defects += sweep(scene, which, {.first = first, .step = options.step, .isCold = true}, options, server);
      if (!options.isCold) defects += sweep(scene, which, {.first = first, .step = options.step}, options, server);
    }
  }
  if (run == 0) explain();
  return defects;
}

int runOnce(const Options& options, const std::string& server) {
  const Which which = options.triesOne ? Which::one : Which::andLater;
  FailingAllocations::showStacks();
  for (const SweepScene& scene : corvane::testkit::sweepScenes()) {
    if (options.scene != scene.name) continue;
    const SweepVerdict verdict = corvane::testkit::runOnce(scene, which, options.at, server, options.isCold);
    std::printf("%c\n", static_cast<char>(verdict));
    return 0;
  }
  explain();
}

}  // namespace

int main(int count, char** arguments) try {
  const Options options = parsed(count, arguments);
  const SweepServer server;
  if (options.at > 0) return runOnce(options, server.url());
  const int defects = sweepAll(options, server.url());
  rusage used{};
  ::getrusage(RUSAGE_CHILDREN, &used);
  std::printf("%d defects, %ld.%02ld s of CPU\n", defects, used.ru_utime.tv_sec + used.ru_stime.tv_sec,
              (used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 10'000 % 100);
  return defects == 0 ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "allocation_sweep: %s\n", error.what());
  return 2;
}
