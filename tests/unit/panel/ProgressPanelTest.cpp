#include "ProgressPanel.h"

#include "DarkButton.h"
#include "IndeterminateBar.h"
#include "PanelWindow.h"
#include "TestSandbox.h"

#include <QWidget>
#include <gtest/gtest.h>

namespace {

class ProgressPanelTest : public testing::Test {
protected:
    void begin() {
        panel.beginSheet(window);
        panel.startAnimation();
        sheet = widget.findChild<ProgressSheet*>();
        ASSERT_NE(sheet, nullptr);
    }

    int cancelled = 0;
    QWidget widget;
    PanelWindow window{widget, false};
    ProgressPanel panel{[this] { ++cancelled; }};
    QPointer<ProgressSheet> sheet;
};

} // namespace

TEST_F(ProgressPanelTest, IsASheetWithABarThatMoves) {
    begin();
    EXPECT_TRUE(widget.isVisible()) << "the window comes to the front";
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->windowTitle(), "Purgel is repairing…");
    EXPECT_TRUE(sheet->bar().isTicking());
    panel.stopAnimation();
    EXPECT_FALSE(sheet->bar().isTicking());
    panel.endSheet();
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_FALSE(DarkDialog::hasSheet(widget));
    EXPECT_EQ(cancelled, 0);
}

TEST_F(ProgressPanelTest, CanBeEndedAgainAndAgain) {
    panel.stopAnimation();
    panel.endSheet();
    begin();
    panel.endSheet();
    panel.stopAnimation();
    panel.endSheet();
    EXPECT_FALSE(DarkDialog::hasSheet(widget));
}

TEST_F(ProgressPanelTest, ItsButtonCancelsEveryRun) {
    for (const int run : {1, 2}) {
        begin();
        sheet->findChild<DarkButton*>()->click();
        EXPECT_EQ(cancelled, run);
        EXPECT_TRUE(sheet->isVisible()) << "until the run has ended";
        panel.endSheet();
        delete sheet;
    }
}
