#include "DarkPalette.h"

#include "DarkStyle.h"

#include "OffscreenApplication.h"

#include <QApplication>
#include <QMenu>
#include <QStyle>
#include <gtest/gtest.h>

namespace {

// Relative luminance contrast, as accessibility guidelines count it.
double contrast(const QColor& first, const QColor& second) {
    auto luminance = [](const QColor& colour) {
        auto linear = [](double value) {
            return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
               0.0722 * linear(colour.blueF());
    };
    const double a = luminance(first) + 0.05;
    const double b = luminance(second) + 0.05;
    return std::max(a, b) / std::min(a, b);
}

QColor top(const theme::Gradient& gradient) {
    return gradient.stops.front().colour.toQColor();
}
QColor bottom(const theme::Gradient& gradient) {
    return gradient.stops.back().colour.toQColor();
}

} // namespace

TEST(DarkPaletteTest, Colours) {
    EXPECT_EQ(top(DarkPalette::windowGradient()), QColor("#2a2b2e"));
    EXPECT_EQ(bottom(DarkPalette::windowGradient()), QColor("#1a1b1d"));
    EXPECT_EQ(DarkPalette::separatorColor(), QColor("#111"));
    EXPECT_EQ(DarkPalette::secondaryTextColor(), QColor("#9a9da3"));
    EXPECT_EQ(DarkPalette::bodyTextColor(), QColor("#d9dbdf"));
    EXPECT_EQ(top(DarkPalette::selectionGradient(DarkPalette::Activity::Active)), QColor("#3d5a80"));
    EXPECT_EQ(bottom(DarkPalette::selectionGradient(DarkPalette::Activity::Active)), QColor("#2f4766"));
}

TEST(DarkPaletteTest, TextCanBeReadOnWhatItStandsOn) {
    const QColor lightestWindow = top(DarkPalette::windowGradient());
    EXPECT_GT(contrast(DarkPalette::bodyTextColor(), lightestWindow), 7);
    EXPECT_GT(contrast(DarkPalette::secondaryTextColor(), lightestWindow), 4.5);
    for (auto activity : {DarkPalette::Activity::Active, DarkPalette::Activity::Inactive})
        EXPECT_GT(contrast(DarkPalette::bodyTextColor(), top(DarkPalette::selectionGradient(activity))), 4.5);
    const QPalette palette = DarkPalette::palette();
    for (auto group : {QPalette::Active, QPalette::Inactive}) {
        EXPECT_GT(contrast(palette.color(group, QPalette::Text), palette.color(group, QPalette::Base)), 7);
        EXPECT_GT(
            contrast(palette.color(group, QPalette::ButtonText), palette.color(group, QPalette::Button)), 7);
        EXPECT_GT(contrast(palette.color(group, QPalette::HighlightedText),
                           palette.color(group, QPalette::Highlight)),
                  4.5);
        EXPECT_GT(contrast(palette.color(group, QPalette::ToolTipText),
                           palette.color(group, QPalette::ToolTipBase)),
                  7);
    }
}

TEST(DarkPaletteTest, TheFocusStandsOutFromTheSelectionAndTheWindow) {
    const QColor focus = DarkPalette::focusColor();
    EXPECT_GT(contrast(focus, top(DarkPalette::selectionGradient(DarkPalette::Activity::Active))), 3);
    EXPECT_GT(contrast(focus, top(DarkPalette::windowGradient())), 3);
}

TEST(DarkPaletteTest, InstallingSetsTheApplicationAndKeepsTheFont) {
    const QFont font = QApplication::font();
    DarkPalette::install();
    EXPECT_EQ(QApplication::palette().color(QPalette::Base), DarkPalette::palette().color(QPalette::Base));
    EXPECT_TRUE(qobject_cast<DarkStyle*>(QApplication::style()));
    EXPECT_EQ(QApplication::font(), font);
}

TEST(DarkPaletteTest, TheChosenMenuItemIsSeen) {
    QMenu menu;
    menu.addAction("One");
    QAction* second = menu.addAction("Two");
    menu.popup({0, 0});
    menu.setActiveAction(second);
    offscreen::settle();
    const QImage image = menu.grab().toImage();
    const QRect first = menu.actionGeometry(menu.actions().first());
    const QRect chosen = menu.actionGeometry(second);
    const QColor plain = image.pixelColor(first.right() - 4, first.center().y());
    const QColor focused = image.pixelColor(chosen.right() - 4, chosen.center().y());
    EXPECT_LT(plain.lightness(), 60);
    EXPECT_GT(contrast(focused, plain), 1.8);
    EXPECT_GT(focused.blue(), focused.red() + 30);
}
