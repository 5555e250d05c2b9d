#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/CorvaneTesting.hpp"

// What the tests of an application write: no name of the library hides GoogleTest's.

using namespace corvane;
using namespace corvane::testkit;

namespace {

class NamespacesTest : public testing::Test {};

TEST_F(NamespacesTest, ofTheLibraryAndOfGoogleTestGoTogether) {
  TestServer server;
  server.enqueue(MockResponse(200).text("hello"));

  const auto response = DataGetRequest(server.url()).send().get();

  EXPECT_THAT(response.body.text(), testing::HasSubstr("ell"));
}

}  // namespace
