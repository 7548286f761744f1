#include "VTShortcutKeyFieldEditor.h"

#include "DarkPalette.h"
#include "InterfaceFont.h"
#include "Platform.h"
#include "VTShortcutKeyTableDelegate.h"

#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <array>

namespace {

// Held to go with a key, and no key themselves. Qt knows no names for those that switch layouts and levels,
// so that the keysym is asked, as by the display server's own test.
bool isModifierKey(quint32 keysym) {
    struct Range {
        quint32 first, last;
    };
    constexpr std::array kModifiers{Range{0xFFE1, 0xFFEE},  // Shift_L to Hyper_R
                                    Range{0xFE01, 0xFE13},  // ISO_Lock to ISO_Level5_Lock
                                    Range{0xFF7E, 0xFF7F}}; // Mode_switch, Num_Lock
    return std::ranges::any_of(
        kModifiers, [keysym](const Range& range) { return keysym >= range.first && keysym <= range.last; });
}

} // namespace

VTShortcutKeyFieldEditor::VTShortcutKeyFieldEditor(QWidget* parent) : QLineEdit(parent) {
    hide();
    setReadOnly(true);
    setContextMenuPolicy(Qt::NoContextMenu);
    setFrame(false);
    setAccessibleName(tr("Shortcut"));
    setAccessibleDescription(tr("press a key…"));
}

bool VTShortcutKeyFieldEditor::event(QEvent* event) {
    switch (event->type()) {
    case QEvent::ShortcutOverride: // or else menus would take their keys
        event->accept();
        return true;
    case QEvent::KeyPress: // before Tab moves the focus
        event->accept();
        keyDown(static_cast<const QKeyEvent&>(*event));
        return true;
    case QEvent::KeyRelease:
        event->accept();
        return true;
    default:
        return QLineEdit::event(event);
    }
}

void VTShortcutKeyFieldEditor::keyDown(const QKeyEvent& event) {
    // The key that began the edit may still be held.
    if (isModifierKey(event.nativeVirtualKey()) || event.isAutoRepeat()) {
        return;
    }
    const auto modifiers = event.modifiers();
    bool shift = modifiers.testFlag(Qt::ShiftModifier);
    const bool ctrl = modifiers.testFlag(Qt::ControlModifier);
    const bool opt = modifiers.testFlag(Qt::AltModifier);
    bool cmd = modifiers.testFlag(Qt::MetaModifier);
    if (!shift && !ctrl && !opt && !cmd) {
        shift = true;
        cmd = true;
    }
    // Nobody else should be without a keyboard for as long as the manager takes.
    releaseKeyboard();
    hasKey_ = true;
    update();
    const auto keycode = static_cast<std::uint16_t>(event.nativeScanCode());
    platform::current().notificationCenter->post(
        {.name = VTShortcutKeyTableDelegate::kKeyChanged,
         .userInfo = {{"keycode", static_cast<std::int64_t>(keycode)},
                      {"shift", shift},
                      {"ctrl", ctrl},
                      {"opt", opt},
                      {"cmd", cmd}}});
}

void VTShortcutKeyFieldEditor::showEvent(QShowEvent* event) {
    QLineEdit::showEvent(event);
    hasKey_ = false;
    grabKeyboard();
}

// Dead keys are keys here, and nothing is composed.
QVariant VTShortcutKeyFieldEditor::inputMethodQuery(Qt::InputMethodQuery query) const {
    return query == Qt::ImEnabled ? QVariant(false) : QLineEdit::inputMethodQuery(query);
}

void VTShortcutKeyFieldEditor::hideEvent(QHideEvent* event) {
    releaseKeyboard();
    QLineEdit::hideEvent(event);
}

void VTShortcutKeyFieldEditor::paintEvent(QPaintEvent*) {
    const double inset = 0.75;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(DarkPalette::focusColor(), 1.5));
    painter.setBrush(QColor(0x14, 0x15, 0x17));
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), 4, 4);
    if (!hasKey_) {
        painter.setPen(DarkPalette::secondaryTextColor());
        painter.setFont(InterfaceFont::regular());
        const int margin = qRound(InterfaceFont::pixels(8));
        painter.drawText(rect().adjusted(margin, 0, -margin, 0), Qt::AlignVCenter | Qt::AlignLeft,
                         accessibleDescription());
    }
}
