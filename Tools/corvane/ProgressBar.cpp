#include "ProgressBar.hpp"

using namespace corvane;

namespace {

constexpr double beatInSeconds = 0.5;
// As often as a person can see.
constexpr double shortestPause = 0.05;

}  // namespace

ProgressBar::ProgressBar(int terminal, Subject subject, std::int64_t count)
    : line_(terminal), subject_(subject), timer_(DispatchQueue::main()), count_(count) {
  rate_.record(0, 0);
  timer_.setEventHandler([this] { draw(); });
  timer_.schedule(beatInSeconds, beatInSeconds);
  timer_.resume();
}

ProgressBar::~ProgressBar() {
  timer_.cancel();
  clear();
}

void ProgressBar::show(int number, const HTTPProgress& progress) {
  amounts_[number] = {progress.completedBytes(), progress.totalBytes()};
  goOn();
}

void ProgressBar::finish(bool hasFailed) {
  ++finished_;
  if (hasFailed) ++failed_;
  clear();
}

void ProgressBar::goOn() {
  if (now() - lastDrawn_ >= shortestPause) draw();
}

double ProgressBar::now() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

TransferState ProgressBar::transferState(double seconds) const {
  TransferState state{.seconds = seconds, .finishedTransfers = finished_, .transfers = count_};
  bool isTotalKnown = static_cast<std::int64_t>(amounts_.size()) == count_;
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
  return {.responses = finished_, .requests = count_, .failures = failed_, .seconds = seconds};
}

std::string ProgressBar::text(double seconds) {
  if (subject_ == Subject::batch) {
    BatchState state = batchState(seconds);
    rate_.record(seconds, state.responses);
    state.responsesPerSecond = rate_.perSecond(seconds);
    return batchLine(state, line_.columns());
  }
  TransferState state = transferState(seconds);
  rate_.record(seconds, state.completedBytes);
  state.bytesPerSecond = rate_.perSecond(seconds);
  return progressLine(state, line_.columns());
}

void ProgressBar::draw() {
  lastDrawn_ = now();
  line_.show(text(lastDrawn_));
}
