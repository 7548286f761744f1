#pragma once

#include "AlertSheets.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// Alerts without a screen. They are answered by what `answers` holds, in order; those for which it holds
// nothing stay up until the test answers them. On the main thread a test that waits for an alert answers with
// `whileWaiting`.
class FakeAlertSheets : public platform::AlertSheets {
public:
    class Sheet : public platform::AlertSheet, public std::enable_shared_from_this<Sheet> {
    public:
        Sheet(FakeAlertSheets& owner, platform::AlertContents texts, platform::Window* parent, DidEnd end)
            : contents(std::move(texts)), window(parent), owner_(owner), didEnd_(std::move(end)) {}

        void waitUntilEnded() override {
            while (isUp()) {
                if (!owner_.whileWaiting) {
                    throw std::logic_error("nobody answers " + contents.messageText);
                }
                owner_.whileWaiting(*this);
            }
        }
        void orderOut() override { leave(); }

        // The user presses a button.
        void answer(std::int64_t value) {
            const auto self = shared_from_this();
            if (const auto didEnd = leave()) {
                didEnd(*this, value);
            }
        }
        bool isUp() const {
            std::lock_guard lock(owner_.mutex_);
            return isUp_;
        }

        const platform::AlertContents contents;
        platform::Window* const window;

    private:
        friend class FakeAlertSheets;

        DidEnd leave() {
            std::lock_guard lock(owner_.mutex_);
            if (std::exchange(isUp_, false) && window) {
                owner_.attached_.erase(window);
            }
            owner_.changed_.notify_all();
            return std::exchange(didEnd_, nullptr);
        }

        FakeAlertSheets& owner_;
        bool isUp_ = true;
        DidEnd didEnd_;
    };

    bool hasAttachedSheet(const platform::Window& window) override {
        std::lock_guard lock(mutex_);
        return attached_.contains(&window);
    }
    std::shared_ptr<platform::AlertSheet> beginSheet(const platform::AlertContents& contents,
                                                     platform::Window* window, DidEnd didEnd) override {
        std::optional<std::int64_t> answer;
        std::shared_ptr<Sheet> sheet;
        {
            std::lock_guard lock(mutex_);
            if (isClosed) {
                return nullptr;
            }
            if (window && !attached_.insert(window).second) {
                throw std::logic_error("the window has a sheet already");
            }
            sheet = std::make_shared<Sheet>(*this, contents, window, std::move(didEnd));
            shown_.push_back(sheet);
            if (!answers.empty()) {
                answer = answers.front();
                answers.pop_front();
            }
            changed_.notify_all();
        }
        if (onBegin) {
            onBegin(*sheet);
        }
        if (answer) {
            sheet->answer(*answer);
        }
        return sheet;
    }

    // All that were shown, those that have ended included.
    std::vector<std::shared_ptr<Sheet>> shown() const {
        std::lock_guard lock(mutex_);
        return shown_;
    }
    // Their messages and informative texts.
    std::vector<std::pair<std::string, std::string>> texts() const {
        std::vector<std::pair<std::string, std::string>> result;
        for (const auto& sheet : shown()) {
            result.emplace_back(sheet->contents.messageText, sheet->contents.informativeText);
        }
        return result;
    }
    // From another thread than the one that shows it: the sheet with this number, counted from 0.
    std::shared_ptr<Sheet> waitForSheet(std::size_t number = 0) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return shown_.size() > number; });
        return shown_[number];
    }

    // A window that has a sheet of another kind.
    void attachOther(const platform::Window& window) {
        std::lock_guard lock(mutex_);
        attached_.insert(&window);
    }

    // Set these before alerts are shown.
    std::deque<std::int64_t> answers;
    std::function<void(Sheet&)> whileWaiting;
    std::function<void(Sheet&)> onBegin;
    bool isClosed = false; // the program is about to end

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::set<const platform::Window*> attached_;
    std::vector<std::shared_ptr<Sheet>> shown_;
};
