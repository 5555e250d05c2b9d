#include "JSON/Race.hpp"

#include <time.h>

#include <algorithm>
#include <stdexcept>

#include "Harness/Figures.hpp"
#include "JSON/FreshProcess.hpp"

namespace bench {
namespace {

constexpr std::size_t sampleBytes = 8'000'000;
/// As much is done before the clock stops for the results to be destroyed.
constexpr std::size_t batchBytes = 100'000;
constexpr double encodingGoal = 1;

double cpuSeconds() {
  timespec used{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

double secondsToDecode(const Contender& contender, const Document& document) {
  const auto decode = contender.prepareDecoding(document.text);
  if (decode() != document.records) throw std::runtime_error(contender.name + " decoded something else");
  const std::size_t batchSize = std::max<std::size_t>(batchBytes / document.text.size(), 1);
  const std::size_t batches = std::max<std::size_t>(sampleBytes / (batchSize * document.text.size()), 1);
  std::vector<Records> results;
  results.reserve(batchSize);
  double seconds = 0;
  for (std::size_t batch = 0; batch < batches; ++batch) {
    const double before = cpuSeconds();
    for (std::size_t index = 0; index < batchSize; ++index) results.push_back(decode());
    seconds += cpuSeconds() - before;
    results.clear();
  }
  return seconds / static_cast<double>(batches * batchSize);
}

/// Looks at it with a decoder that rounds exactly.
double checkEncoding(const Contender& contender, const Document& document) {
  std::string encoded;
  contender.encode(document.records, [&](std::string_view text) { encoded = text; });
  if (nlohmannContender().prepareDecoding(encoded)() != document.records) {
    throw std::runtime_error(contender.name + " encoded something else");
  }
  return 0;
}

double secondsToEncode(const Contender& contender, const Document& document) {
  const std::size_t repetitions = std::max<std::size_t>(sampleBytes / document.text.size(), 1);
  std::size_t encodedBytes = 0;
  const auto encode = [&] {
    contender.encode(document.records, [&](std::string_view text) { encodedBytes += text.size(); });
  };
  encode();
  const double before = cpuSeconds();
  for (std::size_t repetition = 0; repetition < repetitions; ++repetition) encode();
  const double seconds = (cpuSeconds() - before) / static_cast<double>(repetitions);
  if (encodedBytes == 0) throw std::runtime_error(contender.name + " encoded nothing");
  return seconds;
}

}  // namespace

Race Race::ofDecoding(const std::string& title, const Document& document, const std::vector<Contender>& contenders) {
  Race race(title, document.text.size());
  const bool isInOrder = document.keyOrder == KeyOrder::declared;
  for (const Contender& contender : contenders) {
    if (!isInOrder && !contender.takesAnyOrder) continue;
    race.entrants_.push_back({contender.name, isInOrder ? contender.goalInOrder : contender.goalInAnyOrder,
                              [&contender, &document] { return secondsToDecode(contender, document); }});
  }
  return race;
}

Race Race::ofEncoding(const std::string& title, const Document& document, const std::vector<Contender>& contenders) {
  Race race(title, document.text.size());
  for (const Contender& contender : contenders) {
    if (!contender.encode) continue;
    inFreshProcess([&] { return checkEncoding(contender, document); });
    race.entrants_.push_back(
        {contender.name, encodingGoal, [&contender, &document] { return secondsToEncode(contender, document); }});
  }
  return race;
}

void Race::runRound() {
  for (Entrant& entrant : entrants_) entrant.seconds.push_back(inFreshProcess(entrant.sample));
}

std::string Race::report() const {
  const auto ours = std::find_if(entrants_.begin(), entrants_.end(),
                                 [](const Entrant& entrant) { return entrant.name == corvaneName; });
  std::string text =
      formatted("%s, %zu bytes, %zu rounds\n", title_.c_str(), documentBytes_, entrants_.front().seconds.size());
  text += formatted("  %-26s %8s   %s\n", "", "MB/s", "Corvane's rate to this one's");
  for (const Entrant& entrant : entrants_) {
    text += formatted("  %-26s %8.1f", entrant.name.c_str(),
                      static_cast<double>(documentBytes_) / median(entrant.seconds) / 1e6);
    if (ours != entrants_.end() && &*ours != &entrant) text += "   " + atLeast(rateOf(*ours, entrant), entrant.goal);
    text += "\n";
  }
  return text;
}

double Race::rateOf(const Entrant& one, const Entrant& other) {
  std::vector<double> ratios;
  for (std::size_t round = 0; round < one.seconds.size(); ++round) {
    ratios.push_back(other.seconds[round] / one.seconds[round]);
  }
  return median(ratios);
}

}  // namespace bench
