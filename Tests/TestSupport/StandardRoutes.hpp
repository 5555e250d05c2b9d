#pragma once

#include "CorvaneTesting/TestServer.hpp"

namespace corvane::testkit {

/// Adds `/get`, `/post`, `/echo`, `/headers`, `/status/N`, `/delay/S`, `/gzip`, `/cache/N`, `/bytes/N`, `/stream/N`,
/// `/drop`, `/redirect/N`, `/redirect-to?url=`, `/cookies`, `/cookies/set?name=value`, `/files/NAME?size=N&cut=N`,
/// which suggests that name for a file and breaks off after so many bytes, `/form`, which says what is in a form,
/// `/flaky/N`, which answers 503 to N requests in a row and then one with "done", `/users/N`, `/events/N`, which sends
/// N events, two for each connection, and `/users` and `/orders`, which answer an object with the same and an id.
void installStandardRoutes(TestServer& server);

}  // namespace corvane::testkit
