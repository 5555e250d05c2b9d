#include "Corvane/Streaming/ServerSentEventParser.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Corvane/Errors/HTTPStreamError.hpp"
#include "FuzzInput.hpp"

namespace platform::fuzz {

namespace {

using corvane::HTTPStreamError;
using corvane::ServerSentEvent;
using corvane::ServerSentEventParser;

constexpr std::size_t bound = 64;

struct Parsing {
  std::vector<ServerSentEvent> events;
  std::string lastEventID;
  bool isTooLong = false;
};

void takeEvents(ServerSentEventParser& parser, Parsing& result) {
  while (auto event = parser.next()) result.events.push_back(*std::move(event));
}

/// `seed` zero: in one piece.
Parsing parsed(std::string_view stream, std::uint32_t seed, std::size_t maximumBytes) {
  Parsing result;
  ServerSentEventParser parser(maximumBytes);
  try {
    if (seed == 0) {
      parser.push(stream);
    } else {
      for (Pieces pieces(stream, seed); !pieces.isAtEnd(); takeEvents(parser, result)) parser.push(pieces.next());
    }
  } catch (const HTTPStreamError&) {
    result.isTooLong = true;
  }
  takeEvents(parser, result);
  result.lastEventID = parser.lastEventID();
  return result;
}

/// The lines that have an end.
std::vector<std::string> linesOf(std::string_view stream) {
  if (stream.starts_with("\xEF\xBB\xBF")) stream.remove_prefix(3);
  std::vector<std::string> lines;
  std::string line;
  for (std::size_t at = 0; at < stream.size(); ++at) {
    if (stream[at] != '\r' && stream[at] != '\n') {
      line += stream[at];
      continue;
    }
    if (stream[at] == '\r' && at + 1 < stream.size() && stream[at + 1] == '\n') ++at;
    lines.push_back(std::move(line));
    line.clear();
  }
  return lines;
}

/// The standard's words, one after the other.
Parsing byTheBook(std::string_view stream) {
  Parsing result;
  std::string data;
  std::string type;
  std::string id;
  for (const std::string& line : linesOf(stream)) {
    if (line.empty()) {
      result.lastEventID = id;
      if (!data.empty()) {
        data.pop_back();
        result.events.push_back({type.empty() ? "message" : type, data, id});
      }
      data.clear();
      type.clear();
      continue;
    }
    const std::size_t colon = line.find(':');
    if (colon == 0) continue;
    const std::string field = line.substr(0, colon);
    std::string value = colon == line.npos ? "" : line.substr(colon + 1);
    if (value.starts_with(' ')) value.erase(0, 1);
    if (field == "event") type = value;
    if (field == "data") data += value + '\n';
    if (field == "id" && value.find('\0') == value.npos) id = value;
  }
  return result;
}

void check(std::string_view input) {
  const std::uint8_t seed = takeByte(input);
  const Parsing whole = parsed(input, 0, input.size());
  const Parsing cut = parsed(input, seed + 1U, input.size());
  const Parsing expected = byTheBook(input);
  require(!whole.isTooLong && !cut.isTooLong, "a bound that nothing exceeds is met");
  require(whole.events == expected.events, "the events are not those of the standard");
  require(whole.lastEventID == expected.lastEventID, "the last identifier is not that of the standard");
  require(cut.events == whole.events && cut.lastEventID == whole.lastEventID, "a cut changes the events");

  const Parsing bounded = parsed(input, 0, bound);
  const Parsing boundedCut = parsed(input, seed + 1U, bound);
  require(bounded.isTooLong == boundedCut.isTooLong, "a cut decides whether an event is too long");
  require(bounded.events == boundedCut.events, "a cut changes the events before one that is too long");
  for (const ServerSentEvent& event : bounded.events) {
    // A line feed between the lines does not count.
    const auto feeds = static_cast<std::size_t>(std::count(event.data.begin(), event.data.end(), '\n'));
    require(event.data.size() <= bound + feeds, "an event is longer than its bound");
  }
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
