#include "LogFixture.h"

#include "Bundle.h"
#include "ProcessInfo.h"
#include "ProgramCopy.h"

#include <filesystem>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using VTLogFiles = LogTest;
using Texts = std::vector<std::string>;

namespace {

std::string systemLine() {
    return format("System: OS X %@, %li CPU(s), %0.2f GB RAM", platform::operatingSystemVersionString(),
                  platform::processorCount(), static_cast<double>(platform::physicalMemory()) / (1 << 30));
}

constexpr const char* kModeLine = sizeof(void*) == 8 ? "Running in 64-bit mode" : "Running in 32-bit mode";

} // namespace

TEST_F(VTLogFiles, AreNamedAfterTheExecutable) {
    const auto executable = std::filesystem::path(platform::mainExecutablePath());
    EXPECT_EQ(log().appName(), executable.stem().string());
    log().setAppName("Given");
    EXPECT_EQ(log().appName(), "Given");
    VTLog::createNewLog("Ignored");
    EXPECT_TRUE(sandbox::exists(userFolder() + "/Given.1.log"));
}

TEST_F(VTLogFiles, AreNamedUnknownWhenTheNameIsEmpty) {
    log().setAppName("");
    VTLog::createNewLog();
    EXPECT_EQ(log().appName(), "Unknown");
    EXPECT_TRUE(sandbox::exists(userFolder() + "/Unknown.1.log"));
}

TEST_F(VTLogFiles, MayHaveAnyBytesInTheirName) {
    log().setAppName("na\xFFme %@ %s");
    VTLog::createNewLog();
    VTLog::finishWriting();
    EXPECT_TRUE(sandbox::exists(userFolder() + "/na\xFFme %@ %s.1.log"));
    EXPECT_EQ(VTLog::availableLogs(), Texts{userFolder() + "/na\xFFme %@ %s.1.log"});
}

TEST_F(VTLogFiles, BeginWithAHeader) {
    EXPECT_EQ(output([] { VTLog::createNewLog(); }), "");
    VTLog::finishWriting();
    const auto lines = entries(1);
    ASSERT_EQ(lines.size(), 3U) << "no bundle, so neither version nor path";
    EXPECT_EQ(lines[0].substr(0, 13), "Log started: ");
    EXPECT_EQ(lines[0].size(), 13U + 25U);
    EXPECT_EQ(lines[1], systemLine());
    EXPECT_EQ(lines[2], kModeLine);
    EXPECT_EQ(log().bytesWritten(), sandbox::readFile(path(1)).size());
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

// Runs a copy of this program from inside a bundle; the copy does the looking.
TEST_F(VTLogFiles, NameVersionAndPathOfTheBundleInTheHeader) {
    if (platform::Bundle::main()) {
        VTLog::createNewLog();
        VTLog::finishWriting();
        EXPECT_EQ(log().appName(), "Tool");
        const auto lines = entries(1);
        ASSERT_EQ(lines.size(), 5U);
        EXPECT_EQ(lines[1], "Version: 4.5 (beta)");
        EXPECT_EQ(lines[2], "Path: " + platform::mainExecutablePath());
        EXPECT_TRUE(lines[2].ends_with("/My Tool.app/Contents/MacOS/Tool.bin")) << lines[2];
        EXPECT_EQ(lines[3], systemLine());
        EXPECT_EQ(lines[4], kModeLine);
        return;
    }
    const auto contents = sandbox::folder() + "/My Tool.app/Contents";
    sandbox::writeFile(contents + "/Info.plist",
                       R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)"
                       "<key>CFBundleVersion</key><string>4.5 (beta)</string></dict></plist>");
    EXPECT_EQ(sandbox::statusOfCopy("My Tool.app/Contents/MacOS/Tool.bin"), 0);
}

TEST_F(VTLogFiles, AreShiftedByOneGeneration) {
    for (int generation = 1; generation <= 5; ++generation) {
        sandbox::writeFile(path(generation), "was " + std::to_string(generation));
    }
    VTLog::createNewLog();
    VTLog::finishWriting();
    for (int generation = 2; generation <= 5; ++generation) {
        EXPECT_EQ(sandbox::readFile(path(generation)), "was " + std::to_string(generation - 1));
    }
    EXPECT_EQ(entries(1).size(), 3U);
    EXPECT_FALSE(sandbox::exists(path(6)));
}

TEST_F(VTLogFiles, AreShiftedAcrossGaps) {
    sandbox::writeFile(path(1), "was 1");
    sandbox::writeFile(path(3), "was 3");
    VTLog::createNewLog();
    VTLog::finishWriting();
    EXPECT_EQ(sandbox::readFile(path(2)), "was 1");
    EXPECT_FALSE(sandbox::exists(path(3)));
    EXPECT_EQ(sandbox::readFile(path(4)), "was 3");
}

TEST_F(VTLogFiles, StayWhenThereIsNoCurrentFile) {
    for (int generation = 2; generation <= 5; ++generation) {
        sandbox::writeFile(path(generation), "was " + std::to_string(generation));
    }
    VTLog::createNewLog();
    VTLog::finishWriting();
    for (int generation = 2; generation <= 5; ++generation) {
        EXPECT_EQ(sandbox::readFile(path(generation)), "was " + std::to_string(generation));
    }
    EXPECT_EQ(entries(1).size(), 3U);
}

TEST_F(VTLogFiles, ThatCannotBeRemovedAreInTheWayOfTheNextOnly) {
    for (int generation : {1, 5}) {
        sandbox::writeFile(path(generation), "was " + std::to_string(generation));
    }
    fileManager().removeItemFailure = [](const std::string&) {
        return std::make_error_code(std::errc::permission_denied);
    };
    EXPECT_EQ(output([] { VTLog::createNewLog(); }), "");
    VTLog::finishWriting();
    EXPECT_EQ(sandbox::readFile(path(2)), "was 1");
    EXPECT_EQ(sandbox::readFile(path(5)), "was 5");
}

TEST_F(VTLogFiles, AreListedNewestFirst) {
    EXPECT_EQ(VTLog::availableLogs(), Texts{});
    sandbox::writeFile(path(3), "");
    sandbox::writeFile(path(1), "");
    sandbox::writeFile(path(6), "");
    EXPECT_EQ(VTLog::availableLogs(), (Texts{path(1), path(3)}));
}

TEST_F(VTLogFiles, OfARootProcessAreSplit) {
    sandbox::users().userID = 0;
    sandbox::makeFolder(machineFolder());
    const auto current = path(1, machineFolder());
    sandbox::writeFile(current, "machine 1");
    sandbox::writeFile(path(1), "user 1");
    sandbox::writeFile(path(4), "user 4");
    EXPECT_EQ(output([] { VTLog::createNewLog(); }), "");
    VTLog::finishWriting();
    EXPECT_EQ(entries(current).size(), 3U) << "the machine's file is replaced, not shifted";
    EXPECT_FALSE(sandbox::exists(path(2, machineFolder())));
    EXPECT_EQ(sandbox::readFile(path(2)), "user 1");
    EXPECT_EQ(sandbox::readFile(path(5)), "user 4");
    EXPECT_FALSE(sandbox::exists(path(1)));
    EXPECT_EQ(VTLog::availableLogs(), (Texts{path(2), path(5)})) << "the user's folder alone";
}

TEST_F(VTLogFiles, OfARootProcessStayWithoutACurrentFile) {
    sandbox::users().userID = 0;
    sandbox::makeFolder(machineFolder());
    sandbox::writeFile(path(1), "user 1");
    VTLog::createNewLog();
    VTLog::finishWriting();
    EXPECT_EQ(sandbox::readFile(path(1)), "user 1");
    EXPECT_EQ(entries(path(1, machineFolder())).size(), 3U);
}

TEST_F(VTLogFiles, OfARootProcessHaveTheirFolderMadeInTheUsersHomeOnly) {
    sandbox::users().userID = 0;
    EXPECT_EQ(output([] { VTLog::createNewLog(); }),
              "Unable to create log file " + path(1, machineFolder()) + " - No such file or directory\n");
    EXPECT_TRUE(sandbox::exists(userFolder()));
    EXPECT_FALSE(sandbox::exists(machineFolder()));
}

TEST_F(VTLogFiles, OfARootProcessAreOpenedInTheMachinesFolder) {
    sandbox::users().userID = 0;
    sandbox::writeFile(path(1, machineFolder()), "");
    sandbox::writeFile(path(1), "");
    VTLog::fastAppendLog("entry");
    VTLog::finishWriting();
    EXPECT_EQ(entries(path(1, machineFolder())), Texts{"entry"});
    EXPECT_EQ(sandbox::readFile(path(1)), "");
}

TEST_F(VTLogFiles, FolderMadeByRootBelongsToTheHomesOwner) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    constexpr uid_t kOwner = 4321;
    sandbox::users().userID = 0;
    ASSERT_EQ(::chown(sandbox::home().c_str(), kOwner, kOwner), 0);
    VTLog::createNewLog();
    for (const auto& folder : {sandbox::home() + "/Library", userFolder()}) {
        struct stat status {};
        ASSERT_EQ(::stat(folder.c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, kOwner) << folder;
    }
}

TEST_F(VTLogFiles, AreAppendedToWhenNoneWasBegun) {
    sandbox::writeFile(path(1), "older\n");
    VTLog::fastAppendLog("entry");
    VTLog::finishWriting();
    const auto text = sandbox::readFile(path(1));
    EXPECT_EQ(text.substr(0, 6), "older\n");
    EXPECT_EQ(text.substr(6 + kDateLength), "entry\n");
    EXPECT_EQ(log().bytesWritten(), kDateLength + 6) << "what was there does not count";
    EXPECT_NE(log().fileHandle(), nullptr);
}

namespace {

struct SwitchValue {
    const char* label;
    platform::PropertyList value;
};

std::ostream& operator<<(std::ostream& stream, const SwitchValue& value) {
    return stream << value.label;
}

} // namespace

class VTLogSwitchOff : public LogTest, public testing::WithParamInterface<SwitchValue> {};
class VTLogSwitchOn : public LogTest, public testing::WithParamInterface<SwitchValue> {};

TEST_P(VTLogSwitchOff, DisablesTheFileForGood) {
    sandbox::writeFile(path(1), "was 1");
    setPreferences({{"disable-logging", GetParam().value}, {"other", "kept"}});
    EXPECT_EQ(output([] { VTLog::createNewLog(); }), "Logging is disabled\n");
    EXPECT_TRUE(log().loggingDisabled());
    EXPECT_EQ(log().fileHandle(), nullptr);
    setPreferences({});
    const auto printed = output([] {
        VTLog::createNewLog();
        VTLog::appendLogAndPrint("still printed");
        VTLog::finishWriting();
    });
    EXPECT_EQ(printed, "still printed\n");
    EXPECT_TRUE(log().loggingDisabled());
    EXPECT_EQ(sandbox::readFile(path(1)), "");
    EXPECT_GT(log().bytesInQueue(), 13U) << "the header and the entry stay counted";
}

TEST_P(VTLogSwitchOn, LeavesTheFileOn) {
    setPreferences({{"disable-logging", GetParam().value}});
    EXPECT_EQ(output([] { VTLog::createNewLog(); }), "");
    EXPECT_FALSE(log().loggingDisabled());
    EXPECT_NE(log().fileHandle(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Values, VTLogSwitchOff,
                         testing::Values(SwitchValue{"text_1", "1"}, SwitchValue{"true", true},
                                         SwitchValue{"integer_1", 1}, SwitchValue{"real_1", 1.0}));
INSTANTIATE_TEST_SUITE_P(Values, VTLogSwitchOn,
                         testing::Values(SwitchValue{"text_0", "0"}, SwitchValue{"text_yes", "yes"},
                                         SwitchValue{"text_true", "true"},
                                         SwitchValue{"text_1_behind_a_space", " 1"},
                                         SwitchValue{"text_1_0", "1.0"}, SwitchValue{"no_text", ""},
                                         SwitchValue{"integer_2", 2}, SwitchValue{"integer_0", 0},
                                         SwitchValue{"integer_minus_1", -1}, SwitchValue{"real_1_5", 1.5},
                                         SwitchValue{"false", false},
                                         SwitchValue{"data", platform::PropertyList::Data{"1"}},
                                         SwitchValue{"array", platform::PropertyList::Array{"1"}}));

TEST_F(VTLogFiles, AreOnWithoutUsablePreferences) {
    sandbox::writeFile(sandbox::home() + "/Library/Preferences/com.vantorel.global.plist", "no list");
    EXPECT_EQ(output([] { VTLog::createNewLog(); }), "");
    EXPECT_FALSE(log().loggingDisabled());
}
