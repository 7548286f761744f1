#include "DarkAlert.h"

#include "DarkButton.h"
#include "DarkPalette.h"
#include "InterfaceFont.h"
#include "PlainLabel.h"
#include "VTBlackScroller.h"
#include "WrappedLabel.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>
#include <algorithm>

namespace {

// In points.
constexpr double kMargin = 20;
constexpr double kBottomMargin = 14; // below the room that the button keeps for its focus ring
constexpr double kIconSide = 48;
constexpr double kIconGap = 16;
constexpr double kTitleSize = 13;
constexpr double kTitleGap = 8;
constexpr double kButtonGap = 16;
constexpr double kButtonWidth = 77;
constexpr double kLeastTextWidth = 220;
constexpr double kMostTextWidth = 372;

constexpr double kMostOfScreen = 0.6; // the text's share of the screen's height

constexpr qsizetype kMostTitleCharacters = 300;
constexpr qsizetype kMostMessageCharacters = 20'000;

int scaled(double points) {
    return qRound(InterfaceFont::pixels(points));
}

QString withoutMiddle(const QString& text, qsizetype mostCharacters) {
    if (text.size() <= mostCharacters)
        return text;
    return text.left(mostCharacters / 2) + QChar(0x2026) + text.right(mostCharacters / 2);
}

WrappedLabel* label(const QString& text, const QFont& font, const QColor& colour) {
    auto* label = new WrappedLabel;
    stylePlainLabel(*label, font, colour);
    label->setText(text);
    return label;
}

} // namespace

DarkAlert::DarkAlert(const QString& title, const QString& message, QWidget* parent) : QDialog(parent) {
    const QString shownTitle = withoutMiddle(title, kMostTitleCharacters);
    const QString shownMessage = withoutMiddle(message, kMostMessageCharacters);
    // "[*]" stands for the mark of a changed document unless it is doubled.
    setWindowTitle(QString(shownTitle).replace(QLatin1String("[*]"), QLatin1String("[*][*]")));
    setAccessibleDescription(shownMessage);

    auto* icon = new QLabel;
    const int iconSide = scaled(kIconSide);
    icon->setPixmap(windowIcon().pixmap(QSize(iconSide, iconSide), devicePixelRatio()));
    icon->setFixedSize(iconSide, iconSide);
    text_ = makeText(shownTitle, shownMessage);
    auto* button = new DarkButton(tr("&OK"));
    button->setMinimumWidth(scaled(kButtonWidth));
    button->setDefault(true);
    connect(button, &QAbstractButton::clicked, this, &QDialog::accept);

    auto* body = new QHBoxLayout;
    body->setSpacing(scaled(kIconGap));
    body->addWidget(icon, 0, Qt::AlignTop);
    body->addWidget(text_);
    auto* layout = new QVBoxLayout(this);
    const int margin = scaled(kMargin);
    layout->setContentsMargins(margin, margin, margin, scaled(kBottomMargin));
    layout->setSpacing(scaled(kButtonGap));
    layout->addLayout(body);
    layout->addWidget(button, 0, Qt::AlignRight);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    button->setFocus();
}

QScrollArea* DarkAlert::makeText(const QString& title, const QString& message) {
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(scaled(kTitleGap));
    layout->addWidget(label(title, InterfaceFont::bold(kTitleSize), DarkPalette::titleColor()));
    layout->addWidget(label(message, InterfaceFont::regular(), DarkPalette::bodyTextColor()));
    layout->addStretch();

    auto* area = new QScrollArea;
    area->setVerticalScrollBar(new VTBlackScroller);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidgetResizable(true);
    area->setWidget(content);
    area->viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);

    const QSize room = screen()->availableGeometry().size();
    const int frame = 2 * scaled(kMargin) + scaled(kIconSide) + scaled(kIconGap);
    int width = std::clamp(layout->sizeHint().width(), scaled(kLeastTextWidth), scaled(kMostTextWidth));
    width = std::min(width, room.width() - frame);
    const int wanted = layout->heightForWidth(width);
    const int height = std::min(wanted, static_cast<int>(room.height() * kMostOfScreen));
    if (height < wanted)
        width += area->verticalScrollBar()->sizeHint().width();
    area->setFixedSize(width, height);
    return area;
}

void DarkAlert::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    DarkPalette::windowGradient().drawInRect(painter, rect(), 90);
}

void DarkAlert::keyPressEvent(QKeyEvent* event) {
    auto* bar = text_->verticalScrollBar();
    switch (event->key()) {
    case Qt::Key_PageUp:
        return bar->triggerAction(QAbstractSlider::SliderPageStepSub);
    case Qt::Key_PageDown:
        return bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
    case Qt::Key_Home:
        return bar->triggerAction(QAbstractSlider::SliderToMinimum);
    case Qt::Key_End:
        return bar->triggerAction(QAbstractSlider::SliderToMaximum);
    default:
        return QDialog::keyPressEvent(event);
    }
}
