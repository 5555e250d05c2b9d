#include "ProgressLine.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

constexpr std::int64_t megabyte = 1'000'000;

const TransferState underWay{
    .completedBytes = 12'300'000, .totalBytes = 29'100'000, .bytesPerSecond = 4'500'000, .seconds = 2.7};

TEST(ProgressLineTest, tellsHowMuchIsDoneHowFastAndHowLongItTakes) {
  EXPECT_EQ(progressLine(underWay, 79), " 42% [###########----------------]  12.3 MB of 29.1 MB, 4.5 MB/s, 0:04 left");
}

TEST(ProgressLineTest, tellsTheTimeSoFarWhereTheTotalIsNotKnown) {
  TransferState state = underWay;
  state.totalBytes = -1;

  EXPECT_EQ(progressLine(state, 79), "12.3 MB, 4.5 MB/s, after 0:02");
}

TEST(ProgressLineTest, tellsTheTimeSoFarWhenAllIsDone) {
  TransferState state = underWay;
  state.completedBytes = state.totalBytes;

  EXPECT_EQ(progressLine(state, 79), "100% [###########################]  29.1 MB, after 0:02");
}

TEST(ProgressLineTest, startsWithNothing) {
  EXPECT_EQ(progressLine({.totalBytes = megabyte}, 79), "  0% [---------------------------]  0 B of 1.0 MB, 0 B/s");
  EXPECT_EQ(progressLine({}, 79), "0 B, 0 B/s, after 0:00");
}

TEST(ProgressLineTest, takesAnEmptyTransferForWhole) {
  EXPECT_EQ(progressLine({.totalBytes = 0}, 79), "100% [###########################]  0 B, after 0:00");
}

TEST(ProgressLineTest, doesNotSayThatAllIsDoneBeforeItIs) {
  const TransferState state{.completedBytes = megabyte * 1000 - 1, .totalBytes = megabyte * 1000, .bytesPerSecond = 1};

  EXPECT_EQ(progressLine(state, 79).substr(0, 36), " 99% [##########################-]  ");
}

TEST(ProgressLineTest, countsSeveralTransfers) {
  TransferState state = underWay;
  state.transfers = 8;
  state.finishedTransfers = 3;

  EXPECT_EQ(progressLine(state, 100).substr(0, 63), " 42% [################------------------------]  3 of 8, 12.3 M");
}

TEST(ProgressLineTest, leavesOutWhatDoesNotFit) {
  EXPECT_EQ(progressLine(underWay, 60), " 42%  12.3 MB of 29.1 MB, 4.5 MB/s, 0:04 left");
  EXPECT_EQ(progressLine(underWay, 44), " 42%  12.3 MB of 29.1 MB, 4.5 MB/s");
  EXPECT_EQ(progressLine(underWay, 30), " 42%  12.3 MB of 29.1 MB");
  EXPECT_EQ(progressLine(underWay, 10), " 42%");
  EXPECT_EQ(progressLine(underWay, 3), "");
  EXPECT_EQ(progressLine(underWay, 0), "");
  EXPECT_EQ(progressLine(underWay, -1), "");
}

TEST(ProgressLineTest, neverExceedsTheWidth) {
  const std::int64_t amounts[] = {-1, 0, 1, 999, megabyte, std::numeric_limits<std::int64_t>::max()};
  for (int columns = 0; columns <= 200; ++columns) {
    for (const std::int64_t total : amounts) {
      for (const std::int64_t completed : amounts) {
        if (completed < 0) continue;
        for (const double rate : {0.0, 1e-9, 1.0, 1e18}) {
          for (const int transfers : {1, 1'000'000}) {
            const TransferState state{.completedBytes = completed,
                                      .totalBytes = total,
                                      .bytesPerSecond = rate,
                                      .seconds = 1e9,
                                      .finishedTransfers = transfers / 2,
                                      .transfers = transfers};
            ASSERT_LE(progressLine(state, columns).size(), static_cast<std::size_t>(columns));
          }
        }
      }
    }
  }
}

TEST(ProgressLineTest, keepsTheWidthOfTheBarWhileTheTextChanges) {
  TransferState state = underWay;
  const std::size_t end = progressLine(state, 79).find(']');
  state.bytesPerSecond = 1;
  state.completedBytes = 999;

  EXPECT_EQ(progressLine(state, 79).find(']'), end);
}

TEST(ProgressLineTest, saysNothingOfATimeThatNobodyWaitsFor) {
  TransferState state = underWay;
  state.bytesPerSecond = 0.001;

  EXPECT_EQ(progressLine(state, 79), " 42% [###########----------------]  12.3 MB of 29.1 MB, 0 B/s");
}

TEST(ProgressLineTest, writesBytesInStepsOfAThousand) {
  EXPECT_EQ(byteText(0), "0 B");
  EXPECT_EQ(byteText(999), "999 B");
  EXPECT_EQ(byteText(999.7), "1.0 kB");
  EXPECT_EQ(byteText(1000), "1.0 kB");
  EXPECT_EQ(byteText(99'940), "99.9 kB");
  EXPECT_EQ(byteText(99'960), "100 kB");
  EXPECT_EQ(byteText(999'499), "999 kB");
  EXPECT_EQ(byteText(999'500), "1.0 MB");
  EXPECT_EQ(byteText(5'368'709'120), "5.4 GB");
  EXPECT_EQ(byteText(9.2e18), "9.2 EB");
}

TEST(ProgressLineTest, writesTimes) {
  EXPECT_EQ(timeText(0), "0:00");
  EXPECT_EQ(timeText(7.9), "0:07");
  EXPECT_EQ(timeText(754), "12:34");
  EXPECT_EQ(timeText(3723), "1:02:03");
}

const BatchState batch{.responses = 12, .requests = 40, .failures = 2, .responsesPerSecond = 3.46, .seconds = 4.2};

TEST(ProgressLineTest, tellsHowManyResponsesOfABatchHaveCome) {
  EXPECT_EQ(batchLine(batch, 79), "12 of 40, 2 failed, 3.5 a second, after 0:04");
  EXPECT_EQ(batchLine({.requests = 3}, 79), "0 of 3, 0.0 a second, after 0:00");
  EXPECT_EQ(batchLine({.responses = 2, .requests = 3, .responsesPerSecond = 123.4}, 79),
            "2 of 3, 123 a second, after 0:00");
}

TEST(ProgressLineTest, leavesOutOfABatchWhatDoesNotFit) {
  EXPECT_EQ(batchLine(batch, 43), "12 of 40, 2 failed, after 0:04");
  EXPECT_EQ(batchLine(batch, 29), "12 of 40, 2 failed");
  EXPECT_EQ(batchLine(batch, 17), "12 of 40");
  EXPECT_EQ(batchLine(batch, 7), "");
}

TEST(ProgressLineTest, namesOneOfSeveral) {
  EXPECT_EQ(namedLine("manual.pdf", underWay, 100), "manual.pdf               " + progressLine(underWay, 75));
  EXPECT_EQ(namedLine("manual.pdf", underWay, 60), "manual.pdf            42%  12.3 MB of 29.1 MB, 4.5 MB/s");
}

TEST(ProgressLineTest, cutsALongNameInItsMiddle) {
  EXPECT_EQ(namedLine("a-very-long-name-of-a-file.tar.gz", {}, 90).substr(0, 25), "a-very-long..file.tar.gz ");
  EXPECT_EQ(namedLine("\x1b[2Jna\xC3\xAFve", {}, 90).substr(0, 10), "?[2Jna?ve ");
}

TEST(ProgressLineTest, neverExceedsTheWidthWithAName) {
  for (int columns = 0; columns <= 200; ++columns) {
    EXPECT_LE(namedLine("a-very-long-name-of-a-file.tar.gz", underWay, columns).size(), static_cast<unsigned>(columns));
  }
}

TEST(ProgressLineTest, sumsUpSeveral) {
  const TransferState state{.completedBytes = 29'100'000, .seconds = 7, .finishedTransfers = 4, .transfers = 4};

  EXPECT_EQ(summaryLine(state, 0), "4 of 4 files, 29.1 MB in 0:07");
  EXPECT_EQ(summaryLine(state, 1), "3 of 4 files, 29.1 MB in 0:07, 1 failed");
}

}  // namespace
