#pragma once

namespace corvane::testkit {

/// A point in a connection or an exchange at which a `MockResponse` can wait or end the connection. A moment that has
/// already passed (a reused connection was accepted earlier) takes effect right before the status line.
enum class Moment {
  /// The connection was accepted; with TLS, the handshake has not begun.
  onAccept,
  /// The TLS handshake is done. On a plain connection the same as `onAccept`.
  afterHandshake,
  /// The request's head has been read, but no byte of its body.
  beforeRequestBody,
  /// `afterBytes` bytes of the request's body have been read (default: half of the announced length).
  insideRequestBody,
  /// The request has been read completely (and interim heads have been sent), but no byte of the final head has been
  /// sent.
  beforeStatusLine,
  /// `afterBytes` bytes of the head have been sent (default: half of the head).
  insideHead,
  /// The head with its empty line has been sent.
  afterHead,
  /// `afterBytes` bytes after the head have been sent, including chunk framing (default: half of the body).
  insideBody,
  /// The complete response has been sent.
  afterResponse,
};

}  // namespace corvane::testkit
