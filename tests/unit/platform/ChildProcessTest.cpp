#include "ChildProcess.h"

#include "Exception.h"
#include "TestSandbox.h"
#include "linux/FileDescriptor.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using sandbox::path;

namespace {

using platform::ChildProcess;
using platform::FileDescriptor;
using Stream = ChildProcess::Stream;

// A shell running the script, its streams on pipes.
ChildProcess::Program shell(const std::string& script, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"-c", script, "sh"});
    return {.path = "/bin/sh",
            .arguments = std::move(arguments),
            .input = Stream::Pipe,
            .output = Stream::Pipe,
            .errors = Stream::Pipe};
}

std::string outputOf(ChildProcess::Program program) {
    ChildProcess child(std::move(program));
    child.launch();
    auto collected = child.collect();
    EXPECT_EQ(collected.errors, "");
    return collected.output;
}

int statusOf(ChildProcess::Program program) {
    ChildProcess child(std::move(program));
    child.launch();
    child.waitUntilExit();
    return child.terminationStatus();
}

void expectFailure(const std::function<void()>& call, const std::string& name, const std::string& reason) {
    try {
        call();
        FAIL() << "nothing was thrown";
    } catch (const platform::Exception& exception) {
        EXPECT_EQ(exception.name(), name);
        EXPECT_EQ(exception.reason(), reason);
    }
}

void expectNoLaunch(ChildProcess::Program program, const std::string& reason) {
    ChildProcess child(std::move(program));
    expectFailure([&] { child.launch(); }, "NSInvalidArgumentException", reason);
    EXPECT_FALSE(child.isRunning());
}

std::string makeFifo(const std::string& name) {
    EXPECT_EQ(::mkfifo(path(name).c_str(), 0600), 0);
    return path(name);
}

// Waits until somebody reads.
void letGo(const std::string& fifo) {
    FileDescriptor(platform::retrying([&] { return ::open(fifo.c_str(), O_WRONLY | O_CLOEXEC); }));
}

std::size_t openDescriptors() {
    auto entries = std::filesystem::directory_iterator("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

// Until no more are open than before: a child that nobody waited for has one until it has ended.
void waitForDescriptors(std::size_t before) {
    while (openDescriptors() != before) {
        std::this_thread::yield();
    }
}

// The numbers of the standard streams are free, or hold the given file, for as long as this lives.
class WithoutStreams {
public:
    explicit WithoutStreams(const char* file = nullptr) {
        std::fflush(nullptr);
        for (int stream = 0; stream < 3; ++stream) {
            saved_.emplace_back(::fcntl(stream, F_DUPFD_CLOEXEC, 100));
        }
        for (int stream = 0; stream < 3; ++stream) {
            ::close(stream);
            if (file) {
                EXPECT_EQ(::open(file, O_RDWR | O_CLOEXEC), stream);
            }
        }
    }
    ~WithoutStreams() {
        for (int stream = 0; stream < 3; ++stream) {
            ::dup2(saved_[static_cast<std::size_t>(stream)].get(), stream);
        }
    }
    WithoutStreams(const WithoutStreams&) = delete;
    WithoutStreams& operator=(const WithoutStreams&) = delete;

private:
    std::vector<FileDescriptor> saved_;
};

// No more than `count` descriptors beyond those that are open.
class DescriptorLimit {
public:
    explicit DescriptorLimit(int count) {
        ::getrlimit(RLIMIT_NOFILE, &saved_);
        FileDescriptor next(::dup(0));
        rlimit limit{static_cast<rlim_t>(next.get() + count), saved_.rlim_max};
        next.reset();
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~DescriptorLimit() { ::setrlimit(RLIMIT_NOFILE, &saved_); }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;

private:
    rlimit saved_{};
};

constexpr const char* kStreams = R"(for n in 0 1 2; do readlink /proc/$$/fd/$n; done)";
constexpr const char* kDescriptors =
    R"(n=0; while [ $n -lt 200 ]; do [ -e /proc/$$/fd/$n ] && echo $n; n=$((n+1)); done; true)";

} // namespace

TEST(ChildProcess, TellsTheExitStatus) {
    ChildProcess child(shell("exit 42"));
    EXPECT_EQ(child.launchPath(), "/bin/sh");
    EXPECT_FALSE(child.isRunning());
    child.launch();
    child.waitUntilExit();
    EXPECT_FALSE(child.isRunning());
    EXPECT_EQ(child.terminationStatus(), 42);
    child.waitUntilExit();
    child.terminate(); // nothing happens any more
    EXPECT_EQ(child.terminationStatus(), 42);
}

TEST(ChildProcess, TellsTheSignal) {
    EXPECT_EQ(statusOf(shell("kill -9 $$")), SIGKILL);
    EXPECT_EQ(statusOf(shell("exit 0")), 0);
}

TEST(ChildProcess, EndsWhenAskedTo) {
    ChildProcess child(shell("echo ready; read line <" + makeFifo("never")));
    child.launch();
    EXPECT_EQ(child.readOutput(), "ready\n");
    EXPECT_TRUE(child.isRunning());
    expectFailure([&] { child.terminationStatus(); }, "NSInvalidArgumentException", "task still running");
    child.terminate();
    child.waitUntilExit();
    EXPECT_EQ(child.terminationStatus(), SIGTERM);
}

TEST(ChildProcess, OneThatIgnoresTheRequestGoesOn) {
    const auto gate = makeFifo("gate");
    ChildProcess child(shell("trap '' TERM; echo ready; read line <" + gate + "; exit 7"));
    child.launch();
    EXPECT_EQ(child.readOutput(), "ready\n");
    child.terminate();
    letGo(gate);
    child.waitUntilExit();
    EXPECT_EQ(child.terminationStatus(), 7);
}

TEST(ChildProcess, WantsToBeLaunchedOnce) {
    ChildProcess child(shell("true"));
    constexpr const char* kName = "NSInvalidArgumentException";
    expectFailure([&] { child.waitUntilExit(); }, kName, "task not launched");
    expectFailure([&] { child.terminate(); }, kName, "task not launched");
    expectFailure([&] { child.terminationStatus(); }, kName, "task not launched");
    expectFailure([&] { child.collect(); }, kName, "task not launched");
    child.launch();
    expectFailure([&] { child.launch(); }, kName, "task already launched");
}

TEST(ChildProcess, CannotStartWhatIsNoProgram) {
    expectNoLaunch({.path = path("missing")}, "No such file or directory");
    expectNoLaunch({.path = sandbox::home()}, "Permission denied");
    sandbox::writeFile(path("script"), "exit 0\n");
    expectNoLaunch({.path = path("script")}, "Permission denied");
    ::chmod(path("script").c_str(), 0700);
    expectNoLaunch({.path = path("script")}, "Exec format error"); // no interpreter line
    sandbox::writeFile(path("script"), "#!" + path("interpreter") + "\n");
    expectNoLaunch({.path = path("script")}, "No such file or directory");
}

TEST(ChildProcess, RefusesZeroBytes) {
    using namespace std::string_literals;
    expectNoLaunch({.path = "/bin/true\0"s}, "Invalid argument");
    expectNoLaunch({.path = "/bin/true", .arguments = {"a\0b"s}}, "Invalid argument");
    expectNoLaunch({.path = "/bin/true", .environment = {{{"A", "a\0b"s}}}}, "Invalid argument");
}

TEST(ChildProcess, HandsArgumentsOnAsTheyAre) {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    EXPECT_EQ(outputOf(shell(R"(printf '%s' "$#:$1$2$3")", {bytes, "", "last"})), "3:" + bytes + "last");
}

TEST(ChildProcess, KnowsAMovedTool) {
    const auto version = outputOf({.path = "/usr/sbin/chown",
                                   .arguments = {"--version"},
                                   .output = Stream::Pipe,
                                   .errors = Stream::Pipe});
    EXPECT_THAT(version, testing::StartsWith("chown"));
}

TEST(ChildProcess, HasTheGivenEnvironment) {
    std::map<std::string, std::string> environment;
    std::string expected;
    for (int i = 1000; i < 3000; ++i) {
        const auto name = "VARIABLE" + std::to_string(i);
        environment[name] = std::string(40, 'x') + name;
        expected += name + "=" + environment[name] + "\n";
    }
    ChildProcess::Program program{
        .path = "/usr/bin/env", .environment = environment, .output = Stream::Pipe, .errors = Stream::Pipe};
    EXPECT_EQ(outputOf(program), expected);
    program.environment.emplace();
    EXPECT_EQ(outputOf(program), "");
}

TEST(ChildProcess, HasOurEnvironmentWhenNoneIsGiven) {
    EXPECT_EQ(outputOf(shell("echo $VANTOREL_ROOT")), sandbox::root() + "\n");
}

TEST(ChildProcess, GetsItsStreamsAndNothingElse) {
    std::vector<FileDescriptor> leaks;
    for (int i = 0; i < 50; ++i) {
        leaks.emplace_back(::dup(STDERR_FILENO)); // not close-on-exec
    }
    EXPECT_EQ(outputOf(shell(kDescriptors)), "0\n1\n2\n");

    const auto list = path("list");
    auto program = shell(std::string("exec 5>") + list + "; { " + kDescriptors + "; } >&5");
    program.input = program.output = program.errors = Stream::Null;
    EXPECT_EQ(statusOf(program), 0);
    EXPECT_EQ(sandbox::readFile(list), "0\n1\n2\n5\n10\n"); // two are the shell's own
}

TEST(ChildProcess, HasEverySignalAsItIsByDefault) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGTERM, SIG_IGN);
    sigset_t all;
    sigset_t saved;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &saved);
    const auto signals = outputOf({.path = "/bin/grep",
                                   .arguments = {"-E", "^Sig(Blk|Ign)", "/proc/self/status"},
                                   .output = Stream::Pipe,
                                   .errors = Stream::Pipe});
    EXPECT_EQ(statusOf(shell("kill -PIPE $$; exit 3")), SIGPIPE);
    ::pthread_sigmask(SIG_SETMASK, &saved, nullptr);
    // Two belong to the C library, which lets nobody change them; they come down from whoever started us.
    constexpr unsigned long long kReserved = 3ULL << 31;
    unsigned long long blocked = 1;
    unsigned long long ignored = 1;
    ASSERT_EQ(std::sscanf(signals.c_str(), "SigBlk: %llx SigIgn: %llx", &blocked, &ignored), 2) << signals;
    EXPECT_EQ(blocked, 0U);
    EXPECT_EQ(ignored & ~kReserved, 0U);
}

TEST(ChildProcess, StreamsAreNullOrInheritedAsAsked) {
    const auto list = path("list");
    auto program = shell("{ " + std::string(kStreams) + "; } >" + list);
    program.input = program.output = program.errors = Stream::Null;
    EXPECT_EQ(statusOf(program), 0);
    EXPECT_EQ(sandbox::readFile(list), "/dev/null\n" + list + "\n/dev/null\n");

    program = shell("readlink /proc/$$/fd/2 >" + list);
    program.errors = Stream::Inherited;
    EXPECT_EQ(statusOf(program), 0);
    EXPECT_EQ(sandbox::readFile(list), std::filesystem::read_symlink("/proc/self/fd/2").string() + "\n");
}

TEST(ChildProcess, HasNothingToReadOnAPipe) {
    EXPECT_EQ(
        outputOf({.path = "/bin/cat", .input = Stream::Pipe, .output = Stream::Pipe, .errors = Stream::Pipe}),
        "");
}

TEST(ChildProcess, WorksWhenOurStreamsAreClosed) {
    const auto list = path("list");
    std::string piped;
    {
        const WithoutStreams closed;
        piped = outputOf(shell("echo out; [ -e /proc/$$/fd/3 ] && echo more; true"));
        auto program = shell("{ " + std::string(kStreams) + "; } >" + list);
        program.input = program.output = program.errors = Stream::Inherited;
        EXPECT_EQ(statusOf(program), 0);
    }
    EXPECT_EQ(piped, "out\n");
    EXPECT_EQ(sandbox::readFile(list), "/dev/null\n" + list + "\n/dev/null\n");
}

TEST(ChildProcess, DoesNotInheritAFileThatTookAStreamsNumber) {
    const auto list = path("list");
    sandbox::writeFile(path("secret"), "secret");
    auto program = shell("{ " + std::string(kStreams) + "; } >" + list);
    program.input = program.output = program.errors = Stream::Inherited;
    {
        const WithoutStreams taken(path("secret").c_str());
        EXPECT_EQ(statusOf(program), 0);
    }
    EXPECT_EQ(sandbox::readFile(list), "/dev/null\n" + list + "\n/dev/null\n");
}

TEST(ChildProcess, CannotStartWithoutDescriptors) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the address sanitizer needs descriptors for itself";
#endif
    const auto before = openDescriptors();
    std::vector<std::string> failures;
    bool starts = false;
    for (int count = 0; !starts && count < 20; ++count) { // so that every one of them fails once
        const DescriptorLimit limit(count);
        ChildProcess child(shell("exit 5"));
        try {
            child.launch();
            starts = true;
            child.waitUntilExit();
            EXPECT_EQ(child.terminationStatus(), 5);
        } catch (const platform::Exception& exception) {
            EXPECT_EQ(exception.name(), "NSInvalidArgumentException");
            failures.push_back(exception.reason());
        }
    }
    EXPECT_TRUE(starts);
    EXPECT_GE(failures.size(), 5U);
    EXPECT_THAT(failures, testing::Each("Too many open files"));
    EXPECT_EQ(openDescriptors(), before);
}

TEST(ChildProcess, BothPipesAreDrainedTogether) {
    const std::string script = "head -c 3000000 /dev/zero >&2; head -c 3000000 /dev/zero; echo end >&2";
    ChildProcess child(shell(script));
    child.launch();
    const auto collected = child.collect();
    EXPECT_EQ(collected.output, std::string(3'000'000, '\0'));
    EXPECT_EQ(collected.errors, std::string(3'000'000, '\0') + "end\n");
}

TEST(ChildProcess, CollectsNothingWithoutPipes) {
    auto program = shell("echo out; echo errors >&2");
    program.output = program.errors = Stream::Null;
    EXPECT_EQ(outputOf(program), "");
}

TEST(ChildProcess, CollectsUntilTheLastHasClosedThePipe) {
    const auto gate = makeFifo("gate");
    std::jthread release([&] { letGo(gate); });
    EXPECT_EQ(outputOf(shell("echo early; { read line <" + gate + "; echo late; } &")), "early\nlate\n");
}

TEST(ChildProcess, AGrandchildDoesNotOutwaitTheRequestToEnd) {
    const auto ready = makeFifo("ready");
    const auto gate = makeFifo("gate");
    ChildProcess child(shell("{ trap '' TERM; read line <" + gate + "; } & echo early; echo >" + ready +
                             "; while :; do wait; done"));
    child.launch();
    std::jthread end([&] {
        sandbox::readFile(ready);
        child.terminate();
    });
    EXPECT_EQ(child.collect().output, "early\n");
    letGo(gate);
}

TEST(ChildProcess, HandsTheOutputOverInOrder) {
    ChildProcess child(shell("i=0; while [ $i -lt 2000 ]; do echo $i; i=$((i+1)); done"));
    child.launch();
    std::string expected;
    for (int i = 0; i < 2000; ++i) {
        expected += std::to_string(i) + "\n";
    }
    std::string output;
    for (std::string chunk; !(chunk = child.readOutput()).empty();) {
        output += chunk;
    }
    EXPECT_EQ(output, expected);
    EXPECT_EQ(child.readOutput(), "");
}

TEST(ChildProcess, AChunkIsAllThatThePipeHolds) {
    constexpr std::size_t kSize = 60000; // bytes, which any pipe takes at once
    const auto written = makeFifo("written");
    ChildProcess child(shell("head -c \"$1\" /dev/zero; echo >\"$2\"", {std::to_string(kSize), written}));
    child.launch();
    sandbox::readFile(written);
    EXPECT_EQ(child.readOutput().size(), kSize);
    EXPECT_EQ(child.readOutput(), "");
}

TEST(ChildProcess, ClosingEndsAWaitForOutput) {
    const auto gate = makeFifo("gate");
    ChildProcess child(shell("trap '' TERM; echo ready; read line <" + gate));
    child.launch();
    EXPECT_EQ(child.readOutput(), "ready\n");
    std::jthread close([&] { child.closeOutput(); });
    constexpr const char* kName = "NSFileHandleOperationException";
    expectFailure([&] { child.readOutput(); }, kName, "Bad file descriptor");
    expectFailure([&] { child.readOutput(); }, kName, "Bad file descriptor");
    letGo(gate);
}

TEST(ChildProcess, AClosedOutputTellsTheChild) {
    const auto gate = makeFifo("gate");
    ChildProcess child(shell("read line <" + gate + "; echo lost; exit 3"));
    child.launch();
    child.closeOutput();
    letGo(gate);
    child.waitUntilExit();
    EXPECT_EQ(child.terminationStatus(), SIGPIPE);
}

TEST(ChildProcess, DoesNotStartWithItsOutputClosed) {
    ChildProcess child(shell("true"));
    child.closeOutput();
    expectFailure([&] { child.launch(); }, "NSInvalidArgumentException", "Bad file descriptor");
}

TEST(ChildProcess, IsCollectedWhenNobodyWaits) {
    const auto gate = makeFifo("gate");
    std::string process;
    {
        ChildProcess child(shell("echo $$; read line <" + gate));
        child.launch();
        process = child.readOutput();
        process.pop_back();
    }
    EXPECT_TRUE(sandbox::exists("/proc/" + process));
    letGo(gate);
    while (sandbox::exists("/proc/" + process)) { // as a dead entry in the process table
        std::this_thread::yield();
    }
}

TEST(ChildProcess, TheEndMayBeCollectedBySomebodyElse) {
    ChildProcess child(shell("echo $$; exit 3"));
    child.launch();
    const auto process = std::stoi(child.readOutput());
    EXPECT_EQ(::waitpid(process, nullptr, 0), process);
    child.waitUntilExit();
    EXPECT_EQ(child.terminationStatus(), 0);
}

TEST(ChildProcess, LeavesNoDescriptorOpen) {
    const auto before = openDescriptors();
    EXPECT_EQ(outputOf(shell("echo one")), "one\n");
    EXPECT_EQ(statusOf(shell("true")), 0);
    waitForDescriptors(before);
}
