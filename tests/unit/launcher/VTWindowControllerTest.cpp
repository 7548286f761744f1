#include "VTWindowController.h"

#include "FakeOutlets.h"
#include "TestSandbox.h"

#include <gmock/gmock.h>
#include <limits>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class WindowController : public testing::Test {
protected:
    WindowController() { controller.awakeFromNib(); }

    // Faded in and at rest.
    void show() {
        controller.showWindow();
        window.finishAnimation();
        window.events.clear();
    }
    // An animation that was under way has come to this value and no further.
    void stopAt(double alpha) {
        window.alpha = alpha;
        window.target.reset();
        window.delegate();
    }

    FakeWindow window;
    VTWindowController controller{window};
};

} // namespace

TEST(WindowControllerItself, HearsOfAnimationsFromAwakeningToItsEnd) {
    FakeWindow window;
    {
        VTWindowController controller(window);
        EXPECT_FALSE(window.delegate);
        controller.awakeFromNib();
        EXPECT_TRUE(window.delegate);
        EXPECT_EQ(window.target, std::nullopt); // nothing moves yet
        EXPECT_THAT(window.events, IsEmpty());
    }
    EXPECT_FALSE(window.delegate);
}

TEST_F(WindowController, AHiddenWindowFadesInFromNothing) {
    window.alpha = 0.7;
    double alphaWhenShown = -1;
    window.onEvent = [&](const std::string&) { alphaWhenShown = window.alpha; };
    controller.showWindow();
    EXPECT_EQ(alphaWhenShown, 0.0); // nothing flashes up
    EXPECT_EQ(window.target, 1.0);
    EXPECT_THAT(window.events, ElementsAre("front"));
    EXPECT_TRUE(window.visible);
    window.finishAnimation();
    EXPECT_EQ(window.alpha, 1.0);
    EXPECT_THAT(window.events, ElementsAre("front")); // the end of a fade-in closes nothing
}

TEST_F(WindowController, AVisibleWindowIsOnlyBroughtToTheFront) {
    show();
    window.alpha = 0.4;
    controller.showWindow();
    EXPECT_EQ(window.alpha, 0.4);
    EXPECT_EQ(window.target, std::nullopt);
    EXPECT_THAT(window.events, ElementsAre("front"));
}

TEST_F(WindowController, AFadeInThatIsUnderWayGoesOn) {
    controller.showWindow();
    window.alpha = 0.4;
    controller.showWindow();
    EXPECT_EQ(window.alpha, 0.4);
    EXPECT_EQ(window.target, 1.0);
}

TEST_F(WindowController, ClosingFadesOutFirst) {
    show();
    EXPECT_FALSE(controller.windowShouldClose());
    EXPECT_EQ(window.alpha, 1.0);
    EXPECT_EQ(window.target, 0.0);
    EXPECT_THAT(window.events, IsEmpty());
    window.finishAnimation();
    EXPECT_THAT(window.events, ElementsAre("close"));
    EXPECT_FALSE(window.visible);
}

TEST_F(WindowController, ClosesAtExactlyZeroAndNowhereElse) {
    show();
    controller.windowShouldClose();
    for (double alpha : {1.0, 0.5, 1e-9, std::numeric_limits<double>::denorm_min(), -1e-9}) {
        stopAt(alpha);
        EXPECT_THAT(window.events, IsEmpty()) << alpha;
    }
    stopAt(0.0);
    EXPECT_THAT(window.events, ElementsAre("close"));
}

TEST_F(WindowController, FadingOutAloneClosesNothing) {
    show();
    controller.fadeOutWindow();
    EXPECT_EQ(window.target, 0.0);
    window.finishAnimation();
    EXPECT_EQ(window.alpha, 0.0);
    EXPECT_THAT(window.events, IsEmpty());
    EXPECT_TRUE(window.visible);
}

TEST_F(WindowController, ShowingItDuringAFadeOutKeepsItOpen) {
    show();
    controller.windowShouldClose();
    window.alpha = 0.3;
    controller.showWindow();
    EXPECT_EQ(window.alpha, 0.3);  // it does not start from nothing again
    EXPECT_EQ(window.target, 1.0); // but turns back
    stopAt(0.0);                   // the end of the fade-out, told late
    EXPECT_THAT(window.events, ElementsAre("front"));
    EXPECT_TRUE(window.visible);
}

TEST_F(WindowController, ItCanBeClosedAgainAfterThat) {
    show();
    controller.windowShouldClose();
    controller.showWindow();
    window.finishAnimation();
    EXPECT_EQ(window.alpha, 1.0);
    EXPECT_FALSE(controller.windowShouldClose());
    window.finishAnimation();
    EXPECT_THAT(window.events, ElementsAre("front", "close"));
}

TEST_F(WindowController, ClosingDuringAFadeInTurnsBack) {
    controller.showWindow();
    window.alpha = 0.6;
    controller.windowShouldClose();
    EXPECT_EQ(window.alpha, 0.6);
    EXPECT_EQ(window.target, 0.0);
    stopAt(1.0); // the end of the fade-in, told late
    EXPECT_THAT(window.events, ElementsAre("front"));
    controller.fadeOutWindow();
    window.finishAnimation();
    EXPECT_THAT(window.events, ElementsAre("front", "close"));
}

TEST_F(WindowController, AClosedWindowFadesInAgain) {
    show();
    controller.windowShouldClose();
    window.finishAnimation();
    window.events.clear();
    controller.showWindow();
    EXPECT_EQ(window.alpha, 0.0);
    EXPECT_EQ(window.target, 1.0);
    EXPECT_THAT(window.events, ElementsAre("front"));
}

TEST_F(WindowController, TwoRequestsAreOneClosing) {
    show();
    EXPECT_FALSE(controller.windowShouldClose());
    EXPECT_FALSE(controller.windowShouldClose());
    window.finishAnimation();
    EXPECT_THAT(window.events, ElementsAre("close"));
}

TEST_F(WindowController, TellsThatItsWindowBecameKey) {
    std::vector<platform::Notification> posted;
    auto observation = platform::current().notificationCenter->addObserver(
        "VTWindowDidBecomeKey", [&](const auto& notification) { posted.push_back(notification); });
    controller.windowDidBecomeKey();
    ASSERT_EQ(posted.size(), 1U);
    EXPECT_EQ(posted.front().object, static_cast<const outlet::Window*>(&window));
    EXPECT_TRUE(posted.front().userInfo.empty());
    EXPECT_THAT(window.events, IsEmpty());
}
