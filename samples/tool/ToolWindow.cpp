#include "ToolWindow.h"

#include "CapsuleButton.h"

#include <QFile>
#include <QFontDatabase>
#include <QGraphicsDropShadowEffect>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QPlainTextEdit>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

constexpr int kWidth = 540;
constexpr int kWidthWithFile = 760;
constexpr int kIconSize = 96;
constexpr int kMargin = 24;

const QColor kTitleColour(0xffffff);
const QColor kBodyColour(0xd9dbdf);
const QColor kSecondaryColour(0x9a9da3);

// The texts come from a bundle and are data: never markup, and each reads in its own direction, from
// the side where the window begins.
QLabel* makeLabel(const QString& text, double relativeSize, const QColor& colour) {
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    label->setWordWrap(true);
    label->setLayoutDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    label->setAlignment(Qt::AlignVCenter | Qt::AlignAbsolute |
                        (QGuiApplication::isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft));
    auto font = label->font();
    font.setPointSizeF(font.pointSizeF() * relativeSize);
    label->setFont(font);
    auto palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
    return label;
}

QLabel* makeTitle(const QString& text) {
    auto* title = makeLabel(text, 1.9, kTitleColour);
    auto font = title->font();
    font.setBold(true);
    title->setFont(font);
    auto* shadow = new QGraphicsDropShadowEffect(title);
    shadow->setBlurRadius(4);
    shadow->setOffset(0, 2);
    shadow->setColor(QColor(0, 0, 0, 190));
    title->setGraphicsEffect(shadow);
    return title;
}

// What the file holds, or why that cannot be read.
QPlainTextEdit* makeFileView(const QString& path) {
    constexpr qint64 kMaximumBytes = 1 << 20;
    constexpr int kHeight = 280;
    auto* view = new QPlainTextEdit;
    QFile file(path);
    view->setPlainText(file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.read(kMaximumBytes))
                                                      : file.errorString());
    view->setReadOnly(true);
    view->setLineWrapMode(QPlainTextEdit::NoWrap);
    view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    view->setFrameShape(QFrame::NoFrame);
    view->setMinimumHeight(kHeight);
    view->setTabChangesFocus(true);
    view->setAccessibleName(path);
    auto palette = view->palette();
    palette.setColor(QPalette::Base, QColor(0x17181a));
    palette.setColor(QPalette::Text, kBodyColour);
    view->setPalette(palette);
    return view;
}

// The strip along the window's lower edge.
class Footer : public QWidget {
protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), QColor(0x1a1b1d));
        painter.fillRect(0, 0, width(), 1, QColor(0x111111));
        painter.fillRect(0, 1, width(), 1, QColor(255, 255, 255, 12));
    }
};

} // namespace

ToolWindow::ToolWindow(const Tool& tool, const QString& openedFile) {
    setWindowTitle(tool.title);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(makeBody(tool, openedFile), openedFile.isEmpty() ? 1 : 0);
    if (!openedFile.isEmpty()) {
        layout->addWidget(makeFileView(openedFile), 1);
    }
    layout->addWidget(makeFooter(tool));

    for (const auto& keys : {QKeySequence(Qt::CTRL | Qt::Key_Q), QKeySequence(Qt::Key_Escape)}) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, &QWidget::close);
    }
    const int width = openedFile.isEmpty() ? kWidth : kWidthWithFile;
    resize(width, layout->totalHeightForWidth(width));
}

QHBoxLayout* ToolWindow::makeBody(const Tool& tool, const QString& openedFile) {
    auto* text = new QVBoxLayout;
    text->setSpacing(0);
    text->addStretch();
    text->addWidget(makeTitle(tool.title));
    if (!tool.groupName.isEmpty()) {
        text->addSpacing(2);
        text->addWidget(makeLabel(tool.groupName, 1, kSecondaryColour));
    }
    if (!tool.description.isEmpty()) {
        text->addSpacing(12);
        text->addWidget(makeLabel(tool.description, 1.1, kBodyColour));
    }
    if (!openedFile.isEmpty()) {
        text->addSpacing(12);
        text->addWidget(makeLabel(openedFile, 1, kSecondaryColour));
    }
    text->addStretch();

    auto* body = new QHBoxLayout;
    body->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    body->setSpacing(20);
    if (QIcon icon(tool.iconPath); !icon.isNull()) {
        setWindowIcon(icon);
        auto* picture = new QLabel;
        picture->setPixmap(icon.pixmap(QSize(kIconSize, kIconSize), devicePixelRatioF()));
        body->addWidget(picture, 0, Qt::AlignTop);
    }
    body->addLayout(text, 1);
    return body;
}

QWidget* ToolWindow::makeFooter(const Tool& tool) {
    auto* footer = new Footer;
    auto* layout = new QHBoxLayout(footer);
    layout->setContentsMargins(kMargin, 10, kMargin, 10);
    auto* about = makeLabel(tool.bundleID + QStringLiteral("  ·  ") + tool.version, 0.95, kSecondaryColour);
    about->setWordWrap(false);
    layout->addWidget(about);
    layout->addStretch();

    auto* quit = new CapsuleButton(tr("Quit"));
    connect(quit, &QPushButton::clicked, this, &QWidget::close);
    layout->addWidget(quit);
    quit->setFocus();
    return footer;
}

void ToolWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QLinearGradient gradient(0, 0, 0, height());
    gradient.setColorAt(0, QColor(0x2a2b2e));
    gradient.setColorAt(1, QColor(0x1a1b1d));
    painter.fillRect(rect(), gradient);
}
