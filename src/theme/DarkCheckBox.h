#pragma once

#include <QCheckBox>

// A check box whose box stands out from a dark window. Main thread.
class DarkCheckBox : public QCheckBox {
    Q_OBJECT

public:
    using QCheckBox::QCheckBox;

protected:
    void paintEvent(QPaintEvent* event) override;
};
