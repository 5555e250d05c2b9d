#pragma once

#include <concepts>

#include "Corvane/Request/BehaviourMarks.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"

namespace corvane::detail {

/// A type that is sent as what it is; one that only derives from another request type is sent as that one.
template <class Request>
concept IsRequest = requires {
  typename Request::Response;
  requires std::derived_from<Request, HTTPRequestable<Request, typename Request::Response>>;
};

/// Refuses, when a request is made, a behaviour that its `send` would know nothing of. What is no request at all is
/// refused when it is sent.
template <class Self>
constexpr void checkAdoption() {
  static_assert(!HasResponse<Self> || IsRequest<Self>,
                "A type that derives from another request type is sent as that one, without the behaviours that it "
                "adds: adopt them beside a request mixin, `struct MockedGet : DataGetRequestable<MockedGet>, "
                "HTTPMockable<MockedGet>`");
}

}  // namespace corvane::detail
