#include "Harness/Report.hpp"

#include "Harness/Figures.hpp"

namespace bench {

double medianOf(const Rounds& rounds, const Figure& figure) {
  std::vector<double> values;
  for (const Measurement& measurement : rounds) values.push_back(figure(measurement));
  return median(values);
}

double medianRatio(const Rounds& rounds, const Rounds& baseline, const Figure& figure) {
  std::vector<double> ratios;
  for (std::size_t round = 0; round < rounds.size(); ++round) {
    ratios.push_back(figure(rounds[round]) / figure(baseline[round]));
  }
  return median(ratios);
}

namespace {

struct Row {
  const Scenario& scenario;
  const Contender& contender;
  const Rounds& rounds;
  const Rounds& baseline;

  std::string text() const {
    const double work = workPerExchange() * scenario.count;
    const Figure rate = [work](const Measurement& measurement) { return work / measurement.seconds; };
    const Figure cpu = [this](const Measurement& measurement) { return measurement.cpuSeconds * 1e6 / scenario.count; };
    const Figure peak = [](const Measurement& measurement) { return measurement.peakMebibytes; };
    std::string line = formatted("  %-20s %10.0f %10.1f %8.1f", contender.client.c_str(), medianOf(rounds, rate),
                                 medianOf(rounds, cpu), medianOf(rounds, peak));
    line += "   rate " + atLeast(medianRatio(rounds, baseline, rate), contender.goals.rateAtLeast);
    line += ", CPU " + atMost(medianRatio(rounds, baseline, cpu), contender.goals.cpuAtMost);
    line += ", memory " +
            atMost(medianOf(rounds, peak) - medianOf(baseline, peak), contender.goals.extraMebibytesAtMost, "%+.1f");
    if (scenario.idealSeconds > 0) {
      const Figure ideal = [this](const Measurement& measurement) {
        return measurement.seconds / scenario.idealSeconds;
      };
      line += ", of ideal time " + atMost(medianOf(rounds, ideal), contender.goals.idealTimeAtMost, "%.3f");
    }
    return line + "\n";
  }

  /// A large body counts by its mebibytes, a small one as one.
  double workPerExchange() const { return isLarge(scenario) ? static_cast<double>(scenario.bodyBytes) / (1 << 20) : 1; }
  static bool isLarge(const Scenario& scenario) { return scenario.bodyBytes > (1 << 20); }
};

}  // namespace

std::string report(const Scenario& scenario, const std::string& server, const std::vector<Rounds>& measurements) {
  std::size_t baseline = 0;
  while (scenario.contenders[baseline].client != scenario.baseline) ++baseline;
  std::string text = scenario.title + ", " + server + ", " + std::to_string(measurements.front().size()) + " rounds\n";
  text += formatted("  %-20s %10s %10s %8s   against %s\n", "client", Row::isLarge(scenario) ? "MiB/s" : "requests/s",
                    "CPU us/req", "peak MiB", scenario.baseline.c_str());
  for (std::size_t index = 0; index < measurements.size(); ++index) {
    text += Row{scenario, scenario.contenders[index], measurements[index], measurements[baseline]}.text();
  }
  return text;
}

}  // namespace bench
