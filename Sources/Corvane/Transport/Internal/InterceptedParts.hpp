#pragma once

#include <memory>
#include <utility>

#include "Corvane/Transport/Detail/SendPipeline.hpp"
#include "Corvane/Transport/HTTPInterceptedResponse.hpp"
#include "Corvane/Transport/Internal/RelocatedFile.hpp"

namespace corvane::detail {

/// The body of a response that is not in memory. Discarded when it is destroyed, if not before.
class InterceptedBody {
 public:
  virtual ~InterceptedBody() = default;
  /// Lets go of it, on the queue of the sessions.
  virtual void discard() {}
};

/// That of a download.
class InterceptedFile final : public InterceptedBody {
 public:
  explicit InterceptedFile(std::shared_ptr<RelocatedFile> received) : file(std::move(received)) {}
  void discard() override { file->remove(); }

  const std::shared_ptr<RelocatedFile> file;
};

/// The parts of an intercepted response that interceptors do not see.
struct InterceptedParts {
  static HTTPInterceptedResponse make(std::shared_ptr<const platform::URLResponse> head,
                                      std::shared_ptr<InterceptedBody> body) {
    HTTPInterceptedResponse made;
    made.response = std::move(head);
    made.body_ = std::move(body);
    return made;
  }
  static HTTPInterceptedResponse of(TaskOutcome outcome) {
    auto made = make(std::move(outcome.response),
                     outcome.file ? std::make_shared<InterceptedFile>(std::move(outcome.file)) : nullptr);
    made.data = std::move(outcome.data);
    made.error = std::move(outcome.error);
    made.metrics = std::move(outcome.metrics);
    return made;
  }
  /// What the pipeline goes on with. A body that an interceptor set counts for more than a file.
  static TaskOutcome outcome(HTTPInterceptedResponse response) {
    TaskOutcome made{.data = std::move(response.data),
                     .url = {},
                     .response = std::move(response.response),
                     .error = std::move(response.error),
                     .file = nullptr,
                     .metrics = std::move(response.metrics),
                     .sent = std::move(response.sent_)};
    const auto* const file = dynamic_cast<const InterceptedFile*>(response.body_.get());
    if (!file || made.data) return made;
    made.file = file->file;
    made.url = made.file->url();
    return made;
  }

  static void discard(const HTTPInterceptedResponse& response) {
    if (response.body_) response.body_->discard();
  }
  static const std::shared_ptr<InterceptedBody>& body(const HTTPInterceptedResponse& response) {
    return response.body_;
  }
  /// Notes the request that led to the response.
  static void note(HTTPInterceptedResponse& response, std::shared_ptr<const platform::URLRequest> sent) {
    response.sent_ = std::move(sent);
  }
};

}  // namespace corvane::detail
