#include "Corvane/Transfers/Internal/DownloadPlace.hpp"

#include <fcntl.h>

#include <cerrno>
#include <string>
#include <utility>
#include <variant>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Platform/Loading/Internal/DownloadFile.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane::detail {

using platform::DownloadOptions;
using platform::Error;
using platform::TemporaryFile;
using platform::detail::FileDescriptor;
using platform::detail::LoadFailure;

DownloadPlace::DownloadPlace(DownloadOptions options, platform::URL url)
    : options_(std::move(options)), url_(std::move(url)) {
  if (!options_.destination || options_.destination->resumes) return;
  path_.emplace(*options_.destination);
  check(path_->problem(), false);
}

TemporaryFile DownloadPlace::makeBeside() const {
  std::string name = path_->directory() + "/.CorvaneDownload_" + platform::UUID().uuidString() + ".waiting";
  if (!path_->make(name, O_WRONLY).isOpen())
    check(path_->failure(platform::URLErrorCode::cannotCreateFile, platform::detail::systemReason(errno)), false);
  return TemporaryFile(std::move(name));
}

Error DownloadPlace::named(Error error) const {
  const auto* const mismatch = error.as<platform::DigestMismatch>();
  if (!mismatch || !path_) return error;
  return platform::DigestMismatch(mismatch->expected(), mismatch->actual(), path_->path());
}

std::shared_ptr<RelocatedFile> DownloadPlace::take(RelocatedFile& beside) const {
  const std::string waiting = beside.url().fileSystemPath();
  const FileDescriptor file(
      platform::detail::uninterrupted([&] { return ::open(waiting.c_str(), O_RDONLY | O_CLOEXEC); }));
  if (file.isOpen()) path_->givePermissions(file);
  auto taken = path_->take(waiting);
  if (auto* const failure = std::get_if<LoadFailure>(&taken)) check(std::move(*failure));
  beside.keep();
  return RelocatedFile::atDestination(std::get<TemporaryFile>(std::move(taken)));
}

std::shared_ptr<RelocatedFile> DownloadPlace::save(const platform::Data& body,
                                                   const platform::URLResponse* head) const {
  const bool isContent = head && DownloadOptions::isContent(*head);
  platform::detail::DownloadFile file(isContent ? options_ : DownloadOptions());
  check(file.open());
  check(file.take(body.span()));
  check(file.finish());
  if (isContent && options_.destination) return RelocatedFile::atDestination(file.release());
  return RelocatedFile::relocate(file.release(), head);
}

void DownloadPlace::check(std::optional<LoadFailure> failure, bool requestWasSent) const {
  if (failure) throw platform::detail::transportError(failure->code, std::move(failure->message), url_, requestWasSent);
}

}  // namespace corvane::detail
