#include "Corvane/ContentEncoding/GZipError.hpp"

#include <gtest/gtest.h>

#include <cstdint>

#include "Corvane/ContentEncoding/Internal/Zlib.hpp"

namespace corvane {
namespace {

using platform::Dictionary;
using platform::Error;

TEST(GZipErrorTest, tellsWhatHappenedAndWhatZlibSaid) {
  EXPECT_EQ(GZipError::stream("m").message(), "Stream structure was inconsistent: m");
  EXPECT_EQ(GZipError::data("m").message(), "The input data was corrupted: m");
  EXPECT_EQ(GZipError::memory("m").message(), "Not enough memory: m");
  EXPECT_EQ(GZipError::buffer("m").message(),
            "No progress is possible or there was not enough room in the output buffer: m");
  EXPECT_EQ(GZipError::version("m").message(),
            "The zlib library version is incompatible with the version assumed by the caller: m");
  EXPECT_EQ(GZipError::unknown("m", 2).message(), "Unknown error occurred. Code: 2. Message: m");
}

TEST(GZipErrorTest, hasACaseForEachResultOfZlib) {
  EXPECT_EQ(detail::gzipError(Z_STREAM_ERROR, "m"), GZipError::stream("m"));
  EXPECT_EQ(detail::gzipError(Z_DATA_ERROR, "m"), GZipError::data("m"));
  EXPECT_EQ(detail::gzipError(Z_MEM_ERROR, "m"), GZipError::memory("m"));
  EXPECT_EQ(detail::gzipError(Z_BUF_ERROR, "m"), GZipError::buffer("m"));
  EXPECT_EQ(detail::gzipError(Z_VERSION_ERROR, "m"), GZipError::version("m"));
  for (const int result : {Z_OK, Z_STREAM_END, Z_NEED_DICT, Z_ERRNO, -7})
    EXPECT_EQ(detail::gzipError(result, "m"), GZipError::unknown("m", result));
}

TEST(GZipErrorTest, hasAMessageWhenZlibHasNone) {
  const char* const absent = nullptr;

  EXPECT_EQ(detail::gzipError(Z_DATA_ERROR, absent), GZipError::data("unknown gzip error"));
  EXPECT_EQ(detail::gzipError(Z_DATA_ERROR, "\xFF"), GZipError::data("unknown gzip error"));
}

TEST(GZipErrorTest, takesPartAsAnError) {
  const Error error = GZipError::buffer("m");

  EXPECT_EQ(error.domain(), "Corvane.GZipError");
  EXPECT_EQ(error.code(), 3);
  EXPECT_EQ(error.userInfo(), (Dictionary{{"NSLocalizedDescription", error.message()}}));
  ASSERT_TRUE(error.is<GZipError>());
  EXPECT_EQ(error.as<vantorel::ErrorLoggable>()->logMessage(), error.message());
  EXPECT_EQ(error.as<vantorel::ErrorLoggable>()->additionalLogInfo(), std::nullopt);
}

TEST(GZipErrorTest, hasTheOrdinalOfItsCaseAsCode) {
  EXPECT_EQ(GZipError::stream("").errorCode(), 0);
  EXPECT_EQ(GZipError::data("").errorCode(), 1);
  EXPECT_EQ(GZipError::memory("").errorCode(), 2);
  EXPECT_EQ(GZipError::buffer("").errorCode(), 3);
  EXPECT_EQ(GZipError::version("").errorCode(), 4);
  EXPECT_EQ(GZipError::unknown("", 1).errorCode(), 5);
}

TEST(ZlibLengthDeathTest, trapsForWhatDoesNotFitIn32Bits) {
  EXPECT_EQ(detail::zlibLength(UINT32_MAX), UINT32_MAX);
  // No buffer is longer where sizes have 32 bits themselves.
  if constexpr (sizeof(std::size_t) > 4) {
    EXPECT_DEATH(detail::zlibLength(std::size_t{UINT32_MAX} + 1), "gzip: the buffer is longer than 4 GiB");
  }
}

}  // namespace
}  // namespace corvane
