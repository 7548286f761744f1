#pragma once

#include "ShortcutOutlets.h"

#include <QPointer>
#include <QWidget>
#include <string>

class VTShortcutKeyTableDelegate;

// The interface file's top view as the controller knows it; null once it is gone.
class WidgetView : public outlet::View {
public:
    explicit WidgetView(QWidget* widget) : widget_(widget) {}
    QWidget* widget() const { return widget_; }

private:
    QPointer<QWidget> widget_;
};

// Builds what the interface file describes, connects its parts with the controller as its owner, and tells
// that to set itself up. The view has no parent and belongs to the caller; null when the file is missing or
// cannot be read, and then nothing has changed. Main thread.
QWidget* loadShortcutInterface(const std::string& file, VTShortcutKeyTableDelegate& controller);
