#pragma once

#include "ShortcutOutlets.h"
#include "VTShortcutKeyFieldEditor.h"

#include <QPointer>

// The field editor as the controller knows it. The widget belongs to the view that it was shown in last and
// may go with it.
class FieldEditorOutlet : public outlet::FieldEditor {
public:
    explicit FieldEditorOutlet(VTShortcutKeyFieldEditor* editor) : editor_(editor) {}

    void setString(const std::string& text) override {
        if (editor_) {
            editor_->setText(QString::fromStdString(text));
        }
    }
    VTShortcutKeyFieldEditor* widget() const { return editor_; } // null once it is gone

private:
    QPointer<VTShortcutKeyFieldEditor> editor_;
};
