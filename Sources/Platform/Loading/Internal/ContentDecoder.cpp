#include "Platform/Loading/Internal/ContentDecoder.hpp"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "Platform/Loading/Internal/CompressStage.hpp"
#include "Platform/Loading/Internal/InflateStage.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Networking/HTTPText.hpp"

#ifdef CORVANE_HAS_BROTLI
#include "Platform/Loading/Internal/BrotliStage.hpp"
#endif
#ifdef CORVANE_HAS_ZSTD
#include "Platform/Loading/Internal/ZstdStage.hpp"
#endif

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

#if defined(CORVANE_HAS_BROTLI) || defined(CORVANE_HAS_ZSTD)
/// Whether "Accept-Encoding" names the coding, with a weight other than zero (RFC 9110, 12.4.2 and 12.5.3).
bool asksFor(const HTTPHeaderFields& requestFields, std::string_view coding) {
  for (const auto& [name, value] : requestFields) {
    if (!equalsIgnoringCase(name, "Accept-Encoding")) continue;
    for (const std::string_view element : listElements(value)) {
      const auto preference = ParameterizedValue::parse(element);
      if (!equalsIgnoringCase(preference.value, coding)) continue;
      const std::string* const weight = preference.parameter("q");
      return !weight || weight->find_first_not_of("0.") != std::string::npos;
    }
  }
  return false;
}
#endif

/// Null for a coding that is not known.
std::unique_ptr<DecoderStage> stageFor(std::string_view coding,
                                       [[maybe_unused]] const HTTPHeaderFields& requestFields) {
  if (coding == "gzip" || coding == "x-gzip") return std::make_unique<InflateStage>(InflateStage::Format::gzip);
  if (coding == "deflate") return std::make_unique<InflateStage>(InflateStage::Format::deflate);
  if (coding == "compress" || coding == "x-compress") return std::make_unique<CompressStage>();
#ifdef CORVANE_HAS_BROTLI
  if (coding == "br" && asksFor(requestFields, coding)) return std::make_unique<BrotliStage>();
#endif
#ifdef CORVANE_HAS_ZSTD
  if (coding == "zstd" && asksFor(requestFields, coding)) return std::make_unique<ZstdStage>();
#endif
  return nullptr;
}

/// What lies between two codings is hardly longer than what both stand for; far beyond that it is there to
/// keep the machine busy.
std::int64_t boundBetweenStages(std::int64_t maximumBytes) {
  constexpr std::int64_t headers = 65536;
  const std::int64_t slack = maximumBytes / 8 + headers;
  return maximumBytes > std::numeric_limits<std::int64_t>::max() - slack ? maximumBytes : maximumBytes + slack;
}

}  // namespace

ContentDecoder::Choice ContentDecoder::make(const HTTPHeaderFields& requestFields,
                                            const HTTPHeaderFields& responseFields, Bounds bounds, Sink sink) {
  const auto codings = codingsOf(responseFields);
  if (codings.size() > maximumCodings) {
    return {nullptr,
            LoadFailure{URLErrorCode::cannotParseResponse,
                        "the response has " + std::to_string(codings.size()) + " content codings, more than 5"}};
  }
  Stages stages;
  // The coding that was applied last is listed last, and undone first.
  for (auto coding = codings.rbegin(); coding != codings.rend(); ++coding) {
    if (*coding == "identity") continue;
    stages.push_back(stageFor(*coding, requestFields));
    if (!stages.back()) {
      return {nullptr, LoadFailure{URLErrorCode::cannotDecodeRawData,
                                   "the content coding \"" + printable(*coding) + "\" is not known"}};
    }
  }
  if (stages.empty()) return {};
  return {std::unique_ptr<ContentDecoder>(new ContentDecoder(std::move(stages), bounds, std::move(sink))), {}};
}

ContentDecoder::ContentDecoder(Stages stages, Bounds bounds, Sink sink) : bounds_(bounds), stages_(std::move(stages)) {
  const std::size_t last = stages_.size() - 1;
  for (std::size_t i = 0; i < last; ++i) {
    ByteConsumer next = [this, i](Bytes bytes) { return stages_[i + 1]->decode(bytes, consumers_[i + 1]); };
    consumers_.push_back(bounded(boundBetweenStages(bounds_.maximumBytes), std::move(next)));
  }
  consumers_.push_back(bounded(bounds_.maximumBytes, std::move(sink)));
}

/// Passes bytes on while they are within the bounds.
ByteConsumer ContentDecoder::bounded(std::int64_t maximumBytes, ByteConsumer next) const {
  return [this, maximumBytes, next = std::move(next), count = std::int64_t{0}](Bytes bytes) mutable {
    count += static_cast<std::int64_t>(bytes.size());
    auto failure = boundsFailure(count, maximumBytes);
    return failure ? failure : next(bytes);
  };
}

std::optional<LoadFailure> ContentDecoder::boundsFailure(std::int64_t decodedBytes, std::int64_t maximumBytes) const {
  if (decodedBytes > maximumBytes) {
    return LoadFailure{URLErrorCode::dataLengthExceedsMaximum,
                       "the decoded body exceeds " + std::to_string(bounds_.maximumBytes) + " bytes"};
  }
  if (bounds_.limitsExpansion && decodedBytes > freeExpansionBytes && decodedBytes / maximumExpansion > inputBytes_) {
    return LoadFailure{URLErrorCode::dataLengthExceedsMaximum,
                       "the body of " + std::to_string(inputBytes_) +
                           " bytes or more expands to more than 100 times its length; a download takes it"};
  }
  return std::nullopt;
}

std::optional<LoadFailure> ContentDecoder::decode(Bytes input) {
  if (input.empty()) return std::nullopt;
  inputBytes_ += static_cast<std::int64_t>(input.size());
  return stages_.front()->decode(input, consumers_.front());
}

std::optional<LoadFailure> ContentDecoder::finish() {
  if (inputBytes_ == 0) return std::nullopt;
  for (const auto& stage : stages_) {
    if (auto failure = stage->finish()) return failure;
  }
  return std::nullopt;
}

}  // namespace platform::detail
