#pragma once

#include <QWidget>

// A container that paints one of the dark surfaces behind its children, with a line of one logical pixel
// in the separator colour along the edges that ask for it.
class GradientBackground : public QWidget {
    Q_OBJECT
    Q_PROPERTY(Surface surface READ surface WRITE setSurface)
    Q_PROPERTY(Qt::Edges separators READ separators WRITE setSeparators)

public:
    enum class Surface {
        Window, // the gradient of a whole window
        Well,   // darkens the window behind it, for the list in the middle
        Bar,    // a flat band a little darker than the window's top, for menu and header rows
        Clear,  // shows what lies behind; for a part that only wants a separator
    };
    Q_ENUM(Surface)

    explicit GradientBackground(Surface surface, QWidget* parent = nullptr);
    // Clear; for interface files, which set it up by its properties.
    explicit GradientBackground(QWidget* parent = nullptr) : GradientBackground(Surface::Clear, parent) {}

    Surface surface() const { return surface_; }
    void setSurface(Surface surface);

    Qt::Edges separators() const { return separators_; }
    void setSeparators(Qt::Edges edges);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Surface surface_;
    Qt::Edges separators_;
};
