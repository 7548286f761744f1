#include "DarkAlert.h"

#include "DarkButton.h"
#include "DarkCheckBox.h"
#include "DarkPalette.h"
#include "InterfaceFont.h"
#include "PlainLabel.h"
#include "VTBlackScroller.h"
#include "WrappedLabel.h"

#include <QKeyEvent>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>
#include <algorithm>

namespace {

// In points.
constexpr double kTitleSize = 13;
constexpr double kTitleGap = 8;
constexpr double kCheckBoxGap = 14;
constexpr double kButtonSpacing = 4; // and the room for the focus rings on both sides
constexpr double kLeastTextWidth = 220;
constexpr double kMostTextWidth = 372;

constexpr double kMostOfScreen = 0.6; // the text's share of the screen's height

constexpr qsizetype kMostTitleCharacters = 300;
constexpr qsizetype kMostMessageCharacters = 20'000;
constexpr qsizetype kMostButtonCharacters = 40;

QString withoutMiddle(const QString& text, qsizetype mostCharacters) {
    if (text.size() <= mostCharacters) {
        return text;
    }
    QString begin = text.left(mostCharacters / 2);
    QString end = text.right(mostCharacters / 2);
    // No half of a character that takes two.
    if (begin.back().isHighSurrogate()) {
        begin.chop(1);
    }
    if (end.front().isLowSurrogate()) {
        end.remove(0, 1);
    }
    return begin + QChar(0x2026) + end;
}

WrappedLabel* label(const QString& text, const QFont& font, const QColor& colour) {
    auto* label = new WrappedLabel;
    stylePlainLabel(*label, font, colour);
    label->setText(text);
    return label;
}

DarkAlert::Answer answerThatCancels(const DarkAlert::Options& options) {
    const auto isCancel = [](const QString& title) {
        return title == QLatin1String("Cancel") || title == DarkAlert::tr("Cancel");
    };
    if (isCancel(options.alternateTitle)) {
        return DarkAlert::Alternate;
    }
    if (isCancel(options.otherTitle)) {
        return DarkAlert::Other;
    }
    if (!options.alternateTitle.isEmpty()) {
        return DarkAlert::Alternate;
    }
    return options.otherTitle.isEmpty() ? DarkAlert::Default : DarkAlert::Other;
}

} // namespace

DarkAlert::DarkAlert(const QString& title, const QString& message, QWidget* parent)
    : DarkAlert(title, message, Options(), parent) {}

DarkAlert::DarkAlert(const QString& title, const QString& message, const Options& options, QWidget* parent)
    : DarkDialog(parent), cancelling_(answerThatCancels(options)) {
    const QString shownTitle = withoutMiddle(title, kMostTitleCharacters);
    const QString shownMessage = withoutMiddle(message, kMostMessageCharacters);
    // "[*]" stands for the mark of a changed document unless it is doubled.
    setWindowTitle(QString(shownTitle).replace(QLatin1String("[*]"), QLatin1String("[*][*]")));
    setAccessibleDescription(shownMessage);
    auto* content = makeContent(shownTitle, shownMessage, options.suppressed);
    setContent(content, makeButtons(options));
    defaultButton_->setDefault(true);
    defaultButton_->setFocus();
}

QWidget* DarkAlert::makeContent(const QString& title, const QString& message,
                                std::optional<bool> suppressed) {
    text_ = makeText(title, message);
    if (!suppressed) {
        return text_;
    }
    auto* box = new DarkCheckBox(tr("Do not show this message again"));
    box->setChecked(*suppressed);
    connect(box, &QCheckBox::toggled, this, &DarkAlert::suppressedChanged);
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(scaled(kCheckBoxGap));
    layout->addWidget(text_);
    layout->addWidget(box, 0, Qt::AlignLeft);
    return content;
}

QScrollArea* DarkAlert::makeText(const QString& title, const QString& message) {
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(scaled(kTitleGap));
    layout->addWidget(label(title, InterfaceFont::bold(kTitleSize), DarkPalette::titleColor()));
    if (!message.isEmpty()) {
        layout->addWidget(label(message, InterfaceFont::regular(), DarkPalette::bodyTextColor()));
    }
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
    int width = std::clamp(layout->sizeHint().width(), scaled(kLeastTextWidth), scaled(kMostTextWidth));
    width = std::min(width, room.width() - widthBesideContent());
    const int wanted = layout->heightForWidth(width);
    const int height = std::min(wanted, static_cast<int>(room.height() * kMostOfScreen));
    if (height < wanted) {
        width += area->verticalScrollBar()->sizeHint().width();
    }
    area->setFixedSize(width, height);
    return area;
}

// The other button at the left, away from the two that are most likely; the default one at the right.
QBoxLayout* DarkAlert::makeButtons(const Options& options) {
    auto* row = new QHBoxLayout;
    row->setSpacing(scaled(kButtonSpacing));
    const auto add = [this, row](const QString& title, Answer answer) {
        auto* button = new DarkButton;
        button->setPlainText(withoutMiddle(title, kMostButtonCharacters));
        button->setMinimumWidth(buttonWidth());
        connect(button, &QAbstractButton::clicked, this, [this, answer] { done(answer); });
        row->addWidget(button);
        return button;
    };
    if (!options.otherTitle.isEmpty()) {
        add(options.otherTitle, Other);
    }
    row->addStretch();
    if (!options.alternateTitle.isEmpty()) {
        add(options.alternateTitle, Alternate);
    }
    defaultButton_ = add(options.defaultTitle, Default);
    if (options.defaultTitle.isEmpty()) {
        defaultButton_->setText(tr("OK"));
    }
    return row;
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
        return DarkDialog::keyPressEvent(event);
    }
}
