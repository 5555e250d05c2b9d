#include "CorvaneTesting/NetworkResponse.hpp"

#include <stdexcept>

#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/MIMETypes.hpp"
#include "Platform/Foundation/URL.hpp"

namespace corvane::testkit {

using platform::Data;
using platform::HTTPHeaderFields;

NetworkResponse NetworkResponse::error(platform::Error error) {
  NetworkResponse response;
  response.error_ = std::move(error);
  return response;
}

NetworkResponse NetworkResponse::failing(Failure failure) {
  NetworkResponse response;
  response.failure_ = failure;
  return response;
}

NetworkResponse& NetworkResponse::header(std::string_view name, std::string_view value) {
  if (const std::string problem = HTTPHeaderFields::problem(name, value); !problem.empty())
    throw std::invalid_argument(problem);
  fields_.add(name, value);
  return *this;
}

NetworkResponse& NetworkResponse::body(Data bytes) {
  body_ = std::move(bytes);
  return *this;
}

NetworkResponse& NetworkResponse::text(std::string_view text) {
  fields_.set("Content-Type", "text/plain; charset=utf-8");
  return body(Data(text));
}

NetworkResponse& NetworkResponse::json(std::string_view text) {
  fields_.set("Content-Type", "application/json");
  return body(Data(text));
}

NetworkResponse& NetworkResponse::file(const std::string& path) {
  Data bytes = platform::FileManager::contents(path);
  const auto type = platform::mimeTypeForExtension(platform::URL::file(path).pathExtension());
  fields_.set("Content-Type", type.value_or("application/octet-stream"));
  return body(std::move(bytes));
}

NetworkResponse& NetworkResponse::delay(platform::Seconds interval) {
  delay_ = interval.count();
  return *this;
}

NetworkResponse& NetworkResponse::breakAfter(std::size_t bytes) {
  breaksAfter_ = bytes;
  return *this;
}

}  // namespace corvane::testkit
