#include "linux/FileBrowser.h"

#include "PrivateBus.h"
#include "TestSandbox.h"
#include "linux/DefaultHandler.h"
#include "linux/LaunchEnvironment.h"

#include <array>
#include <atomic>
#include <cctype>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <vector>

using platform::fileAddress;
using platform::launchEnvironment;
using platform::showInFileBrowser;

namespace {

constexpr const char* kFileManager = "org.freedesktop.FileManager1";

// A program called xdg-open, found first, that writes down what it was started with.
class Opener {
public:
    Opener() {
        const auto program = sandbox::folder() + "/bin/xdg-open";
        sandbox::writeFile(program,
                           "#!/bin/sh\n"
                           "{ echo \"$#\"; echo \"$1\"; cut -d' ' -f1,6 /proc/$$/stat\n"
                           "readlink /proc/$$/fd/0\n"
                           // By the shell itself: while it waits for a program it blocks signals.
                           "while read -r line; do case $line in Sig[BI][lg]*) echo \"$line\";; esac\n"
                           "done < /proc/$$/status\n"
                           "} > " +
                               notes() + "\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        setenv("PATH", (sandbox::folder() + "/bin:" + getenv("PATH")).c_str(), 1);
    }

    static bool wasCalled() { return sandbox::exists(notes()); }
    static std::string argument() { return line(1); }
    static std::string line(int number) {
        std::istringstream stream(sandbox::readFile(notes()));
        std::string text;
        for (int i = 0; i <= number; ++i) {
            std::getline(stream, text);
        }
        return text;
    }

private:
    static std::string notes() { return sandbox::folder() + "/notes"; }
};

// Is the signal in this set, a line of /proc/PID/status?
bool contains(const std::string& line, int signal) {
    return (std::stoull(line.substr(line.find('\t') + 1), nullptr, 16) >> (signal - 1) & 1) != 0;
}

// A file manager on the bus that answers one call, or refuses it.
class FileManager {
public:
    FileManager(const PrivateBus& bus, bool refuses)
        : connection_(bus.connect()), thread_([this, refuses] { answer(refuses); }) {
        while (!isReady_) {
            isReady_.wait(false);
        }
    }

    // Once it has answered.
    const std::vector<std::string>& items() {
        thread_.join();
        return items_;
    }
    const std::string& startupIdentifier() const { return startupIdentifier_; }

private:
    void answer(bool refuses) {
        succeed(sd_bus_request_name(connection_.get(), kFileManager, 0), "RequestName");
        isReady_ = true;
        isReady_.notify_all();
        sd_bus_message* message = nullptr;
        while (!message || !sd_bus_message_is_method_call(message, kFileManager, "ShowItems")) {
            sd_bus_message_unref(message);
            message = nullptr;
            int progress = sd_bus_process(connection_.get(), &message);
            succeed(progress, "sd_bus_process");
            if (progress == 0) {
                succeed(sd_bus_wait(connection_.get(), UINT64_MAX), "sd_bus_wait");
            }
        }
        read(message);
        if (refuses) {
            sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "not today");
        } else {
            sd_bus_reply_method_return(message, "");
        }
        sd_bus_message_unref(message);
        sd_bus_flush(connection_.get());
    }
    void read(sd_bus_message* message) {
        char** items = nullptr;
        const char* identifier = nullptr;
        succeed(sd_bus_message_read_strv(message, &items), "items");
        succeed(sd_bus_message_read(message, "s", &identifier), "startup identifier");
        for (char** item = items; *item; ++item) {
            items_.emplace_back(*item);
            std::free(*item); // NOLINT: the library allocates so
        }
        std::free(items); // NOLINT
        startupIdentifier_ = identifier;
    }

    PrivateBus::Connection connection_;
    std::vector<std::string> items_;
    std::string startupIdentifier_ = "none yet";
    std::atomic<bool> isReady_ = false;
    std::thread thread_;
};

} // namespace

TEST(FileBrowser, AddressesEncodeEveryByteThatIsNotPlain) {
    EXPECT_EQ(fileAddress("/Applications/Tool-1_2.0~b.app"), "file:///Applications/Tool-1_2.0~b.app");
    EXPECT_EQ(fileAddress("/a b/100%/#1?x=y&z;.+@:"), "file:///a%20b/100%25/%231%3Fx%3Dy%26z%3B.%2B%40%3A");
    EXPECT_EQ(fileAddress("/é/\xFF\n"), "file:///%C3%A9/%FF%0A");
    for (int byte = 1; byte < 256; ++byte) {
        const char character = static_cast<char>(byte);
        const bool isPlain = std::isalnum(byte) != 0 || std::strchr("-._~/", byte) != nullptr;
        std::array<char, 4> code{};
        std::snprintf(code.data(), code.size(), "%%%02X", static_cast<unsigned>(byte));
        EXPECT_EQ(fileAddress(std::string(1, character)),
                  "file://" + (byte < 128 && isPlain ? std::string(1, character) : std::string(code.data())))
            << byte;
    }
}

TEST(FileBrowser, AsksTheDesktopsFileManager) {
    Opener opener;
    PrivateBus bus;
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    FileManager fileManager(bus, false);
    showInFileBrowser("/folder/a file", "/folder", launchEnvironment());
    EXPECT_EQ(fileManager.items(), std::vector<std::string>{"file:///folder/a%20file"});
    EXPECT_EQ(fileManager.startupIdentifier(), "");
    EXPECT_FALSE(Opener::wasCalled());
}

TEST(FileBrowser, OpensTheFolderWhenTheFileManagerRefuses) {
    Opener opener;
    PrivateBus bus;
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    FileManager fileManager(bus, true);
    showInFileBrowser("/folder/file", "/a folder", launchEnvironment());
    EXPECT_EQ(fileManager.items(), std::vector<std::string>{"file:///folder/file"});
    EXPECT_EQ(Opener::argument(), "file:///a%20folder");
}

TEST(FileBrowser, OpensTheFolderWhenThereIsNoFileManager) {
    Opener opener;
    PrivateBus bus;
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    showInFileBrowser("/folder/file", "/folder", launchEnvironment());
    EXPECT_EQ(Opener::argument(), "file:///folder");
}

TEST(FileBrowser, OpensTheFolderWhenThereIsNoBus) {
    Opener opener;
    // None of this may reach the other program.
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    showInFileBrowser("/folder/file", "/folder", launchEnvironment());
    EXPECT_EQ(Opener::line(0), "1");
    EXPECT_EQ(Opener::argument(), "file:///folder");
    const auto process = Opener::line(2); // its number and that of its session
    EXPECT_EQ(process.substr(0, process.find(' ')), process.substr(process.find(' ') + 1));
    EXPECT_EQ(Opener::line(3), "/dev/null");
    EXPECT_FALSE(contains(Opener::line(4), SIGTERM));
    EXPECT_FALSE(contains(Opener::line(5), SIGPIPE));
}

TEST(FileBrowser, SaysSoWhenThereIsNothingToOpenWith) {
    setenv("PATH", sandbox::folder().c_str(), 1);
    showInFileBrowser("/folder/file", "/folder", launchEnvironment());
    EXPECT_EQ(sandbox::console().lines(),
              std::vector<std::string>{"Unable to open file:///folder: xdg-open: No such file or directory"});
}
