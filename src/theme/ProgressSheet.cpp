#include "ProgressSheet.h"

#include "DarkButton.h"
#include "DarkPalette.h"
#include "IndeterminateBar.h"
#include "InterfaceFont.h"
#include "PlainLabel.h"

#include <QVBoxLayout>

// In points.
static constexpr double kTitleSize = 13;
static constexpr double kTextWidth = 372;
static constexpr double kBarGap = 12;

ProgressSheet::ProgressSheet(const QString& title, QWidget* parent)
    : DarkDialog(parent), bar_(new IndeterminateBar), cancel_(new DarkButton(tr("Cancel"))) {
    setWindowTitle(title);
    auto* label = new QLabel(title);
    stylePlainLabel(*label, InterfaceFont::bold(kTitleSize), DarkPalette::titleColor());
    bar_->setAccessibleName(title);

    auto* content = new QWidget;
    content->setFixedWidth(scaled(kTextWidth));
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(scaled(kBarGap));
    column->addStretch();
    column->addWidget(label);
    column->addWidget(bar_);
    column->addStretch();

    cancel_->setMinimumWidth(buttonWidth());
    cancel_->setAutoDefault(false); // it is not what is meant to be pressed
    connect(cancel_, &QAbstractButton::clicked, this, &ProgressSheet::reject);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cancel_);
    setContent(content, buttons);
    // A Return that was meant for the sheet before must not stop what it has begun.
    setFocusPolicy(Qt::StrongFocus);
    setFocus();
}

void ProgressSheet::reject() {
    if (cancel_->isEnabled()) {
        cancel_->setEnabled(false);
        emit cancelled();
    }
}
