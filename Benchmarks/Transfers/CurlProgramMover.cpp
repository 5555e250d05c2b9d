#include "Transfers/Transfer.hpp"

namespace bench {
namespace {

constexpr double patienceSeconds = 60;

class CurlProgramMover final : public Mover {
 public:
  explicit CurlProgramMover(const TransferTask& task) : task_(task) { run({"--version"}); }

  std::filesystem::path move() override {
    if (task_.direction == Direction::upload) {
      run({"--fail", "--silent", "--show-error", "-T", task_.source.string(), "-o", "/dev/null", task_.url()});
      return {};
    }
    const std::filesystem::path path = task_.folder / "curl-download";
    run({"--fail", "--silent", "--show-error", "-o", path.string(), task_.url()});
    return path;
  }

  Usage usage() const override { return Usage::ofChildren(); }

 private:
  static void run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"curl", "--disable"});
    ChildProcess(arguments).waitForSuccess(patienceSeconds);
  }

  const TransferTask task_;
};

}  // namespace

std::unique_ptr<Mover> makeCurlProgramMover(const TransferTask& task) {
  return std::make_unique<CurlProgramMover>(task);
}

}  // namespace bench
