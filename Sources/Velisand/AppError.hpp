#pragma once

#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"

namespace velisand {

namespace detail {
CORVANE_API platform::Dictionary userInfoOfMessage(std::string message);
}

/// The base of an application's error types: you write `message()`, and the type can be used like any
/// `platform::Error`.
///
///     class OutOfPaper final : public velisand::AppError<OutOfPaper> {
///      public:
///       std::string message() const override { return "The printer is out of paper"; }
///     };
///
/// By default, the domain is the type's name, the code is 0, and the user information has the message under
/// "NSLocalizedDescription".
template <class Self>
class AppError : public platform::CustomErrorBase<Self> {
 public:
  platform::Dictionary errorUserInfo() const override { return detail::userInfoOfMessage(this->message()); }
};

}  // namespace velisand
