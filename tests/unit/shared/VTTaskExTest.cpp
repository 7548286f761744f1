#include "VTTaskEx.h"

#include "Exception.h"
#include "TaskFixture.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;
using Encoding = VTTaskEx::Encoding;

namespace {

class VTTaskExTest : public TaskTest {
protected:
    // What cannot be run: missing, without the permission, a package, and none at all.
    Strings notRunnable() {
        sandbox::writeFile(file("text"), "text");
        sandbox::makeFolder(file("Tool.app"));
        sandbox::makeFolder(file("Part.BUNDLE"));
        return {file("missing"), file("text"), file("Tool.app"), file("Part.BUNDLE"), ""};
    }
};

// No descriptor is left for as long as it lives.
class NoDescriptors {
public:
    NoDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &saved_);
        const int next = ::dup(STDERR_FILENO);
        ::close(next);
        const rlimit limit{static_cast<rlim_t>(next), saved_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &saved_); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit saved_{};
};

} // namespace

TEST_F(VTTaskExTest, RunsAndWaits) {
    const auto path = script("run", "echo out; echo errors >&2; echo \"$@\" >" + file("result") + "; exit 3");
    TaskReference task;
    EXPECT_EQ(output([&] { EXPECT_TRUE(VTTaskEx::runTask(path, {"one", "two words"}, &task)); }), "");
    EXPECT_EQ(sandbox::readFile(file("result")), "one two words\n");
    EXPECT_EQ(task.get()->terminationStatus(), 3);
    EXPECT_EQ(task.get()->launchPath(), path);
    EXPECT_TRUE(VTTaskEx::runTask("/bin/true", {}));
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTTaskExTest, RunAndWaitRefusesWhatIsNotExecutable) {
    for (const auto& path : notRunnable()) {
        const auto printed = output([&] { EXPECT_FALSE(VTTaskEx::runTask(path, {})); });
        EXPECT_THAT(printed, testing::HasSubstr(notExecutable(path)));
        EXPECT_THAT(logged(), ElementsAre(notExecutable(path)));
    }
    output([] { EXPECT_FALSE(VTTaskEx::runTask(std::nullopt, {})); });
    EXPECT_THAT(logged(), ElementsAre("Error: (null) is not executable"));
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTTaskExTest, AFileWithAPackagesNameIsExecutable) {
    EXPECT_TRUE(VTTaskEx::runTask(script("script.app", "exit 0"), {}));
}

TEST_F(VTTaskExTest, RunAndWaitLogsAnException) {
    const auto noInterpreterLine = program("plain", "exit 0\n");
    const auto lostInterpreter = program("lost", "#!" + file("interpreter") + "\n");
    const auto printed = output([&] {
        EXPECT_FALSE(VTTaskEx::runTask(noInterpreterLine, {}));
        EXPECT_FALSE(VTTaskEx::runTask(lostInterpreter, {}));
        EXPECT_FALSE(VTTaskEx::runTask(sandbox::home(), {}));
    });
    EXPECT_EQ(printed, "");
    EXPECT_THAT(logged(),
                ElementsAre("Exception running task " + noInterpreterLine + ": Exec format error",
                            "Exception running task " + lostInterpreter + ": No such file or directory",
                            "Exception running task " + sandbox::home() + ": Permission denied"));
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTTaskExTest, StartsAndForgets) {
    const auto gate = fifo("gate");
    const auto done = fifo("done");
    const auto path =
        script("run", "read line <" + gate + "; echo \"$@\" >" + file("result") + "; echo >" + done);
    VTTaskEx::runTaskAndReturn(path, {"one"});
    EXPECT_FALSE(sandbox::exists(file("result")));
    letGo(gate);
    waitFor(done);
    EXPECT_EQ(sandbox::readFile(file("result")), "one\n");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(VTTaskExTest, StartAndForgetRefusesWhatIsNotExecutable) {
    Strings expected;
    for (const auto& path : notRunnable()) {
        EXPECT_EQ(output([&] { VTTaskEx::runTaskAndReturn(path, {}); }), "");
        EXPECT_THAT(logged(), ElementsAre(notExecutable(path)));
        expected.push_back(notExecutable(path));
    }
    VTTaskEx::runTaskAndReturn(std::nullopt, {});
    EXPECT_THAT(logged(), ElementsAre("Error: (null) is not executable"));
    expected.emplace_back("Error: (null) is not executable");
    EXPECT_EQ(console(), expected);
}

TEST_F(VTTaskExTest, StartAndForgetLogsAnException) {
    output([&] { VTTaskEx::runTaskAndReturn(program("plain", "exit 0\n"), {}); });
    EXPECT_THAT(logged(), ElementsAre("Exception in +[VTTaskEx runTaskAndReturn:arguments:]. "
                                      "NSInvalidArgumentException - Exec format error."));
}

TEST_F(VTTaskExTest, TheConsoleTextIsAFormatOnceMore) {
    VTTaskEx::runTaskAndReturn("/a%%b%d", {});
    EXPECT_THAT(console(), ElementsAre("Error: /a%%b%d is not executable"));
    EXPECT_THAT(logged(), ElementsAre("Error: /a%b%d is not executable"));
}

TEST_F(VTTaskExTest, TellsTheExitCode) {
    TaskReference task;
    EXPECT_EQ(VTTaskEx::terminationCodeFromTask(script("run", "echo out; exit $1"), {"200"}, &task), 200);
    EXPECT_EQ(task.get()->terminationStatus(), 200);
    EXPECT_EQ(VTTaskEx::terminationCodeFromTask("/bin/true", {}), 0);
    EXPECT_EQ(VTTaskEx::terminationCodeFromTask(script("run", "kill -TERM $$"), {}), SIGTERM);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(VTTaskExTest, TheExitCodeOfWhatIsNotExecutableIsMinusOne) {
    Strings expected;
    for (const auto& path : notRunnable()) {
        EXPECT_EQ(output([&] { EXPECT_EQ(VTTaskEx::terminationCodeFromTask(path, {}), -1); }), "");
        EXPECT_THAT(logged(), ElementsAre(notExecutable(path)));
        expected.push_back(notExecutable(path));
    }
    EXPECT_EQ(console(), expected);
}

TEST_F(VTTaskExTest, TheExitCodeThrowsWhatThePlatformThrows) {
    const auto path = program("plain", "exit 0\n");
    try {
        VTTaskEx::terminationCodeFromTask(path, {});
        FAIL() << "nothing was thrown";
    } catch (const platform::Exception& exception) {
        EXPECT_EQ(exception.reason(), "Exec format error");
    }
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(VTTaskExTest, CollectsTheOutput) {
    TaskReference task;
    const auto path = script("run", "printf '%s' \"$1\"");
    EXPECT_EQ(VTTaskEx::dataFromTask(path, {"\xFF text"}, &task), "\xFF text");
    EXPECT_EQ(task.get()->launchPath(), path);
}

TEST_F(VTTaskExTest, CollectsOutputElseErrorsElseNothing) {
    EXPECT_EQ(VTTaskEx::dataFromTask(script("both", "echo errors >&2; echo out; echo more >&2"), {}),
              "out\n");
    EXPECT_EQ(VTTaskEx::dataFromTask(script("errors", "echo errors >&2; exit 1"), {}), "errors\n");
    EXPECT_EQ(VTTaskEx::dataFromTask("/bin/true", {}), "");
    EXPECT_EQ(VTTaskEx::stringFromTask("/bin/true", {}), "");
}

TEST_F(VTTaskExTest, AFullErrorPipeDoesNotBlock) {
    const auto path = script("run", "head -c 3000000 /dev/zero >&2; echo out; head -c 3000000 /dev/zero >&2");
    EXPECT_EQ(VTTaskEx::dataFromTask(path, {}), "out\n");
}

TEST_F(VTTaskExTest, HandsTheEnvironmentOver) {
    const auto path = script("run", "echo $ONE $VANTOREL_ROOT");
    EXPECT_EQ(VTTaskEx::dataFromTask(path, {}, nullptr, {{{"ONE", "1"}}}), "1\n");
    EXPECT_EQ(VTTaskEx::dataFromTask(path, {}), sandbox::root() + "\n");
}

TEST_F(VTTaskExTest, OutputGoesToOursWhenItIsNotLogged) {
    const auto path = script("run", "echo out; echo errors >&2");
    const auto printed = output([&] {
        EXPECT_EQ(VTTaskEx::dataFromTask(path, {}, nullptr, std::nullopt, false), "errors\n");
        EXPECT_EQ(VTTaskEx::dataFromTask("/bin/echo", {"second"}, nullptr, std::nullopt, false), "");
    });
    EXPECT_EQ(printed, "out\nsecond\n");
}

TEST_F(VTTaskExTest, ErrorsAreDiscarded) {
    const auto gate = fifo("gate");
    const auto path = script("run", "echo out; echo errors >&2; [ -z \"$1\" ] || echo done >\"$1\"");
    testing::internal::CaptureStderr();
    const auto printed = output([&] {
        EXPECT_TRUE(VTTaskEx::runTask(path, {}));
        EXPECT_EQ(VTTaskEx::terminationCodeFromTask(path, {}), 0);
        VTTaskEx::runTaskAndReturn(path, {gate});
        waitFor(gate);
    });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(printed, "");
}

TEST_F(VTTaskExTest, TheProgramHasNothingToRead) {
    EXPECT_THAT(VTTaskEx::dataFromTask("/bin/readlink", {"/proc/self/fd/0"}),
                testing::Optional(testing::StartsWith("pipe:")));
    EXPECT_EQ(VTTaskEx::dataFromTask("/bin/cat", {}), "");
}

TEST_F(VTTaskExTest, TheProgramsEndIsNotWaitedFor) {
    const auto gate = fifo("gate");
    TaskReference task;
    const auto path = script("run", "echo out; exec >&- 2>&-; read line <" + gate);
    EXPECT_EQ(VTTaskEx::dataFromTask(path, {}, &task), "out\n");
    EXPECT_TRUE(task.get()->isRunning());
    letGo(gate);
    task.get()->waitUntilExit();
}

TEST_F(VTTaskExTest, CollectingRefusesWhatIsNotExecutable) {
    for (const auto& path : notRunnable()) {
        const auto printed = output([&] { EXPECT_EQ(VTTaskEx::dataFromTask(path, {}), std::nullopt); });
        EXPECT_THAT(printed, testing::HasSubstr(notExecutable(path)));
        EXPECT_THAT(logged(), ElementsAre(notExecutable(path)));
    }
    EXPECT_THAT(console(), IsEmpty());
    output([&] { EXPECT_EQ(VTTaskEx::stringFromTask(file("missing"), {}), ""); });
}

TEST_F(VTTaskExTest, CollectingTellsAnExceptionToTheConsoleAlone) {
    const auto path = program("plain", "exit 0\n");
    EXPECT_EQ(output([&] { EXPECT_EQ(VTTaskEx::dataFromTask(path, {}), std::nullopt); }), "");
    EXPECT_THAT(console(), ElementsAre("Exception running task " + path + ": Exec format error"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(VTTaskExTest, DescriptorsThatAreUsedUpAreAnException) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the address sanitizer needs descriptors for itself";
#endif
    EXPECT_TRUE(VTTaskEx::runTask("/bin/true", {}));
    VTLog::appendLog("the file is open");
    EXPECT_THAT(logged(), ElementsAre("the file is open"));
    {
        const NoDescriptors none;
        EXPECT_FALSE(VTTaskEx::runTask("/bin/true", {}));
        EXPECT_EQ(VTTaskEx::dataFromTask("/bin/true", {}), std::nullopt);
        EXPECT_THROW(VTTaskEx::terminationCodeFromTask("/bin/true", {}), platform::Exception);
        VTLog::finishWriting();
    }
    EXPECT_THAT(logged(), ElementsAre("Exception running task /bin/true: Too many open files"));
    EXPECT_THAT(console(), ElementsAre("Exception running task /bin/true: Too many open files"));
}

TEST_F(VTTaskExTest, ReadsTextInTheGivenEncoding) {
    const auto path = script("run", "printf 'caf\\303\\251'");
    EXPECT_EQ(VTTaskEx::stringFromTask("/bin/echo", {"text"}), "text\n");
    EXPECT_EQ(VTTaskEx::stringFromTask(path, {}), std::nullopt); // no ASCII
    EXPECT_EQ(VTTaskEx::stringFromTask(path, {}, Encoding::Utf8), "café");
    EXPECT_EQ(VTTaskEx::stringFromTask(path, {}, Encoding::IsoLatin1), "cafÃ©");
    EXPECT_EQ(VTTaskEx::stringFromTask(script("wide", "printf '\\377\\376a\\000'"), {}, Encoding::Utf16),
              "a");
    TaskReference task;
    EXPECT_EQ(VTTaskEx::stringFromTask(path, {}, Encoding::Utf8, &task), "café");
    EXPECT_EQ(task.get()->launchPath(), path);
}

TEST_F(VTTaskExTest, AMovedToolKeepsItsName) {
    TaskReference task;
    EXPECT_EQ(VTTaskEx::terminationCodeFromTask("/usr/sbin/chown", {"--version"}, &task), 0);
    EXPECT_EQ(task.get()->launchPath(), "/usr/sbin/chown");
}
