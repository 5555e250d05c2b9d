#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/Networking/HTTP1/ResponseParser.hpp"
#include "Platform/Networking/HTTPText.hpp"
#include "Platform/Trap.hpp"

namespace platform::networking::fuzz {

namespace {

using Event = ResponseParser::Event;

/// What came of a response, however it was cut.
struct Outcome {
  std::string told;
  std::string body;
  std::size_t consumed = 0;
};

void checkFields(std::span<const FieldView> fields) {
  if (fields.size() > ResponseParser::maximumFields) trap("more fields than there may be");
  for (const FieldView& field : fields) {
    if (!detail::isToken(field.name)) trap("a name that is no token");
    if (detail::holdsLineBreakOrNUL(field.value)) trap("a value that breaks its line");
    if (field.value != detail::trimmed(field.value)) trap("a value with spaces around it");
  }
}

void checkHead(const ResponseHeadView& head) {
  checkFields(head.fields);
  std::size_t lengths = 0;
  std::size_t codings = 0;
  for (const FieldView& field : head.fields) {
    lengths += detail::equalsIgnoringCase(field.name, "Content-Length") ? 1 : 0;
    codings += detail::equalsIgnoringCase(field.name, "Transfer-Encoding") ? 1 : 0;
  }
  if (lengths > 1 || codings > 1 || lengths + codings > 1) trap("more than one way to frame the body");
  if (head.statusCode < 100 || head.statusCode == 101 || head.statusCode > 999) trap("a status that is none");
  const bool isSaid = head.hasBody ? (head.bodyLength >= 0) == (lengths == 1) : head.bodyLength == 0;
  if (!isSaid) trap("a length that nobody said");
}

void tell(std::string& told, std::string_view name, std::span<const FieldView> fields) {
  told.append(name).append("\n");
  for (const FieldView& field : fields) told.append(field.name).append("=").append(field.value).append("\n");
}

/// Feeds the bytes in pieces whose sizes follow from the seed; with 0, all at once.
class Feeder {
 public:
  Feeder(std::string_view bytes, bool isHead, unsigned seed) : bytes_(bytes), seed_(seed) { parser_.begin(isHead); }

  Outcome run(bool endsAfterwards) {
    while (!isOver_ && given_ < bytes_.size()) {
      given_ += pieceSize();
      // Elsewhere each time, as it is with a connection's buffers, and not a byte longer.
      const std::string piece(bytes_.substr(outcome_.consumed, given_ - outcome_.consumed));
      readAll(piece);
    }
    if (!isOver_ && endsAfterwards) take(parser_.endOfStream());
    return std::move(outcome_);
  }

 private:
  std::size_t pieceSize() {
    const std::size_t left = bytes_.size() - given_;
    if (seed_ == 0) return left;
    seed_ = seed_ * 1103515245U + 12345U;
    return std::min<std::size_t>(left, 1 + (seed_ >> 16) % 7);
  }

  void readAll(std::string_view input) {
    while (!isOver_) {
      const ResponseParser::Step step = parser_.next(input);
      if (step.consumed > input.size()) trap("more was consumed than there was");
      if (step.body.size() > step.consumed) trap("more body than was consumed");
      outcome_.consumed += step.event == Event::failed ? 0 : step.consumed;
      outcome_.body += step.body;
      input.remove_prefix(step.consumed);
      take(step.event);
      if (step.event == Event::incomplete) break;
    }
    if (!isOver_ && input.size() > ResponseParser::maximumBytes) trap("more is kept than there may be");
  }

  void take(Event event) {
    switch (event) {
      case Event::interim:
      case Event::head:
        checkHead(parser_.head());
        tell(outcome_.told, std::to_string(parser_.statusCode()), parser_.head().fields);
        break;
      case Event::end:
        checkFields(parser_.trailers());
        tell(outcome_.told, parser_.keepsConnection() ? "end, kept" : "end", parser_.trailers());
        isOver_ = true;
        break;
      case Event::failed:
        outcome_.told += parser_.failure().message;
        // Where in the last piece it failed is nobody's business.
        outcome_.consumed = 0;
        isOver_ = true;
        break;
      case Event::body:
      case Event::incomplete:
        break;
    }
  }

  const std::string_view bytes_;
  unsigned seed_;
  ResponseParser parser_;
  Outcome outcome_;
  std::size_t given_ = 0;
  bool isOver_ = false;
};

void check(std::string_view input) {
  if (input.empty()) return;
  const auto flags = static_cast<unsigned char>(input.front());
  const bool isHead = (flags & 1U) != 0;
  const bool ends = (flags & 2U) != 0;
  const std::string_view bytes = input.substr(1);
  const Outcome whole = Feeder(bytes, isHead, 0).run(ends);
  const Outcome cut = Feeder(bytes, isHead, flags + 1U).run(ends);
  if (whole.body.size() > bytes.size()) trap("bytes were invented");
  if (whole.told != cut.told || whole.body != cut.body) trap("it matters where a response is cut");
  if (whole.told.ends_with("end\n") && whole.consumed != cut.consumed) trap("the end moves with the cuts");
}

}  // namespace

}  // namespace platform::networking::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  platform::networking::fuzz::check({reinterpret_cast<const char*>(bytes), size});
  return 0;
}
