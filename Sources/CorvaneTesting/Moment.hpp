#pragma once

namespace corvane::testing {

/// A point in the life of a connection or of one exchange at which a `MockResponse` can wait or break off.
/// A moment that has already passed (a reused connection was accepted long ago) acts right before the status line.
enum class Moment {
  /// The connection was accepted; with TLS, the handshake has not begun.
  onAccept,
  /// The TLS handshake is done. On a plain connection the same as `onAccept`.
  afterHandshake,
  /// The request's head was read, nothing of its body.
  beforeRequestBody,
  /// That many bytes of the request's body were read (half of an announced length, by default).
  insideRequestBody,
  /// The request was read completely (and interim heads were sent); nothing of the final head was sent.
  beforeStatusLine,
  /// That many bytes of the head were sent (half of them, by default).
  insideHead,
  /// The head with its empty line was sent.
  afterHead,
  /// That many bytes after the head were sent, framing of chunks included (half of them, by default).
  insideBody,
  /// All of the response was sent.
  afterResponse,
};

}  // namespace corvane::testing
