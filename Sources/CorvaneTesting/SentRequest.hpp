#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>

#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace corvane::testkit {

/// A request that a `MockNetwork` got in place of a server: one exchange, so that a redirect leads to another one.
struct SentRequest {
  /// "GET".
  std::string method;
  /// The absolute URL.
  platform::URL url;
  /// The fields that would be sent, cookies and credentials included; those of the connection ("Host",
  /// "Content-Length") are missing.
  platform::HTTPHeaderFields headers;
  /// The body, in its content coding. For the functions that choose a response, only a body in memory is there: that of
  /// a file or of a producer has not been read yet.
  platform::Data body;
  /// The type of the request.
  const std::type_info* type = &typeid(void);

  /// Whether it was sent by a request of this type.
  template <class Request>
  bool isFrom() const {
    return *type == typeid(Request);
  }
  /// The value of the field, without regard to the case of its name; repeated fields are joined by ", ". Absent without
  /// such a field.
  std::optional<std::string> header(std::string_view name) const { return headers.value(name); }
  /// The decoded value of the first query item of that name; absent without such an item.
  std::optional<std::string> queryValue(std::string_view name) const;
  /// The body as a model. Throws `DecodingError`.
  template <class Model>
  Model json() const {
    return platform::JSONDecoder().decode<Model>(body);
  }
  /// "GET https://users.example.com/users/7".
  std::string description() const;
};

}  // namespace corvane::testkit
