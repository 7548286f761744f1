#pragma once

#include "DisplayServer.h"
#include "Outlets.h"

#include <QVariantAnimation>

class QWidget;

// A widget's window as the controller sees it. Where the display has no translucent windows, the alpha value
// is kept all the same and a change of it takes no time.
class PanelWindow : public outlet::Window {
public:
    // The window must outlive this object.
    explicit PanelWindow(QWidget& window, bool hasOpacity = platform::displayHasWindowOpacity());

    bool isVisible() const override;
    void orderFront() override;
    void orderBack() override;
    void makeKeyAndOrderFront() override;
    void close() override;

    double alphaValue() const override { return alpha_; }
    void setAlphaValue(double alpha) override;
    void animateAlphaValue(double alpha) override;
    void setAnimationDelegate(std::function<void()> animationDidStop) override;

    QWidget& widget() const { return window_; }

    // During close(): the window must not ask anybody whether it may.
    bool isClosing() const { return closing_; }

private:
    void showAlphaValue(double alpha);

    QWidget& window_;
    bool hasOpacity_;
    bool closing_ = false;
    double alpha_ = 1;
    QVariantAnimation animation_;
    std::function<void()> animationDidStop_;
};
