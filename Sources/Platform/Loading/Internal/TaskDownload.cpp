#include <memory>
#include <optional>
#include <utility>
#include <variant>

#include "Platform/Loading/Internal/BodyLimit.hpp"
#include "Platform/Loading/Internal/DownloadReceiver.hpp"
#include "Platform/Loading/Internal/FileLoad.hpp"
#include "Platform/Loading/Internal/PartialFile.hpp"
#include "Platform/Loading/Internal/SessionCore.hpp"
#include "Platform/Loading/Internal/TaskAside.hpp"
#include "Platform/Loading/Internal/TaskCore.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

/// The steps of a task that puts what it loads into a file.
namespace platform::detail {

void TaskCore::beginDownload() {
  if (const auto failure = download_->begin(originalRequest_, currentRequest_)) {
    if (failure->code == URLErrorCode::badURL) {
      finish(NSError(NSURLErrorDomain, failure->code, failure->message));  // as of any request that must not be sent
    } else {
      finish(*failure, false);
    }
    return;
  }
  if (!download_->unhashed()) {
    send();
    return;
  }
  doAside(
      [this, partial = download_->unhashed()] {
        return partial->hashKept([this] { return state() == URLSessionTask::State::running; });
      },
      [this](SHA256Hasher hasher) {
        if (state() != URLSessionTask::State::running) return;  // cancelled: it may be that of a part only
        download_->keptWasHashed(std::move(hasher));
        send();
      });
}

bool TaskCore::wantsDownload(const HTTPURLResponse& response) {
  DownloadReceiver::Verdict verdict = download_->judge(response);
  switch (verdict.kind) {
    case DownloadReceiver::Verdict::Kind::take:
      if (download_->isResumable()) {
        bodyAnnounced(response.expectedContentLength());
        bodyReceived(0);
      }
      return true;
    case DownloadReceiver::Verdict::Kind::sendAgain:
      nextRequest_ = std::make_unique<URLRequest>(withoutRange(requestToSend()));
      return false;
    case DownloadReceiver::Verdict::Kind::complete:
      isComplete_ = true;
      bodyAnnounced(0);
      bodyReceived(0);
      return false;
    case DownloadReceiver::Verdict::Kind::refuse:
      headFailure_ = std::make_unique<Error>(
          transportError(verdict.failure->code, std::move(verdict.failure->message), requestToSend().url, true));
      return false;
  }
  return false;
}

std::optional<Error> TaskCore::completeDownload() {
  try {
    auto received = download_->complete();
    if (auto* failure = std::get_if<LoadFailure>(&received))
      return transportError(failure->code, std::move(failure->message), requestToSend().url, true);
    file_ = std::make_unique<TemporaryFile>(std::get<TemporaryFile>(std::move(received)));
    return std::nullopt;
  } catch (...) {
    return Error::current();
  }
}

void TaskCore::loadFile() {
  doAside([this] { return loadedFile(); }, [this](FileLoad loaded) { finish(loaded); });
}

FileLoad TaskCore::loadedFile() const {
  const URL& url = originalRequest_.url;
  const std::int64_t limit = bodyLimit(originalRequest_, core_->configuration(), download_ != nullptr);
  if (!download_) return FileLoad::intoMemory(url, limit);
  return FileLoad::intoFile(url, limit, download_->options(),
                            [this] { return state() == URLSessionTask::State::running; });
}

void TaskCore::finish(FileLoad& loaded) {
  if (state() != URLSessionTask::State::running) return;  // cancelled: what there is may be a part only
  if (loaded.response) {
    bodyAnnounced(loaded.response->expectedContentLength());
    bodyReceived(loaded.response->expectedContentLength());
  }
  if (download_ && !loaded.error) file_ = std::make_unique<TemporaryFile>(std::move(loaded.file));
  finish(std::move(loaded.data), std::move(loaded.response), std::move(loaded.error));
}

}  // namespace platform::detail
