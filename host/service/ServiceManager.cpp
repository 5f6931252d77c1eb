// SPDX-License-Identifier: GPL-2.0-or-later
#include "ServiceManager.h"

#include "host/console/Output.h"
#include "host/console/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace vantorel::host {

namespace {

// The journal's own address; a variable so that a test can listen in its place.
std::string journalSocket()
{
    const char* const path = std::getenv("VANTOREL_JOURNAL_SOCKET");
    return path ? path : "/run/systemd/journal/socket";
}

/// Sends a datagram to a socket of that path, or of that abstract name behind an "@". Gives whether it went: who does
/// not take it in a fifth of a second must not hold the service up.
bool sendTo(const std::string& path, std::string_view datagram)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, path.data(), path.size());
    if (path.front() == '@')
        address.sun_path[0] = '\0';
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    const timeval patience{0, 200'000};
    setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
    const ssize_t sent = sendto(descriptor, datagram.data(), datagram.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&address), length);
    close(descriptor);
    return sent == static_cast<ssize_t>(datagram.size());
}

std::string environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value ? value : "";
}

template <typename Number>
std::optional<Number> numberIn(const std::string& text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// Whether a descriptor is the stream that the manager has connected to the journal (systemd.exec(5)).
bool goesToJournal(int descriptor)
{
    struct stat facts {};
    return fstat(descriptor, &facts) == 0 &&
           environment("JOURNAL_STREAM") == fmt::format("{}:{}", facts.st_dev, facts.st_ino);
}

} // namespace

ServiceManager::ServiceManager() : socket_(environment("NOTIFY_SOCKET"))
{
    const auto process = numberIn<pid_t>(environment("WATCHDOG_PID"));
    const auto microseconds = numberIn<std::uint32_t>(environment("WATCHDOG_USEC"));
    if (!socket_.empty() && microseconds.value_or(0) > 0 && process.value_or(getpid()) == getpid())
        signOfLife_ = std::chrono::milliseconds(std::max<std::uint32_t>(*microseconds / 2000, 1));
    // What is meant for this process is not for those that it starts.
    for (const char* name : {"NOTIFY_SOCKET", "WATCHDOG_PID", "WATCHDOG_USEC"})
        unsetenv(name);
}

void ServiceManager::notify(std::string_view assignments) const
{
    if (!socket_.empty())
        static_cast<void>(sendTo(socket_, assignments)); // a manager that is gone is nobody to tell
}

void ServiceManager::notifyReloading() const
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    notify(fmt::format("RELOADING=1\nMONOTONIC_USEC={}", now.tv_sec * 1'000'000 + now.tv_nsec / 1000));
}

Journal::Journal() : isJournal_(goesToJournal(STDOUT_FILENO)) {}

void Journal::tell(Priority priority, std::string_view message,
                   std::initializer_list<std::pair<std::string_view, std::string_view>> fields) const
{
    if (isJournal_) {
        std::string entry;
        const auto add = [&entry](std::string_view name, std::string_view text) {
            if (text.empty())
                return;
            // The form with a size takes any text: name, line end, 64 bits with the lowest first, text, line end.
            entry += std::string(name) + '\n';
            for (unsigned shift = 0; shift < 64; shift += 8)
                entry += static_cast<char>(static_cast<std::uint64_t>(text.size()) >> shift);
            entry += std::string(text) + '\n';
        };
        add("MESSAGE", printable(message));
        add("PRIORITY", std::to_string(static_cast<int>(priority)));
        add("SYSLOG_IDENTIFIER", "vantorel");
        for (const auto& [name, text] : fields)
            add(name, printable(text));
        if (sendTo(journalSocket(), entry))
            return;
    }
    print(printable(message) + '\n');
    flush();
}

} // namespace vantorel::host
