#include "linux/ApplicationProcesses.h"

#include "TestSandbox.h"
#include "ToolBundle.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <thread>
#include <unistd.h>

using platform::bundleOfProcess;
using toolbundle::Process;
using Path = std::optional<std::string>;

namespace {

// A process passes through the image of its starter before it is what it is going to be.
Path bundleOnceKnown(pid_t process) {
    Path bundle;
    while (!(bundle = bundleOfProcess(process)) &&
           ::access(("/proc/" + std::to_string(process)).c_str(), F_OK) == 0) {
        std::this_thread::yield();
    }
    return bundle;
}

// Waits until the process runs the program of that name.
void waitForProgram(pid_t process, const std::string& name) {
    std::error_code error;
    while (std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/exe", error).filename() !=
           name) {
        std::this_thread::yield();
    }
}

} // namespace

TEST(ApplicationProcesses, AProgramInABundleRunsInIt) {
    const auto bundle = toolbundle::make("Cat", "");
    const auto program = bundle + "/Contents/MacOS/Cat";
    std::filesystem::copy_file("/bin/cat", program, std::filesystem::copy_options::overwrite_existing);
    Process process({program, bundle + "/gate"});
    EXPECT_EQ(bundleOnceKnown(process.id()), bundle);

    // Also when it is started through a link, and after its file is gone.
    std::filesystem::create_symlink(bundle, sandbox::root() + "/Link.app");
    Process linked({sandbox::root() + "/Link.app/Contents/MacOS/Cat", bundle + "/gate"});
    EXPECT_EQ(bundleOnceKnown(linked.id()), bundle);
    std::filesystem::remove(program);
    EXPECT_EQ(bundleOfProcess(process.id()), bundle);
}

TEST(ApplicationProcesses, AScriptRunsInItsBundleWhereverItWasStarted) {
    const auto bundle = toolbundle::makeWaiting("Script");
    const auto script = bundle + "/Contents/MacOS/Script";
    EXPECT_EQ(bundleOnceKnown(Process({script}).id()), bundle);
    EXPECT_EQ(bundleOnceKnown(Process({"sh", script}).id()), bundle);
    EXPECT_EQ(bundleOnceKnown(Process({"bash", "-e", script}).id()), bundle);
    EXPECT_EQ(bundleOnceKnown(Process({"./Contents/MacOS/Script"}, bundle).id()), bundle);
    EXPECT_EQ(bundleOnceKnown(Process({"sh", "Script"}, bundle + "/Contents/MacOS").id()), bundle);
    EXPECT_EQ(bundleOnceKnown(Process({"sh", "../MacOS/./Script"}, bundle + "/Contents/MacOS").id()), bundle);
}

TEST(ApplicationProcesses, AScriptRunsInItsBundleWhenALinkElsewhereStartedIt) {
    const auto bundle = toolbundle::makeWaiting("Linked");
    const auto folder = sandbox::home() + "/bin";
    sandbox::makeFolder(folder);
    std::filesystem::create_symlink(bundle + "/Contents/MacOS/Linked", folder + "/tool");
    EXPECT_EQ(bundleOnceKnown(Process({folder + "/tool"}).id()), bundle);
    EXPECT_EQ(bundleOnceKnown(Process({"./tool", "word"}, folder).id()), bundle);
    EXPECT_EQ(bundleOnceKnown(Process({"bash", "-e", "tool"}, folder).id()), bundle);

    Process reader({"tail", "-f", folder + "/tool"});
    waitForProgram(reader.id(), "tail");
    EXPECT_EQ(bundleOfProcess(reader.id()), std::nullopt);
}

TEST(ApplicationProcesses, TheInterpreterMayBeAnyThatTheScriptNames) {
    const auto text = "import sys\nopen(sys.argv[0].split('/Contents/')[0] + '/gate').read()\n";
    const auto named = toolbundle::make("Named", std::string("#!/usr/bin/python3 -I\n") + text);
    EXPECT_EQ(bundleOnceKnown(Process({named + "/Contents/MacOS/Named"}).id()), named);
    setenv("PATH", "/usr/bin:/bin", 1);
    const auto found = toolbundle::make("Found", std::string("#!/usr/bin/env python3\n") + text);
    EXPECT_EQ(bundleOnceKnown(Process({found + "/Contents/MacOS/Found"}).id()), found);
}

TEST(ApplicationProcesses, WhoeverLooksAtAScriptDoesNotRunIt) {
    const auto bundle = toolbundle::makeWaiting("Read");
    Process reader({"tail", "-f", bundle + "/Contents/MacOS/Read"});
    waitForProgram(reader.id(), "tail");
    EXPECT_EQ(bundleOfProcess(reader.id()), std::nullopt);

    // Nor does a shell with a file that is no script.
    sandbox::writeFile(bundle + "/Contents/MacOS/notes", "plain text\n");
    Process shell({"sh", "-c", "read -r line <\"$0\"", bundle + "/gate", bundle + "/Contents/MacOS/notes"});
    waitForProgram(shell.id(), std::filesystem::canonical("/bin/sh").filename());
    EXPECT_EQ(bundleOfProcess(shell.id()), std::nullopt);
}

TEST(ApplicationProcesses, OthersRunInNone) {
    Process process({"sleep", "1000"});
    waitForProgram(process.id(), "sleep");
    EXPECT_EQ(bundleOfProcess(process.id()), std::nullopt);
    EXPECT_EQ(bundleOfProcess(1 << 30), std::nullopt);
    EXPECT_EQ(bundleOfProcess(getpid()), std::nullopt);
}

TEST(ApplicationProcesses, AVisitMeetsThemAll) {
    const auto first = toolbundle::makeWaiting("First");
    const auto second = toolbundle::makeWaiting("Second");
    Process one({first + "/Contents/MacOS/First"});
    Process two({second + "/Contents/MacOS/Second"});
    Process three({second + "/Contents/MacOS/Second"});
    for (auto process : {one.id(), two.id(), three.id()}) {
        bundleOnceKnown(process);
    }
    std::map<pid_t, std::string> met;
    platform::visitApplicationProcesses([&](pid_t process, const std::string& bundle) {
        if (bundle.starts_with(sandbox::root())) {
            met[process] = bundle;
        }
    });
    EXPECT_EQ(met,
              (std::map<pid_t, std::string>{{one.id(), first}, {two.id(), second}, {three.id(), second}}));
}
