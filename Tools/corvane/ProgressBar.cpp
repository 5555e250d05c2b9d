#include "ProgressBar.hpp"

using namespace corvane;

namespace {

constexpr double beatInSeconds = 0.5;
// As often as a person can see.
constexpr double shortestPause = 0.05;

}  // namespace

ProgressBar::ProgressBar(int terminal, Plan plan) : line_(terminal), plan_(plan), timer_(DispatchQueue::main()) {
  rate_.record(0, 0);
  timer_.setEventHandler([this] { draw(); });
  timer_.schedule(beatInSeconds, beatInSeconds);
  timer_.resume();
}

ProgressBar::~ProgressBar() {
  timer_.cancel();
  clear();
}

void ProgressBar::begin(int number, const std::string& name) {
  Transfer& transfer = underWay_[number] = {.name = name, .start = now(), .rate = {}};
  transfer.rate.record(transfer.start, 0);
}

void ProgressBar::show(int number, const HTTPProgress& progress) {
  const auto [place, isFirst] = amounts_.try_emplace(number, Amount{});
  Amount& amount = place->second;
  amount.completedBytes = progress.completedBytes();
  amount.totalBytes = progress.totalBytes();
  if (isFirst && plan_.resumes) amount.bytesBefore = amount.completedBytes;
  goOn();
}

void ProgressBar::finish(int number, bool hasFailed) {
  ++finished_;
  if (hasFailed) ++failed_;
  underWay_.erase(number);
  clear();
}

void ProgressBar::goOn() {
  if (now() - lastDrawn_ >= shortestPause) draw();
}

std::string ProgressBar::summary() const {
  if (plan_.subject != Subject::transfers || plan_.count < 2) return "";
  return summaryLine(transferState(now()), failed_);
}

double ProgressBar::now() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

TransferState ProgressBar::transferState(double seconds) const {
  TransferState state{.seconds = seconds, .finishedTransfers = finished_, .transfers = plan_.count};
  bool isTotalKnown = static_cast<std::int64_t>(amounts_.size()) == plan_.count;
  std::int64_t total = 0;
  for (const auto& [number, amount] : amounts_) {
    state.completedBytes += amount.completedBytes;
    isTotalKnown = isTotalKnown && amount.totalBytes >= 0;
    total += amount.totalBytes;
  }
  if (isTotalKnown) state.totalBytes = total;
  return state;
}

BatchState ProgressBar::batchState(double seconds) const {
  return {.responses = finished_, .requests = plan_.count, .failures = failed_, .seconds = seconds};
}

std::string ProgressBar::text(double seconds) {
  if (plan_.subject == Subject::batch) {
    BatchState state = batchState(seconds);
    rate_.record(seconds, state.responses);
    state.responsesPerSecond = rate_.perSecond(seconds);
    return batchLine(state, line_.columns());
  }
  TransferState state = transferState(seconds);
  std::int64_t before = 0;
  for (const auto& [number, amount] : amounts_) before += amount.bytesBefore;
  rate_.record(seconds, state.completedBytes - before);
  state.bytesPerSecond = rate_.perSecond(seconds);
  return progressLine(state, line_.columns());
}

std::string ProgressBar::line(int number, Transfer& transfer, double seconds) const {
  const auto known = amounts_.find(number);
  const Amount amount = known != amounts_.end() ? known->second : Amount{0, -1, 0};
  transfer.rate.record(seconds, amount.completedBytes - amount.bytesBefore);
  return namedLine(transfer.name,
                   {.completedBytes = amount.completedBytes,
                    .totalBytes = amount.totalBytes,
                    .bytesPerSecond = transfer.rate.perSecond(seconds),
                    .seconds = seconds - transfer.start},
                   line_.columns());
}

/// As many as fit above that of all.
std::vector<std::string> ProgressBar::lines(double seconds) {
  std::vector<std::string> result;
  const std::size_t room = line_.rows() - 1;
  if (plan_.subject == Subject::transfers && plan_.count > 1) {
    for (auto& [number, transfer] : underWay_) {
      if (result.size() < room) result.push_back(line(number, transfer, seconds));
    }
  }
  result.push_back(text(seconds));
  return result;
}

void ProgressBar::draw() {
  lastDrawn_ = now();
  line_.show(lines(lastDrawn_));
}
