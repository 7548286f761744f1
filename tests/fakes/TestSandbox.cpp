#include "TestSandbox.h"

#include "FakeMainThread.h"
#include "linux/LinuxFileManager.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <unistd.h>

namespace sandbox {

namespace {

std::string sandboxFolder; // set once in main

template <typename Service>
std::shared_ptr<Service>& fake() {
    static std::shared_ptr<Service> service; // made by reset()
    return service;
}

} // namespace

const std::string& folder() {
    return sandboxFolder;
}

std::string path(const std::string& name) {
    return folder() + "/" + name;
}
std::string home() {
    return sandboxFolder + "/home";
}
std::string root() {
    return sandboxFolder + "/root";
}
FakeUsers& users() {
    return *fake<FakeUsers>();
}
FakeConsoleLog& console() {
    return *fake<FakeConsoleLog>();
}
FakeUserDefaults& defaults() {
    return *fake<FakeUserDefaults>();
}
FakeWorkspace& workspace() {
    return *fake<FakeWorkspace>();
}
FakeApplication& application() {
    return *fake<FakeApplication>();
}
FakeAlertPanels& alertPanels() {
    return *fake<FakeAlertPanels>();
}
FakeAlertSheets& alertSheets() {
    return *fake<FakeAlertSheets>();
}
FakeDistributedNotifications& distributedNotifications() {
    return *fake<FakeDistributedNotifications>();
}

void makeFolder(const std::string& path) {
    std::filesystem::create_directories(path);
}

void writeFile(const std::string& path, std::string_view bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream stream(path, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

std::string readFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

bool exists(const std::string& path) {
    return std::filesystem::symlink_status(path).type() != std::filesystem::file_type::not_found;
}

// The standard library holds a descriptor per level, and some tests make very deep trees.
static void remove(const std::string& path) {
    if (std::system(("rm -rf '" + path + "'").c_str()) != 0) {
        std::fprintf(stderr, "cannot remove %s\n", path.c_str());
    }
}

// An empty home and root, and fakes that remember nothing.
static void reset() {
    std::filesystem::current_path("/");
    remove(home());
    remove(root());
    makeFolder(home());
    makeFolder(root() + "/Applications");

    fake<FakeUsers>() = std::make_shared<FakeUsers>();
    fake<FakeConsoleLog>() = std::make_shared<FakeConsoleLog>();
    fake<FakeUserDefaults>() = std::make_shared<FakeUserDefaults>();
    fake<FakeWorkspace>() = std::make_shared<FakeWorkspace>();
    fake<FakeApplication>() = std::make_shared<FakeApplication>(fake<FakeWorkspace>());
    fake<FakeAlertPanels>() = std::make_shared<FakeAlertPanels>();
    fake<FakeAlertSheets>() = std::make_shared<FakeAlertSheets>();
    fake<FakeDistributedNotifications>() = std::make_shared<FakeDistributedNotifications>();
    users().home = home();
    users().console = "tester";
    users().homes["tester"] = home();
    platform::install({.consoleLog = fake<FakeConsoleLog>(),
                       .fileManager = std::make_shared<platform::LinuxFileManager>(),
                       .users = fake<FakeUsers>(),
                       .notificationCenter = std::make_shared<platform::NotificationCenter>(),
                       .userDefaults = fake<FakeUserDefaults>(),
                       .mainThread = std::make_shared<FakeMainThread>(),
                       .workspace = fake<FakeWorkspace>(),
                       .application = fake<FakeApplication>(),
                       .alertPanels = fake<FakeAlertPanels>(),
                       .alertSheets = fake<FakeAlertSheets>(),
                       .distributedNotifications = fake<FakeDistributedNotifications>()});
}

static void enter() {
    std::string pattern = std::filesystem::temp_directory_path() / "launcher-test-XXXXXX";
    if (!mkdtemp(pattern.data())) {
        std::perror("mkdtemp");
        std::_Exit(2);
    }
    sandboxFolder = std::filesystem::canonical(pattern);
    setenv("HOME", home().c_str(), 1);
    setenv("VANTOREL_ROOT", root().c_str(), 1);
    for (const char* name :
         {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "SUDO_UID", "PKEXEC_UID"}) {
        unsetenv(name);
    }
    // No test talks to a real bus unless it starts one of its own.
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    reset();
}

// Tests that share a process share no files. What is process-wide stays; ctest runs each test alone.
class FreshStart : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override { reset(); }
};

static void leave() {
    remove(sandboxFolder);
}

} // namespace sandbox

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    sandbox::enter();
    testing::UnitTest::GetInstance()->listeners().Append(new sandbox::FreshStart);
    int result = RUN_ALL_TESTS();
    sandbox::leave();
    return result;
}
