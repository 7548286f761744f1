#include "ActivationToken.h"

#include "Platform.h"
#include "TestSandbox.h"

#include <QGuiApplication>
#include <QWindow>
#include <array>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

// Whoever waits for the main thread has begun to ask for a token.
class UnaskedMainThread : public platform::MainThread {
public:
    void perform(std::function<void()>, platform::Wait) override { ADD_FAILURE() << "asked"; }
    void performAfter(std::chrono::milliseconds, std::function<void()>) override {}
};

} // namespace

TEST(ActivationToken, IsAbsentWithoutAnApplicationObject) {
    EXPECT_EQ(platform::requestActivationToken("com.vantorel.Notes"), std::nullopt);
}

TEST(ActivationToken, IsNotAskedForWhereWindowsAreNotShownThroughWayland) {
    const auto runtimeFolder = sandbox::folder() + "/runtime";
    sandbox::makeFolder(runtimeFolder);
    std::filesystem::permissions(runtimeFolder, std::filesystem::perms::owner_all);
    qputenv("XDG_RUNTIME_DIR", runtimeFolder.c_str());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    std::string name = "test";
    std::array<char*, 2> arguments{name.data(), nullptr};
    int argumentCount = 1;
    QGuiApplication application(argumentCount, arguments.data());
    QWindow window;
    window.show();
    window.requestActivate();
    QCoreApplication::processEvents();
    ASSERT_EQ(QGuiApplication::focusWindow(), &window);

    auto services = platform::current();
    services.mainThread = std::make_shared<UnaskedMainThread>();
    const platform::ScopedPlatform scope(services);
    EXPECT_EQ(platform::requestActivationToken("com.vantorel.Notes"), std::nullopt);
}
