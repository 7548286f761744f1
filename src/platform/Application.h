#pragma once

namespace platform {

// This program as the desktop sees it. Any thread; what a call does has been done when it returns, unless
// the main loop has ended meanwhile.
class Application {
public:
    virtual ~Application() = default;

    // Takes all windows off the screen, or puts those back that were there. Where nothing could bring a
    // hidden program back its windows are minimised instead, and count as hidden until the user restores
    // one.
    virtual void hide() = 0;
    virtual void unhide() = 0;
    virtual bool isHidden() = 0;

    // Comes before all other programs, whatever the user is doing. Failure is silent.
    virtual void activateIgnoringOtherApps() = 0;

    // Asks the main loop to end; returns at once.
    virtual void terminate() = 0;
};

} // namespace platform
