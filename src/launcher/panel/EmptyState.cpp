#include "EmptyState.h"

#include "DarkPalette.h"
#include "InterfaceFont.h"
#include "PlainLabel.h"
#include "WrappedLabel.h"

#include <QEvent>
#include <QIcon>
#include <QPainter>
#include <QVBoxLayout>

namespace {

constexpr int kIconSide = 64;
constexpr double kIconOpacity = 0.45;

QPixmap fadedIcon(const QIcon& icon, const QWidget& widget) {
    auto pixmap = icon.pixmap(QSize(kIconSide, kIconSide), widget.devicePixelRatio());
    if (pixmap.isNull()) {
        return pixmap;
    }
    QPixmap faded(pixmap.size());
    faded.setDevicePixelRatio(pixmap.devicePixelRatio());
    faded.fill(Qt::transparent);
    QPainter painter(&faded);
    painter.setOpacity(kIconOpacity);
    painter.drawPixmap(0, 0, pixmap);
    return faded;
}

} // namespace

EmptyState::EmptyState(QWidget* parent)
    : QWidget(parent), icon_(new QLabel), title_(new QLabel), hint_(new WrappedLabel) {
    icon_->setAlignment(Qt::AlignCenter);
    stylePlainLabel(*title_, InterfaceFont::bold(InterfaceFont::kTitleSize), DarkPalette::bodyTextColor());
    title_->setAlignment(Qt::AlignCenter);
    stylePlainLabel(*hint_, InterfaceFont::regular(), DarkPalette::secondaryTextColor());
    hint_->setAlignment(Qt::AlignHCenter);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(32, 32, 32, 32);
    layout->setSpacing(8);
    layout->addStretch(2);
    layout->addWidget(icon_);
    layout->addSpacing(8);
    layout->addWidget(title_);
    layout->addWidget(hint_);
    layout->addStretch(3);
}

// The window's icon may come after the window.
void EmptyState::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    icon_->setPixmap(fadedIcon(window()->windowIcon(), *this));
}

void EmptyState::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowIconChange) {
        icon_->setPixmap(fadedIcon(window()->windowIcon(), *this));
    }
}

void EmptyState::setTexts(const QString& title, const QString& hint) {
    title_->setText(title);
    hint_->setText(hint);
}
