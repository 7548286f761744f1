#include "DarkAlert.h"

#include "DarkPalette.h"
#include "OffscreenApplication.h"
#include "WrappedLabel.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <array>
#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using testing::ElementsAre;

namespace {

// The result that the key ends the alert with.
std::optional<int> resultOfKey(Qt::Key key, const DarkAlert::Options& options = {}) {
    DarkAlert alert(QStringLiteral("Title"), QStringLiteral("Message"), options);
    std::optional<int> result;
    QObject::connect(&alert, &QDialog::finished, [&result](int value) { result = value; });
    alert.show();
    offscreen::settle();
    auto* receiver = alert.focusWidget();
    const QString text = key == Qt::Key_Space ? QStringLiteral(" ") : QString();
    for (auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, Qt::NoModifier, text);
        QApplication::sendEvent(receiver, &event);
    }
    return result;
}

QScrollBar& scrollBar(const DarkAlert& alert) {
    return *alert.findChild<QScrollArea*>()->verticalScrollBar();
}

void press(DarkAlert& alert, Qt::Key key) {
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QApplication::sendEvent(alert.focusWidget(), &event);
}

std::unique_ptr<DarkAlert> alertWith(const DarkAlert::Options& options) {
    return std::make_unique<DarkAlert>(QStringLiteral("Title"), QStringLiteral("Message"), options);
}

// The titles from left to right.
std::vector<std::string> buttons(const std::unique_ptr<DarkAlert>& alert) {
    alert->show();
    offscreen::settle();
    std::map<int, std::string> titles;
    for (const auto* button : alert->findChildren<QPushButton*>())
        titles[button->x()] = QAccessible::queryAccessibleInterface(const_cast<QPushButton*>(button))
                                  ->text(QAccessible::Name)
                                  .toStdString();
    std::vector<std::string> ordered;
    for (const auto& [place, title] : titles)
        ordered.push_back(title);
    return ordered;
}

QPushButton* button(const DarkAlert& alert, const QString& title) {
    for (auto* button : alert.findChildren<QPushButton*>())
        if (button->text() == title)
            return button;
    return nullptr;
}

std::optional<int> resultOfButton(const DarkAlert::Options& options, const QString& title) {
    const auto alert = alertWith(options);
    std::optional<int> result;
    QObject::connect(alert.get(), &QDialog::finished, [&result](int value) { result = value; });
    alert->show();
    button(*alert, title)->click();
    return result;
}

} // namespace

TEST(DarkAlertTest, ShowsBothTextsAsTheyAre) {
    DarkAlert alert(QStringLiteral("<b>Cut</b> & [*] paste"), QStringLiteral("<i>No</i>\nsecond line"));
    alert.show();
    const auto labels = alert.findChildren<WrappedLabel*>();
    ASSERT_EQ(labels.size(), 2);
    EXPECT_EQ(labels[0]->text(), "<b>Cut</b> & [*] paste");
    EXPECT_EQ(labels[1]->text(), "<i>No</i>\nsecond line");
    for (const auto* label : labels)
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
    EXPECT_TRUE(labels[0]->font().bold());

    auto* accessible = QAccessible::queryAccessibleInterface(&alert);
    EXPECT_EQ(accessible->role(), QAccessible::Dialog);
    EXPECT_EQ(accessible->text(QAccessible::Name), "<b>Cut</b> & [*] paste");
    EXPECT_EQ(accessible->text(QAccessible::Description), "<i>No</i>\nsecond line");
}

TEST(DarkAlertTest, KeysPressItsButton) {
    EXPECT_EQ(resultOfKey(Qt::Key_Return), QDialog::Accepted);
    EXPECT_EQ(resultOfKey(Qt::Key_Enter), QDialog::Accepted);
    EXPECT_EQ(resultOfKey(Qt::Key_Space), QDialog::Accepted);
    EXPECT_EQ(resultOfKey(Qt::Key_Escape), QDialog::Accepted);
    EXPECT_EQ(resultOfKey(Qt::Key_A), std::nullopt);
}

TEST(DarkAlertTest, ShowsTheButtonsThatHaveTitles) {
    EXPECT_THAT(buttons(alertWith({})), ElementsAre("OK"));
    EXPECT_THAT(buttons(alertWith({.defaultTitle = "&Go"})), ElementsAre("&Go"));
    EXPECT_THAT(buttons(alertWith({"Go", "Stop", {}, {}})), ElementsAre("Stop", "Go"));
    EXPECT_THAT(buttons(alertWith({{}, {}, "Help", {}})), ElementsAre("Help", "OK"));
    EXPECT_THAT(buttons(alertWith({"Go", "Stop", "Help", {}})), ElementsAre("Help", "Stop", "Go"));
}

TEST(DarkAlertTest, ButtonsAnswer) {
    const DarkAlert::Options all{"Go", "Stop", "Help", {}};
    EXPECT_EQ(resultOfButton(all, "Go"), 1);
    EXPECT_EQ(resultOfButton(all, "Stop"), 0);
    EXPECT_EQ(resultOfButton(all, "Help"), -1);
    EXPECT_EQ(resultOfKey(Qt::Key_Return, all), 1);
    EXPECT_EQ(resultOfKey(Qt::Key_Enter, all), 1);
}

TEST(DarkAlertTest, EscapePressesTheButtonThatCancels) {
    const std::vector<std::pair<DarkAlert::Options, int>> expected{{{"Go", "Stop", "Help", {}}, 0},
                                                                   {{"Go", "Cancel", "Help", {}}, 0},
                                                                   {{"Go", "Stop", "Cancel", {}}, -1},
                                                                   {{"Go", {}, "Help", {}}, -1},
                                                                   {{"Go", {}, {}, {}}, 1},
                                                                   {{"Cancel", "Stop", {}, {}}, 0}};
    for (const auto& [options, answer] : expected) {
        EXPECT_EQ(resultOfKey(Qt::Key_Escape, options), answer) << qPrintable(options.alternateTitle);
        const auto alert = alertWith(options);
        EXPECT_EQ(alert->cancellingAnswer(), answer);
        alert->show();
        alert->close(); // as the window manager asks for
        EXPECT_EQ(alert->result(), answer);
    }
}

TEST(DarkAlertTest, ReturnPressesTheButtonWithTheFocus) {
    const auto alert = alertWith({"Go", "Stop", {}, {}});
    alert->show();
    offscreen::settle();
    auto* go = button(*alert, "Go");
    auto* stop = button(*alert, "Stop");
    EXPECT_TRUE(go->isDefault());
    EXPECT_TRUE(go->hasFocus());
    stop->setFocus();
    EXPECT_TRUE(stop->isDefault()) << "it is lit";
    press(*alert, Qt::Key_Return);
    EXPECT_EQ(alert->result(), 0);
}

TEST(DarkAlertTest, ACheckBoxOnDemand) {
    EXPECT_EQ(alertWith({})->findChild<QCheckBox*>(), nullptr);
    for (const bool before : {false, true}) {
        const auto alert = alertWith({.suppressed = before});
        std::vector<bool> changes;
        QObject::connect(alert.get(), &DarkAlert::suppressedChanged,
                         [&changes](bool suppressed) { changes.push_back(suppressed); });
        alert->show();
        auto* box = alert->findChild<QCheckBox*>();
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->isChecked(), before);
        auto* accessible = QAccessible::queryAccessibleInterface(box);
        EXPECT_EQ(accessible->text(QAccessible::Name), "Do not show this message again");
        box->click();
        EXPECT_THAT(changes, ElementsAre(!before));
        EXPECT_TRUE(alert->isVisible());
    }
}

TEST(DarkAlertTest, IsNotWiderThanItNeeds) {
    DarkAlert narrow(QStringLiteral("Title"), QStringLiteral("Message"));
    narrow.show();
    EXPECT_LT(narrow.width(), 400);
    DarkAlert wide(QString(200, u'w'), QString(4000, u'm'));
    wide.show();
    EXPECT_GT(wide.width(), narrow.width());
    EXPECT_LE(wide.width(), 500);
}

TEST(DarkAlertTest, ShortTextsDoNotScroll) {
    DarkAlert alert(QStringLiteral("Title"),
                    QStringLiteral("One sentence that takes two lines, more or less, "
                                   "of the room that there is for it here."));
    alert.show();
    offscreen::settle();
    EXPECT_EQ(scrollBar(alert).maximum(), 0);
    const auto labels = alert.findChildren<WrappedLabel*>();
    EXPECT_GE(labels[1]->height(), labels[1]->heightForWidth(labels[1]->width()));
}

TEST(DarkAlertTest, LongTextsScroll) {
    QString text;
    for (int i = 0; i < 800; ++i)
        text += QStringLiteral("word ");
    DarkAlert alert(QString(200, u'w'), text + QString(4000, u'm'));
    alert.show();
    offscreen::settle();
    const QRect room = alert.screen()->availableGeometry();
    EXPECT_LT(alert.height(), room.height());
    EXPECT_LT(alert.width(), room.width());
    EXPECT_TRUE(alert.rect().contains(alert.findChild<QPushButton*>()->geometry()));
    ASSERT_GT(scrollBar(alert).maximum(), 0);
    press(alert, Qt::Key_PageDown);
    EXPECT_GT(scrollBar(alert).value(), 0);
    press(alert, Qt::Key_End);
    EXPECT_EQ(scrollBar(alert).value(), scrollBar(alert).maximum());
    press(alert, Qt::Key_PageUp);
    EXPECT_LT(scrollBar(alert).value(), scrollBar(alert).maximum());
    press(alert, Qt::Key_Home);
    EXPECT_EQ(scrollBar(alert).value(), 0);
}

TEST(DarkAlertTest, FarTooLongTextsLoseTheirMiddle) {
    const QString name(1'000'000, u'n');
    DarkAlert alert(name + QStringLiteral(" cannot be launched."), name + QStringLiteral(" is the end."));
    for (const auto* label : alert.findChildren<WrappedLabel*>()) {
        EXPECT_LE(label->text().size(), 20'001);
        EXPECT_TRUE(label->text().startsWith(u'n'));
        EXPECT_TRUE(label->text().contains(QChar(0x2026)));
    }
    EXPECT_TRUE(alert.findChildren<WrappedLabel*>().constFirst()->text().endsWith(" cannot be launched."));
}

// A character that takes two units of UTF-16 is left out as a whole.
TEST(DarkAlertTest, NoHalfOfACharacterIsLeft) {
    const auto clapper = QStringLiteral("\U0001F3AC");
    for (const auto* before : {"", "n"}) {
        const DarkAlert alert(QString::fromLatin1(before) + clapper.repeated(100'000), QString());
        const auto text = alert.findChildren<WrappedLabel*>().constFirst()->text();
        EXPECT_TRUE(text.contains(QChar(0x2026)));
        EXPECT_TRUE(text.isValidUtf16()) << before;
    }
}

TEST(DarkAlertTest, StandsOnTheWindowsGradient) {
    DarkAlert alert(QStringLiteral("Title"), QStringLiteral("Message"));
    alert.show();
    const QImage image = alert.grab().toImage();
    EXPECT_EQ(image.pixelColor(2, 0), QColor("#2a2b2e"));
    EXPECT_EQ(image.pixelColor(2, image.height() - 1), QColor("#1a1b1d"));
}

TEST(WrappedLabelTest, BreaksWordsThatAreTooLong) {
    WrappedLabel label;
    label.setText(QString(200, u'm'));
    EXPECT_LT(label.minimumSizeHint().width(), 100);
    const int line = label.fontMetrics().height();
    EXPECT_GT(label.heightForWidth(200), 5 * line);
    EXPECT_GT(label.sizeHint().width(), 1000);
    EXPECT_LT(label.sizeHint().height(), 2 * line);
}

TEST(WrappedLabelTest, IsDrawnInsideItself) {
    for (Qt::Alignment alignment : {Qt::AlignLeft, Qt::AlignHCenter}) {
        WrappedLabel label;
        label.setAlignment(alignment);
        label.setText(QStringLiteral("W"));
        label.resize(100, 30);
        const QImage image = offscreen::picture(label, Qt::black);
        auto isInked = [&image](int from, int to) {
            for (int x = from; x < to; ++x)
                for (int y = 0; y < image.height(); ++y)
                    if (image.pixelColor(x, y).lightness() > 100)
                        return true;
            return false;
        };
        EXPECT_EQ(isInked(0, 20), alignment == Qt::AlignLeft);
        EXPECT_EQ(isInked(40, 60), alignment == Qt::AlignHCenter);
        EXPECT_FALSE(isInked(80, 100));
    }
}
