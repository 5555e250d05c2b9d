#pragma once

#include "Corvane/Request/AnyRequest.hpp"
#include "Corvane/Request/BehaviourMarks.hpp"

namespace corvane::detail {

/// Refuses, when a request is made, a behaviour that its `send` would know nothing of. What is no request at all is
/// refused when it is sent.
template <class Self>
constexpr void checkAdoption() {
  static_assert(!HasResponse<Self> || AnyRequest<Self>,
                "A type that derives from another request type is sent as that one, without the behaviours that it "
                "adds: adopt them beside a request mixin, `struct MockedGet : DataGetRequestable<MockedGet>, "
                "HTTPMockable<MockedGet>`");
}

}  // namespace corvane::detail
