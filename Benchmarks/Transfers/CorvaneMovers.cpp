#include <future>
#include <stdexcept>

#include "Corvane/Corvane.hpp"
#include "Transfers/Transfer.hpp"

namespace bench {
namespace {

/// Of one transfer; set by its completion.
using Outcome = std::promise<std::filesystem::path>;

template <class Response>
void raiseFailure(const Response& response) {
  if (response.result.error()) response.result.error()->raise();
}

void settle(Outcome& outcome, const corvane::DownloadResponse<corvane::URL>& response) {
  raiseFailure(response);
  if (!response.result.url()) throw std::runtime_error("The response has no file");
  outcome.set_value(response.result.url()->fileSystemPath());
}

void settle(Outcome& outcome, const corvane::DataResponse& response) {
  raiseFailure(response);
  outcome.set_value({});
}

template <class Request>
class CorvaneMover final : public Mover {
 public:
  CorvaneMover(Request request, bool isObserved) : request_(std::move(request)), isObserved_(isObserved) {}

  std::filesystem::path move() override {
    Outcome outcome;
    const auto completion = [&outcome](const typename Request::Response& response) {
      try {
        settle(outcome, response);
      } catch (...) {
        outcome.set_exception(std::current_exception());
      }
    };
    completed_ = 0;
    if (isObserved_) {
      request_.send(queue_, [this](const corvane::HTTPProgress& progress) { note(progress); }, completion);
    } else {
      request_.send(queue_, completion);
    }
    std::filesystem::path path = outcome.get_future().get();
    if (isObserved_ && completed_ != transferBytes) throw std::runtime_error("The handler was not told of the end");
    return path;
  }

 private:
  /// As a progress bar would.
  void note(const corvane::HTTPProgress& progress) {
    if (progress.percentCompleted()) completed_ = static_cast<std::uint64_t>(progress.completedBytes());
  }

  const Request request_;
  const bool isObserved_;
  const corvane::DispatchQueue queue_{"org.corvane.bench"};
  /// Written on the queue; read when the completion was called there.
  std::uint64_t completed_ = 0;
};

std::unique_ptr<Mover> make(const TransferTask& task, bool isObserved) {
  const corvane::URL url(task.url());
  if (task.direction == Direction::download) {
    return std::make_unique<CorvaneMover<corvane::DownloadGetRequest<>>>(corvane::DownloadGetRequest<>(url),
                                                                         isObserved);
  }
  return std::make_unique<CorvaneMover<corvane::FileUploadRequest>>(
      corvane::FileUploadRequest(url, corvane::URL::file(task.source.string()), {.method = corvane::HTTPMethod::put}),
      isObserved);
}

}  // namespace

std::unique_ptr<Mover> makeCorvaneMover(const TransferTask& task) { return make(task, false); }

std::unique_ptr<Mover> makeObservedCorvaneMover(const TransferTask& task) { return make(task, true); }

}  // namespace bench
