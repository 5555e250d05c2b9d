#include "Platform/Loading/Internal/FileBodyStream.hpp"

#include <algorithm>
#include <string>
#include <utility>
#include <variant>

#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

[[noreturn]] void fail(LoadFailure failure, const URL& file) {
  throw transportError(failure.code, std::move(failure.message), file, false);
}

UploadFile opened(const URL& url) {
  UploadFile file;
  if (auto failure = file.open(url)) fail(std::move(*failure), url);
  return file;
}

}  // namespace

class FileBodyStream::FilePass final : public Pass {
 public:
  FilePass(URL url, UploadFile file) : url_(std::move(url)), file_(std::move(file)) {}

  std::optional<Data> next() override {
    if (file_.isAtEnd()) return std::nullopt;
    const auto left = static_cast<std::uint64_t>(file_.size() - file_.offset());
    Data bytes;
    bytes.resize(static_cast<std::size_t>(std::min<std::uint64_t>(left, pieceBytes)));
    auto result = file_.read({bytes.mutableBytes(), bytes.count()});
    if (auto* failure = std::get_if<LoadFailure>(&result)) fail(std::move(*failure), url_);
    bytes.resize(std::get<std::size_t>(result));
    return bytes;
  }

 private:
  const URL url_;
  UploadFile file_;
};

FileBodyStream::FileBodyStream(const URL& file)
    : url_(file), length_(static_cast<std::uint64_t>(opened(file).size())) {}

std::shared_ptr<URLBodyStream::Pass> FileBodyStream::makePass() {
  UploadFile file = opened(url_);
  const auto now = static_cast<std::uint64_t>(file.size());
  if (now != length_) {
    fail(
        {URLErrorCode::requestBodyStreamExhausted, url_.fileSystemPath() + ": changed from " + std::to_string(length_) +
                                                       " to " + std::to_string(now) + " bytes before it was sent"},
        url_);
  }
  return std::make_shared<FilePass>(url_, std::move(file));
}

}  // namespace platform::detail
