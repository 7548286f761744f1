#include "linux/LinuxConsoleLog.h"

#include "linux/FileDescriptor.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <mutex>
#include <sstream>
#include <syslog.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// What the system's log was told.
struct SystemLog {
    std::mutex mutex;
    std::string name;
    int option = 0;
    bool isOpen = false;
    std::vector<std::pair<int, std::string>> entries;
};

SystemLog& systemLog() {
    static SystemLog log;
    return log;
}

void remember(int priority, const char* format, va_list arguments) {
    std::array<char, 512> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    std::lock_guard lock(systemLog().mutex);
    systemLog().entries.emplace_back(priority, text.data());
}

std::string prefix() {
    return "Launcher[" + std::to_string(getpid()) + "]: ";
}

// What is written to standard error for this text.
std::string lineFor(std::string_view text) {
    platform::LinuxConsoleLog log("Launcher");
    testing::internal::CaptureStderr();
    log.log(text);
    return testing::internal::GetCapturedStderr();
}

} // namespace

// These stand before the C library's: no test writes to the machine's log.
extern "C" {
void openlog(const char* name, int option, int) {
    systemLog().name = name;
    systemLog().option = option;
    systemLog().isOpen = true;
}
void closelog() {
    systemLog().isOpen = false;
}
void syslog(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    remember(priority, format, arguments);
    va_end(arguments);
}
void __syslog_chk(int priority, int, const char* format, ...) { // NOLINT: the fortified form
    va_list arguments;
    va_start(arguments, format);
    remember(priority, format, arguments);
    va_end(arguments);
}
}

TEST(LinuxConsoleLog, WritesOneLineWithNameAndProcess) {
    EXPECT_EQ(lineFor("something is wrong"), prefix() + "something is wrong\n");
    EXPECT_EQ(lineFor(""), prefix() + "\n");
}

TEST(LinuxConsoleLog, TellsTheSystemsLogTheSame) {
    {
        platform::LinuxConsoleLog log("Launcher");
        EXPECT_EQ(systemLog().name, "Launcher");
        EXPECT_EQ(systemLog().option, LOG_PID);
        testing::internal::CaptureStderr();
        log.log("100%s of %n\nit");
        testing::internal::GetCapturedStderr();
        ASSERT_EQ(systemLog().entries.size(), 1U);
        EXPECT_EQ(systemLog().entries[0].first, LOG_NOTICE);
        EXPECT_EQ(systemLog().entries[0].second, "100%s of %n\\nit");
        EXPECT_TRUE(systemLog().isOpen);
    }
    EXPECT_FALSE(systemLog().isOpen); // the name is gone
}

TEST(LinuxConsoleLog, KeepsTextAsItIs) {
    for (std::string_view text : {"plain ~ text", "\\n", "é € 😀", "\u00A0\u00AD", "\u0100"}) {
        EXPECT_EQ(lineFor(text), prefix() + std::string(text) + "\n");
    }
}

TEST(LinuxConsoleLog, ShowsControlCharactersAsEscapes) {
    const std::pair<std::string, std::string> escapes[] = {
        {"a\nb\r\tc", "a\\nb\\r\\tc"},
        {std::string("\0", 1), "\\x00"},
        {"\x01\x1B[31m\x1F\x7F", "\\x01\\x1b[31m\\x1f\\x7f"},
        {"\u0080\u009B2J\u009F", "\\xc2\\x80\\xc2\\x9b2J\\xc2\\x9f"}, // controls beyond ASCII
        {"\x9B\xFF\xE2\x82", "\\x9b\\xff\\xe2\\x82"},                 // no text at all
    };
    for (const auto& [text, shown] : escapes) {
        EXPECT_EQ(lineFor(text), prefix() + shown + "\n");
    }
}

TEST(LinuxConsoleLog, DoesNotMixTheLinesOfThreads) {
    platform::LinuxConsoleLog log("Launcher");
    testing::internal::CaptureStderr();
    {
        std::vector<std::jthread> threads;
        for (char letter : {'a', 'b', 'c', 'd'}) {
            threads.emplace_back([&log, text = std::string(200, letter)] {
                for (int i = 0; i < 50; ++i) {
                    log.log(text);
                }
            });
        }
    }
    std::istringstream lines(testing::internal::GetCapturedStderr());
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        ASSERT_EQ(line.size(), prefix().size() + 200);
        EXPECT_EQ(line.substr(prefix().size()), std::string(200, line.back()));
    }
    EXPECT_EQ(count, 200);
}

TEST(LinuxConsoleLog, DoesWithoutStandardError) {
    platform::LinuxConsoleLog log("Launcher");
    platform::FileDescriptor kept(dup(STDERR_FILENO));
    close(STDERR_FILENO);
    log.log("nobody reads this");
    dup2(kept.get(), STDERR_FILENO);
    EXPECT_EQ(systemLog().entries.back().second, "nobody reads this");
}
