#include "LinuxWorkspace.h"

#include "TestSandbox.h"

#include <QImage>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

TEST(LinuxWorkspace, HasAnIconForEveryFile) {
    platform::LinuxWorkspace workspace;
    for (const char* path : {"", "/nonexistent", "/nonexistent/Tool.app"}) {
        auto icon = workspace.iconForFile(path);
        ASSERT_TRUE(icon) << path;
        EXPECT_TRUE(icon->render(48).pixels.empty()) << path;
    }
}

TEST(LinuxWorkspace, TakesTheIconFromTheBundle) {
    const auto bundle = sandbox::folder() + "/Tool.app";
    sandbox::writeFile(
        bundle + "/Contents/Info.plist",
        "<plist version=\"1.0\"><dict><key>CFBundleIconFile</key><string>icon.png</string></dict></plist>");
    sandbox::makeFolder(bundle + "/Contents/Resources");
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(0xFF102030);
    ASSERT_TRUE(image.save(QString::fromStdString(bundle + "/Contents/Resources/icon.png")));
    auto bitmap = platform::LinuxWorkspace().iconForFile(bundle)->render(2);
    EXPECT_EQ(bitmap.pixels, std::vector<std::uint32_t>(4, 0xFF102030));
}

TEST(LinuxWorkspace, ShowsFilesWithoutWaitingForTheOtherProgram) {
    // There is no bus, and what stands in for the desktop's opener waits until somebody listens to it.
    const auto pipe = sandbox::folder() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto opener = sandbox::folder() + "/bin/xdg-open";
    sandbox::writeFile(opener, "#!/bin/sh\necho \"$1\" > " + pipe + "\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    setenv("PATH", (sandbox::folder() + "/bin").c_str(), 1);
    platform::LinuxWorkspace().selectFile("/a folder/file", "/a folder"); // whose workspace is gone by now
    EXPECT_EQ(sandbox::readFile(pipe), "file:///a%20folder\n");
}

TEST(LinuxWorkspace, StartsApplicationsInTheEnvironmentOfItsOwnStart) {
    const auto bundle = sandbox::root() + "/Applications/Notes.app";
    const auto pipe = sandbox::folder() + "/environment";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto program = bundle + "/Contents/MacOS/Notes";
    sandbox::writeFile(program, "#!/bin/sh\necho \"$KEPT [$XDG_ACTIVATION_TOKEN]\" > " + pipe + "\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    setenv("KEPT", "as it was", 1);
    setenv("XDG_ACTIVATION_TOKEN", "for this program", 1);
    platform::LinuxWorkspace workspace;
    setenv("KEPT", "changed since", 1);
    workspace.openFile(bundle);
    EXPECT_EQ(sandbox::readFile(pipe), "as it was []\n");
}

TEST(LinuxWorkspace, OpensFilesAndAddressesWithWhatTheDesktopHasForThem) {
    const auto pipe = sandbox::folder() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto opener = sandbox::folder() + "/bin/xdg-open";
    sandbox::writeFile(opener, "#!/bin/sh\necho \"$# $1\" > " + pipe + "\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    setenv("PATH", (sandbox::folder() + "/bin").c_str(), 1);
    platform::LinuxWorkspace workspace;
    workspace.openFile("/a folder/Manual & more.pdf");
    EXPECT_EQ(sandbox::readFile(pipe), "1 file:///a%20folder/Manual%20%26%20more.pdf\n");
    workspace.openURL("https://www.vantorel.example/?app=launcher&version=1.0");
    EXPECT_EQ(sandbox::readFile(pipe), "1 https://www.vantorel.example/?app=launcher&version=1.0\n");
}

TEST(LinuxWorkspace, FindsARunningApplicationBeforeOneOnDisk) {
    const auto installed = sandbox::root() + "/Applications/Twice.app";
    const auto running = sandbox::folder() + "/elsewhere/Twice.app";
    const auto started = sandbox::folder() + "/started";
    const auto gate = sandbox::folder() + "/gate";
    ASSERT_EQ(mkfifo(started.c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
    for (const auto& bundle : {installed, running}) {
        const auto program = bundle + "/Contents/MacOS/Twice";
        sandbox::writeFile(program, "#!/bin/sh\necho up > " + started + "\nread -r line < " + gate + "\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        sandbox::writeFile(bundle + "/Contents/Info.plist",
                           "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
                           "<string>com.vantorel.Twice</string></dict></plist>");
    }
    platform::LinuxWorkspace workspace;
    EXPECT_EQ(workspace.absolutePathForAppBundleWithIdentifier("com.vantorel.TWICE"), installed);
    workspace.openFile(running);
    EXPECT_EQ(sandbox::readFile(started), "up\n");
    EXPECT_EQ(workspace.absolutePathForAppBundleWithIdentifier("com.vantorel.TWICE"), running);
    sandbox::writeFile(gate, "\n");
}

TEST(LinuxWorkspace, OpensAFileWithANamedApplication) {
    const auto bundle = sandbox::root() + "/Applications/Reader.app";
    const auto program = bundle + "/Contents/MacOS/Reader";
    sandbox::writeFile(program, "#!/bin/sh\necho \"$# $0\" > \"$1\"\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    sandbox::writeFile(bundle + "/Contents/Info.plist",
                       "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
                       "<string>com.vantorel.Reader</string></dict></plist>");
    const auto pipe = sandbox::folder() + "/a file";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    platform::LinuxWorkspace workspace;
    workspace.openFile(pipe, bundle);
    EXPECT_EQ(sandbox::readFile(pipe), "1 " + program + "\n");
    platform::LinuxWorkspace().openFileWithBundleIdentifier(pipe,
                                                            "COM.vantorel.reader"); // which is gone by now
    EXPECT_EQ(sandbox::readFile(pipe), "1 " + program + "\n");
}
