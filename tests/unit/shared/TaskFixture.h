#pragma once

#include "LogFixture.h"
#include "VTTaskEx.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <vector>

// Programs that are run in the sandbox, and what is said about them.
class TaskTest : public LogTest {
protected:
    using Strings = std::vector<std::string>;

    TaskTest() { makeCurrentFile(); }

    static std::string file(const std::string& name) { return sandbox::folder() + "/" + name; }

    // An executable shell script.
    static std::string script(const std::string& name, const std::string& text) {
        return program(name, "#!/bin/sh\n" + text + "\n");
    }
    static std::string program(const std::string& name, const std::string& bytes) {
        sandbox::writeFile(file(name), bytes);
        EXPECT_EQ(::chmod(file(name).c_str(), 0700), 0);
        return file(name);
    }

    static std::string fifo(const std::string& name) {
        EXPECT_EQ(::mkfifo(file(name).c_str(), 0600), 0);
        return file(name);
    }
    // Both wait until somebody has the other end open.
    static void letGo(const std::string& fifo) { ::close(::open(fifo.c_str(), O_WRONLY | O_CLOEXEC)); }
    static void waitFor(const std::string& fifo) { sandbox::readFile(fifo); } // and says something

    // Since the last call; the dates are left out.
    static Strings logged() {
        VTLog::finishWriting();
        auto all = entries(1);
        Strings fresh(all.begin() + static_cast<std::ptrdiff_t>(seen_), all.end());
        seen_ = all.size();
        return fresh;
    }
    static Strings console() { return sandbox::console().lines(); }

    static std::string notExecutable(const std::string& path) {
        return "Error: " + path + " is not executable";
    }

private:
    static inline std::size_t seen_ = 0;
};
