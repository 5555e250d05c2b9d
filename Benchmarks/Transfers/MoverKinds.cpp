#include <algorithm>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include "Transfers/Transfer.hpp"

namespace bench {

const std::vector<MoverKind>& moverKinds() {
  static const std::vector<MoverKind>& kinds = *new std::vector<MoverKind>{
      {"libcurl easy", false, makeCurlMover},         {"curl program", false, makeCurlProgramMover},
      {"Corvane", false, makeCorvaneMover},           {"Corvane, observed", false, makeObservedCorvaneMover},
      {"libcurl callback", true, makeCurlStreamer},   {"raw socket", true, makeSocketStreamer},
      {"Corvane handler", true, makeCorvaneStreamer}, {"Corvane next()", true, makeAskingCorvaneStreamer},
  };
  return kinds;
}

std::vector<MoverKind> moverKinds(Direction direction) {
  std::vector<MoverKind> kinds;
  std::copy_if(moverKinds().begin(), moverKinds().end(), std::back_inserter(kinds),
               [&](const MoverKind& kind) { return kind.streams == (direction == Direction::stream); });
  return kinds;
}

std::uint64_t sumOf(const void* bytes, std::size_t count) {
  std::uint64_t sum = 0;
  const auto* next = static_cast<const unsigned char*>(bytes);
  for (; count >= sizeof sum; count -= sizeof sum, next += sizeof sum) {
    std::uint64_t word = 0;
    std::memcpy(&word, next, sizeof word);
    sum += word;
  }
  for (; count > 0; --count) sum += *next++;
  return sum;
}

std::string nameOf(Direction direction) {
  switch (direction) {
    case Direction::download:
      return "download";
    case Direction::upload:
      return "upload";
    case Direction::stream:
      break;
  }
  return "stream";
}

Direction directionOf(const std::string& name) {
  for (const Direction direction : {Direction::download, Direction::upload, Direction::stream}) {
    if (nameOf(direction) == name) return direction;
  }
  throw std::runtime_error("There is no direction '" + name + "'");
}

}  // namespace bench
