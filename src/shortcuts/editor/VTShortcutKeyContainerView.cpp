#include "VTShortcutKeyContainerView.h"

#include "FieldEditorWindow.h"
#include "Platform.h"
#include "ShortcutInterface.h"
#include "VTShortcutKeyTableDelegate.h"

#include <QEvent>

namespace {

QWidget* parentView() {
    const auto view = VTShortcutKeyTableDelegate::sharedController().parentView();
    const auto* widgetView = dynamic_cast<const WidgetView*>(view.get());
    return widgetView ? widgetView->widget() : nullptr;
}

} // namespace

VTShortcutKeyContainerView::VTShortcutKeyContainerView(QWidget* parent) : QWidget(parent) {
    auto& controller = VTShortcutKeyTableDelegate::sharedController();
    if (const auto& bundle = controller.bundle()) {
        loaded_ = loadShortcutInterface(bundle->resourcePath() + "/VTShortcutKeyConfig.ui", controller);
    }
    if (!loaded_) {
        platform::current().consoleLog->log("Error: unable to load keyboard shortcut interface");
    }
    viewDidMoveToWindow();
}

VTShortcutKeyContainerView::~VTShortcutKeyContainerView() {
    delete loaded_; // which nobody has taken in, perhaps
}

QSize VTShortcutKeyContainerView::sizeHint() const {
    return loaded_ ? loaded_->sizeHint() : QWidget::sizeHint();
}

bool VTShortcutKeyContainerView::event(QEvent* event) {
    if (event->type() == QEvent::ParentChange) {
        viewDidMoveToWindow();
    }
    return QWidget::event(event);
}

void VTShortcutKeyContainerView::viewDidMoveToWindow() {
    if (isWindow()) {
        return; // in none
    }
    if (auto* view = parentView()) {
        view->setParent(this);
        view->setGeometry(rect());
        view->show();
    }
    if (auto* window = qobject_cast<FieldEditorWindow*>(this->window())) {
        window->setDelegate(&VTShortcutKeyTableDelegate::sharedController());
    }
}

void VTShortcutKeyContainerView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (auto* view = parentView(); view && view->parentWidget() == this) {
        view->setGeometry(rect());
    }
}
