#pragma once

/// Everything for tests of code that uses Corvane:
///
///     #include <CorvaneTesting/CorvaneTesting.hpp>
///     using namespace corvane::testkit;
///
/// With GoogleTest, include `CorvaneTesting/ServerTest.hpp` as well.

#include "CorvaneTesting/Certificate.hpp"
#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/Compression.hpp"
#include "CorvaneTesting/ExchangeRecording.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/ForbiddenNetwork.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "CorvaneTesting/LogCapture.hpp"
#include "CorvaneTesting/MainQueue.hpp"
#include "CorvaneTesting/ManualTime.hpp"
#include "CorvaneTesting/MockNetwork.hpp"
#include "CorvaneTesting/MockResponse.hpp"
#include "CorvaneTesting/MockRoute.hpp"
#include "CorvaneTesting/NetworkResponse.hpp"
#include "CorvaneTesting/Ports.hpp"
#include "CorvaneTesting/ReceivedForm.hpp"
#include "CorvaneTesting/SentRequest.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "CorvaneTesting/TrustedAuthority.hpp"
