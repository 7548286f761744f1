#include "EmptyState.h"

#include "DarkPalette.h"
#include "InterfaceFont.h"
#include "PlainLabel.h"
#include "WrappedLabel.h"

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

EmptyState::EmptyState(QWidget* parent) : QWidget(parent), title_(new QLabel), hint_(new WrappedLabel) {
    auto* icon = new QLabel;
    icon->setPixmap(fadedIcon(window()->windowIcon(), *this));
    icon->setAlignment(Qt::AlignCenter);
    stylePlainLabel(*title_, InterfaceFont::bold(InterfaceFont::kTitleSize), DarkPalette::bodyTextColor());
    title_->setAlignment(Qt::AlignCenter);
    stylePlainLabel(*hint_, InterfaceFont::regular(), DarkPalette::secondaryTextColor());
    hint_->setAlignment(Qt::AlignHCenter);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(32, 32, 32, 32);
    layout->setSpacing(8);
    layout->addStretch(2);
    layout->addWidget(icon);
    layout->addSpacing(8);
    layout->addWidget(title_);
    layout->addWidget(hint_);
    layout->addStretch(3);
}

void EmptyState::setTexts(const QString& title, const QString& hint) {
    title_->setText(title);
    hint_->setText(hint);
}
