#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/HTTPStatus.hpp"
#include "Corvane/Request/HTTPHeaders.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"

/// The compile-time checks of what a mock says.
namespace corvane::detail {

#define CORVANE_READS(Value, property) (requires { requires ReadsAs<decltype(&Self::property), Self, Value>; })
#define CORVANE_MOCK_READS(Value, property, value)                                       \
  static_assert(CORVANE_READS(Value, property),                                          \
                "`" #property "` must convert to " value ": write `" value " " #property \
                "() const`, or a stored "                                                \
                "or static member of a type that converts to it")

template <class Self>
constexpr bool checkMock() {
  CORVANE_MOCK_READS(std::optional<platform::URL>, mockURL, "std::optional<URL>");
  CORVANE_MOCK_READS(std::optional<HTTPHeaders>, mockHeaders, "std::optional<HTTPHeaders>");
  CORVANE_MOCK_READS(HTTPStatus, mockStatus, "HTTPStatus");
  CORVANE_MOCK_READS(platform::Seconds, mockResponseTime, "double");
  CORVANE_MOCK_READS(std::optional<std::int64_t>, mockExpectedContentLength, "std::optional<std::int64_t>");
  CORVANE_MOCK_READS(std::optional<std::string>, mockSuggestedFilename, "std::optional<std::string>");
  CORVANE_MOCK_READS(std::optional<std::string>, mockMimeType, "std::optional<std::string>");
  CORVANE_MOCK_READS(std::optional<std::string>, mockTextEncodingName, "std::optional<std::string>");
  CORVANE_MOCK_READS(std::optional<platform::Error>, mockError, "std::optional<Error>");
  CORVANE_MOCK_READS(std::optional<platform::Data>, mockResponseData, "std::optional<Data>");
  return CORVANE_READS(std::optional<platform::URL>, mockURL) &&
         CORVANE_READS(std::optional<HTTPHeaders>, mockHeaders) && CORVANE_READS(HTTPStatus, mockStatus) &&
         CORVANE_READS(platform::Seconds, mockResponseTime) &&
         CORVANE_READS(std::optional<std::int64_t>, mockExpectedContentLength) &&
         CORVANE_READS(std::optional<std::string>, mockSuggestedFilename) &&
         CORVANE_READS(std::optional<std::string>, mockMimeType) &&
         CORVANE_READS(std::optional<std::string>, mockTextEncodingName) &&
         CORVANE_READS(std::optional<platform::Error>, mockError) &&
         CORVANE_READS(std::optional<platform::Data>, mockResponseData);
}

template <class Self>
constexpr bool checkTestMock() {
  CORVANE_MOCK_READS(std::optional<platform::URL>, testURL, "std::optional<URL>");
  CORVANE_MOCK_READS(std::optional<HTTPHeaders>, testHeaders, "std::optional<HTTPHeaders>");
  CORVANE_MOCK_READS(HTTPStatus, testStatus, "HTTPStatus");
  CORVANE_MOCK_READS(platform::Seconds, testResponseTime, "double");
  CORVANE_MOCK_READS(std::optional<std::int64_t>, testExpectedContentLength, "std::optional<std::int64_t>");
  CORVANE_MOCK_READS(std::optional<std::string>, testSuggestedFilename, "std::optional<std::string>");
  CORVANE_MOCK_READS(std::optional<std::string>, testMimeType, "std::optional<std::string>");
  CORVANE_MOCK_READS(std::optional<std::string>, testTextEncodingName, "std::optional<std::string>");
  CORVANE_MOCK_READS(std::optional<platform::Error>, testError, "std::optional<Error>");
  CORVANE_MOCK_READS(std::optional<platform::Data>, testResponseData, "std::optional<Data>");
  return CORVANE_READS(std::optional<platform::URL>, testURL) &&
         CORVANE_READS(std::optional<HTTPHeaders>, testHeaders) && CORVANE_READS(HTTPStatus, testStatus) &&
         CORVANE_READS(platform::Seconds, testResponseTime) &&
         CORVANE_READS(std::optional<std::int64_t>, testExpectedContentLength) &&
         CORVANE_READS(std::optional<std::string>, testSuggestedFilename) &&
         CORVANE_READS(std::optional<std::string>, testMimeType) &&
         CORVANE_READS(std::optional<std::string>, testTextEncodingName) &&
         CORVANE_READS(std::optional<platform::Error>, testError) &&
         CORVANE_READS(std::optional<platform::Data>, testResponseData);
}

#undef CORVANE_MOCK_READS
#undef CORVANE_READS

}  // namespace corvane::detail
