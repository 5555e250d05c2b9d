#pragma once

#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"

namespace velisand {

namespace detail {
CORVANE_API platform::Dictionary userInfoOfMessage(std::string message);
}

/// The base of an application's error types: you write `message()`, and the type takes part as any
/// `platform::Error` does.
///
///     class OutOfPaper final : public velisand::AppError<OutOfPaper> {
///      public:
///       std::string message() const override { return "The printer is out of paper"; }
///     };
///
/// By default the domain is the type's name, the code 0, and the user information holds the message under
/// "NSLocalizedDescription".
template <class Self>
class AppError : public platform::CustomErrorBase<Self> {
 public:
  platform::Dictionary errorUserInfo() const override { return detail::userInfoOfMessage(this->message()); }
};

}  // namespace velisand
