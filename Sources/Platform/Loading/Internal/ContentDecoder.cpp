#include "Platform/Loading/Internal/ContentDecoder.hpp"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "Platform/Loading/Internal/CompressStage.hpp"
#include "Platform/Loading/Internal/InflateStage.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

std::vector<std::string> codingsOf(const HTTPHeaderFields& fields) {
  std::vector<std::string> codings;
  for (const auto& [name, value] : fields) {
    if (!equalsIgnoringCase(name, "Content-Encoding")) continue;
    for (const std::string_view coding : listElements(value)) {
      if (!coding.empty()) codings.push_back(lowercased(coding));
    }
  }
  return codings;
}

/// Null for a coding that is not known.
std::unique_ptr<DecoderStage> stageFor(std::string_view coding) {
  if (coding == "gzip" || coding == "x-gzip") return std::make_unique<InflateStage>(InflateStage::Format::gzip);
  if (coding == "deflate") return std::make_unique<InflateStage>(InflateStage::Format::deflate);
  if (coding == "compress" || coding == "x-compress") return std::make_unique<CompressStage>();
  return nullptr;
}

/// What lies between two codings is hardly longer than what both stand for; far beyond that it is there to
/// keep the machine busy.
std::int64_t boundBetweenStages(std::int64_t maximumBytes) {
  constexpr std::int64_t headers = 65536;
  const std::int64_t slack = maximumBytes / 8 + headers;
  return maximumBytes > std::numeric_limits<std::int64_t>::max() - slack ? maximumBytes : maximumBytes + slack;
}

/// Passes bytes on until they are more than `maximumBytes` in all.
ByteConsumer bounded(std::int64_t maximumBytes, std::int64_t reportedMaximum, ByteConsumer next) {
  return [reportedMaximum, next = std::move(next),
          left = maximumBytes](Bytes bytes) mutable -> std::optional<LoadFailure> {
    const auto count = static_cast<std::int64_t>(bytes.size());
    if (count > left) {
      return LoadFailure{URLErrorCode::dataLengthExceedsMaximum,
                         "the decoded body exceeds " + std::to_string(reportedMaximum) + " bytes"};
    }
    left -= count;
    return next(bytes);
  };
}

}  // namespace

ContentDecoder::Choice ContentDecoder::make(const HTTPHeaderFields& fields, std::int64_t maximumBytes, Sink sink) {
  const auto codings = codingsOf(fields);
  if (codings.size() > maximumCodings) {
    return {nullptr,
            LoadFailure{URLErrorCode::cannotParseResponse,
                        "the response has " + std::to_string(codings.size()) + " content codings, more than 5"}};
  }
  Stages stages;
  // The coding that was applied last is listed last, and undone first.
  for (auto coding = codings.rbegin(); coding != codings.rend(); ++coding) {
    if (*coding == "identity") continue;
    stages.push_back(stageFor(*coding));
    if (!stages.back()) {
      return {nullptr, LoadFailure{URLErrorCode::cannotDecodeRawData,
                                   "the content coding \"" + printable(*coding) + "\" is not known"}};
    }
  }
  if (stages.empty()) return {};
  return {std::unique_ptr<ContentDecoder>(new ContentDecoder(std::move(stages), maximumBytes, std::move(sink))), {}};
}

ContentDecoder::ContentDecoder(Stages stages, std::int64_t maximumBytes, Sink sink) : stages_(std::move(stages)) {
  const std::size_t last = stages_.size() - 1;
  for (std::size_t i = 0; i < last; ++i) {
    ByteConsumer next = [this, i](Bytes bytes) { return stages_[i + 1]->decode(bytes, consumers_[i + 1]); };
    consumers_.push_back(bounded(boundBetweenStages(maximumBytes), maximumBytes, std::move(next)));
  }
  consumers_.push_back(bounded(maximumBytes, maximumBytes, std::move(sink)));
}

std::optional<LoadFailure> ContentDecoder::decode(Bytes input) {
  if (input.empty()) return std::nullopt;
  hasInput_ = true;
  return stages_.front()->decode(input, consumers_.front());
}

std::optional<LoadFailure> ContentDecoder::finish() {
  if (!hasInput_) return std::nullopt;
  for (const auto& stage : stages_) {
    if (auto failure = stage->finish()) return failure;
  }
  return std::nullopt;
}

}  // namespace platform::detail
