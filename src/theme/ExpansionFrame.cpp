#include "ExpansionFrame.h"

#include "DarkPalette.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <algorithm>
#include <cmath>

static constexpr int kSideMargin = 6;
static constexpr int kEdgeMargin = 3; // above and below

ExpansionFrame::ExpansionFrame(QWidget* view)
    : QWidget(view, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowTransparentForInput |
                        Qt::WindowDoesNotAcceptFocus),
      view_(view) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
}

void ExpansionFrame::showCell(const VTCenteredTextCell& cell, const QRectF& frame, const QRect& source) {
    cell_ = cell;
    source_ = source;
    QString text = cell.stringValue();
    if (cell.subtitle() && !cell.subtitle()->isEmpty())
        text += QLatin1Char('\n') + *cell.subtitle();
    setAccessibleName(text);

    const QRect screen = view_->screen()->availableGeometry();
    const double width = std::min(std::ceil(frame.width()), screen.width() - 2.0 * kSideMargin);
    const double height = std::ceil(cell.expandedHeight(width));
    QRect place(view_->mapToGlobal(frame.topLeft().toPoint()), QSizeF(width, height).toSize());
    place.adjust(-kSideMargin, -kEdgeMargin, kSideMargin, kEdgeMargin);
    place.moveRight(std::min(place.right(), screen.right()));
    place.moveLeft(std::max(place.left(), screen.left()));
    place.moveBottom(std::min(place.bottom(), screen.bottom()));
    place.moveTop(std::max(place.top(), screen.top()));
    setGeometry(place);
    // Keys go to whichever widget has the focus: watch them all, but only while the frame is shown.
    qApp->installEventFilter(this);
    show();
    update();
}

void ExpansionFrame::hideEvent(QHideEvent* event) {
    qApp->removeEventFilter(this);
    QWidget::hideEvent(event);
}

void ExpansionFrame::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::ToolTipBase));
    painter.setPen(palette().color(QPalette::Light));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    cell_.drawWithExpansionFrame(
        QRectF(rect()).adjusted(kSideMargin, kEdgeMargin, -kSideMargin, -kEdgeMargin), painter);
}

bool ExpansionFrame::eventFilter(QObject* watched, QEvent* event) {
    bool dismiss = false;
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::MouseButtonPress:
    case QEvent::Wheel:
    case QEvent::WindowDeactivate:
        dismiss = true;
        break;
    case QEvent::Leave:
    case QEvent::Hide:
        dismiss = watched == view_;
        break;
    case QEvent::MouseMove:
        dismiss = watched == view_ && !source_.contains(static_cast<QMouseEvent*>(event)->pos());
        break;
    default:
        break;
    }
    if (dismiss)
        hide();
    return QWidget::eventFilter(watched, event);
}
