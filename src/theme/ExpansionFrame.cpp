#include "ExpansionFrame.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

static constexpr int kSideMargin = 6;
static constexpr int kEdgeMargin = 3; // above and below

ExpansionFrame::ExpansionFrame(QAbstractScrollArea* view) : QWidget(view), viewport_(view->viewport()) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    hide();
}

void ExpansionFrame::showCell(const VTCenteredTextCell& cell, const QRectF& frame, const QRect& source) {
    cell_ = cell;
    source_ = source;
    QString text = cell.stringValue();
    if (cell.subtitle() && !cell.subtitle()->isEmpty()) {
        text += QLatin1Char('\n') + *cell.subtitle();
    }
    setAccessibleName(text);

    const QRect room = viewport_->geometry();
    const double width = std::min(std::ceil(frame.width()), room.width() - 2.0 * kSideMargin);
    const double height = std::ceil(cell.expandedHeight(width));
    QRect place(viewport_->mapToParent(frame.topLeft().toPoint()), QSizeF(width, height).toSize());
    place.adjust(-kSideMargin, -kEdgeMargin, kSideMargin, kEdgeMargin);
    place.moveRight(std::min(place.right(), room.right()));
    place.moveLeft(std::max(place.left(), room.left()));
    place.moveBottom(std::min(place.bottom(), room.bottom()));
    place.moveTop(std::max(place.top(), room.top()));
    setGeometry(place);
    // Keys go to whichever widget has the focus: watch them all, but only while the frame is shown.
    qApp->installEventFilter(this);
    show();
    raise();
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
        dismiss = watched == viewport_;
        break;
    case QEvent::MouseMove:
        dismiss = watched == viewport_ && !source_.contains(static_cast<QMouseEvent*>(event)->pos());
        break;
    default:
        break;
    }
    if (dismiss) {
        hide();
    }
    return QWidget::eventFilter(watched, event);
}
