#include "ParsedResponse.hpp"

namespace platform::networking {

namespace {

std::string textOf(std::span<const FieldView> fields) {
  std::string text;
  for (const FieldView& field : fields) text.append(field.name).append("=").append(field.value).append("; ");
  return text;
}

std::string textOf(const ResponseHeadView& head) {
  std::string text = std::to_string(head.statusCode);
  text.append(" ").append(head.httpVersion);
  if (!head.hasBody) text += " no body";
  if (head.bodyLength >= 0) text += " length " + std::to_string(head.bodyLength);
  return text + ": " + textOf(head.fields);
}

}  // namespace

void ResponseFeeder::feed(std::string_view piece) {
  if (isOver()) {
    response_.rest += piece;
    return;
  }
  // A new place in memory each time, exactly as long as needed, so that a look beyond it is found.
  const std::string input = kept_ + std::string(piece);
  std::string_view left = input;
  while (!isOver()) {
    const ResponseParser::Step step = parser_.next(left);
    take(step);
    left.remove_prefix(step.consumed);
    if (step.event == ResponseParser::Event::incomplete) break;
  }
  if (isOver()) {
    response_.rest += response_.outcome == "end" ? left : std::string_view();
    kept_.clear();
  } else {
    kept_ = left;
  }
}

void ResponseFeeder::take(const ResponseParser::Step& step) {
  switch (step.event) {
    case ResponseParser::Event::incomplete:
      break;
    case ResponseParser::Event::interim:
    case ResponseParser::Event::head:
      response_.heads.push_back(textOf(parser_.head()));
      break;
    case ResponseParser::Event::body:
      response_.body += step.body;
      break;
    case ResponseParser::Event::end:
    case ResponseParser::Event::failed:
      takeEnd(step.event);
      break;
  }
}

void ResponseFeeder::takeEnd(ResponseParser::Event event) {
  if (event == ResponseParser::Event::end) {
    response_.outcome = "end";
    response_.trailers = textOf(parser_.trailers());
    response_.keepsConnection = parser_.keepsConnection();
  } else {
    response_.outcome = parser_.failure().message;
    response_.isMalformed = parser_.failure().cause == FailureCause::malformedResponse;
  }
}

void ResponseFeeder::endOfStream() {
  if (!isOver()) takeEnd(parser_.endOfStream());
}

ParsedResponse parsed(const std::vector<std::string_view>& pieces, StreamEnd end, bool isHead) {
  ResponseFeeder feeder(isHead);
  for (const std::string_view piece : pieces) feeder.feed(piece);
  if (end == StreamEnd::closed) feeder.endOfStream();
  ParsedResponse response = feeder.response();
  // After a failure nobody looks at what follows.
  if (response.outcome != "end") response.rest.clear();
  return response;
}

}  // namespace platform::networking
