#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "Platform/Loading/Internal/RedirectPolicy.hpp"
#include "Platform/Loading/Internal/SessionCore.hpp"
#include "Platform/Loading/Internal/TaskAside.hpp"
#include "Platform/Loading/Internal/TaskCore.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

/// False: the response stands.
bool TaskCore::considersRedirect(const HTTPURLResponse& response) {
  const RedirectConfiguration& redirects = core_->configuration().redirects;
  if (redirects.following == RedirectFollowing::never) return false;
  // Of several Location fields the first counts: joined with a comma they would name a place nobody meant.
  const std::vector<std::string> locations = response.allHeaderFields().values("Location");
  std::optional<std::string_view> location;
  if (!locations.empty()) location = locations.front();
  if (redirects.following == RedirectFollowing::sameOrigin && location && leavesOrigin(*location, requestToSend().url))
    return false;
  RedirectDecision decision =
      decideRedirect(requestToSend(), response.statusCode(), location, redirects_, redirects.limit);
  if (std::holds_alternative<NoRedirect>(decision)) return false;
  if (auto* failure = std::get_if<LoadFailure>(&decision)) {
    headFailure_ = std::make_unique<Error>(transportError(
        failure->code, std::move(failure->message), requestToSend().url, hasSent || load->exchange().requestWasSent()));
    return true;
  }
  nextRequest_ = std::make_unique<URLRequest>(std::move(std::get<URLRequest>(decision)));
  isRedirect_ = true;
  isProposal_ = static_cast<bool>(redirects.decide);
  return true;
}

void TaskCore::follow(const HTTPURLResponse& response) {
  if (becomesGet(response.statusCode(), requestToSend().httpMethod)) sendsFile_ = false;
  std::vector<URLRedirect> all = hops_ ? *hops_ : std::vector<URLRedirect>();
  all.push_back({response.url(), response.statusCode()});
  hops_ = std::make_shared<const std::vector<URLRedirect>>(std::move(all));
  ++redirects_;
  metricsRecord.addRedirect();
}

/// The application decides while nothing is under way; the response was kept, for it may stand.
void TaskCore::propose(LoadOutcome outcome) {
  auto kept = std::make_shared<LoadOutcome>(std::move(outcome));
  isRedirect_ = false;
  isDeciding_ = true;
  auto proposed = std::make_shared<URLRequest>(*std::exchange(nextRequest_, nullptr));
  doAside(
      [this, kept, proposed] { return core_->configuration().redirects.decide(*kept->response, std::move(*proposed)); },
      [this, kept](std::optional<URLRequest> next) {
        isDeciding_ = false;
        if (state() != URLSessionTask::State::running) return;  // cancelled
        next ? followAsDecided(std::move(*kept), std::move(*next)) : letStand(std::move(*kept));
      });
}

/// Where the application decided on another body, or on a method that the status does not keep the file for, the file
/// of an upload is not sent.
bool TaskCore::keepsFile(int status, const URLRequest& next) const {
  const bool isBodiless = next.httpMethod == "GET" || next.httpMethod == "HEAD";
  return sendsFile_ && !becomesGet(status, requestToSend().httpMethod) && !isBodiless && !next.httpBody &&
         !next.httpBodyStream;
}

void TaskCore::followAsDecided(LoadOutcome outcome, URLRequest next) {
  const std::string scheme = lowercased(next.url.scheme().value_or(""));
  const bool sendsFile = keepsFile(outcome.response->statusCode(), next);
  std::string problem = sendsFile ? next.problem(static_cast<std::size_t>(bodyFile_->size())) : next.problem();
  if (next.httpBodyStream && next.httpBodyStream != originalRequest_.httpBodyStream)
    problem = "the application redirects with another stream as the body";
  if (problem.empty() && scheme != "http" && scheme != "https")
    problem = "the application redirects to a URL that leaves http and https";
  if (!problem.empty()) {
    finish(std::nullopt, std::move(outcome.response),
           transportError(URLErrorCode::badURL, std::move(problem), next.url, hasSent));
    return;
  }
  // Wherever it leads, it is of this task.
  next.exchangeSources = originalRequest_.exchangeSources;
  next.isRepetition = originalRequest_.isRepetition;
  follow(*outcome.response);
  sendsFile_ = sendsFile;
  nextRequest_ = std::make_unique<URLRequest>(std::move(next));
  sendNext(std::move(outcome.response));
}

/// Its body goes where that of any response would have gone.
void TaskCore::letStand(LoadOutcome outcome) {
  const Data body = std::exchange(outcome.body, Data());
  if (isStream_) {
    head_ = outcome.response;
    openStream(nullptr);
    if (!body.isEmpty()) static_cast<void>(pipe_->take(body.span()));
  } else if (download_ && wantsDownload(*outcome.response)) {
    auto sink = download_->sink();
    auto* failure = std::get_if<LoadFailure>(&sink);
    std::optional<LoadFailure> problem;
    if (failure) problem = std::move(*failure);
    if (!problem) problem = std::get<BodySink*>(sink)->take(body.span());
    if (problem) {
      finish(*problem, hasSent);
      return;
    }
  } else {
    outcome.body = body;
  }
  goOn(std::move(outcome));
}

}  // namespace platform::detail
