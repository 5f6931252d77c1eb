// SPDX-License-Identifier: GPL-2.0-or-later
#include "Session.h"

#include "documents/DiskTree.h"
#include "documents/Documents.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/system/Installation.h"

#include <exception>
#include <utility>

#include <csignal>
#include <poll.h>

namespace vantorel::c {

namespace {

/// What is looked at while nothing is open.
class NoMachine final : public system::Machine {
public:
    void start(system::MachineEvents& /*events*/) override {}
};

/// The one listener of the process, since the registry forgets none: passes on to the session that is there. Of the
/// session's thread.
class Ear final : public DiskListener {
public:
    static void belongTo(Session* session)
    {
        static const auto ear = [] {
            auto made = std::make_shared<Ear>();
            Vantorel::shared().registerListener(made);
            return made;
        }();
        ear->session_ = session;
    }

    void diskChanged(const std::shared_ptr<Disk>& disk, DiskEvent event) override
    {
        if (session_)
            session_->diskChanged(*disk, event);
    }

private:
    Session* session_ = nullptr;
};

/// Has the threads that the calling thread starts meanwhile take no signals, which are for the host's own.
class WithoutSignals {
public:
    WithoutSignals()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    WithoutSignals(const WithoutSignals&) = delete;
    WithoutSignals& operator=(const WithoutSignals&) = delete;
    ~WithoutSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

} // namespace

Session::Session(std::unique_ptr<system::Machine> machine, std::string name) : name_(std::move(name))
{
    std::promise<void> isReady;
    auto ready = isReady.get_future();
    {
        const WithoutSignals quiet;
        thread_ = std::thread([this, &machine, &isReady] { run(std::move(machine), isReady); });
    }
    try {
        ready.get();
    } catch (...) {
        thread_.join();
        throw;
    }
}

Session::~Session()
{
    end();
}

void Session::run(std::unique_ptr<system::Machine> machine, std::promise<void>& isReady)
{
    try {
        system::becomeMainThread();
        loop_ = system::CFRunLoopGetCurrent();
        system::install(std::move(machine));
        Ear::belongTo(this);
        pump();
        isReady.set_value();
    } catch (...) {
        isEnding_ = true;
        isReady.set_exception(std::current_exception());
    }
    while (!isEnding_) {
        pollfd waited{system::runLoopDescriptor(), POLLIN, 0};
        ::poll(&waited, 1, -1);
        pump();
    }
    try {
        Ear::belongTo(nullptr);
        system::install(std::make_unique<NoMachine>());
    } catch (const std::exception&) {
        // The next session installs its own.
    }
    pump();
}

void Session::pump()
{
    // What throws, for want of memory, takes nothing of what waits behind it along.
    for (;;) {
        try {
            if (!system::performPendingWork())
                return;
        } catch (const std::exception&) {
        }
    }
}

std::string Session::list()
{
    return onThread([this] { return listDocument(name_, diskTree(Vantorel::shared())); });
}

std::vector<std::string> Session::driveNames()
{
    return onThread([] {
        std::vector<std::string> names;
        for (const auto& drive : Vantorel::shared().drives())
            names.push_back(driveName(*drive));
        return names;
    });
}

std::vector<DriveOutcome> Session::read(const std::vector<std::string>& names)
{
    auto outcomes = onThread([&] { return unreadDrives(names); });
    const std::scoped_lock lock(reading_);
    readDrives(outcomes);
    onThread([&] { findVolumes(outcomes); });
    return outcomes;
}

std::string Session::check(const std::vector<std::string>& names, bool raw)
{
    return healthDocument(name_, read(names), raw);
}

void Session::listen(vantorel_event_callback callback, void* context)
{
    onThread([this, listener = Listener{callback, context}] {
        listener_ = listener;
        const auto disks = Vantorel::shared().disks();
        for (const auto& disk : disks) {
            // The callback may have put another in its place.
            if (listener.callback && listener_.callback == listener.callback && listener_.context == listener.context)
                listener.callback(eventDocument(*disk, DiskEvent::appeared).c_str(), listener.context);
        }
    });
}

EventQueue& Session::events()
{
    if (!isQueueing_) {
        onThread([this] {
            if (isQueueing_)
                return;
            for (const auto& disk : Vantorel::shared().disks())
                events_.push(eventDocument(*disk, DiskEvent::appeared));
            isQueueing_ = true;
        });
    }
    return events_;
}

void Session::diskChanged(const Disk& disk, DiskEvent event)
{
    const Listener listener = listener_;
    if (!tells_ || (!listener.callback && !isQueueing_))
        return;
    const std::string document = eventDocument(disk, event);
    if (isQueueing_)
        events_.push(document);
    if (listener.callback)
        listener.callback(document.c_str(), listener.context);
}

void Session::stopTelling()
{
    tells_ = false;
    events_.close();
}

void Session::end()
{
    if (!thread_.joinable())
        return;
    system::CFRunLoopPerformBlock(loop_, [this] { isEnding_ = true; });
    thread_.join();
}

} // namespace vantorel::c
