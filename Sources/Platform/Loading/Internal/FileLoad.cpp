#include "Platform/Loading/Internal/FileLoad.hpp"

#include <utility>

#include "Platform/Loading/Internal/DownloadFile.hpp"
#include "Platform/Loading/Internal/ReadableFile.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

constexpr std::size_t pieceBytes = 64 * 1024;

LoadFailure limitFailure(const std::string& path, std::int64_t maximumBytes) {
  return {URLErrorCode::dataLengthExceedsMaximum,
          path + ": exceeds the limit of " + std::to_string(maximumBytes) + " bytes"};
}

}  // namespace

FileLoad FileLoad::intoMemory(const URL& url, std::int64_t maximumBytes) {
  FileLoad load;
  load.conclude(url, load.read(url.fileSystemPath(), maximumBytes));
  return load;
}

FileLoad FileLoad::intoFile(const URL& url, std::int64_t maximumBytes, const DownloadOptions& options,
                            const std::function<bool()>& goesOn) {
  FileLoad load;
  load.conclude(url, load.copy(url.fileSystemPath(), maximumBytes, options, goesOn));
  return load;
}

void FileLoad::conclude(const URL& url, const std::optional<LoadFailure>& failure) {
  if (failure) {
    data.reset();
    error = transportError(failure->code, failure->message, url, false);
    return;
  }
  response = std::make_shared<URLResponse>(url, std::nullopt, count_, std::nullopt);
}

std::optional<LoadFailure> FileLoad::read(const std::string& path, std::int64_t maximumBytes) {
  ReadableFile source;
  if (auto failure = source.open(path)) return failure;
  if (source.size() > maximumBytes) return limitFailure(path, maximumBytes);
  // The size is a hint: some files say 0, and others grow.
  const auto expected = static_cast<std::size_t>(source.size());
  Data& bytes = data.emplace(Data::withCapacity(expected + 1));
  while (true) {
    const std::size_t before = bytes.count();
    bytes.resize(before < expected ? expected : before + pieceBytes);
    auto result = source.read(count_, {bytes.mutableBytes() + before, bytes.count() - before});
    if (auto* failure = std::get_if<LoadFailure>(&result)) return std::move(*failure);
    const std::size_t got = std::get<std::size_t>(result);
    bytes.resize(before + got);
    count_ += static_cast<std::int64_t>(got);
    if (got == 0) return std::nullopt;
    if (count_ > maximumBytes) return limitFailure(path, maximumBytes);
  }
}

std::optional<LoadFailure> FileLoad::copy(const std::string& path, std::int64_t maximumBytes,
                                          const DownloadOptions& options, const std::function<bool()>& goesOn) {
  ReadableFile source;
  DownloadFile target(options);
  if (auto failure = source.open(path)) return failure;
  if (source.size() > maximumBytes) return limitFailure(path, maximumBytes);
  if (auto failure = target.open()) return failure;
  Data piece;
  piece.resize(pieceBytes);
  while (true) {
    if (!goesOn()) return std::nullopt;
    auto result = source.read(count_, {piece.mutableBytes(), piece.count()});
    if (auto* failure = std::get_if<LoadFailure>(&result)) return std::move(*failure);
    const std::size_t got = std::get<std::size_t>(result);
    if (got == 0) break;
    count_ += static_cast<std::int64_t>(got);
    if (count_ > maximumBytes) return limitFailure(path, maximumBytes);
    if (auto failure = target.take({piece.bytes(), got})) return failure;
  }
  if (auto failure = target.finish()) return failure;
  file = target.release();
  return std::nullopt;
}

}  // namespace platform::detail
