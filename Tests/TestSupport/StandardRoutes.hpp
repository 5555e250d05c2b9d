#pragma once

#include "CorvaneTesting/TestServer.hpp"

namespace corvane::testing {

/// Adds `/get`, `/post`, `/echo`, `/headers`, `/status/N`, `/delay/S`, `/gzip`, `/bytes/N`, `/stream/N`, `/drop`,
/// `/redirect/N`, `/redirect-to?url=`, `/cookies`, `/cookies/set?name=value`, `/files/NAME?size=N`, which suggests
/// that name for a file, `/form`, which says what is in a form, `/flaky/N`, which answers 503 to N requests in a row
/// and then one with "done", `/users/N`, and `/users` and `/orders`, which answer an object with the same and an id.
void installStandardRoutes(TestServer& server);

}  // namespace corvane::testing
