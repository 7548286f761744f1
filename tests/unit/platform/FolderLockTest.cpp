#include "linux/FolderLock.h"

#include "Exception.h"
#include "TestSandbox.h"

#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <thread>

using namespace platform;

namespace {

bool isLocked(const std::string& folder) {
    FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return ::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0;
}

} // namespace

TEST(FolderLock, LocksTheFolderItselfWhileItLives) {
    {
        FolderLock lock(sandbox::home());
        EXPECT_TRUE(isLocked(sandbox::home()));
    }
    EXPECT_FALSE(isLocked(sandbox::home()));
}

TEST(FolderLock, OneThreadAtATimeHoldsIt) {
    std::atomic<int> value = 0; // guarded by the lock alone: a lost count shows, atomic or not
    auto count = [&] {
        for (int i = 0; i < 200; ++i) {
            FolderLock lock(sandbox::home());
            int seen = value.load(std::memory_order_relaxed);
            std::this_thread::yield();
            value.store(seen + 1, std::memory_order_relaxed);
        }
    };
    {
        std::jthread first(count);
        std::jthread second(count);
    }
    EXPECT_EQ(value, 400);
}

TEST(FolderLock, GivesUpWhenSomebodyKeepsTheFolderLocked) {
    FolderLock held(sandbox::home());
    try {
        FolderLock lock(sandbox::home());
        FAIL();
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.name(), "NSFileHandleOperationException");
        EXPECT_EQ(exception.reason(), "another program keeps the folder locked");
    }
}

TEST(FolderLock, AFolderThatCannotBeOpenedIsAnException) {
    sandbox::writeFile(sandbox::folder() + "/file", "x");
    EXPECT_THROW(FolderLock(sandbox::folder() + "/missing"), Exception);
    EXPECT_THROW(FolderLock(sandbox::folder() + "/file"), Exception);
}
