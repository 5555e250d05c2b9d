#include "Transfers/Transfer.hpp"

namespace bench {

const std::vector<MoverKind>& moverKinds() {
  static const std::vector<MoverKind>& kinds = *new std::vector<MoverKind>{
      {"libcurl easy", makeCurlMover},
      {"curl program", makeCurlProgramMover},
      {"Corvane", makeCorvaneMover},
      {"Corvane, observed", makeObservedCorvaneMover},
  };
  return kinds;
}

}  // namespace bench
