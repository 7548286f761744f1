// Draws every kind of sheet, for people to look at: above at one pixel per logical pixel, below at two.

#include "DarkAlert.h"
#include "DarkPalette.h"
#include "IndeterminateBar.h"
#include "OffscreenApplication.h"
#include "ProgressSheet.h"

#include <QApplication>
#include <QFileInfo>
#include <QIcon>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

constexpr QSize kPicture(1040, 640);
constexpr int kColumns = 2;
constexpr QSize kCell(520, 212);
constexpr int kMargin = 20;

std::vector<std::unique_ptr<DarkDialog>> allSheets() {
    std::vector<std::unique_ptr<DarkDialog>> sheets;
    const auto add = [&sheets](const QString& title, const QString& text, const DarkAlert::Options& options) {
        sheets.push_back(std::make_unique<DarkAlert>(title, text, options));
    };
    add(QStringLiteral("Warning"),
        QStringLiteral("This function will trash preferences, clear caches and repair every editing tool.\n\n"
                       "A backup is automatically created before this occurs."),
        {QStringLiteral("Continue"), QStringLiteral("Cancel"), {}, {}});
    add(QStringLiteral("Purgel complete"), QStringLiteral("You can now relaunch your editing applications."),
        {});
    add(QStringLiteral("Unable to begin Purgel"),
        QStringLiteral("Please close the following applications before continuing: \n\nSplicel\nSqueezel"),
        {});
    add(QStringLiteral("Save the changes?"), QStringLiteral("They are lost otherwise."),
        {QStringLiteral("Save"), QStringLiteral("Cancel"), QStringLiteral("Don't Save"), false});
    add(QStringLiteral("A tip"), {}, {QStringLiteral("Show & Tell"), {}, {}, true});
    auto progress = std::make_unique<ProgressSheet>(QStringLiteral("Purgel is repairing…"));
    progress->bar().start();
    sheets.push_back(std::move(progress));
    return sheets;
}

} // namespace

TEST(SheetsPictureTest, ShowsEveryKindOfSheet) {
    constexpr int kLargest = 2;
    QPixmap icon(96, 96);
    icon.fill(QColor(0xb8, 0x4a, 0x4a));
    QApplication::setWindowIcon(icon);
    QWidget window;
    window.resize(kCell);
    window.show();
    const auto sheets = allSheets();

    QImage image(kPicture.width() * kLargest, kPicture.height() * (1 + kLargest), QImage::Format_RGB32);
    image.fill(QColor(0x0c, 0x0c, 0x0d));
    QPainter painter(&image);
    for (const int scale : {1, kLargest}) {
        int number = 0;
        for (const auto& sheet : sheets) {
            if (scale == 1) {
                sheet->beginSheet(window);
                offscreen::settle();
            }
            painter.resetTransform();
            painter.translate(0, scale == 1 ? 0 : kPicture.height());
            painter.scale(scale, scale);
            painter.translate(kMargin + number % kColumns * kCell.width(),
                              kMargin + number / kColumns * kCell.height());
            sheet->render(&painter, {}, {}, QWidget::DrawChildren);
            EXPECT_LE(sheet->width(), kCell.width() - kMargin) << number;
            EXPECT_LE(sheet->height(), kCell.height()) << number;
            ++number;
        }
    }
    painter.end();
    for (const auto& sheet : sheets)
        sheet->done(0);
    ASSERT_TRUE(
        image.save(QFileInfo(QStringLiteral(VT_CONTROLS_SHEET)).path() + QStringLiteral("/sheets.png")));
}
