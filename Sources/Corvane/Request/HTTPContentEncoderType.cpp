#include "Corvane/Request/HTTPContentEncoderType.hpp"

#include "Platform/Foundation/Error.hpp"

namespace corvane {

void detail::refuseToEncodeStream() {
  throw platform::Error("Corvane.HTTPContentEncoder", 0,
                        "This content encoder works on whole bodies in memory, and the body is made while it is sent: "
                        "give the encoder an `encodedStream`, or the request a body in memory");
}

}  // namespace corvane
