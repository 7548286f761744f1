#pragma once

#include "Workspace.h"

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

// Hands out icons that remember their path and draw nothing; remembers what was revealed, opened and
// activated.
class FakeWorkspace : public platform::Workspace {
public:
    struct FakeIcon : platform::Icon {
        explicit FakeIcon(std::string file) : path(std::move(file)) {}
        platform::Bitmap render(int pixels) const override {
            const auto count = static_cast<std::size_t>(pixels) * static_cast<std::size_t>(pixels);
            return {pixels, pixels, std::vector<std::uint32_t>(count, 0xFF336699)};
        }
        std::string path;
    };

    std::shared_ptr<const platform::Icon> iconForFile(const std::string& path) override {
        return std::make_shared<FakeIcon>(path);
    }
    void selectFile(const std::string& path, const std::string& rootPath) override {
        std::lock_guard lock(mutex_);
        revealed_.emplace_back(path, rootPath);
    }
    void openFile(const std::string& path) override { note("open " + path); }
    void openURL(const std::string& address) override { note("open " + address); }
    void openFile(const std::string& path, const std::string& applicationPath) override {
        note("open " + path + " with " + applicationPath);
    }
    void openFileWithBundleIdentifier(const std::string& path, const std::string& identifier) override {
        note("open " + path + " with bundle " + identifier);
    }
    void activateApplication(const std::string& name, std::stop_token) override { note("activate " + name); }
    std::vector<platform::RunningApplication> runningApplications() override { return running; }
    std::optional<std::string>
    absolutePathForAppBundleWithIdentifier(const std::string& identifier) override {
        note("find " + identifier);
        const auto found = paths.find(identifier);
        return found == paths.end() ? std::nullopt : std::optional(found->second);
    }
    std::shared_ptr<void> holdTermination(const std::string& bundlePath) override {
        note("hold " + bundlePath);
        return {nullptr, [this, bundlePath](std::nullptr_t) { note("release " + bundlePath); }};
    }

    // What the workspace was asked to do, in order. Fakes that belong together share it.
    std::vector<std::string> events() const {
        std::lock_guard lock(mutex_);
        return events_;
    }
    void note(const std::string& event) {
        {
            std::lock_guard lock(mutex_);
            events_.push_back(event);
        }
        changed_.notify_all();
        if (onEvent) {
            onEvent(event);
        }
    }
    // Returns once the event has happened this often.
    void waitFor(const std::string& event, int times = 1) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return std::ranges::count(events_, event) >= times; });
    }

    // What runs, and where applications are by their identifiers. Set them before other threads ask.
    std::vector<platform::RunningApplication> running;
    std::map<std::string, std::string> paths;

    // Runs on the calling thread after an event has been noted; may throw as a service would, but not when
    // a termination is released. Set it before other threads use the workspace.
    std::function<void(const std::string& event)> onEvent;

    std::vector<std::pair<std::string, std::string>> revealed() const {
        std::lock_guard lock(mutex_);
        return revealed_;
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::pair<std::string, std::string>> revealed_;
    std::vector<std::string> events_;
};
