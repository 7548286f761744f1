#include "PanelWindow.h"

#include "TestSandbox.h"
#include "Waiting.h"

#include <QTest>
#include <QWidget>
#include <gtest/gtest.h>

namespace {

struct PanelWindowTest : testing::Test {
    // Counts the animations that have come to their end.
    int ended = 0;
    void count(PanelWindow& window) {
        window.setAnimationDelegate([this] { ++ended; });
    }
    void waitForTheEnd() const {
        EXPECT_TRUE(QTest::qWaitFor([this] { return ended > 0; }, kLimit));
        QCoreApplication::processEvents();
        EXPECT_EQ(ended, 1);
    }

    QWidget widget;
};

} // namespace

TEST_F(PanelWindowTest, ShowsAndClosesItsWidget) {
    PanelWindow window(widget);
    EXPECT_FALSE(window.isVisible());
    window.orderFront();
    EXPECT_TRUE(widget.isVisible());
    EXPECT_TRUE(window.isVisible());
    window.orderBack();
    EXPECT_TRUE(window.isVisible());
    window.close();
    EXPECT_FALSE(widget.isVisible());
}

TEST_F(PanelWindowTest, ClosingOneThatWasHiddenMeanwhileEndsTheProgram) {
    PanelWindow window(widget);
    window.orderFront();
    window.close();
    EXPECT_TRUE(sandbox::workspace().events().empty());
    window.close();
    EXPECT_EQ(sandbox::workspace().events(), std::vector<std::string>{"terminate"});

    widget.showMinimized();
    sandbox::application().hide();
    window.close();
    EXPECT_EQ(sandbox::workspace().events(), (std::vector<std::string>{"terminate", "hide", "terminate"}));
}

TEST_F(PanelWindowTest, BecomesKeyInFront) {
    PanelWindow window(widget);
    widget.showMinimized();
    window.makeKeyAndOrderFront();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&widget, kLimit));
    EXPECT_FALSE(widget.isMinimized());
}

TEST_F(PanelWindowTest, SaysWhenItIsTheOneThatCloses) {
    struct Asking : QWidget {
        void closeEvent(QCloseEvent*) override { wasClosing = window->isClosing(); }
        PanelWindow* window = nullptr;
        std::optional<bool> wasClosing;
    } asking;
    PanelWindow window(asking);
    asking.window = &window;
    asking.show();
    asking.close();
    EXPECT_EQ(asking.wasClosing, false);
    asking.show();
    window.close();
    EXPECT_EQ(asking.wasClosing, true);
    EXPECT_FALSE(window.isClosing());
}

TEST_F(PanelWindowTest, ChangesItsAlphaValueAtOnce) {
    PanelWindow window(widget);
    EXPECT_EQ(window.alphaValue(), 1);
    count(window);
    window.setAlphaValue(0.25);
    EXPECT_EQ(window.alphaValue(), 0.25);
    EXPECT_EQ(ended, 0);
}

TEST_F(PanelWindowTest, TellsTheEndOfAChangeAfterTheCall) {
    for (bool hasOpacity : {false, true}) {
        PanelWindow window(widget, hasOpacity);
        ended = 0;
        count(window);
        window.animateAlphaValue(0.1);
        EXPECT_EQ(ended, 0);
        waitForTheEnd();
        EXPECT_EQ(window.alphaValue(), 0.1); // exactly
    }
}

TEST_F(PanelWindowTest, AChangeReplacesTheOneThatIsUnderWay) {
    PanelWindow window(widget);
    count(window);
    window.animateAlphaValue(0);
    window.animateAlphaValue(0.5);
    waitForTheEnd();
    EXPECT_EQ(window.alphaValue(), 0.5);
}

TEST_F(PanelWindowTest, SettingTheAlphaValueEndsAChange) {
    PanelWindow window(widget);
    window.setAnimationDelegate([] { ADD_FAILURE() << "the change has gone on"; });
    window.animateAlphaValue(0);
    window.setAlphaValue(0.5);
    PanelWindow other(widget); // whose change begins later and would end later
    count(other);
    other.animateAlphaValue(0);
    waitForTheEnd();
    EXPECT_EQ(window.alphaValue(), 0.5);
}

TEST_F(PanelWindowTest, AChangeGoesOnFromWhereTheLastOneHasCome) {
    PanelWindow window(widget, true);
    // A busy machine may miss all steps between the first and the last.
    double between = 0;
    while (between <= 0 || between >= 1) {
        window.setAlphaValue(0);
        window.animateAlphaValue(1);
        ASSERT_TRUE(QTest::qWaitFor([&] { return window.alphaValue() > 0; }, kLimit));
        between = window.alphaValue();
    }
    count(window);
    window.animateAlphaValue(0);
    EXPECT_EQ(window.alphaValue(), between);
    waitForTheEnd();
    EXPECT_EQ(window.alphaValue(), 0);
}

TEST_F(PanelWindowTest, NobodyNeedBeTold) {
    PanelWindow window(widget);
    count(window);
    window.setAnimationDelegate(nullptr);
    window.animateAlphaValue(0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.alphaValue() == 0; }, kLimit));
    EXPECT_EQ(ended, 0);
}
