#pragma once

#include "FakeMainThread.h"
#include "Outlets.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

// A panel without a screen, which wants to be called on the main thread.

inline void expectMainThread() {
    EXPECT_TRUE(FakeMainThread::isHere());
}

struct FakeMenuItem : outlet::MenuItem {
    FakeMenuItem(std::string itemTitle, int itemTag, std::optional<std::string> itemPath = std::nullopt)
        : text(std::move(itemTitle)), number(itemTag), path(std::move(itemPath)) {}

    std::string title() const override { return text; }
    int tag() const override { return number; }
    std::optional<std::string> representedPath() const override { return path; }
    void setState(bool isOn) override {
        expectMainThread();
        on = isOn;
    }

    std::string text;
    int number;
    std::optional<std::string> path;
    std::atomic<bool> on = false;
};

struct FakeMenu : outlet::Menu {
    std::size_t numberOfItems() const override { return items.size(); }
    outlet::MenuItem& itemAtIndex(std::size_t index) override { return *items.at(index); }
    outlet::MenuItem* itemWithTitle(const std::string& title) override {
        for (auto& item : items) {
            if (item->text == title) {
                return item.get();
            }
        }
        return nullptr;
    }
    outlet::MenuItem& addItem(const std::string& title, std::optional<std::string> path) override {
        expectMainThread();
        if (onAddItem) {
            onAddItem(title);
        }
        return *items.emplace_back(std::make_unique<FakeMenuItem>(title, 0, std::move(path)));
    }

    FakeMenuItem& add(const std::string& title, int tag) {
        return *items.emplace_back(std::make_unique<FakeMenuItem>(title, tag));
    }
    std::vector<std::string> titles() const {
        std::vector<std::string> result;
        for (const auto& item : items) {
            result.push_back(item->text);
        }
        return result;
    }
    std::vector<std::string> checked() const {
        std::vector<std::string> result;
        for (const auto& item : items) {
            if (item->on) {
                result.push_back(item->text);
            }
        }
        return result;
    }

    std::vector<std::unique_ptr<FakeMenuItem>> items;
    std::function<void(const std::string& title)> onAddItem; // may throw
};

// Moves its alpha value when the test says so.
struct FakeWindow : outlet::Window {
    bool isVisible() const override { return visible; }
    void orderFront() override {
        expectMainThread();
        visible = true;
        happened("front");
    }
    void orderBack() override {
        expectMainThread();
        happened("back");
    }
    void makeKeyAndOrderFront() override {
        expectMainThread();
        visible = true;
        happened("key");
    }
    void close() override {
        expectMainThread();
        visible = false;
        happened("close");
    }
    double alphaValue() const override { return alpha; }
    void setAlphaValue(double value) override { alpha = value; }
    void animateAlphaValue(double value) override { target = value; }
    void setAnimationDelegate(std::function<void()> animationDidStop) override {
        delegate = std::move(animationDidStop);
    }

    // The animation that is under way comes to its end.
    void finishAnimation() {
        alpha = target.value();
        target.reset();
        delegate();
    }

    bool visible = false;
    double alpha = 1;
    std::optional<double> target; // of the animation under way
    std::function<void()> delegate;
    std::vector<std::string> events;
    std::function<void(const std::string& event)> onEvent; // may throw

private:
    void happened(const std::string& event) {
        events.push_back(event);
        if (onEvent) {
            onEvent(event);
        }
    }
};

struct FakeTable : outlet::TableView {
    void reloadData() override {
        expectMainThread();
        ++reloads;
    }
    std::optional<std::size_t> selectedRow() const override { return selected; }

    std::atomic<int> reloads = 0;
    std::optional<std::size_t> selected;
};

class FakeSpinner : public outlet::Spinner {
public:
    void startAnimation() override { count(started_); }
    void stopAnimation() override { count(stopped_); }

    int started() const {
        std::lock_guard lock(mutex_);
        return started_;
    }
    // Returns once the animation has been stopped this often.
    void waitUntilStopped(int times) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return stopped_ >= times; });
    }

private:
    void count(int& counter) {
        expectMainThread();
        std::lock_guard lock(mutex_);
        ++counter;
        changed_.notify_all();
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    int started_ = 0;
    int stopped_ = 0;
};

struct FakePanel : outlet::Panel {
    void beginSheet(outlet::Window& parent) override {
        expectMainThread();
        window = &parent;
        ++begun;
    }
    void endSheet() override {
        expectMainThread();
        window = nullptr;
        ++ended;
    }

    outlet::Window* window = nullptr; // that it is a sheet of
    int begun = 0;
    int ended = 0;
};

struct FakeProgressBar : outlet::Spinner {
    void startAnimation() override {
        expectMainThread();
        isAnimating = true;
    }
    void stopAnimation() override {
        expectMainThread();
        isAnimating = false;
    }

    bool isAnimating = false;
};

struct FakeCell : outlet::TextCell {
    void setHasShadow(bool value) override { hasShadow = value; }
    void setSubtitle(const std::optional<std::string>& value) override {
        subtitleSet = true;
        subtitle = value;
    }
    void setLineCount(int value) override { lineCount = value; }

    std::optional<bool> hasShadow;
    bool subtitleSet = false;
    std::optional<std::string> subtitle;
    std::optional<int> lineCount;
};
