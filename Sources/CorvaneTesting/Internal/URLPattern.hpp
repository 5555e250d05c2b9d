#pragma once

#include <string>
#include <string_view>

#include "CorvaneTesting/SentRequest.hpp"

namespace corvane::testkit::detail {

/// Which requests a route is for, by method and URL; see `MockNetwork::on`.
class URLPattern {
 public:
  explicit URLPattern(std::string_view text);

  bool matches(const SentRequest& request) const;

 private:
  std::string method_;  ///< empty: any
  std::string url_;
};

/// Whether the text fits, where "*" stands for any characters, or none.
bool fitsPattern(std::string_view pattern, std::string_view text);

}  // namespace corvane::testkit::detail
