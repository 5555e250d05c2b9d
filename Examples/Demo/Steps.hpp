#pragma once

#include "CorvaneTesting/TestServer.hpp"
#include "Stage.hpp"

/// Everything the demo shows, against a server with the standard routes.
void playAll(Stage& stage, corvane::testkit::TestServer& server);

/// Downloads, uploads and forms, against a server of their own.
void playTransfers(Stage& stage);

/// Retry, polling, mocks and batches, against a server of their own.
void playBehaviours(Stage& stage);
