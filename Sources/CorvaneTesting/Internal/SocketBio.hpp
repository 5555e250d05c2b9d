#pragma once

struct bio_st;

namespace corvane::testkit::detail {

/// Connects OpenSSL to a socket, which it does not own. OpenSSL's own socket BIO writes in a way that raises
/// SIGPIPE when the peer has gone; this one does not. The caller, or the connection it is given to, frees it.
bio_st* makeSocketBio(int socket);

}  // namespace corvane::testkit::detail
