#include "FinishedExchange.hpp"

using namespace corvane;

std::string sentence(const Error& error, const ResponseRecord& response) {
  std::string text = error.message();
  const auto code = statusCode(response);
  if (code && response.status == HTTPStatus::unknown) text += " (status " + std::to_string(*code) + ")";
  const auto userInfo = error.userInfo();
  if (const auto* detail = userInfo.find(platform::URLErrorKey::transportMessage))
    text += " (" + detail->description() + ")";
  return text;
}
