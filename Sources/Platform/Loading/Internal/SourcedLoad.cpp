#include "Platform/Loading/Internal/SourcedLoad.hpp"

#include <algorithm>
#include <cstdint>
#include <new>
#include <string>
#include <variant>

#include "Platform/Loading/Internal/ContentDecoder.hpp"
#include "Platform/Loading/Internal/HTTPLoader.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"

namespace platform::detail {

using networking::ExchangeProblem;

SourceQuestion::SourceQuestion(networking::EventLoop& loop, HTTPLoad& load,
                               std::shared_ptr<const ExchangeSources> sources, SourcedRequest request)
    : loop_(loop),
      load_(&load),
      sources_(std::move(sources)),
      request_(std::make_shared<const SourcedRequest>(std::move(request))) {}

void SourceQuestion::askNext() {
  if (asked_ == sources_->sources.size()) {
    loop_.post([self = shared_from_this()] {
      if (self->load_) self->load_->sourcesDecided(FromNetwork{self->tap_});
    });
    return;
  }
  ExchangeSource& source = *sources_->sources[asked_++];
  source.ask(request_, [self = shared_from_this()](SourceDecision decision) { self->decided(std::move(decision)); });
}

void SourceQuestion::decided(SourceDecision decision) {
  if (auto* fromNetwork = std::get_if<FromNetwork>(&decision)) {
    if (!tap_) tap_ = std::move(fromNetwork->tap);
    return askNext();
  }
  loop_.post([self = shared_from_this(), decision = std::move(decision)]() mutable {
    if (self->load_) self->load_->sourcesDecided(std::move(decision));
  });
}

std::optional<Data> decodedContent(const HTTPHeaderFields& requestFields, const HTTPHeaderFields& responseFields,
                                   const Data& body) {
  constexpr std::int64_t mostBytes = std::int64_t{1} << 30;
  const auto choice = ContentDecoder::make(requestFields, responseFields, {.maximumBytes = mostBytes});
  if (!choice.decoder) return std::nullopt;
  Data decoded;
  const auto keep = [&](Bytes bytes) {
    decoded.append(bytes);
    return std::optional<LoadFailure>();
  };
  if (choice.decoder->decode(body.span(), keep) || choice.decoder->finish()) return std::nullopt;
  return decoded;
}

void HTTPLoad::askSources() {
  SourcedRequest request{.method = request_->httpMethod,
                         .url = request_->url,
                         .body = request_->httpBody.value_or(Data()),
                         .type = request_->exchangeSources->requestType,
                         .secondsToConnect = std::min(request_->connectTimeout, request_->timeoutInterval)};
  for (const auto& [name, value] : fields_) request.fields.add(name, value);
  sourced_ = std::make_unique<SourcedLoad>();
  sourced_->question =
      std::make_shared<SourceQuestion>(loader_.loop(), *this, request_->exchangeSources, std::move(request));
  sourced_->question->begin();
}

void HTTPLoad::sourcesDecided(SourceDecision decision) noexcept {
  try {
    if (auto* fromNetwork = std::get_if<FromNetwork>(&decision)) {
      goToNetwork(std::move(fromNetwork->tap));
    } else if (auto* responder = std::get_if<std::shared_ptr<ExchangeResponder>>(&decision)) {
      goToSource(std::move(*responder));
    } else if (auto* failure = std::get_if<networking::Failure>(&decision)) {
      sourced_->isFailure = true;
      exchangeEnded(ExchangeProblem{.failure = std::move(*failure)});
    } else {
      loader_.end(*this, abandon(std::move(std::get<Error>(decision))));
    }
  } catch (const std::bad_alloc&) {
    loader_.end(*this, abandon(Error::outOfMemory()));
  }
}

void HTTPLoad::goToNetwork(std::shared_ptr<ExchangeTap> tap) {
  if (const auto refusal = request_->exchangeSources->refusal) {
    loader_.end(*this, abandon(refusal(request_->httpMethod, request_->url)));
    return;
  }
  authorizeAtProxy();
  head_.fields = fields_;
  sourced_->tap = std::move(tap);
  if (sourced_->tap && body_) sourced_->body.emplace(*body_, sourced_->tap);
  loader_.sendToNetwork(*this);
}

void HTTPLoad::goToSource(std::shared_ptr<ExchangeResponder> responder) {
  SourcedConnection::Failing failing{.with = [this](Error error) { failure_ = std::move(error); },
                                     .byTimeout = [this] { loader_.pool().exchangeTimedOut(exchange_); }};
  sourced_->connection = std::make_shared<SourcedConnection>(loader_.loop(), std::move(responder), std::move(failing));
  loader_.sendToSource(*this, *sourced_->connection);
}

}  // namespace platform::detail
