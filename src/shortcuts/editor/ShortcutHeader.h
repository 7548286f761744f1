#pragma once

#include <QHeaderView>

// The titles above the columns: secondary text on a flat band.
class ShortcutHeader : public QHeaderView {
    Q_OBJECT

public:
    explicit ShortcutHeader(QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintSection(QPainter* painter, const QRect& rectangle, int section) const override;
    void paintEvent(QPaintEvent* event) override;
};
