// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/files/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace vantorel::system {

namespace {

constexpr int firstOwnDescriptor = 3; // below lie the standard ones, which a child gets new meanings for

using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(const std::string& what, int error)
{
    throw ProcessError(what + ": " + std::strerror(error));
}

/// The same open end under a number that is no standard descriptor's, which it may have been given where the host
/// closed one of those.
FileHandle aboveStandard(FileHandle handle)
{
    if (handle.fileDescriptor() >= firstOwnDescriptor)
        return handle;
    const int moved = fcntl(handle.fileDescriptor(), F_DUPFD_CLOEXEC, firstOwnDescriptor);
    if (moved < 0)
        fail("pipe", errno);
    return FileHandle(moved);
}

/// How long poll may wait until `deadline`: -1 without end, rounded up so that a wait never ends early.
int pollTimeout(std::optional<Clock::time_point> deadline)
{
    if (!deadline)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max()));
}

std::mutex providedToolsLock;

std::map<std::string, Tool, std::less<>>& providedTools()
{
    static std::map<std::string, Tool, std::less<>> tools;
    return tools;
}

Tool providedTool(std::string_view launchPath)
{
    const std::scoped_lock lock(providedToolsLock);
    const auto found = providedTools().find(launchPath);
    return found == providedTools().end() ? Tool() : found->second;
}

} // namespace

FileHandle::FileHandle(FileHandle&& other) noexcept : fileDescriptor_(std::exchange(other.fileDescriptor_, -1)) {}

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept
{
    if (this != &other) {
        closeFile();
        fileDescriptor_ = std::exchange(other.fileDescriptor_, -1);
    }
    return *this;
}

FileHandle::~FileHandle()
{
    closeFile();
}

void FileHandle::closeFile()
{
    if (fileDescriptor_ >= 0)
        ::close(std::exchange(fileDescriptor_, -1)); // closed even when interrupted: never to be tried again
}

std::optional<Data> FileHandle::readDataToEndOfFile(const Bounds& bounds)
{
    constexpr std::size_t step = 64 * 1024;
    std::optional<Clock::time_point> deadline;
    if (bounds.time)
        deadline = Clock::now() + *bounds.time;
    if (fileDescriptor_ < 0)
        return std::nullopt;

    Data bytes;
    std::size_t size = 0;
    for (;;) {
        if (deadline) {
            pollfd waiting{fileDescriptor_, POLLIN, 0};
            const int ready = ::poll(&waiting, 1, pollTimeout(deadline));
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready <= 0)
                return std::nullopt;
        }
        if (bytes.size() - size < step)
            bytes.resize(std::max(2 * size, size + step));
        const ssize_t count = ::read(fileDescriptor_, bytes.data() + size, bytes.size() - size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        size += static_cast<std::size_t>(count);
        if (size > bounds.bytes)
            return std::nullopt;
    }
    bytes.resize(size);
    bytes.shrink_to_fit();
    return bytes;
}

Pipe::Pipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        fail("pipe", errno);
    reading_ = FileHandle(ends[0]);
    writing_ = FileHandle(ends[1]);
    reading_ = aboveStandard(std::move(reading_));
    writing_ = aboveStandard(std::move(writing_));
}

void provideTool(std::string_view launchPath, Tool tool)
{
    const std::scoped_lock lock(providedToolsLock);
    if (tool)
        providedTools().insert_or_assign(std::string(launchPath), std::move(tool));
    else
        providedTools().erase(std::string(launchPath));
}

/// What a launched task owns; its destructor ends it.
class Task::Running {
public:
    virtual ~Running() = default;
};

class Task::Process : public Task::Running {
public:
    Process(const std::string& path, const std::vector<std::string>& arguments, int input, int output)
    {
        std::vector<std::string> words = {path};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> pointers;
        for (std::string& word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);

        if (::access(path.c_str(), X_OK) != 0) // not every system's `posix_spawn` tells
            fail(path, errno);
        const Actions actions(input, output);
        const Attributes attributes;
        const int error = posix_spawn(&id_, path.c_str(), &actions.value, &attributes.value, pointers.data(), environ);
        if (error != 0)
            fail(path, error);
    }

    ~Process() override
    {
        // Only a child that is still ours may be killed: where the host's own settings have let it be reaped, its
        // number may already be a stranger's. Until it is waited for below, it cannot be.
        siginfo_t state{};
        if (waitid(P_PID, static_cast<id_t>(id_), &state, WEXITED | WNOHANG | WNOWAIT) != 0)
            return;
        ::kill(-id_, SIGKILL);
        ::kill(id_, SIGKILL); // in case it has left its group
        while (waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }

private:
    /// Standard input and output from the pipes or the null device; nothing else of the host's stays open.
    struct Actions {
        posix_spawn_file_actions_t value;

        Actions(int input, int output)
        {
            posix_spawn_file_actions_init(&value);
            redirect(STDIN_FILENO, input, O_RDONLY);
            redirect(STDOUT_FILENO, output, O_WRONLY);
            closeTheRest();
        }
        Actions(const Actions&) = delete;
        Actions& operator=(const Actions&) = delete;
        ~Actions() { posix_spawn_file_actions_destroy(&value); }

        void closeTheRest()
        {
#ifdef VANTOREL_HAS_SPAWN_CLOSEFROM
            posix_spawn_file_actions_addclosefrom_np(&value, firstOwnDescriptor);
#else
            // Those that are open now; one that another thread opens meanwhile is its own business to close on exec.
            std::error_code ignored;
            for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored)) {
                const int descriptor = std::atoi(entry.path().filename().c_str());
                if (descriptor >= firstOwnDescriptor && fcntl(descriptor, F_GETFD) >= 0)
                    posix_spawn_file_actions_addclose(&value, descriptor);
            }
#endif
        }

        void redirect(int standard, int descriptor, int mode)
        {
            if (descriptor >= 0)
                posix_spawn_file_actions_adddup2(&value, descriptor, standard);
            else
                posix_spawn_file_actions_addopen(&value, standard, "/dev/null", mode, 0);
        }
    };

    /// A process group of its own, and no signal ignored or blocked.
    struct Attributes {
        posix_spawnattr_t value;

        Attributes()
        {
            sigset_t all;
            sigset_t none;
            sigfillset(&all);
            sigemptyset(&none);
            posix_spawnattr_init(&value);
            posix_spawnattr_setsigdefault(&value, &all);
            posix_spawnattr_setsigmask(&value, &none);
            posix_spawnattr_setpgroup(&value, 0);
            posix_spawnattr_setflags(&value, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
        }
        Attributes(const Attributes&) = delete;
        Attributes& operator=(const Attributes&) = delete;
        ~Attributes() { posix_spawnattr_destroy(&value); }
    };

    pid_t id_ = -1;
};

class Task::ToolThread : public Task::Running, private ToolOutput {
public:
    ToolThread(Tool tool, std::vector<std::string> arguments, FileHandle output)
        : tool_(std::move(tool)), arguments_(std::move(arguments)), output_(std::move(output))
    {
        // Never blocked in a write that nobody reads, so that the end of the task can always be seen.
        if (output_.fileDescriptor() >= 0)
            fcntl(output_.fileDescriptor(), F_SETFL, fcntl(output_.fileDescriptor(), F_GETFL) | O_NONBLOCK);

        // The thread inherits a mask without signals: the host's handlers do not run on it, and the SIGPIPE of a
        // broken pipe ends with it, unseen.
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        try {
            thread_ = std::thread([this] { run(); });
        } catch (const std::system_error& error) {
            pthread_sigmask(SIG_SETMASK, &before, nullptr);
            fail("thread", error.code().value());
        }
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    ~ToolThread() override
    {
        ended_ = true;
        end_.fileHandleForWriting().closeFile(); // wakes a write that waits
        thread_.join();
    }

private:
    void run()
    {
        try {
            tool_(arguments_, *this);
        } catch (...) {
            // A tool that fails ends its output, as a process that dies does.
        }
        output_.closeFile();
    }

    bool write(DataView bytes) override
    {
        if (output_.fileDescriptor() < 0)
            return !ended_;
        while (!bytes.empty()) {
            if (ended_)
                return false;
            const ssize_t count = ::write(output_.fileDescriptor(), bytes.data(), bytes.size());
            if (count >= 0) {
                bytes = bytes.subspan(static_cast<std::size_t>(count));
            } else if (errno == EAGAIN) {
                pollfd waiting[] = {{output_.fileDescriptor(), POLLOUT, 0},
                                    {end_.fileHandleForReading().fileDescriptor(), POLLIN, 0}};
                ::poll(waiting, std::size(waiting), -1);
            } else if (errno != EINTR) {
                return false;
            }
        }
        return !ended_;
    }

    Tool tool_;
    std::vector<std::string> arguments_;
    FileHandle output_;
    Pipe end_; // its writing end is closed when the task ends
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

Task::Task() = default;

Task::~Task() = default;

void Task::launch()
{
    if (running_)
        throw ProcessError(launchPath_ + ": launched before");
    FileHandle input = standardInput_ ? std::move(standardInput_->fileHandleForReading()) : FileHandle();
    FileHandle output = standardOutput_ ? std::move(standardOutput_->fileHandleForWriting()) : FileHandle();
    if (Tool tool = providedTool(launchPath_))
        running_ = std::make_unique<ToolThread>(std::move(tool), arguments_, std::move(output));
    else
        running_ = std::make_unique<Process>(launchPath_, arguments_, input.fileDescriptor(), output.fileDescriptor());
}

} // namespace vantorel::system
