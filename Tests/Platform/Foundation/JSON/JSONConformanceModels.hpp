#pragma once

#include <vector>

namespace platform::json_conformance {

/// A model that leaves out every other member of its document.
struct Kept {
  int kept = 0;
};

/// A model as deep as its document.
struct Branch {
  std::vector<Branch> branches;
};

}  // namespace platform::json_conformance
