// SPDX-License-Identifier: GPL-2.0-or-later
#include "BoundedPrograms.h"

#include "host/console/Output.h"

#include <fmt/format.h>

#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantorel::host {

namespace {

constexpr std::size_t mostWaiting = 100;

/// A descriptor of a file in memory that begins with this text; -1 when there is none to be had.
int fileOf(const std::string& text)
{
    const int descriptor = memfd_create("input", MFD_CLOEXEC);
    if (descriptor < 0)
        return -1;
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = write(descriptor, text.data() + done, text.size() - done);
        if (written < 0) {
            close(descriptor);
            return -1;
        }
        done += static_cast<std::size_t>(written);
    }
    lseek(descriptor, 0, SEEK_SET);
    return descriptor;
}

/// Starts a program as the leader of a process group, with no signal blocked. Gives a value of `errno`, 0 for none.
int spawn(const BoundedProgram& program, pid_t& process)
{
    const int input = fileOf(program.input);
    if (input < 0)
        return errno;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
    std::vector<char*> arguments;
    for (const std::string& argument : program.arguments)
        arguments.push_back(const_cast<char*>(argument.c_str())); // which posix_spawn does not change
    arguments.push_back(nullptr);
    const int failure = posix_spawn(&process, arguments[0], &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(input);
    return failure;
}

} // namespace

BoundedPrograms::BoundedPrograms(std::function<void(const std::string&)> complain) : complain_(std::move(complain)) {}

BoundedPrograms::~BoundedPrograms()
{
    stop();
}

void BoundedPrograms::stop()
{
    if (const pid_t process = std::exchange(running_, 0); process != 0)
        kill(-process, SIGKILL);
    waiting_.clear();
}

void BoundedPrograms::run(BoundedProgram program)
{
    if (waiting_.size() >= mostWaiting) {
        complain_(fmt::format("{}: too many wait; one is left out", waiting_[1].what));
        waiting_.erase(waiting_.begin() + 1); // the first one runs
    }
    waiting_.push_back(std::move(program));
    if (running_ == 0)
        startNext();
}

void BoundedPrograms::startNext()
{
    for (; running_ == 0 && !waiting_.empty(); waiting_.pop_front()) {
        const BoundedProgram& program = waiting_.front();
        if (const int failure = spawn(program, running_); failure == 0) {
            isKilled_ = false;
            deadline_ = Clock::now() + program.patience;
            return;
        } else {
            running_ = 0;
            complain_(fmt::format("{}: {}", program.what, reason(failure)));
        }
    }
}

void BoundedPrograms::look()
{
    if (running_ == 0)
        return;
    int status = 0;
    if (waitpid(running_, &status, WNOHANG) == running_) {
        running_ = 0;
        tellEnd(status);
        waiting_.pop_front();
        return startNext();
    }
    if (!isKilled_ && Clock::now() >= deadline_) {
        isKilled_ = true;
        kill(-running_, SIGKILL);
    }
}

void BoundedPrograms::tellEnd(int status)
{
    const BoundedProgram& program = waiting_.front();
    if (isKilled_)
        complain_(fmt::format("{}: it took more than {} s and was killed", program.what,
                              std::chrono::duration_cast<std::chrono::seconds>(program.patience).count()));
    else if (WIFSIGNALED(status))
        complain_(fmt::format("{}: it was ended by signal {}", program.what, WTERMSIG(status)));
    else if (WEXITSTATUS(status) != 0)
        complain_(fmt::format("{}: it ended with status {}", program.what, WEXITSTATUS(status)));
}

std::optional<BoundedPrograms::Clock::time_point> BoundedPrograms::nextLook() const
{
    return running_ != 0 && !isKilled_ ? std::optional(deadline_) : std::nullopt;
}

} // namespace vantorel::host
