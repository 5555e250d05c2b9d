#include "Gzip/GzipBenchmark.hpp"

#include <functional>
#include <random>
#include <stdexcept>
#include <vector>

#include "Corvane/ContentEncoding/GZipArchiver.hpp"
#include "Corvane/ContentEncoding/GZipUnarchiver.hpp"
#include "Gzip/OneShotZlib.hpp"
#include "Harness/Figures.hpp"
#include "Harness/Process.hpp"

namespace bench {
namespace {

constexpr std::size_t inputBytes = 1 << 20;
constexpr double archiverGoal = 1.25;
constexpr double unarchiverGoal = 1.3;

std::string json() {
  std::string text = "[";
  for (int index = 0; text.size() < inputBytes; ++index) {
    text += R"({"id": )" + std::to_string(index * 7919) + R"(, "login": "user)" + std::to_string(index) +
            R"(", "active": true, "score": )" + std::to_string(index % 1000) + R"(.5, "tags": ["red", "green"]},)";
  }
  text.resize(inputBytes);
  return text;
}

std::string randomBytes() {
  std::mt19937_64 generator(20261102);
  std::string bytes;
  while (bytes.size() < inputBytes) bytes.push_back(static_cast<char>(generator()));
  return bytes;
}

struct Comparison {
  std::string title;
  double goal = 0;
  /// How often a sample repeats, so that it takes tens of milliseconds.
  int repetitions = 1;
  std::function<std::size_t()> ours;
  std::function<std::size_t()> zlib;
};

double millisecondsOf(const Comparison& comparison, const std::function<std::size_t()>& work) {
  const double before = Usage::now().cpuSeconds;
  for (int repetition = 0; repetition < comparison.repetitions; ++repetition) {
    if (work() == 0) throw std::runtime_error(comparison.title + " gave nothing");
  }
  return (Usage::now().cpuSeconds - before) * 1000 / comparison.repetitions;
}

std::string lineFor(const Comparison& comparison, int rounds) {
  std::vector<double> ours;
  std::vector<double> zlib;
  std::vector<double> ratios;
  for (int round = 0; round < rounds; ++round) {
    zlib.push_back(millisecondsOf(comparison, comparison.zlib));
    ours.push_back(millisecondsOf(comparison, comparison.ours));
    ratios.push_back(ours.back() / zlib.back());
  }
  return formatted("  %-24s %10.2f %10.2f   ", comparison.title.c_str(), median(ours), median(zlib)) +
         atMost(median(ratios), comparison.goal) + "\n";
}

/// Adds both directions for one kind of content, and makes sure that both sides do the same.
void addComparisons(std::vector<Comparison>& comparisons, const std::string& content, const std::string& plain) {
  const platform::Data input(plain);
  const platform::Data packed = corvane::GZipArchiver(input).zip(corvane::GZipCompression::default_);
  if (packed.view() != deflateAtOnce(plain).view() || !(corvane::GZipUnarchiver(packed).unzip() == input)) {
    throw std::runtime_error("The coders and zlib disagree about " + content);
  }
  comparisons.push_back(
      {"compress " + content, archiverGoal, 4,
       [input] { return corvane::GZipArchiver(input).zip(corvane::GZipCompression::default_).count(); },
       [input] { return deflateAtOnce(input.view()).count; }});
  comparisons.push_back({"decompress " + content, unarchiverGoal, 40,
                         [packed] { return corvane::GZipUnarchiver(packed).unzip().count(); },
                         [packed] { return inflateAtOnce(packed.view(), inputBytes).count; }});
}

}  // namespace

std::string gzipReport(int rounds) {
  std::vector<Comparison> comparisons;
  addComparisons(comparisons, "JSON", json());
  addComparisons(comparisons, "random bytes", randomBytes());
  std::string text = "Gzip, 1 MiB, CPU time in ms\n";
  text += formatted("  %-24s %10s %10s   %s\n", "", "Corvane", "zlib", "ratio");
  for (const Comparison& comparison : comparisons) text += lineFor(comparison, rounds);
  return text;
}

}  // namespace bench
