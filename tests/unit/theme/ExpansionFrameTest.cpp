#include "ExpansionFrame.h"

#include "OffscreenApplication.h"

#include <QScrollArea>
#include <gtest/gtest.h>

TEST(ExpansionFrameTest, StaysInsideTheView) {
    QScrollArea view;
    view.resize(400, 300);
    view.show();
    ExpansionFrame frame(&view);
    VTCenteredTextCell cell;
    cell.setHasShadow(true);
    cell.setStringValue(QString("words without end ").repeated(10));
    const QRectF wanted = cell.expansionFrameWithFrame(QRectF(0, 0, 100, 60));
    ASSERT_GT(wanted.width(), 400);
    frame.showCell(cell, wanted, QRect(0, 0, 100, 60));
    EXPECT_TRUE(view.viewport()->geometry().contains(frame.geometry()));
    EXPECT_GT(frame.height(), 3 * wanted.height()) << "broken into lines";

    frame.showCell(cell, wanted.translated(350, 250), QRect(0, 0, 100, 60));
    EXPECT_TRUE(view.viewport()->geometry().contains(frame.geometry()));
}

TEST(ExpansionFrameTest, ItsAccessibleNameIsTheWholeText) {
    QScrollArea view;
    ExpansionFrame frame(&view);
    VTCenteredTextCell cell;
    cell.setHasShadow(true);
    cell.setStringValue("<b>Title</b>");
    cell.setSubtitle("Group");
    frame.showCell(cell, QRectF(0, 0, 100, 50), QRect(0, 0, 50, 50));
    EXPECT_EQ(frame.accessibleName(), "<b>Title</b>\nGroup");
}

TEST(ExpansionFrameTest, PaintsTheTextOnItsOwnGround) {
    QScrollArea view;
    ExpansionFrame frame(&view);
    VTCenteredTextCell cell;
    cell.setStringValue("Text");
    frame.showCell(cell, QRectF(0, 0, 100, 40), QRect(0, 0, 50, 50));
    const QImage image = frame.grab().toImage();
    const QColor ground = frame.palette().color(QPalette::ToolTipBase);
    EXPECT_EQ(image.pixelColor(image.width() - 4, 4), ground);
    int bright = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < 40; ++x)
            bright += image.pixelColor(x, y).lightness() > 200 ? 1 : 0;
    EXPECT_GT(bright, 20);
}
