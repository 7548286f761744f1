#pragma once

#include "PropertyList.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace platform {

struct Notification {
    std::string name;
    const void* object = nullptr; // whom it is about; null when nobody in particular
    PropertyList::Dictionary userInfo;
};

// Events inside the process. A post calls every observer of that name, in the order they registered,
// on the posting thread, before it returns; what an observer throws ends the post. Any thread; an
// observer may add, remove and post, and one added during a post is called from the next post on.
class NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;

    // An observation ends when its handle is destroyed; a call already under way on another thread may
    // still finish after that.
    class Observation {
    public:
        Observation() = default;
        Observation(const Observation&) = delete;
        Observation& operator=(const Observation&) = delete;
        Observation(Observation&&) noexcept = default;
        Observation& operator=(Observation&&) noexcept = default;
        ~Observation() = default;

    private:
        friend class NotificationCenter;
        explicit Observation(std::shared_ptr<void> entry) : entry_(std::move(entry)) {}
        std::shared_ptr<void> entry_;
    };

    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    [[nodiscard]] Observation addObserver(std::string name, Handler handler);
    void post(const Notification& notification);

private:
    struct State;
    std::shared_ptr<State> state_;
};

// Posted by the application's orderly end, before anything is torn down.
inline constexpr const char* kApplicationWillTerminateNotification = "NSApplicationWillTerminateNotification";

} // namespace platform
