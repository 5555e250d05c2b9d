#include "CorvaneTesting/Internal/ResponseScript.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "CorvaneTesting/Internal/Text.hpp"
#include "Platform/Foundation/Detail/ASCII.hpp"

namespace corvane::testkit::detail {

using platform::detail::equalsIgnoringCase;

namespace {

constexpr std::size_t mergeLimit = 64 * 1024;
constexpr std::string_view headEnd = "\r\n\r\n";

std::uint64_t sizeOf(const Step& step) {
  if (const auto* send = std::get_if<SendBytes>(&step)) return send->bytes.size();
  if (const auto* generated = std::get_if<SendGenerated>(&step)) return generated->count;
  return 0;
}

std::uint64_t sizeOf(const std::vector<Step>& steps) {
  std::uint64_t size = 0;
  for (const Step& step : steps) size += sizeOf(step);
  return size;
}

/// Splits off and returns the first `count` bytes of a sending step.
Step splitFront(Step& step, std::uint64_t count) {
  if (auto* generated = std::get_if<SendGenerated>(&step)) {
    SendGenerated front{generated->offset, count};
    generated->offset += count;
    generated->count -= count;
    return front;
  }
  auto& bytes = std::get<SendBytes>(step).bytes;
  SendBytes front{bytes.substr(0, static_cast<std::size_t>(count))};
  bytes.erase(0, static_cast<std::size_t>(count));
  return front;
}

/// Keeps the list sorted by the key; what has the same key stays in the order of insertion.
template <class Item, class Key>
void insertInOrder(std::vector<Item>& items, Item item, Key Item::* key) {
  const auto place = std::upper_bound(items.begin(), items.end(), item,
                                      [&](const Item& left, const Item& right) { return left.*key < right.*key; });
  items.insert(place, std::move(item));
}

void appendFields(std::string& text, const std::vector<HeaderField>& fields) {
  for (const HeaderField& field : fields) text += field.name + ": " + field.value + "\r\n";
}

}  // namespace

std::string_view generatedWindow(std::uint64_t offset, std::size_t count) {
  static const std::string& window = *new std::string(generatedBytes(pieceSize + generatedPeriod));
  return std::string_view(window).substr(static_cast<std::size_t>(offset % generatedPeriod), count);
}

bool ScriptWriter::actsAt(const MockResponse& response, Moment moment) {
  return std::any_of(response.points_.begin(), response.points_.end(),
                     [&](const MockResponse::Point& point) { return point.moment == moment; });
}

bool ScriptWriter::actsBeforeBodyIsRead(const MockResponse& response) {
  return response.respondsBeforeRest_ || actsAt(response, Moment::beforeRequestBody) ||
         actsAt(response, Moment::insideRequestBody);
}

std::vector<Step> ScriptWriter::takeSteps(MockResponse& response, Moment moment) {
  std::vector<Step> steps;
  for (const MockResponse::Point& point : response.points_) {
    if (point.moment == moment) steps.push_back(stepOf(point));
  }
  std::erase_if(response.points_, [&](const MockResponse::Point& point) { return point.moment == moment; });
  return steps;
}

std::optional<std::uint64_t> ScriptWriter::requestBodyPoint(const MockResponse& response) {
  for (const MockResponse::Point& point : response.points_) {
    if (point.moment == Moment::insideRequestBody) return point.afterBytes;
  }
  return std::nullopt;
}

Step ScriptWriter::stepOf(const MockResponse::Point& point) {
  if (const auto* pause = std::get_if<MockResponse::Pause>(&point.action)) return PauseFor{pause->duration};
  if (const auto* latch = std::get_if<Latch>(&point.action)) return *latch;
  return std::get<Ending>(point.action);
}

ResponseScript ScriptWriter::write(const MockResponse& response, std::string_view method) {
  ScriptWriter writer(response, method);
  std::string head = writer.head();
  std::vector<Step> body = writer.body();
  if (response.raw_) {
    const std::size_t end = head.find(headEnd);
    if (end != std::string::npos) {
      body = {SendBytes{head.substr(end + headEnd.size())}};
      head.resize(end + headEnd.size());
    }
  }

  if (!response.interim_.empty()) writer.emit(SendBytes{response.interim_});
  for (const Moment moment : {Moment::onAccept, Moment::afterHandshake, Moment::beforeRequestBody,
                              Moment::insideRequestBody, Moment::beforeStatusLine}) {
    writer.emitPoints(moment);
  }
  std::vector<Step> headPieces;
  headPieces.emplace_back(SendBytes{std::move(head)});
  writer.emitSection(std::move(headPieces), Moment::insideHead);
  writer.emitPoints(Moment::afterHead);
  writer.emitSection(std::move(body), Moment::insideBody);
  writer.emitPoints(Moment::afterResponse);
  if (!response.extraBytes_.empty()) writer.emit(SendBytes{response.extraBytes_});

  ResponseScript script;
  script.steps = std::move(writer.steps_);
  for (const MockResponse::IdleAction& action : response.idleActions_) {
    insertInOrder(script.idleSteps, IdleStep{action.after, action.bytes}, &IdleStep::after);
  }
  script.closes = response.closes_;
  script.throttleBytes = response.throttleBytes_;
  script.throttleTick = response.throttleTick_;
  return script;
}

bool ScriptWriter::sendsNoBody() const {
  const int status = response_.status_;
  return method_ == "HEAD" || status == 204 || status == 304 || status / 100 == 1;
}

bool ScriptWriter::hasFramingField() const {
  return std::any_of(response_.headers_.begin(), response_.headers_.end(), [](const HeaderField& field) {
    return equalsIgnoringCase(field.name, "Content-Length") || equalsIgnoringCase(field.name, "Transfer-Encoding");
  });
}

std::uint64_t ScriptWriter::bodySize() const { return response_.generatedSize_.value_or(response_.body_.size()); }

std::string ScriptWriter::head() const {
  if (response_.raw_) return *response_.raw_;
  std::string head = "HTTP/1.1 " + std::to_string(response_.status_) + " " + response_.reason_ + "\r\n";
  appendFields(head, response_.headers_);
  const bool hasNoLength = response_.status_ == 204 || response_.status_ == 304 || response_.status_ / 100 == 1;
  if (!hasFramingField() && !hasNoLength) {
    if (response_.framing_ == MockResponse::Framing::chunks) head += "Transfer-Encoding: chunked\r\n";
    if (response_.framing_ == MockResponse::Framing::length)
      head += "Content-Length: " + std::to_string(bodySize()) + "\r\n";
  }
  return head + "\r\n";
}

std::vector<Step> ScriptWriter::body() const {
  std::vector<Step> pieces;
  if (response_.raw_ || sendsNoBody()) return pieces;
  if (response_.framing_ == MockResponse::Framing::chunks) {
    appendChunks(pieces);
    if (response_.hasLastChunk_) appendLastChunk(pieces);
  } else if (response_.generatedSize_) {
    pieces.emplace_back(SendGenerated{0, *response_.generatedSize_});
  } else {
    pieces.emplace_back(SendBytes{response_.body_});
  }
  return pieces;
}

void ScriptWriter::appendChunks(std::vector<Step>& pieces) const {
  const auto append = [&](std::uint64_t size, const std::string& extension, Step content) {
    if (size == 0) return;
    if (!pieces.empty() && response_.chunkDelay_.count() > 0) pieces.emplace_back(PauseFor{response_.chunkDelay_});
    pieces.emplace_back(SendBytes{hexadecimal(size) + extension + "\r\n"});
    pieces.push_back(std::move(content));
    pieces.emplace_back(SendBytes{"\r\n"});
  };
  for (const Chunk& chunk : response_.chunks_) append(chunk.bytes.size(), chunk.extension, SendBytes{chunk.bytes});
  if (!response_.chunks_.empty()) return;

  const std::uint64_t chunkSize = response_.chunkSize_ == 0 ? bodySize() : response_.chunkSize_;
  for (std::uint64_t offset = 0; offset < bodySize(); offset += chunkSize) {
    const std::uint64_t count = std::min(chunkSize, bodySize() - offset);
    if (response_.generatedSize_) {
      append(count, "", SendGenerated{offset, count});
    } else {
      append(count, "",
             SendBytes{response_.body_.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(count))});
    }
  }
}

void ScriptWriter::appendLastChunk(std::vector<Step>& pieces) const {
  if (!pieces.empty() && response_.chunkDelay_.count() > 0) pieces.emplace_back(PauseFor{response_.chunkDelay_});
  std::string last = "0\r\n";
  appendFields(last, response_.trailers_);
  pieces.emplace_back(SendBytes{last + "\r\n"});
}

void ScriptWriter::emit(Step step) {
  const bool sends = std::holds_alternative<SendBytes>(step) || std::holds_alternative<SendGenerated>(step);
  if (sends && sizeOf(step) == 0) return;
  // Neighbours leave in one write, so that a small response is one packet.
  auto* send = std::get_if<SendBytes>(&step);
  auto* last = steps_.empty() ? nullptr : std::get_if<SendBytes>(&steps_.back());
  if (send && last && last->bytes.size() + send->bytes.size() <= mergeLimit) {
    last->bytes += send->bytes;
  } else {
    steps_.push_back(std::move(step));
  }
}

void ScriptWriter::emitPoints(Moment moment) {
  for (const MockResponse::Point& point : response_.points_) {
    if (point.moment == moment) emit(stepOf(point));
  }
}

void ScriptWriter::emitSection(std::vector<Step> pieces, Moment inside) {
  const std::vector<Cut> cuts = cutsOf(inside, sizeOf(pieces));
  auto cut = cuts.begin();
  std::uint64_t sent = 0;
  for (Step& piece : pieces) {
    for (; cut != cuts.end() && cut->position <= sent + sizeOf(piece); ++cut) {
      if (cut->position > sent) {
        emit(splitFront(piece, cut->position - sent));
        sent = cut->position;
      }
      emit(cut->step);
    }
    sent += sizeOf(piece);
    emit(std::move(piece));
  }
  for (; cut != cuts.end(); ++cut) emit(cut->step);
}

std::vector<ScriptWriter::Cut> ScriptWriter::cutsOf(Moment inside, std::uint64_t size) const {
  std::vector<Cut> cuts;
  for (const MockResponse::Point& point : response_.points_) {
    if (point.moment != inside) continue;
    const std::uint64_t position = std::min(point.afterBytes.value_or(size / 2), size);
    insertInOrder(cuts, Cut{position, stepOf(point)}, &Cut::position);
  }
  return cuts;
}

}  // namespace corvane::testkit::detail
