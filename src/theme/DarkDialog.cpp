#include "DarkDialog.h"

#include "DarkPalette.h"
#include "InterfaceFont.h"
#include "SheetBackdrop.h"

#include <QEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>

namespace {

// In points.
constexpr double kMargin = 20;
constexpr double kBottomMargin = 14; // below the room that the buttons keep for their focus ring
constexpr double kIconSide = 48;
constexpr double kIconGap = 16;
constexpr double kButtonGap = 16;
constexpr double kButtonWidth = 77;

} // namespace

DarkDialog::DarkDialog(QWidget* parent) : QDialog(parent) {}

DarkDialog::~DarkDialog() {
    endSheet();
}

int DarkDialog::scaled(double points) {
    return qRound(InterfaceFont::pixels(points));
}
int DarkDialog::buttonWidth() {
    return scaled(kButtonWidth);
}
int DarkDialog::widthBesideContent() {
    return 2 * scaled(kMargin) + scaled(kIconSide) + scaled(kIconGap);
}

void DarkDialog::setContent(QWidget* content, QBoxLayout* buttons) {
    auto* icon = new QLabel;
    const int iconSide = scaled(kIconSide);
    icon->setPixmap(windowIcon().pixmap(QSize(iconSide, iconSide), devicePixelRatio()));
    icon->setFixedSize(iconSide, iconSide);

    auto* body = new QHBoxLayout;
    body->setSpacing(scaled(kIconGap));
    body->addWidget(icon, 0, Qt::AlignTop);
    body->addWidget(content);
    auto* layout = new QVBoxLayout(this);
    const int margin = scaled(kMargin);
    layout->setContentsMargins(margin, margin, margin, scaled(kBottomMargin));
    layout->setSpacing(scaled(kButtonGap));
    layout->addLayout(body);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void DarkDialog::beginSheet(QWidget& window) {
    endSheet();
    if (parentWidget() != &window || !(windowFlags() & Qt::FramelessWindowHint)) {
        setParent(&window, Qt::Dialog | Qt::FramelessWindowHint);
    }
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_TranslucentBackground); // outside the rounded corners
    window_ = &window;
    const bool onWayland = QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    backdrop_ = new SheetBackdrop(window, *this, !onWayland);
    window.installEventFilter(this);
    place();
    show();
    activateWindow();
}

bool DarkDialog::hasSheet(const QWidget& window) {
    const auto dialogs = window.findChildren<DarkDialog*>(QString(), Qt::FindDirectChildrenOnly);
    return std::ranges::any_of(dialogs,
                               [&window](const DarkDialog* dialog) { return dialog->window_ == &window; });
}

void DarkDialog::done(int result) {
    endSheet(); // whoever hears that it is done may begin the next one
    QDialog::done(result);
}

void DarkDialog::endSheet() {
    if (window_) {
        window_->removeEventFilter(this);
        window_ = nullptr;
    }
    delete backdrop_;
}

// Under the title as far as the screen has room for it there.
void DarkDialog::place() {
    const QSize size = sizeHint();
    const QPoint top = window_->mapToGlobal(QPoint((window_->width() - size.width()) / 2, 0));
    const QRect room = window_->screen()->availableGeometry();
    const auto within = [](int from, int length, int least, int most) {
        return std::max(least, std::min(from, most + 1 - length));
    };
    move(within(top.x(), size.width(), room.left(), room.right()),
         within(top.y(), size.height(), room.top(), room.bottom()));
    if (backdrop_) {
        backdrop_->follow();
    }
}

void DarkDialog::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    if (window_) {
        place();
    }
}

bool DarkDialog::eventFilter(QObject* watched, QEvent* event) {
    if (watched != window_) {
        return QDialog::eventFilter(watched, event);
    }
    switch (event->type()) {
    case QEvent::Move:
    case QEvent::Resize:
        place();
        break;
    case QEvent::Hide:
        // Whoever hides the whole program takes the sheet off the screen first.
        if (!event->spontaneous() && isVisible()) {
            windowDidClose();
        }
        break;
    default:
        break;
    }
    return false;
}

void DarkDialog::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (!window_) {
        DarkPalette::windowGradient().drawInRect(painter, rect(), 90);
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    DarkPalette::windowGradient().drawInPath(painter, SheetBackdrop::outline(rect()), 90);
    // A line of light along the edge, so that dark stands out from dark.
    painter.setPen(QPen(QColor(255, 255, 255, 0x24), 1));
    painter.drawPath(SheetBackdrop::outline(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5)));
}
