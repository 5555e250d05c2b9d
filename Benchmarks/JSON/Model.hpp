#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace bench {

struct Owner {
  std::int64_t id = 0;
  std::string login;
  std::string kind;
  bool verified = false;
  std::int32_t followers = 0;

  bool operator==(const Owner&) const = default;
};

/// What all contenders decode into. The member that may be absent comes last, where looking for it in vain costs the
/// forward-only form of simdjson nothing.
struct Record {
  std::int64_t id = 0;
  std::string name;
  std::string description;
  Owner owner;
  bool archived = false;
  double score = 0;
  std::int32_t stars = 0;
  std::vector<std::string> tags;
  std::vector<double> samples;
  std::string createdAt;
  std::optional<std::string> homepage;

  bool operator==(const Record&) const = default;
};

using Records = std::vector<Record>;

}  // namespace bench
