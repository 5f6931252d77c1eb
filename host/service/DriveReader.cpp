// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveReader.h"

#include "host/console/Output.h"

#include <cerrno>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace vantorel::host {

struct DriveReader::Shared {
    Shared() : event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
        if (event < 0)
            throw CommandError("event", reason(errno));
    }
    ~Shared() { close(event); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    void put(DriveOutcome outcome)
    {
        const std::scoped_lock lock(mutex);
        done.push_back(std::move(outcome));
        static_cast<void>(eventfd_write(event, 1)); // fails only where it is readable already
    }

    int event;
    std::mutex mutex;
    std::vector<DriveOutcome> done;
};

DriveReader::DriveReader() : shared_(std::make_shared<Shared>()) {}

void DriveReader::begin(DriveOutcome unread)
{
    const std::uint64_t service = unread.drive ? unread.drive->service : 0;
    if (service == 0 || !asked_.insert(service).second)
        return;
    waiting_.push_back(std::move(unread));
    startThreads();
}

void DriveReader::startThreads()
{
    for (; !waiting_.empty() && running_ < mostThreads; ++running_) {
        DriveOutcome unread = std::move(waiting_.front());
        waiting_.pop_front();
        try {
            std::thread([shared = shared_, outcome = unread]() mutable {
                readDrive(outcome);
                shared->put(std::move(outcome));
            }).detach();
        } catch (const std::system_error&) { // no thread to be had
            readDrive(unread);
            shared_->put(std::move(unread));
        }
    }
}

int DriveReader::descriptor() const
{
    return shared_->event;
}

std::vector<DriveOutcome> DriveReader::take()
{
    std::vector<DriveOutcome> done;
    {
        const std::scoped_lock lock(shared_->mutex);
        eventfd_t ignored = 0;
        static_cast<void>(eventfd_read(shared_->event, &ignored));
        done.swap(shared_->done);
    }
    for (const DriveOutcome& outcome : done)
        asked_.erase(outcome.drive->service);
    running_ -= done.size();
    startThreads();
    return done;
}

} // namespace vantorel::host
