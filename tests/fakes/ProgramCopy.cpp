#include "ProgramCopy.h"

#include "Bundle.h"
#include "TestSandbox.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace sandbox {

int statusOfCopy(const std::string& place, const char* variable, const std::string& value) {
    auto program = path(place);
    makeFolder(std::filesystem::path(program).parent_path());
    std::filesystem::copy_file(platform::mainExecutablePath(), program,
                               std::filesystem::copy_options::overwrite_existing);
    const auto& test = *testing::UnitTest::GetInstance()->current_test_info();
    auto filter = std::string("--gtest_filter=") + test.test_suite_name() + "." + test.name();
    std::array<char*, 3> arguments{program.data(), filter.data(), nullptr};
    if (variable) {
        ::setenv(variable, value.c_str(), 1);
    }
    pid_t child = 0;
    int status = -1;
    if (::posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), ::environ) == 0) {
        ::waitpid(child, &status, 0);
    }
    if (variable) {
        ::unsetenv(variable);
    }
    return status;
}

} // namespace sandbox
