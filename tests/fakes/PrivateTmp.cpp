#include "PrivateTmp.h"

#include "TestSandbox.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool writeText(const char* file, const std::string& text) {
    FILE* stream = std::fopen(file, "we");
    if (!stream) {
        return false;
    }
    bool isWritten = std::fputs(text.c_str(), stream) >= 0;
    return std::fclose(stream) == 0 && isWritten;
}

// Gives this process an empty /tmp that nobody else sees.
bool enterPrivateTmp() {
    const auto user = std::to_string(geteuid());
    if (geteuid() == 0) {
        if (unshare(CLONE_NEWNS) != 0) {
            return false;
        }
    } else if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 ||
               !writeText("/proc/self/uid_map", user + " " + user + " 1")) {
        return false;
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777") == 0;
}

} // namespace

bool sandbox::inPrivateTmp(const std::function<void()>& work) {
    constexpr int kNotAllowed = 3;
    pid_t child = fork();
    if (child == 0) {
        if (!enterPrivateTmp()) {
            _exit(kNotAllowed);
        }
        unsetenv("TMPDIR");
        unsetenv("XDG_RUNTIME_DIR");
        users().home = "/tmp/home";
        work();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNotAllowed) {
        return false;
    }
    EXPECT_EQ(status, 0);
    return true;
}
