#pragma once

#include "Format.h"
#include "NotificationCenter.h"
#include "OperationQueue.h"
#include "Platform.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

// The log of the process: a text file in the user's log folder, five generations of about 500,000
// bytes each, written in the background. Any thread may log; callers do not wait for the disk, but see
// `appendLog`. Nothing here throws, and failures are told on standard output alone.
//
// An entry is one line: local time, " - ", and the text without white space and line breaks at both
// ends. An entry that is empty then is dropped, and a format that is none is ignored.
//
// The suite's preference "disable-logging" turns the file off, for good, when a new log is begun.
class VTLog {
public:
    struct Entry {
        std::string text;
        std::uint64_t length; // UTF-16 code units
    };
    using WriteQueue = platform::OperationQueue<Entry>;

    // Made by the first use and never destroyed, so that threads may log to the very end of the
    // process. The first use also installs the handler of uncaught exceptions and the observer of the
    // application's end.
    static VTLog& sharedController();

    // Shifts the generations and begins a new file with a header. Without it the first entry opens the
    // file that is there. `name` becomes the files' name only when there is no other, see `appName`.
    static void createNewLog(const std::optional<std::string>& name = std::nullopt);

    // Queues an entry. A thread other than the main one waits until a short entry (below 100 UTF-16
    // code units) is in the file while the backlog is as short, so that its progress can be followed.
    template <typename... Arguments>
    static void appendLog(const FormatText& text, const Arguments&... arguments) {
        if (text.text()) {
            append(format(*text.text(), arguments...));
        }
    }

    // Like `appendLog`, and prints the entry on standard output with percent signs doubled. The
    // formatted text is taken for a format once more, so a conversion in it is expanded again.
    template <typename... Arguments>
    static void appendLogAndPrint(const FormatText& text, const Arguments&... arguments) {
        if (text.text()) {
            appendAndPrint(format(*text.text(), arguments...));
        }
    }

    // Queues an entry and never waits.
    template <typename... Arguments>
    static void fastAppendLog(const FormatText& text, const Arguments&... arguments) {
        if (text.text()) {
            sharedController().appendTextToLog(format(*text.text(), arguments...));
        }
    }

    // Waits until every entry queued before the call has been written. On the writer's own thread it
    // returns at once.
    static void finishWriting();

    // The files of the user's log folder that exist, newest first.
    static std::vector<std::string> availableLogs();

    // Shows a text of the log's own on standard output, flushed at once: it may be the last that a
    // failing process says.
    static void print(std::string_view text);

    // The application ends: writes what waits if that is little, and closes the file. Entries made
    // afterwards are dropped.
    static void willTerminate(const platform::Notification& notification);

    // Queues one entry.
    void appendTextToLog(std::string text);

    // The files' name: the one that was set, else that of the running executable without its extension;
    // absent when the system does not say.
    std::optional<std::string> appName() const;
    void setAppName(std::optional<std::string> name);

    // The current file; null when none is open.
    std::shared_ptr<platform::FileHandle> fileHandle() const;
    void setFileHandle(std::shared_ptr<platform::FileHandle> file);

    // Bytes written to the current file by this process.
    std::uint64_t bytesWritten() const { return bytesWritten_; }
    void setBytesWritten(std::uint64_t bytes) { bytesWritten_ = bytes; }

    // Where writing is done; null after the application's end.
    WriteQueue* writeQueue() const { return writeQueue_; }
    void setWriteQueue(WriteQueue* queue) { writeQueue_ = queue; }

    // UTF-16 code units of the entries that wait. Entries lost to a failing write or to disabled logging
    // stay counted.
    std::uint64_t bytesInQueue() const { return bytesInQueue_; }
    void setBytesInQueue(std::uint64_t length) { bytesInQueue_ = length; }

    bool loggingDisabled() const { return loggingDisabled_; }
    void setLoggingDisabled(bool disabled) { loggingDisabled_ = disabled; }

    VTLog(const VTLog&) = delete;
    VTLog& operator=(const VTLog&) = delete;
    ~VTLog() = delete;

private:
    VTLog();

    static void append(std::string text);
    static void appendAndPrint(const std::string& text);

    // Writes one or more of the entries that wait and says how many it is done with; on the queue only.
    std::size_t appendLogOnThread(std::span<const Entry> waiting);
    std::shared_ptr<platform::FileHandle> openFile();
    bool beginNewFile(const std::optional<std::string>& name); // false when there is none
    void collectLines(std::span<const Entry> waiting);
    void takeOffAccount(std::span<const Entry> entries);

    std::mutex openingMutex_;  // held from the end of one file to the beginning of the next
    mutable std::mutex mutex_; // for the three that follow
    std::optional<std::string> appName_;
    std::shared_ptr<platform::FileHandle> fileHandle_;
    platform::NotificationCenter::Observation willTerminateObservation_;

    std::atomic<std::uint64_t> bytesWritten_ = 0;
    std::atomic<std::uint64_t> bytesInQueue_ = 0;
    std::atomic<bool> loggingDisabled_ = false;

    // What one run of the writer puts into the file, and where in it each line ends; the writer's own.
    std::string lines_;
    std::vector<std::size_t> lineEnds_;

    WriteQueue queue_;
    std::atomic<WriteQueue*> writeQueue_ = &queue_;
};
