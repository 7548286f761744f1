#pragma once

#include "Outlets.h"
#include "VTCenteredTextCell.h"

#include <QString>

// A cell of the theme as the controller sees it.
class CellOutlet : public outlet::TextCell {
public:
    explicit CellOutlet(VTCenteredTextCell& cell) : cell_(cell) {}

    void setHasShadow(bool hasShadow) override { cell_.setHasShadow(hasShadow); }
    void setSubtitle(const std::optional<std::string>& subtitle) override {
        cell_.setSubtitle(subtitle ? std::optional(QString::fromStdString(*subtitle)) : std::nullopt);
    }
    void setLineCount(int lineCount) override { cell_.setLineCount(lineCount); }

private:
    VTCenteredTextCell& cell_;
};
