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
                                            const HTTPHeaderFields& responseFields, Bounds bounds) {
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
  return {std::unique_ptr<ContentDecoder>(new ContentDecoder(std::move(stages), bounds)), {}};
}

ContentDecoder::ContentDecoder(Stages stages, Bounds bounds) : bounds_(bounds) {
  for (auto& stage : stages) {
    const bool isLast = &stage == &stages.back();
    Link& link = links_.emplace_back();
    link.stage = std::move(stage);
    link.maximumBytes = isLast ? bounds.maximumBytes : boundBetweenStages(bounds.maximumBytes);
    if (links_.size() > 1) link.buffer = std::make_unique_for_overwrite<std::byte[]>(pieceBytes);
  }
}

/// What one coding decodes is what the next one takes.
DecodedStep ContentDecoder::decode(std::size_t place, Bytes& input, std::span<std::byte> room) {
  Link& link = links_[place];
  Bytes& taken = place == 0 ? input : link.input;
  for (;;) {
    DecodedStep step = link.stage->decode(taken, room);
    link.decodedBytes += static_cast<std::int64_t>(step.count);
    if (auto failure = boundsFailure(link)) return {0, std::move(failure)};
    if (step.failure || step.count > 0 || place == 0) return step;
    const std::span<std::byte> buffer(link.buffer.get(), pieceBytes);
    step = decode(place - 1, input, buffer);
    if (step.failure || step.count == 0) return {0, std::move(step.failure)};
    taken = buffer.first(step.count);
  }
}

DecodedStep ContentDecoder::decode(Bytes& input, std::span<std::byte> room) {
  const std::size_t before = input.size();
  // What is about to be taken counts for the bound on expansion.
  inputBytes_ += static_cast<std::int64_t>(before);
  DecodedStep step = decode(links_.size() - 1, input, room);
  inputBytes_ -= static_cast<std::int64_t>(input.size());
  return step;
}

std::optional<LoadFailure> ContentDecoder::boundsFailure(const Link& link) const {
  if (link.decodedBytes > link.maximumBytes) {
    return LoadFailure{URLErrorCode::dataLengthExceedsMaximum,
                       "the decoded body exceeds " + std::to_string(bounds_.maximumBytes) + " bytes"};
  }
  if (bounds_.limitsExpansion && link.decodedBytes > freeExpansionBytes &&
      link.decodedBytes / maximumExpansion > inputBytes_) {
    return LoadFailure{URLErrorCode::dataLengthExceedsMaximum,
                       "the body of " + std::to_string(inputBytes_) +
                           " bytes or more expands to more than 100 times its length; a download takes it"};
  }
  return std::nullopt;
}

std::optional<LoadFailure> ContentDecoder::decode(Bytes input, const Sink& sink) {
  if (!piece_) piece_ = std::make_unique_for_overwrite<std::byte[]>(pieceBytes);
  if (input.empty()) return std::nullopt;
  for (;;) {
    DecodedStep step = decode(input, {piece_.get(), pieceBytes});
    if (step.count > 0) {
      if (auto failure = sink(Bytes(piece_.get(), step.count))) return failure;
    }
    if (step.failure || step.count == 0) return std::move(step.failure);
  }
}

std::optional<LoadFailure> ContentDecoder::finish() {
  if (inputBytes_ == 0) return std::nullopt;
  for (const Link& link : links_) {
    if (auto failure = link.stage->finish()) return failure;
  }
  return std::nullopt;
}

}  // namespace platform::detail
