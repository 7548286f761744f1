#include "LogFixture.h"

#include "Exception.h"

#include <csignal>
#include <sys/resource.h>

using VTLogFailure = LogTest;
using Texts = std::vector<std::string>;

namespace {

std::string loss(const std::string& text) {
    return "Unable to log the following information: " + text + "\nUnable to open log for output\n";
}

std::error_code refused(const std::string&) {
    return std::make_error_code(std::errc::permission_denied);
}

// Queues the entries "entry 0" to "entry 7" so that the writer finds them all at once.
void appendEightAtOnce(WriterGate& gate) {
    gate.close();
    VTLog::fastAppendLog("first");
    gate.waitUntilWriterIsHeld();
    for (int i = 0; i < 8; ++i) {
        VTLog::fastAppendLog("entry %d", i);
    }
    gate.open();
    VTLog::finishWriting();
}

constexpr std::size_t kFirstLine = kDateLength + 6;
constexpr std::size_t kEntryLine = kDateLength + 8;
constexpr const char* kDiskFull = "Exception writing to log: No space left on device\n";

} // namespace

TEST_F(VTLogFailure, OfTheFolderIsToldAndLosesEntries) {
    sandbox::writeFile(sandbox::home() + "/Library/Logs", "a file where the folder belongs");
    EXPECT_EQ(output([] { VTLog::createNewLog(); }), "Unable to create folder " + userFolder() + ".\n");
    EXPECT_EQ(log().fileHandle(), nullptr);
    EXPECT_EQ(output([] {
                  VTLog::fastAppendLog("one");
                  VTLog::fastAppendLog("two %%");
                  VTLog::finishWriting();
              }),
              loss("one") + loss("two %"));
    EXPECT_EQ(log().bytesInQueue(), 0U);
    EXPECT_EQ(log().bytesWritten(), 0U);
}

TEST_F(VTLogFailure, OfTheFolderIsMadeGoodByALazyOpen) {
    fileManager().createDirectoryFailure = refused;
    EXPECT_EQ(output([] { VTLog::createNewLog(); }), "Unable to create folder " + userFolder() + ".\n");
    makeCurrentFile();
    VTLog::fastAppendLog("entry");
    VTLog::finishWriting();
    EXPECT_EQ(entries(1), Texts{"entry"});
}

TEST_F(VTLogFailure, OfAMoveStopsHalfWay) {
    for (int generation = 1; generation <= 4; ++generation) {
        sandbox::writeFile(path(generation), "was " + std::to_string(generation));
    }
    fileManager().moveItemFailure = [&](const std::string& from) {
        return from == path(2) ? refused(from) : std::error_code();
    };
    EXPECT_EQ(output([] { VTLog::createNewLog(); }),
              "Unable to move file " + path(2) + " to " + path(3) + ".\n");
    EXPECT_EQ(sandbox::readFile(path(5)), "was 4");
    EXPECT_EQ(sandbox::readFile(path(4)), "was 3");
    EXPECT_FALSE(sandbox::exists(path(3)));
    EXPECT_EQ(sandbox::readFile(path(2)), "was 2");
    EXPECT_EQ(sandbox::readFile(path(1)), "was 1");
    EXPECT_EQ(log().fileHandle(), nullptr);
}

TEST_F(VTLogFailure, OfTheNewFileIsToldWithTheSystemsText) {
    fileManager().writeAtomicallyFailure = [](const std::string&) {
        return std::error_code(ENOSPC, std::generic_category());
    };
    sandbox::writeFile(path(1), "was 1");
    EXPECT_EQ(output([] { VTLog::createNewLog(); }),
              "Unable to create log file " + path(1) + " - No space left on device\n");
    EXPECT_EQ(sandbox::readFile(path(2)), "was 1");
    EXPECT_EQ(log().fileHandle(), nullptr);
}

TEST_F(VTLogFailure, ToOpenTheNewFileIsSilent) {
    fileManager().openForWritingFailure = refused;
    EXPECT_EQ(output([] { VTLog::createNewLog(); }), "");
    EXPECT_EQ(log().fileHandle(), nullptr);
    EXPECT_EQ(log().bytesInQueue(), 0U) << "no header";
    EXPECT_TRUE(sandbox::exists(path(1)));
}

TEST_F(VTLogFailure, WithoutAnyFileIsToldForEachEntry) {
    EXPECT_EQ(output([] {
                  VTLog::fastAppendLog("one");
                  VTLog::appendLogAndPrint("two");
                  VTLog::finishWriting();
              }).size(),
              (loss("one") + loss("two") + "two\n").size());
    EXPECT_FALSE(sandbox::exists(path(1))) << "only a new log makes the file";
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(VTLogFailure, WithoutAHomeIsLikeAFileThatCannotBeOpened) {
    sandbox::users().home = std::nullopt;
    EXPECT_EQ(output([] {
                  VTLog::createNewLog();
                  VTLog::fastAppendLog("entry");
                  VTLog::finishWriting();
              }),
              loss("entry"));
    EXPECT_EQ(VTLog::availableLogs(), Texts{});
}

TEST_F(VTLogFailure, ToWriteLosesTheEntryAndKeepsItCounted) {
    makeCurrentFile();
    fileManager().setFreeBytes(0);
    EXPECT_EQ(output([] {
                  VTLog::fastAppendLog("lost");
                  VTLog::finishWriting();
              }),
              kDiskFull);
    EXPECT_EQ(log().bytesInQueue(), 4U);
    EXPECT_EQ(log().bytesWritten(), 0U);
    fileManager().setFreeBytes(1000);
    VTLog::fastAppendLog("entry");
    VTLog::finishWriting();
    EXPECT_EQ(entries(1), Texts{"entry"});
    EXPECT_EQ(log().bytesInQueue(), 4U);
}

TEST_F(VTLogFailure, OfAFullDiskAmongManyEntriesIsAccountedEntryByEntry) {
    WriterGate gate(fileManager());
    makeCurrentFile();
    fileManager().setFreeBytes(kFirstLine + 3 * kEntryLine + 5); // stops in the fourth
    std::string expected;
    for (int lost = 3; lost < 8; ++lost) {
        expected += kDiskFull;
    }
    EXPECT_EQ(output([&] { appendEightAtOnce(gate); }), expected);
    const auto text = sandbox::readFile(path(1));
    EXPECT_EQ(text.size(), kFirstLine + 3 * kEntryLine + 5);
    EXPECT_NE(text.find("entry 2\n"), std::string::npos);
    EXPECT_EQ(log().bytesWritten(), kFirstLine + 3 * kEntryLine) << "whole lines";
    EXPECT_EQ(log().bytesInQueue(), 5U * 7U) << "five entries are lost";
}

TEST_F(VTLogFailure, AtTheEndOfALineLosesTheNextOne) {
    WriterGate gate(fileManager());
    makeCurrentFile();
    fileManager().setFreeBytes(kFirstLine + 6 * kEntryLine);
    EXPECT_EQ(output([&] { appendEightAtOnce(gate); }), std::string(kDiskFull) + kDiskFull);
    EXPECT_EQ(entries(1).back(), "entry 5");
    EXPECT_EQ(log().bytesWritten(), kFirstLine + 6 * kEntryLine);
    EXPECT_EQ(log().bytesInQueue(), 2U * 7U);
}

TEST_F(VTLogFailure, OfARealFileThatMayNotGrowIsAccountedEntryByEntry) {
    WriterGate gate(fileManager());
    makeCurrentFile();
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto printed = output([&] {
        gate.close();
        VTLog::fastAppendLog("first");
        gate.waitUntilWriterIsHeld();
        for (int i = 0; i < 5; ++i) {
            VTLog::fastAppendLog(std::string(3'000, static_cast<char>('a' + i)));
        }
        const rlimit small{.rlim_cur = 10'000, .rlim_max = before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
        gate.open();
        VTLog::finishWriting();
        ::setrlimit(RLIMIT_FSIZE, &before);
    });
    EXPECT_EQ(printed,
              "Exception writing to log: File too large\nException writing to log: File too large\n");
    EXPECT_EQ(sandbox::readFile(path(1)).size(), 10'000U);
    EXPECT_EQ(log().bytesWritten(), kFirstLine + 3 * (kDateLength + 3'001));
    EXPECT_EQ(log().bytesInQueue(), 6'000U);
}

TEST_F(VTLogFailure, ThatPassesLosesOneEntryAmongMany) {
    bool failed = false;
    WriterGate gate(fileManager());
    const auto pass = fileManager().beforeWrite;
    fileManager().beforeWrite = [&](std::string_view bytes) {
        pass(bytes);
        if (bytes.find("entry 0") != std::string_view::npos && !failed) {
            failed = true;
            throw platform::Exception("NSFileHandleOperationException", "Input/output error");
        }
    };
    makeCurrentFile();
    EXPECT_EQ(output([&] { appendEightAtOnce(gate); }), "Exception writing to log: Input/output error\n");
    EXPECT_EQ(entries(1),
              (Texts{"first", "entry 1", "entry 2", "entry 3", "entry 4", "entry 5", "entry 6", "entry 7"}));
    EXPECT_EQ(log().bytesInQueue(), 7U);
}

TEST_F(VTLogFailure, DuringRotationLosesNoOtherEntry) {
    bool armed = false;
    VTLog::createNewLog();
    VTLog::finishWriting();
    fileManager().moveItemFailure = [&](const std::string&) -> std::error_code {
        if (armed) {
            throw platform::Exception("NSGenericException", "moved too far");
        }
        return {};
    };
    armed = true;
    EXPECT_EQ(output([] {
                  VTLog::fastAppendLog(std::string(500'000, 'x'));
                  VTLog::finishWriting();
                  VTLog::fastAppendLog("next");
                  VTLog::finishWriting();
              }),
              "Exception writing to log: moved too far\n");
    EXPECT_EQ(log().bytesInQueue(), 500'000U) << "the entry that filled the file stays counted";
    EXPECT_EQ(entries(1).back(), "next");
}

TEST_F(VTLogFailure, IsNotToldOnceLoggingIsDisabled) {
    fileManager().beforeWrite = [](std::string_view) {
        log().setLoggingDisabled(true); // while the entry is being written
        throw platform::Exception("NSFileHandleOperationException", "Input/output error");
    };
    makeCurrentFile();
    EXPECT_EQ(output([] {
                  VTLog::fastAppendLog("one");
                  VTLog::finishWriting();
                  VTLog::fastAppendLog("two");
                  VTLog::finishWriting();
              }),
              "");
    EXPECT_EQ(log().bytesInQueue(), 6U);
}

TEST_F(VTLogFailure, ToOpenIsNotToldOnceLoggingIsDisabled) {
    fileManager().openForWritingFailure = [](const std::string& file) {
        log().setLoggingDisabled(true);
        return refused(file);
    };
    makeCurrentFile();
    EXPECT_EQ(output([] {
                  VTLog::fastAppendLog("one");
                  VTLog::finishWriting();
              }),
              "");
    EXPECT_EQ(log().bytesInQueue(), 0U);
}
