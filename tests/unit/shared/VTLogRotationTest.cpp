#include "LogFixture.h"

#include <numeric>

using VTLogRotation = LogTest;
using Texts = std::vector<std::string>;

namespace {

constexpr std::uint64_t kLimit = 500'000;

// Queues one entry whose line is `bytes` long.
void appendLine(std::uint64_t bytes, char letter = 'x') {
    VTLog::fastAppendLog(std::string(bytes - kDateLength - 1, letter));
}

// The entries of all generations, oldest first, without headers.
Texts withoutHeaders(const Texts& lines) {
    Texts texts;
    for (const auto& line : lines) {
        if (!line.starts_with("Log started: ") && !line.starts_with("System: ") &&
            !line.starts_with("Running in ") && line != "Log truncated at 500KB") {
            texts.push_back(line);
        }
    }
    return texts;
}

} // namespace

TEST_F(VTLogRotation, ComesWithTheLineThatReachesTheLimit) {
    VTLog::createNewLog();
    VTLog::finishWriting();
    appendLine(kLimit - 1 - log().bytesWritten());
    VTLog::finishWriting();
    EXPECT_EQ(log().bytesWritten(), kLimit - 1);
    EXPECT_FALSE(sandbox::exists(path(2))) << "one byte short";
    VTLog::fastAppendLog("the last");
    VTLog::finishWriting();
    EXPECT_EQ(entries(2).back(), "the last");
    EXPECT_EQ(sandbox::readFile(path(2)).size(), kLimit - 1 + kDateLength + 9);
    EXPECT_EQ(log().bytesWritten(), sandbox::readFile(path(1)).size()) << "counted anew";
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(VTLogRotation, ComesAtTheLimitExactly) {
    VTLog::createNewLog();
    VTLog::finishWriting();
    appendLine(kLimit - log().bytesWritten());
    VTLog::finishWriting();
    EXPECT_EQ(sandbox::readFile(path(2)).size(), kLimit);
    const auto lines = entries(1);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_TRUE(lines[0].starts_with("Log started: "));
    EXPECT_TRUE(lines[1].starts_with("System: OS X "));
    EXPECT_TRUE(lines[2].starts_with("Running in "));
    EXPECT_EQ(lines[3], "Log truncated at 500KB");
}

TEST_F(VTLogRotation, PutsTheHeaderAheadOfEntriesThatWait) {
    WriterGate gate(fileManager());
    VTLog::createNewLog();
    VTLog::finishWriting();
    const auto header = log().bytesWritten();
    gate.close();
    VTLog::fastAppendLog("held");
    gate.waitUntilWriterIsHeld();
    Texts expected{"held"};
    for (int i = 0; i < 12; ++i) {
        appendLine(100'000, static_cast<char>('a' + i));
        expected.emplace_back(100'000 - kDateLength - 1, static_cast<char>('a' + i));
    }
    gate.open();
    VTLog::finishWriting();
    // Lines of 100,000 bytes after header and "held": the fifth fills a file, in the second file as well.
    EXPECT_EQ(sandbox::readFile(path(3)).size(), header + kDateLength + 5 + 500'000);
    Texts all;
    for (int generation : {3, 2, 1}) {
        const auto lines = entries(generation);
        ASSERT_GE(lines.size(), 4U);
        EXPECT_TRUE(lines[0].starts_with("Log started: "));
        EXPECT_EQ(lines[3] == "Log truncated at 500KB", generation != 3);
        const auto texts = withoutHeaders(lines);
        all.insert(all.end(), texts.begin(), texts.end());
    }
    EXPECT_EQ(all, expected);
    EXPECT_EQ(entries(2).size(), 4U + 5U);
    EXPECT_EQ(entries(1).size(), 4U + 2U);
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(VTLogRotation, DoesNotCountWhatALazilyOpenedFileHeld) {
    sandbox::writeFile(path(1), std::string(600'000, 'o') + "\n");
    VTLog::fastAppendLog("entry");
    VTLog::finishWriting();
    EXPECT_FALSE(sandbox::exists(path(2)));
}

TEST_F(VTLogRotation, HappensForOneEntryLargerThanAFile) {
    VTLog::createNewLog();
    appendLine(2 * kLimit);
    VTLog::fastAppendLog("next");
    VTLog::finishWriting();
    EXPECT_GT(sandbox::readFile(path(2)).size(), 2 * kLimit);
    EXPECT_EQ(entries(1).back(), "next");
    EXPECT_FALSE(sandbox::exists(path(3)));
}

TEST_F(VTLogRotation, StopsWhenTheSwitchWasTurnedMeanwhile) {
    VTLog::createNewLog();
    setPreferences({{"disable-logging", true}});
    const auto printed = output([] {
        appendLine(kLimit);
        VTLog::fastAppendLog("lost");
        VTLog::finishWriting();
    });
    EXPECT_EQ(printed, "Logging is disabled\n");
    EXPECT_EQ(entries(1).size(), 4U) << "header and the long entry";
    EXPECT_FALSE(sandbox::exists(path(2)));
    EXPECT_EQ(log().bytesInQueue(), 22U + 4U) << "\"Log truncated at 500KB\" and \"lost\"";
}

TEST_F(VTLogRotation, ThatFailsHalfWayGoesOnInTheOldFile) {
    VTLog::createNewLog();
    sandbox::writeFile(path(2), "was 2");
    fileManager().moveItemFailure = [&](const std::string& from) {
        return from == path(1) ? std::make_error_code(std::errc::permission_denied) : std::error_code();
    };
    const auto printed = output([] {
        appendLine(kLimit);
        VTLog::fastAppendLog("next");
        VTLog::finishWriting();
    });
    EXPECT_EQ(printed, "Unable to move file " + path(1) + " to " + path(2) + ".\n");
    EXPECT_EQ(sandbox::readFile(path(3)), "was 2");
    EXPECT_FALSE(sandbox::exists(path(2)));
    const auto lines = entries(1);
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[4], "Log truncated at 500KB");
    EXPECT_EQ(lines[5], "next");
    EXPECT_EQ(log().bytesWritten(), 2 * (kDateLength + 1) + 22 + 4) << "counted from the failed rotation on";
}

TEST_F(VTLogRotation, LosesAndTearsNothingInFiveFiles) {
    VTLog::createNewLog();
    Texts expected;
    for (int i = 0; i < 24'000; ++i) { // of 89 bytes: more than four files, less than five
        expected.push_back(format("entry %06d %@", i, std::string(47, '.')));
        VTLog::fastAppendLog(expected.back());
    }
    VTLog::finishWriting();
    ASSERT_TRUE(sandbox::exists(path(5)));
    Texts all;
    for (int generation = 5; generation >= 1; --generation) {
        const auto size = sandbox::readFile(path(generation)).size();
        EXPECT_LT(size, kLimit + 200);
        EXPECT_TRUE(generation == 1 || size >= kLimit);
        const auto texts = withoutHeaders(entries(generation));
        all.insert(all.end(), texts.begin(), texts.end());
    }
    EXPECT_EQ(all, expected);
}

TEST_F(VTLogRotation, LosesAndTearsNothingFromFourThreads) {
    constexpr int kThreads = 4;
    constexpr int kEntries = 6'000;
    VTLog::createNewLog();
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([thread] {
                for (int i = 0; i < kEntries; ++i) {
                    VTLog::fastAppendLog("thread %d entry %05d %@", thread, i, std::string(40, '.'));
                }
            });
        }
    }
    VTLog::finishWriting();
    ASSERT_TRUE(sandbox::exists(path(5)));
    std::vector<int> next(kThreads);
    std::size_t torn = 0;
    for (int generation = 5; generation >= 1; --generation) {
        for (const auto& text : withoutHeaders(entries(generation))) {
            const auto thread = static_cast<std::size_t>(text.at(7) - '0');
            ASSERT_LT(thread, next.size()) << text;
            torn +=
                text == format("thread %d entry %05d %@", thread, next[thread], std::string(40, '.')) ? 0 : 1;
            ++next[thread];
        }
    }
    EXPECT_EQ(torn, 0U) << "each thread's entries are whole and in its order";
    EXPECT_EQ(next, std::vector<int>(kThreads, kEntries));
    EXPECT_EQ(log().bytesInQueue(), 0U);
}
