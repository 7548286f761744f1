#include "CrashHandler.h"

#include "SignalStack.h"

#include "TestSandbox.h"
#include "linux/SignalSafeText.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using platform::CrashHandler;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

using Texts = std::vector<std::string>;

std::string folder() {
    return sandbox::home() + "/Library/Logs/DiagnosticReports";
}

Texts logs() {
    Texts names;
    for (const auto& entry : std::filesystem::directory_iterator(folder())) {
        names.push_back(entry.path().filename());
    }
    std::ranges::sort(names);
    return names;
}

// The only log's text.
std::string onlyLog() {
    auto names = logs();
    EXPECT_EQ(names.size(), 1U);
    return names.empty() ? "" : sandbox::readFile(folder() + "/" + names.front());
}

// What a process that does `work` with the handler installed ends with.
int statusOfChild(const std::function<void()>& work, rlim_t coreSize = 0) {
    const pid_t child = ::fork();
    if (child == 0) {
        const rlimit core{coreSize, coreSize};
        ::setrlimit(RLIMIT_CORE, &core);
        ::dup2(::open("/dev/null", O_RDWR), STDERR_FILENO);
        for (int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) {
            ::signal(signal, SIG_DFL); // a sanitizer has handlers of its own
        }
        CrashHandler::install("Launcher", "1.2.3", folder());
        work();
        ::_exit(99);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
}

// The signal that the process ends by; 0 when it ends in another way.
int signalOfChild(const std::function<void()>& work) {
    const int status = statusOfChild(work);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

// Noinline: compilers see through an address that is none.
__attribute__((noinline, noclone)) void touch(std::uintptr_t address) {
    *reinterpret_cast<volatile char*>(address) = 1;
}

// Without end as long as there is anything but zero below it.
__attribute__((noinline)) int overflowStack(volatile char* below) {
    std::array<volatile char, 4096> bytes;
    bytes[0] = *below;
    if (bytes[0] == 0) {
        return 0;
    }
    return overflowStack(bytes.data()) + bytes[0];
}

std::string name(int number) {
    auto digits = std::to_string(number);
    return "Launcher_2011-05-01-1010" + std::string(2 - digits.size(), '0') + digits + "_host.crash";
}

} // namespace

TEST(CrashHandler, LogsWhatHappenedAndEndsByTheSignal) {
    const auto before = std::time(nullptr);
    EXPECT_EQ(signalOfChild([] { touch(0x5678); }), SIGSEGV);

    ASSERT_EQ(logs().size(), 1U);
    std::array<char, 256> host{};
    ::gethostname(host.data(), host.size() - 1);
    std::smatch match;
    const auto logName = logs().front();
    ASSERT_TRUE(std::regex_match(
        logName, match,
        std::regex(R"(Launcher_(\d{4}-\d{2}-\d{2}-\d{6})_)" + std::string(host.data()) + R"(\.crash)")))
        << logName;
    std::tm fields{};
    ASSERT_TRUE(::strptime(match[1].str().c_str(), "%Y-%m-%d-%H%M%S", &fields));
    EXPECT_GE(::timegm(&fields), before);
    EXPECT_LE(::timegm(&fields), std::time(nullptr));

    const auto text = onlyLog();
    EXPECT_TRUE(std::regex_search(text, std::regex("^Process: Launcher \\[\\d+\\]\nVersion: 1\\.2\\.3\n"
                                                   "Date: \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d UTC\n")))
        << text;
    EXPECT_THAT(text, HasSubstr("\nHost: " + std::string(host.data()) + "\n"));
    EXPECT_THAT(text, HasSubstr("\nSignal: 11 (SIGSEGV)\nFault address: 0x0000000000005678\n"));
    EXPECT_TRUE(std::regex_search(text, std::regex("\nThread: \\d+ \\(main\\)\n"))) << text;
    // A frame is "program(symbol+offset) [address]".
    const auto stack = text.substr(text.find("\nStack:\n"));
    EXPECT_GE(std::ranges::count(stack, '['), 5) << text;
    EXPECT_THAT(stack, HasSubstr("platform_tests"));
}

TEST(CrashHandler, LeavesACoreWhereTheSystemWritesSome) {
    sandbox::makeFolder(sandbox::path("cores"));
    std::filesystem::current_path(sandbox::path("cores"));
    constexpr rlim_t kRoom = 1 << 20;
    const int unhandled = statusOfChild(
        [] {
            ::signal(SIGSEGV, SIG_DFL);
            touch(8);
        },
        kRoom);
    if (!WCOREDUMP(unhandled)) {
        GTEST_SKIP() << "the system writes no cores";
    }
    const int handled = statusOfChild([] { touch(8); }, kRoom);
    EXPECT_TRUE(WCOREDUMP(handled));
    EXPECT_EQ(handled, unhandled);
    EXPECT_EQ(logs().size(), 1U);
}

TEST(CrashHandler, LogIsForItsOwnerAlone) {
    signalOfChild([] { touch(8); });
    ASSERT_EQ(logs().size(), 1U);
    struct stat status {};
    ::stat((folder() + "/" + logs().front()).c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST(CrashHandler, KnowsEverySignalOfACrash) {
    const std::array<std::pair<int, const char*>, 5> signals{{{SIGSEGV, "Signal: 11 (SIGSEGV)\n"},
                                                              {SIGBUS, "Signal: 7 (SIGBUS)\n"},
                                                              {SIGILL, "Signal: 4 (SIGILL)\n"},
                                                              {SIGFPE, "Signal: 8 (SIGFPE)\n"},
                                                              {SIGABRT, "Signal: 6 (SIGABRT)\n"}}};
    for (const auto& [signal, line] : signals) {
        EXPECT_EQ(signalOfChild([sent = signal] { ::raise(sent); }), signal);
        EXPECT_THAT(onlyLog(), HasSubstr(std::string(line) + "Fault address: none\n"));
        std::filesystem::remove_all(folder());
    }
    EXPECT_EQ(signalOfChild([] { ::raise(SIGTERM); }), SIGTERM);
    EXPECT_THAT(logs(), ElementsAre());
}

TEST(CrashHandler, LogsAFileThatShrankUnderItsReader) {
    sandbox::writeFile(sandbox::home() + "/empty", "");
    EXPECT_EQ(signalOfChild([] {
                  const int file = ::open((sandbox::home() + "/empty").c_str(), O_RDWR);
                  void* memory = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
                  *static_cast<volatile char*>(memory) = 1;
              }),
              SIGBUS);
    EXPECT_THAT(onlyLog(), HasSubstr("Signal: 7 (SIGBUS)\nFault address: 0x"));
}

TEST(CrashHandler, LogsAnAbortAndWhatNobodyCaught) {
    EXPECT_EQ(signalOfChild([] { std::abort(); }), SIGABRT);
    EXPECT_THAT(onlyLog(), HasSubstr("(SIGABRT)"));
    std::filesystem::remove_all(folder());
    // Nothing between the throw and the end of a thread's function catches.
    EXPECT_EQ(signalOfChild([] { std::thread([] { throw std::runtime_error("reason"); }).join(); }), SIGABRT);
    EXPECT_THAT(onlyLog(), HasSubstr("(SIGABRT)"));
    std::filesystem::remove_all(folder());
    EXPECT_EQ(signalOfChild([] { std::terminate(); }), SIGABRT);
    EXPECT_THAT(onlyLog(), HasSubstr("(SIGABRT)"));
}

TEST(CrashHandler, LogsACrashOnAnotherThread) {
    EXPECT_EQ(signalOfChild([] { std::thread([] { touch(8); }).join(); }), SIGSEGV);
    const auto text = onlyLog();
    EXPECT_TRUE(std::regex_search(text, std::regex("\nThread: \\d+\n"))) << text;
}

TEST(CrashHandler, ManyThreadsThatCrashAtOnceMakeOneLog) {
    EXPECT_EQ(signalOfChild([] {
                  std::vector<std::thread> threads;
                  for (int i = 0; i < 8; ++i) {
                      threads.emplace_back([] { touch(8); });
                  }
                  for (auto& thread : threads) {
                      thread.join();
                  }
              }),
              SIGSEGV);
    EXPECT_THAT(onlyLog(), HasSubstr("\nStack:\n"));
}

TEST(CrashHandler, LogsAStackThatOverflowed) {
    EXPECT_EQ(signalOfChild([] {
                  char start = 1;
                  overflowStack(&start);
              }),
              SIGSEGV);
    const auto text = onlyLog();
    EXPECT_THAT(text, HasSubstr("(SIGSEGV)"));
    EXPECT_GE(std::ranges::count(text.substr(text.find("\nStack:\n")), '\n'), 20) << text;
}

TEST(CrashHandler, LogsTheOverflowOfAnotherStackWithASignalStack) {
    EXPECT_EQ(signalOfChild([] {
                  std::thread([] {
                      const platform::SignalStack signalStack;
                      char start = 1;
                      overflowStack(&start);
                  }).join();
              }),
              SIGSEGV);
    EXPECT_THAT(onlyLog(), HasSubstr("\nStack:\n"));
}

#ifdef __x86_64__
TEST(CrashHandler, NotesACrashOfItsOwnAndEndsByTheFirstSignal) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer blocks all signals while one is handled";
#endif
    // A stack that is nowhere is what the handler stumbles over.
    EXPECT_EQ(signalOfChild([] { asm volatile("mov $4096, %rsp\n mov $4096, %rbp\n ud2"); }), SIGILL);
    const auto text = onlyLog();
    EXPECT_THAT(text, HasSubstr("Signal: 4 (SIGILL)"));
    EXPECT_THAT(text, HasSubstr("\nWriting this log crashed as well: SIGSEGV\n"));
}
#endif

// As when the crash left the dynamic loader's lock held.
TEST(CrashHandler, EndsByTheSignalWhenTheStackCannotBeTold) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer blocks all signals while one is handled";
#endif
    const auto library = sandbox::path("library.so");
    ASSERT_EQ(::mkfifo(library.c_str(), 0600), 0);
    EXPECT_EQ(signalOfChild([&] {
                  // It reads from what says nothing, with the lock.
                  std::thread([&] { ::dlopen(library.c_str(), RTLD_NOW); }).detach();
                  while (::open(library.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC) < 0) {
                      std::this_thread::yield();
                  }
                  touch(8);
              }),
              SIGSEGV);
    EXPECT_THAT(onlyLog(), HasSubstr("\nStack:\n"));
    EXPECT_THAT(onlyLog(), HasSubstr("\nThe rest could not be written in time.\n"));
}

TEST(CrashHandler, EndsByTheSignalWithoutAFolder) {
    EXPECT_EQ(signalOfChild([] {
                  std::filesystem::remove_all(folder());
                  touch(8);
              }),
              SIGSEGV);
    EXPECT_FALSE(sandbox::exists(folder()));

    sandbox::writeFile(folder(), "in the way");
    EXPECT_EQ(signalOfChild([] { touch(8); }), SIGSEGV);
    EXPECT_EQ(sandbox::readFile(folder()), "in the way");

    CrashHandler::install("Launcher", "1", folder());
    EXPECT_THAT(sandbox::console().lines(),
                ElementsAre("Crashes will not be logged in " + folder() + ": File exists"));
}

TEST(CrashHandler, EndsByTheSignalWithoutADescriptor) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the address sanitizer needs descriptors for itself";
#endif
    EXPECT_EQ(signalOfChild([] {
                  const rlimit none{0, 0};
                  ::setrlimit(RLIMIT_NOFILE, &none);
                  touch(8);
              }),
              SIGSEGV);
    EXPECT_THAT(logs(), ElementsAre());
}

TEST(CrashHandler, EndsByASignalThatItsThreadHadBlocked) {
    EXPECT_EQ(signalOfChild([] {
                  sigset_t signals;
                  sigemptyset(&signals);
                  sigaddset(&signals, SIGABRT);
                  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
                  std::abort();
              }),
              SIGABRT);
    EXPECT_EQ(logs().size(), 1U);
}

TEST(CrashHandler, TouchesNoFileThatIsThere) {
    sandbox::writeFile(sandbox::home() + "/precious", "kept");
    EXPECT_EQ(signalOfChild([] {
                  // Wherever the log would go within the next seconds.
                  const auto now = std::time(nullptr);
                  std::array<char, 256> host{};
                  ::gethostname(host.data(), host.size() - 1);
                  for (auto time = now; time < now + 5; ++time) {
                      platform::SignalSafeText text;
                      text << folder() << "/Launcher_";
                      text.moment(time, "-", "") << "_" << host.data() << ".crash";
                      ::symlink((sandbox::home() + "/precious").c_str(), text.zeroTerminated());
                  }
                  touch(8);
              }),
              SIGSEGV);
    EXPECT_EQ(sandbox::readFile(sandbox::home() + "/precious"), "kept");
    ASSERT_EQ(logs().size(), 6U);
    EXPECT_THAT(sandbox::readFile(folder() + "/" + logs().back()), HasSubstr("(SIGSEGV)"));
}

TEST(CrashHandler, KeepsTheNewestTwentyLogsOfItsName) {
    Texts kept{"Launcher_notes.crash", "Other_2011-05-01-101000_host.crash",
               "Launcher_2011-05-01-101000_host.txt", "LauncherHelper_2011-05-01-101000_host.crash"};
    for (const auto& file : kept) {
        sandbox::writeFile(folder() + "/" + file, "");
    }
    for (int i = 0; i < 23; ++i) {
        sandbox::writeFile(folder() + "/" + name(i), "");
        if (i >= 3) {
            kept.push_back(name(i));
        }
    }
    EXPECT_EQ(WEXITSTATUS(statusOfChild([] {})), 99); // no crash
    std::ranges::sort(kept);
    EXPECT_EQ(logs(), kept);

    // A crash's own log takes the oldest one's place.
    EXPECT_EQ(signalOfChild([] { touch(8); }), SIGSEGV);
    EXPECT_EQ(logs().size(), kept.size());
    EXPECT_THAT(logs(), Not(testing::Contains(name(3))));
    EXPECT_THAT(logs(), testing::Contains(name(4)));
}

TEST(CrashHandler, ACrashLeavesOldLogsWhileThereIsRoom) {
    for (int i = 0; i < 19; ++i) {
        sandbox::writeFile(folder() + "/" + name(i), "");
    }
    EXPECT_EQ(signalOfChild([] { touch(8); }), SIGSEGV);
    EXPECT_EQ(logs().size(), 20U);
}

TEST(CrashHandler, HostAndNameMakeNoFolders) {
    const pid_t child = ::fork();
    if (child == 0) {
        const rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        CrashHandler::install("A/B", "1", folder());
        ::raise(SIGABRT);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_EQ(logs().size(), 1U);
    EXPECT_TRUE(logs().front().starts_with("A-B_")) << logs().front();
}

TEST(CrashHandler, RootsLogInAUsersHomeBelongsToTheUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    constexpr uid_t kSomebody = 12345;
    ASSERT_EQ(::chown(sandbox::home().c_str(), kSomebody, kSomebody), 0);
    sandbox::users().userID = 0;
    EXPECT_EQ(signalOfChild([] { touch(8); }), SIGSEGV);
    ASSERT_EQ(logs().size(), 1U);
    struct stat status {};
    ::lstat((folder() + "/" + logs().front()).c_str(), &status);
    EXPECT_EQ(status.st_uid, kSomebody);
    EXPECT_EQ(status.st_gid, kSomebody);

    // The user leads the way elsewhere.
    std::filesystem::remove_all(sandbox::home() + "/Library");
    sandbox::makeFolder(sandbox::folder() + "/elsewhere/Logs/DiagnosticReports");
    std::filesystem::create_symlink(sandbox::folder() + "/elsewhere", sandbox::home() + "/Library");
    EXPECT_EQ(signalOfChild([] { touch(8); }), SIGSEGV);
    EXPECT_TRUE(std::filesystem::is_empty(sandbox::folder() + "/elsewhere/Logs/DiagnosticReports"));
}

TEST(SignalSafeText, TellsTheDateAsTheSystemDoes) {
    // Leap days, turns of years and centuries, and the last second of 32 bits.
    for (std::time_t time :
         {std::time_t{0}, std::time_t{951782399}, std::time_t{951782400}, std::time_t{951868800},
          std::time_t{1709164800}, std::time_t{1735689599}, std::time_t{1735689600}, std::time_t{4107542399},
          std::time_t{4107542400}, std::time_t{1304244610}, std::time_t{2147483647}}) {
        std::tm fields{};
        ::gmtime_r(&time, &fields);
        std::array<char, 32> expected{};
        std::strftime(expected.data(), expected.size(), "%Y-%m-%d %H:%M:%S", &fields);
        platform::SignalSafeText text;
        text.moment(time, " ", ":");
        EXPECT_STREQ(text.zeroTerminated(), expected.data()) << time;
    }
}

TEST(SignalSafeText, LeavesOutWhatDoesNotFit) {
    platform::SignalSafeText text;
    for (int i = 0; i < 2000; ++i) {
        text << "x";
    }
    EXPECT_EQ(std::string(text.zeroTerminated()), std::string(1023, 'x'));
    platform::SignalSafeText numbers;
    numbers.number(0) << " ";
    numbers.number(7, 3) << " ";
    numbers.number(18446744073709551615ULL) << " ";
    numbers.address(reinterpret_cast<void*>(0xabcULL));
    EXPECT_STREQ(numbers.zeroTerminated(), "0 007 18446744073709551615 0x0000000000000abc");
}
