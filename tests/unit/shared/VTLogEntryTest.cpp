#include "LogFixture.h"

#include "Text.h"

#include <ctime>

using VTLogEntry = LogTest;
using Texts = std::vector<std::string>;

TEST_F(VTLogEntry, IsOneLineWithDateAndTrimmedText) {
    makeCurrentFile();
    VTLog::fastAppendLog("  \t\r\n first %@ %d \u00A0\u2003\n\n", "entry", 1);
    VTLog::appendLog("inner \n break stays");
    VTLog::finishWriting();
    auto text = sandbox::readFile(path(1));
    text.erase(0, kDateLength);
    text.erase(text.find('\n') + 1, kDateLength);
    EXPECT_EQ(text, "first entry 1\ninner \n break stays\n");
}

TEST_F(VTLogEntry, CarriesTheLocalTime) {
    ::setenv("TZ", "XYZ-05:30", 1);
    ::tzset();
    makeCurrentFile();
    const auto before = std::time(nullptr);
    VTLog::fastAppendLog("now");
    VTLog::finishWriting();
    const auto line = sandbox::readFile(path(1));
    EXPECT_EQ(line.substr(19), " +0530 - now\n");
    std::tm written{};
    ::strptime(line.c_str(), "%Y-%m-%d %H:%M:%S", &written);
    written.tm_isdst = -1;
    EXPECT_GE(std::mktime(&written), before);
    EXPECT_LE(std::mktime(&written), std::time(nullptr));
}

TEST_F(VTLogEntry, IsDroppedWhenNothingIsLeftOfIt) {
    makeCurrentFile();
    VTLog::appendLog("");
    VTLog::fastAppendLog(" \n\t \r\n");
    VTLog::appendLog("%@", "  ");
    VTLog::finishWriting();
    EXPECT_EQ(log().bytesInQueue(), 0U);
    EXPECT_EQ(sandbox::readFile(path(1)), "");
}

TEST_F(VTLogEntry, IsIgnoredWhenTheFormatIsNone) {
    makeCurrentFile();
    const char* none = nullptr;
    EXPECT_EQ(output([&] {
                  VTLog::appendLog(none);
                  VTLog::appendLogAndPrint(std::nullopt, 1);
                  VTLog::appendLogAndPrint(std::optional<std::string>());
                  VTLog::fastAppendLog(nullptr);
                  VTLog::finishWriting();
              }),
              "");
    EXPECT_EQ(sandbox::readFile(path(1)), "");
}

TEST_F(VTLogEntry, IsCountedInCharactersWhileItWaits) {
    WriterGate gate(fileManager());
    makeCurrentFile();
    gate.close();
    VTLog::fastAppendLog(" x\u00E9\U0001F600 "); // 1 + 1 + 2 code units
    gate.waitUntilWriterIsHeld();
    VTLog::fastAppendLog("four");
    EXPECT_EQ(log().bytesInQueue(), 8U);
    gate.open();
    VTLog::finishWriting();
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(VTLogEntry, ReachesTheFileInTheOrderQueued) {
    makeCurrentFile();
    Texts expected;
    for (int i = 0; i < 3000; ++i) {
        VTLog::fastAppendLog("entry %d", i);
        expected.push_back("entry " + std::to_string(i));
    }
    VTLog::finishWriting();
    EXPECT_EQ(entries(1), expected);
}

TEST_F(VTLogEntry, IsWrittenByteForByte) {
    makeCurrentFile();
    const std::string odd("caf\xE9 \x01 a\0b", 10);
    VTLog::fastAppendLog("%@", odd);
    VTLog::finishWriting();
    EXPECT_EQ(sandbox::readFile(path(1)).substr(kDateLength), odd + "\n");
    EXPECT_EQ(log().bytesWritten(), kDateLength + odd.size() + 1);
}

TEST_F(VTLogEntry, KeepsAConversionThatHasNoArgument) {
    makeCurrentFile();
    VTLog::fastAppendLog("%@ 100% %d", "x");
    VTLog::finishWriting();
    EXPECT_EQ(entries(1), Texts{"x 100% %d"});
}

TEST_F(VTLogEntry, PrintedIsFormattedTwiceInTheFileAndDoubledOnOutput) {
    makeCurrentFile();
    const auto printed = output([] {
        VTLog::appendLogAndPrint(" done 100%%\n");
        VTLog::appendLogAndPrint("%@", "50%% and %@ and %d %");
    });
    VTLog::finishWriting();
    EXPECT_EQ(entries(1), (Texts{"done 100%", "50% and %@ and %d %"}));
    EXPECT_EQ(printed, "done 100%%\n50%%%% and  and %%d %%\n");
}

TEST_F(VTLogEntry, PrintedLosesObjectConversionsOnceThenDoublesThenDropsNuls) {
    makeCurrentFile();
    EXPECT_EQ(output([] { VTLog::appendLogAndPrint("%@", std::string("%%@@|%\0@|a\0b", 12)); }),
              "%%@|%%@|ab\n")
        << "what removal brings together is not removed again";
}

TEST_F(VTLogEntry, PrintedEmptyTextIsAnEmptyLineAndNoEntry) {
    makeCurrentFile();
    EXPECT_EQ(output([] { VTLog::appendLogAndPrint(" \n "); }), "\n");
    VTLog::finishWriting();
    EXPECT_EQ(sandbox::readFile(path(1)), "");
}

TEST_F(VTLogEntry, ShortFromAnotherThreadIsInTheFileOnReturn) {
    makeCurrentFile();
    std::size_t missing = 0;
    onAnotherThread([&] {
        for (int i = 0; i < 300; ++i) {
            const std::string text = "progress " + std::to_string(i);
            i % 2 ? VTLog::appendLog(text) : VTLog::appendLog("%@", text);
            missing += sandbox::readFile(path(1)).ends_with(text + "\n") ? 0 : 1;
        }
    });
    EXPECT_EQ(missing, 0U);
}

TEST_F(VTLogEntry, OfNinetyNineCharactersWaitsAndOfAHundredDoesNot) {
    WriterGate gate(fileManager());
    makeCurrentFile();
    onAnotherThread([&] {
        std::size_t missing = 0;
        for (int i = 0; i < 100; ++i) {
            const std::string text(99, static_cast<char>('a' + i % 26));
            VTLog::appendLog(text);
            missing += sandbox::readFile(path(1)).ends_with(text + "\n") ? 0 : 1;
        }
        EXPECT_EQ(missing, 0U);
        gate.close();
        VTLog::appendLog(std::string(100, 'x')); // would hang if it waited
        EXPECT_EQ(log().bytesInQueue(), 100U);
    });
    gate.open();
}

TEST_F(VTLogEntry, CountsUntrimmedForTheDecisionToWait) {
    WriterGate gate(fileManager());
    makeCurrentFile();
    gate.close();
    onAnotherThread([] { VTLog::appendLog("%@", std::string(100, ' ') + "x"); });
    EXPECT_EQ(log().bytesInQueue(), 1U);
    gate.open();
}

TEST_F(VTLogEntry, DoesNotWaitBehindALongBacklog) {
    WriterGate gate(fileManager());
    makeCurrentFile();
    gate.close();
    VTLog::fastAppendLog(std::string(98, 'x'));
    onAnotherThread([] { VTLog::appendLog("ab"); }); // 98 + 2 = 100
    EXPECT_EQ(log().bytesInQueue(), 100U);
    gate.open();
}

TEST_F(VTLogEntry, FromTheMainThreadNeverWaits) {
    WriterGate gate(fileManager());
    makeCurrentFile();
    gate.close();
    VTLog::appendLog("short");
    EXPECT_EQ(log().bytesInQueue(), 5U);
    gate.open();
}

TEST_F(VTLogEntry, FastNeverWaits) {
    WriterGate gate(fileManager());
    makeCurrentFile();
    gate.close();
    onAnotherThread([] { VTLog::fastAppendLog("short"); });
    EXPECT_EQ(log().bytesInQueue(), 5U);
    gate.open();
}

TEST_F(VTLogEntry, WrittenFromTheWriterItselfDoesNotDeadlock) {
    int writes = 0;
    fileManager().beforeWrite = [&](std::string_view) {
        if (++writes == 1) {
            VTLog::appendLog("from the writer"); // short, and not from the main thread
            VTLog::finishWriting();
        }
    };
    makeCurrentFile();
    VTLog::fastAppendLog("first");
    VTLog::finishWriting();
    EXPECT_EQ(entries(1), (Texts{"first", "from the writer"}));
}
