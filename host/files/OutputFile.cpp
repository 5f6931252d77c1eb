// SPDX-License-Identifier: GPL-2.0-or-later
#include "OutputFile.h"

#include "host/console/Output.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace vantorel::host {

namespace {

/// The name of the file to remove when a signal ends the run. A run writes one file at a time.
std::atomic<const char*> unfinished = nullptr;
static_assert(std::atomic<const char*>::is_always_lock_free, "read by a signal handler");

extern "C" void removeUnfinished(int signal)
{
    if (const char* const name = unfinished)
        unlink(name);
    raise(signal); // the handler stands for one signal only, so this one ends the run
}

void removeOnSignals()
{
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGXCPU}) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL)
            continue; // ignored, as under nohup
        action.sa_handler = removeUnfinished;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
        sigaction(signal, &action, nullptr);
    }
    // A file that grows beyond what it may is a write that fails, and is told as one.
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace

OutputFile::OutputFile(const std::string& path, Readers readers) : path_(path == "-" ? "standard output" : path)
{
    if (path == "-") {
        file_.reset(stdout);
        return;
    }
    // Through a symbolic link the file that it names is replaced, not the link.
    std::error_code failure;
    if (const auto target = std::filesystem::canonical(path_, failure); !failure)
        path_ = target.string();

    const unsigned granted = readers == Readers::everybody ? 0444 : 0;
    struct stat facts {};
    if (stat(path_.c_str(), &facts) != 0) {
        const mode_t mask = umask(0);
        umask(mask);
        openBeside((0666 & ~mask) | granted);
    } else if (S_ISREG(facts.st_mode)) {
        openBeside((facts.st_mode & 0777) | granted);
    } else {
        file_.reset(std::fopen(path_.c_str(), "wbe"));
        if (!file_)
            fail();
    }
}

OutputFile::~OutputFile()
{
    if (growing_.empty())
        return;
    unlink(growing_.c_str());
    unfinished = nullptr;
}

void OutputFile::openBeside(unsigned mode)
{
    std::string name = path_ + ".XXXXXX";
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0)
        fail();
    growing_ = name;
    unfinished = growing_.c_str();
    removeOnSignals();
    file_.reset(fdopen(descriptor, "wb"));
    if (!file_ || fchmod(descriptor, mode) != 0)
        fail();
}

void OutputFile::write(DataView bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size())
        fail();
}

void OutputFile::commit()
{
    if (std::fflush(file_.get()) != 0)
        fail();
    if (growing_.empty())
        return;
    if (std::rename(growing_.c_str(), path_.c_str()) != 0)
        fail();
    unfinished = nullptr;
    growing_.clear();
}

void OutputFile::fail() const
{
    throw CommandError(path_, reason(errno));
}

void writeText(const std::string& path, std::string_view text)
{
    OutputFile file(path);
    file.write({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    file.commit();
}

} // namespace vantorel::host
