#pragma once

#include "FailingFileManager.h"
#include "TestSandbox.h"
#include "VTLog.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

// The log in the sandbox, on a file manager that fails where the test says so.
class LogTest : public testing::Test {
protected:
    LogTest();
    ~LogTest() override; // waits until the writer is done with the services of this test

    static VTLog& log() { return VTLog::sharedController(); }
    FailingFileManager& fileManager() { return *fileManager_; }

    static std::string userFolder() { return sandbox::home() + "/Library/Logs/Vantorel"; }
    static std::string machineFolder() { return sandbox::root() + "/Library/Logs/Vantorel"; }
    static std::string name() { return log().appName().value(); }
    static std::string path(int generation, const std::string& folder = userFolder());

    // The file's entries without their dates; fails the test when a line has no date.
    static std::vector<std::string> entries(const std::string& file);
    static std::vector<std::string> entries(int generation) { return entries(path(generation)); }

    // An empty generation 1, so that entries need no header to be written.
    static void makeCurrentFile() { sandbox::writeFile(path(1), ""); }

    static void setPreferences(const platform::PropertyList::Dictionary& values);

    // What `work` prints on standard output.
    static std::string output(const std::function<void()>& work);

    static void onAnotherThread(std::function<void()> work) { std::thread(std::move(work)).join(); }

private:
    std::shared_ptr<FailingFileManager> fileManager_;
};

// Holds the writer before a write until it is let go. To be set before the file is opened.
class WriterGate {
public:
    explicit WriterGate(FailingFileManager& fileManager) {
        fileManager.beforeWrite = [this](std::string_view) { pass(); };
    }
    ~WriterGate() {
        open();
        VTLog::finishWriting();
    }
    void close() { closed_ = true; }
    void open() {
        closed_ = false;
        closed_.notify_all();
    }
    void waitUntilWriterIsHeld() { held_.wait(false); }

private:
    void pass() {
        if (closed_) {
            held_ = true;
            held_.notify_all();
            closed_.wait(true);
        }
    }
    std::atomic<bool> closed_ = false;
    std::atomic<bool> held_ = false;
};

constexpr std::size_t kDateLength = 28; // of "YYYY-MM-DD HH:MM:SS +HHMM - "
