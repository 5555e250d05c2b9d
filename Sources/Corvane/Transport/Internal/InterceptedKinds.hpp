#pragma once

#include <memory>
#include <utility>

#include "Corvane/Transport/Internal/Interception.hpp"

namespace corvane::detail {

/// The kind of an exchange whose task is made by `Kind`, a `Sending` that is made of its parts alone.
template <class Kind, HTTPExchangeKind kind>
class InterceptedKindOf final : public InterceptedKind {
 public:
  HTTPExchangeKind name() const override { return kind; }
  void begin(Sending::Parts parts) override { std::make_shared<Kind>(std::move(parts))->begin(); }
};

}  // namespace corvane::detail
