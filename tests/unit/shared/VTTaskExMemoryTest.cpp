#include "FailingAllocations.h"
#include "MainLoop.h"
#include "TaskFixture.h"
#include "VTTaskEx.h"

#include <cstdio>
#include <functional>
#include <gmock/gmock.h>

using testing::Each;
using testing::IsEmpty;
using testing::Not;

namespace {

using Which = FailingAllocations::Which;

constexpr double kNoTimeout = 1e6; // seconds, in which it would come

// What is run on a thread that finds no memory, at each of its allocations in turn.
class VTTaskExMemoryTest : public TaskTest {
protected:
    void SetUp() override {
        if (!FailingAllocations::kArePossible) {
            GTEST_SKIP() << "a sanitizer has an operator new of its own";
        }
        VTLog::appendLog("the file is open");
        logged();
    }

    static void atEachAllocation(
        Which which, const std::function<void()>& run, const std::function<void()>& prepare = [] {}) {
        bool hasFailed = true;
        int after = 0;
        for (; hasFailed && !HasFailure(); ++after) {
            prepare();
            const FailingAllocations noMemory(after, which);
            EXPECT_NO_THROW(run()) << "at allocation " << after;
            hasFailed = FailingAllocations::hasFailed();
        }
        EXPECT_GT(after, 1);
    }

    // What is printed, shown with a failure of this test's own.
    static std::string printed(const std::function<void()>& work) {
        auto text = output(work);
        if (HasFailure()) {
            std::fputs(text.c_str(), stdout);
        }
        return text;
    }

    static std::string exception(const std::string& method) {
        return "Exception in -[VTTaskEx " + method + "]. std::bad_alloc - std::bad_alloc.";
    }
    const std::string failedRun_ = "Exception running task /bin/echo: std::bad_alloc";
    const VTTaskEx::Path echo_ = "/bin/echo";
    const VTTaskEx::Arguments text_{"text"};
};

} // namespace

TEST_F(VTTaskExMemoryTest, ARunWithATimeOutNeverThrows) {
    bool isWhole = true; // whatever there is
    const auto lines = printed([&] {
        atEachAllocation(Which::One, [&] {
            const auto bytes = VTTaskEx::dataFromTask(echo_, text_, kNoTimeout);
            isWhole = isWhole && (!bytes || *bytes == "text\n");
        });
    });
    EXPECT_TRUE(isWhole);
    EXPECT_THAT(console(), Not(IsEmpty()));
    EXPECT_THAT(console(), Each(failedRun_));
    // Without a time-out thread it runs all the same.
    EXPECT_THAT(logged(), testing::Contains(exception("setupTimeout:")));
    EXPECT_THAT(lines, testing::HasSubstr(exception("setupTimeout:")));

    printed([&] { atEachAllocation(Which::One, [&] { VTTaskEx::runTask(echo_, text_, kNoTimeout); }); });
    EXPECT_THAT(logged(), testing::IsSupersetOf({failedRun_, exception("setupTimeout:")}));
}

TEST_F(VTTaskExMemoryTest, AnAsynchronousStartNeverThrows) {
    const auto runner = std::make_shared<VTTaskEx>();
    printed([&] { atEachAllocation(Which::One, [&] { runner->asyncDataFromTask(echo_, text_, {}); }); });
    EXPECT_THAT(logged(), testing::Contains(exception("launchAsyncTask")));
}

TEST_F(VTTaskExMemoryTest, ThereMayBeNoneForTheLineEither) {
    printed([&] {
        atEachAllocation(Which::AllThatFollow, [&] { VTTaskEx::dataFromTask(echo_, text_, kNoTimeout); });
        atEachAllocation(Which::AllThatFollow, [&] { VTTaskEx::runTask(echo_, text_, kNoTimeout); });
        atEachAllocation(Which::AllThatFollow, [&] { VTTaskEx::runTaskAndReturn(echo_, text_); });
        const auto runner = std::make_shared<VTTaskEx>();
        atEachAllocation(Which::AllThatFollow, [&] { runner->asyncDataFromTask(echo_, text_, {}); });
    });
}

TEST_F(VTTaskExMemoryTest, AReaderNeverThrows) {
    using platform::ChildProcess;
    const auto runner = std::make_shared<VTTaskEx>();
    const ChildProcess::Program program{.path = "/bin/echo", .output = ChildProcess::Stream::Pipe};
    printed([&] {
        for (const auto which : {Which::One, Which::AllThatFollow}) {
            atEachAllocation(
                which, [&] { runner->launchAsyncTask(); },
                [&] { runner->setTheTask(std::make_shared<ChildProcess>(program)); });
        }
    });
}

TEST_F(VTTaskExMemoryTest, ATimeOutThatCannotBeHandedOverIsLogged) {
    struct NoMemory : MainLoop {
        void perform(std::function<void()>, platform::Wait) override { throw std::bad_alloc(); }
    };
    auto services = platform::current();
    services.mainThread = std::make_shared<NoMemory>();
    const platform::ScopedPlatform scope(services);
    printed([] { EXPECT_NO_THROW(std::make_shared<VTTaskEx>()->setupTimeout(0)); });
    EXPECT_THAT(logged(), testing::ElementsAre(exception("setupTimeout:")));
}
