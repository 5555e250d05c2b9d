#pragma once

#include <cstdint>

#include "Platform/Networking/Failure.hpp"

namespace platform::networking {

/// What became of the server's wish for a certificate of the client.
enum class ClientCertificate : std::uint8_t { notAskedFor, missing, shown };

/// What a fatal alert of the server means (RFC 8446, 6.2), in the handshake or after it. With TLS 1.3 the server judges
/// the client's certificate after the client's handshake is over, so that alerts of that kind may come late.
Failure failureOfAlert(int description, bool isHandshake, ClientCertificate certificate);

/// What the newest entry of OpenSSL's error queue means, for a failure that is neither the server's alert nor the
/// connection's.
Failure failureOfLibrary(bool isHandshake);

}  // namespace platform::networking
