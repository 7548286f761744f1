#include "ToolPath.h"

#include <gtest/gtest.h>
#include <unistd.h>

TEST(ToolPath, FindsToolsThatLieElsewhere) {
    const auto path = platform::toolPath("/usr/sbin/chown");
    EXPECT_EQ(::access(path.c_str(), X_OK), 0) << path;
}

TEST(ToolPath, LeavesOtherPathsAlone) {
    for (const char* path : {"/usr/bin/chown", "/usr/sbin/missing", "/bin/mv", "chown", ""}) {
        EXPECT_EQ(platform::toolPath(path), path);
    }
}
