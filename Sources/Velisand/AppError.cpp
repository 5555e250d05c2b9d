#include "Velisand/AppError.hpp"

#include <utility>

namespace velisand::detail {

platform::Dictionary userInfoOfMessage(std::string message) {
  return {{platform::CustomNSError::localizedDescriptionKey, std::move(message)}};
}

}  // namespace velisand::detail
