// corvane_bench_json [--quick] [--rounds N] [--only TEXT]
//
// Compares ways to decode and to encode JSON and prints tables; see Docs/Performance.md.

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <utility>

#include "Harness/Process.hpp"
#include "JSON/DecodingMemory.hpp"
#include "JSON/Race.hpp"

namespace {

using namespace bench;

constexpr std::size_t largeBytes = 1'000'000;
constexpr std::size_t smallBytes = 2'000;

struct Options {
  int rounds = 15;
  /// Tables whose title holds this text.
  std::string only;
};

Options optionsFrom(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t index = 1; index < arguments.size(); ++index) {
    const bool hasValue = index + 1 < arguments.size();
    if (arguments[index] == "--quick") {
      options.rounds = 3;
    } else if (arguments[index] == "--rounds" && hasValue) {
      options.rounds = std::stoi(arguments[++index]);
    } else if (arguments[index] == "--only" && hasValue) {
      options.only = arguments[++index];
    } else {
      throw std::invalid_argument("usage: corvane_bench_json [--quick] [--rounds N] [--only TEXT]");
    }
  }
  if (options.rounds < 1) throw std::invalid_argument("There must be at least one round");
  return options;
}

std::vector<Contender> allContenders() {
  std::vector<Contender> contenders{corvaneContender()};
  for (Contender& contender : simdjsonContenders()) contenders.push_back(std::move(contender));
  contenders.push_back(boostContender());
  contenders.push_back(rapidContender());
  contenders.push_back(nlohmannContender());
  return contenders;
}

void runAll(const Options& options) {
  const std::vector<Contender> contenders = allContenders();
  const Document large = makeDocument(largeBytes, KeyOrder::declared);
  const Document shuffled = makeDocument(largeBytes, KeyOrder::shuffled);
  const Document small = makeDocument(smallBytes, KeyOrder::declared);
  std::vector<Race> races{Race::ofDecoding("JSON, decode, keys in order", large, contenders),
                          Race::ofDecoding("JSON, decode, keys shuffled", shuffled, contenders),
                          Race::ofDecoding("JSON, decode, small", small, contenders),
                          Race::ofEncoding("JSON, encode", large, contenders),
                          Race::ofEncoding("JSON, encode, small", small, contenders)};
  std::erase_if(races, [&](const Race& race) { return race.title().find(options.only) == std::string::npos; });
  for (int round = 1; round <= options.rounds; ++round) {
    for (Race& race : races) race.runRound();
  }
  for (const Race& race : races) std::puts(race.report().c_str());
  const std::string memory = decodingMemoryReport(large, contenders);
  if (memory.find(options.only) < memory.find('\n')) std::puts(memory.c_str());
}

}  // namespace

int main(int argumentCount, char** argumentValues) {
  try {
    stayOnCore(1);
    runAll(optionsFrom({argumentValues, argumentValues + argumentCount}));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "corvane_bench_json: %s\n", error.what());
    return 1;
  }
}
