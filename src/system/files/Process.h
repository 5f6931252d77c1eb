// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// The least of the platform's NSFileHandle, NSPipe and NSTask: enough to chain tools by pipes and to read what comes
// out, leaving no process, descriptor or thread behind whatever the tools do.

namespace vantorel::system {

/// A pipe or process that the system did not give; the text says which and why.
class ProcessError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One end of a pipe, closed at the latest when it is destroyed. Used by one thread at a time.
class FileHandle {
public:
    /// What reading may cost: a reader that meets either bound has no result.
    struct Bounds {
        std::optional<std::chrono::milliseconds> time;
        std::size_t bytes = std::numeric_limits<std::size_t>::max();
    };

    FileHandle() = default;
    /// Takes the descriptor over.
    explicit FileHandle(int fileDescriptor) : fileDescriptor_(fileDescriptor) {}
    FileHandle(FileHandle&& other) noexcept;
    FileHandle& operator=(FileHandle&& other) noexcept;
    ~FileHandle();

    /// All bytes up to the end of the stream, which comes when the last writer has closed its end. Blocks until then.
    /// Absent when the handle is closed or cannot be read, and when a bound is reached first.
    [[nodiscard]] std::optional<Data> readDataToEndOfFile(const Bounds& bounds);
    [[nodiscard]] std::optional<Data> readDataToEndOfFile() { return readDataToEndOfFile(Bounds()); }

    /// Closes the descriptor; a second call does nothing.
    void closeFile();

    /// The descriptor, -1 when closed. Stays with the handle.
    [[nodiscard]] int fileDescriptor() const { return fileDescriptor_; }

private:
    int fileDescriptor_ = -1;
};

/// A pipe whose two ends no child inherits unless a task gives it one.
class Pipe {
public:
    /// Throws `ProcessError` when the process has no descriptors left.
    Pipe();

    [[nodiscard]] FileHandle& fileHandleForReading() { return reading_; }
    [[nodiscard]] FileHandle& fileHandleForWriting() { return writing_; }

private:
    FileHandle reading_;
    FileHandle writing_;
};

/// Where a provided tool writes.
class ToolOutput {
public:
    virtual ~ToolOutput() = default;

    /// Writes all of the bytes, blocking while the pipe is full. False when nobody reads any more or the task has
    /// ended: the tool then returns.
    [[nodiscard]] virtual bool write(DataView bytes) = 0;
};

/// What answers in place of an executable file: called with the task's arguments, on a thread of the task's own, which
/// takes no signals. Its return, or an exception, is the end of its output. It must not wait for anything but `write`.
using Tool = std::function<void(const std::vector<std::string>& arguments, ToolOutput& output)>;

/// Lets `tool` answer for a launch path in all tasks launched from now on; an empty one gives the path back to the file
/// system. May be called on any thread.
void provideTool(std::string_view launchPath, Tool tool);

/// A tool in a process of its own or, where one is provided for the launch path, on a thread.
///
/// The host sets it up, launches it once and keeps it until it has read what it wants. When the task is destroyed, a
/// process that still runs is killed with all its process group and waited for, and a provided tool is told at its next
/// `write` to end and is waited for.
///
/// A process gets no descriptor but its three standard ones: the ends of the pipes set here, the null device in place
/// of a pipe that is not set, and the host's standard error. Its signals are at their defaults. No SIGCHLD handler is
/// needed; a host that ignores SIGCHLD or waits for every child itself does no harm.
class Task {
public:
    Task();
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task();

    /// The absolute path of the tool; no search takes place.
    void setLaunchPath(std::string path) { launchPath_ = std::move(path); }
    /// The arguments behind the tool's name.
    void setArguments(std::vector<std::string> arguments) { arguments_ = std::move(arguments); }
    void setStandardInput(std::shared_ptr<Pipe> pipe) { standardInput_ = std::move(pipe); }
    void setStandardOutput(std::shared_ptr<Pipe> pipe) { standardOutput_ = std::move(pipe); }

    /// Starts the tool and returns. The ends that the tool has been given, the reading end of the input pipe and the
    /// writing end of the output pipe, are closed here, also when it fails: so the other ends see the end of the
    /// stream. Throws `ProcessError` when the tool is missing or cannot be started, or the task was launched before.
    void launch();

private:
    class Running;
    class Process;
    class ToolThread;

    std::string launchPath_;
    std::vector<std::string> arguments_;
    std::shared_ptr<Pipe> standardInput_;
    std::shared_ptr<Pipe> standardOutput_;
    std::unique_ptr<Running> running_;
};

} // namespace vantorel::system
