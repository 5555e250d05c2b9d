#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "JSON/Contender.hpp"

namespace bench {

/// One task, done by all contenders in turn.
class Race {
 public:
  /// The document and the contenders must stay as long as the race.
  static Race ofDecoding(const std::string& title, const Document& document, const std::vector<Contender>& contenders);
  static Race ofEncoding(const std::string& title, const Document& document, const std::vector<Contender>& contenders);

  const std::string& title() const { return title_; }
  /// Measures each contender once, in CPU time and in a process of its own, after it did the task once unmeasured.
  /// Throws when a contender did it wrongly.
  void runRound();
  /// A table of the medians over the rounds, and Corvane's rate as a multiple of each contender's, which is the median
  /// of the ratios within each round, beside the goal. Requires: a round was run.
  std::string report() const;

 private:
  /// Does the task some times and returns the CPU seconds of one time.
  using Sample = std::function<double()>;

  struct Entrant {
    std::string name;
    std::optional<double> goal;
    Sample sample;
    std::vector<double> seconds;
  };

  Race(std::string title, std::size_t documentBytes) : title_(std::move(title)), documentBytes_(documentBytes) {}
  /// As a multiple of the other's.
  static double rateOf(const Entrant& one, const Entrant& other);

  std::string title_;
  std::size_t documentBytes_;
  std::vector<Entrant> entrants_;
};

}  // namespace bench
