#pragma once

#include "Tool.h"

#include <QWidget>

class QHBoxLayout;

// A tool's only window: its icon, name, group and description, the text of the file that it was started
// with, and a button to quit. Closing it ends the program, as do Escape and Ctrl+Q.
class ToolWindow : public QWidget {
public:
    // `openedFile` is the file that the tool was started with; empty when there was none.
    ToolWindow(const Tool& tool, const QString& openedFile);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QHBoxLayout* makeBody(const Tool& tool, const QString& openedFile);
    QWidget* makeFooter(const Tool& tool);
};
