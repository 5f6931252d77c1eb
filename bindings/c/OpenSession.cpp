// SPDX-License-Identifier: GPL-2.0-or-later
#include "OpenSession.h"

#include "Failure.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>

#include <unistd.h>

namespace vantorel::c {

namespace {

struct Slot {
    std::atomic<pid_t> owner = 0; ///< the process that last opened a session; 0 before the first
    std::mutex mutex;
    std::condition_variable isIdle;
    std::uintptr_t lastHandle = 0xD15C0000; // no small number, and no address that programs have
    std::uintptr_t handle = 0; ///< of the open session; 0 while there is none, or while it is opening or closing
    std::unique_ptr<Session> session;
    bool isTaken = false;
    std::size_t calls = 0;
};

Slot& slot()
{
    static auto& the = *new Slot; // a session may be open while the process ends
    return the;
}

bool isOfParent()
{
    const pid_t owner = slot().owner;
    return owner != 0 && owner != ::getpid();
}

Session& sessionOf(vantorel_machine* handle)
{
    const auto number = reinterpret_cast<std::uintptr_t>(handle);
    if (number == 0)
        throw Failure(VANTOREL_BAD_HANDLE, "the machine is NULL");
    if (number != slot().handle)
        throw Failure(VANTOREL_BAD_HANDLE, "the machine is closed, or is none");
    return *slot().session;
}

/// In the child of a fork the lock may be held by a thread that is not there.
std::unique_lock<std::mutex> locked()
{
    if (isOfParent())
        throw Failure(VANTOREL_BAD_HANDLE, "the machine is that of the process which this one was forked from");
    return std::unique_lock(slot().mutex);
}

} // namespace

Call::Call(vantorel_machine* handle)
{
    const auto lock = locked();
    session_ = &sessionOf(handle);
    ++slot().calls;
}

Call::~Call()
{
    const std::scoped_lock lock(slot().mutex);
    if (--slot().calls == 0)
        slot().isIdle.notify_all();
}

vantorel_machine* openSession(const std::function<std::unique_ptr<Session>()>& make)
{
    {
        if (isOfParent())
            throw Failure(VANTOREL_BUSY, "a machine was open in the process which this one was forked from");
        const std::scoped_lock lock(slot().mutex);
        if (std::exchange(slot().isTaken, true))
            throw Failure(VANTOREL_BUSY, "a process looks at one machine at a time, and one is open");
        slot().owner = ::getpid();
    }
    std::unique_ptr<Session> session;
    try {
        session = make();
    } catch (...) {
        const std::scoped_lock lock(slot().mutex);
        slot().isTaken = false;
        throw;
    }
    const std::scoped_lock lock(slot().mutex);
    slot().session = std::move(session);
    slot().handle = ++slot().lastHandle;
    return reinterpret_cast<vantorel_machine*>(slot().handle); // NOLINT: a number in the shape of a pointer
}

void closeSession(vantorel_machine* handle)
{
    std::unique_ptr<Session> session;
    {
        auto lock = locked();
        if (sessionOf(handle).isOwnThread())
            throw Failure(VANTOREL_IN_CALLBACK, "a callback cannot close the machine");
        slot().handle = 0;
        slot().session->stopTelling();
        slot().isIdle.wait(lock, [] { return slot().calls == 0; });
        session = std::move(slot().session);
    }
    session.reset();
    const std::scoped_lock lock(slot().mutex);
    slot().isTaken = false;
}

} // namespace vantorel::c
