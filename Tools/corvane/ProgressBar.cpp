#include "ProgressBar.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

using namespace corvane;

namespace {

constexpr double beatInSeconds = 0.5;
// As often as a person can see.
constexpr double shortestPause = 0.05;
constexpr int usualColumns = 80;

int columnsOf(int terminal) {
  winsize size{};
  const bool isKnown = ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  // Many terminals go to the next line when the last column is written.
  return (isKnown ? size.ws_col : usualColumns) - 1;
}

}  // namespace

ProgressBar::ProgressBar(int terminal, int transfers)
    : terminal_(terminal), timer_(DispatchQueue::main()), transfers_(transfers) {
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
  if (now() - lastDrawn_ >= shortestPause) draw();
}

void ProgressBar::finish() {
  ++finished_;
  clear();
}

double ProgressBar::now() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

TransferState ProgressBar::state() const {
  TransferState state{.seconds = now(), .finishedTransfers = finished_, .transfers = transfers_};
  bool isTotalKnown = static_cast<int>(amounts_.size()) == transfers_;
  std::int64_t total = 0;
  for (const auto& [number, amount] : amounts_) {
    state.completedBytes += amount.completedBytes;
    isTotalKnown = isTotalKnown && amount.totalBytes >= 0;
    total += amount.totalBytes;
  }
  if (isTotalKnown) state.totalBytes = total;
  return state;
}

void ProgressBar::draw() {
  TransferState current = state();
  rate_.record(current.seconds, current.completedBytes);
  current.bytesPerSecond = rate_.bytesPerSecond(current.seconds);
  lastDrawn_ = current.seconds;

  const std::string line = progressLine(current, columnsOf(terminal_));
  const std::size_t rest = lineLength_ > line.size() ? lineLength_ - line.size() : 0;
  write("\r" + line + std::string(rest, ' '));
  lineLength_ = line.size();
}

void ProgressBar::clear() {
  if (lineLength_ == 0) return;
  const auto columns = static_cast<std::size_t>(std::max(columnsOf(terminal_), 0));
  write("\r" + std::string(std::min(lineLength_, columns), ' ') + "\r");
  lineLength_ = 0;
}

// A terminal that is gone must not end the transfer.
void ProgressBar::write(const std::string& text) const {
  [[maybe_unused]] const ssize_t count = ::write(terminal_, text.data(), text.size());
}
