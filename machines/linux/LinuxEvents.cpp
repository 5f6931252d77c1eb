// SPDX-License-Identifier: GPL-2.0-or-later
#include "LinuxEvents.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace vantorel::machines {

namespace {

using Clock = std::chrono::steady_clock;

constexpr short endings = POLLERR | POLLHUP | POLLNVAL;

int pollFor(pollfd* what, nfds_t count, std::chrono::milliseconds time)
{
    return poll(what, count, static_cast<int>(std::max(time, std::chrono::milliseconds(0)).count()));
}

} // namespace

LinuxEvents::LinuxEvents(const Udev& udev, EventHandlers handlers, EventTimes times)
    : udev_(udev),
      handlers_(std::move(handlers)),
      times_(times),
      end_(eventfd(0, EFD_CLOEXEC)),
      mounts_(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC))
{
    if (end_ >= 0) // nothing could end the thread
        thread_ = std::thread([this] { run(); });
}

LinuxEvents::~LinuxEvents()
{
    if (thread_.joinable()) {
        static_cast<void>(eventfd_write(end_, 1));
        thread_.join();
    }
    for (const int descriptor : {end_, mounts_}) {
        if (descriptor >= 0)
            close(descriptor);
    }
}

/// Everything that comes until it is quiet.
DeviceChanges LinuxEvents::collect() const
{
    DeviceChanges changes;
    const auto latest = Clock::now() + times_.longestBurst;
    std::array<pollfd, 2> waiting{{{end_, POLLIN, 0}, {udev_.descriptor(), POLLIN, 0}}};
    do {
        udev_.receive(changes);
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(latest - Clock::now());
        if (left.count() <= 0 || pollFor(waiting.data(), waiting.size(), std::min(left, times_.quiet)) <= 0)
            break;
    } while (waiting[0].revents == 0);
    return changes;
}

void LinuxEvents::run()
{
    constexpr std::chrono::milliseconds forever{-1};
    // A descriptor of -1 is passed over.
    std::array<pollfd, 3> waiting{{{end_, POLLIN, 0}, {udev_.descriptor(), POLLIN, 0}, {mounts_, POLLPRI, 0}}};
    auto nextLook = Clock::now() + times_.arrayPolling;
    while (true) {
        auto time = forever;
        if (handlers_.hasArrays())
            time = std::max(std::chrono::duration_cast<std::chrono::milliseconds>(nextLook - Clock::now()),
                            std::chrono::milliseconds(0)) +
                   std::chrono::milliseconds(1);
        if (poll(waiting.data(), waiting.size(), static_cast<int>(time.count())) < 0 && errno != EINTR)
            return;
        if (waiting[0].revents != 0)
            return;
        if (waiting[1].revents != 0) {
            const DeviceChanges changes = collect();
            if (!changes.isEmpty())
                handlers_.devices(changes);
            if ((waiting[1].revents & (POLLHUP | POLLNVAL)) != 0)
                waiting[1].fd = -1;
        }
        // The table always has an error pending together with what is out of band.
        if ((waiting[2].revents & POLLPRI) != 0)
            handlers_.mounts();
        else if ((waiting[2].revents & endings) != 0)
            waiting[2].fd = -1;
        if (Clock::now() >= nextLook) {
            if (handlers_.hasArrays())
                handlers_.arrays();
            nextLook = Clock::now() + times_.arrayPolling;
        }
    }
}

} // namespace vantorel::machines
