// SPDX-License-Identifier: GPL-2.0-or-later
#include "HealthWatch.h"

#include "ChangeDocument.h"
#include "host/choice/HistoryChoice.h"
#include "host/console/Output.h"
#include "host/metrics/MetricsFile.h"
#include "vantorel/base/Text.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/report/SystemReport.h"
#include "vantorel/system/RunLoop.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <set>
#include <utility>

#include <malloc.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace vantorel::host {

namespace {

using health::Level;

/// A drive that has just come is given time to start.
constexpr std::chrono::seconds settling(2);

/// What tells a drive from the others for as long as the service runs.
std::string keyOf(const DriveOutcome& outcome)
{
    const std::string serial = outcome.drive ? outcome.drive->serial.value_or("") : "";
    if (base::trimmed(serial).empty())
        return outcome.name;
    return outcome.drive->model.value_or("") + '\n' + std::string(base::trimmed(serial));
}

Priority priorityOf(Level level)
{
    switch (level) {
    case Level::failing:
        return Priority::critical;
    case Level::atRisk:
        return Priority::error;
    case Level::watch:
    case Level::unknown:
        return Priority::warning;
    case Level::good:
        break;
    }
    return Priority::notice;
}

int blockedSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGCHLD})
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    const int descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor < 0)
        throw CommandError("signals", reason(errno));
    return descriptor;
}

} // namespace

/// Notes the drives that come while the service runs.
class HealthWatch::Arrivals : public DiskListener {
public:
    void diskChanged(const std::shared_ptr<Disk>& disk, DiskEvent event) override
    {
        if (event != DiskEvent::appeared || !std::dynamic_pointer_cast<Drive>(disk) || !disk->bsdName())
            return;
        names.push_back(*disk->bsdName());
        due = Clock::now() + settling;
    }

    std::vector<std::string> names;
    std::optional<Clock::time_point> due; ///< when they are to be read
};

HealthWatch::HealthWatch(WatchOptions options, bool json)
    : options_(std::move(options)),
      settings_(settingsFor(options_)),
      json_(json),
      signals_(blockedSignals()),
      programs_([this](const std::string& message) { journal_.tell(Priority::warning, message); }),
      arrivals_(std::make_shared<Arrivals>())
{
    // Threads come and go: memory of their own for each would stay.
    mallopt(M_ARENA_MAX, 1);
}

HealthWatch::~HealthWatch()
{
    close(signals_);
}

void HealthWatch::run(std::optional<double> seconds)
{
    while (system::performPendingWork()) { // every disk that is there arrives
    }
    Vantorel::shared().registerListener(arrivals_);
    arrivals_->names.clear();
    arrivals_->due.reset();
    nextReading_ = Clock::now();
    if (const auto often = manager_.signOfLife())
        nextSign_ = Clock::now() + *often;
    manager_.notify("READY=1");
    const Clock::time_point end =
        seconds ? Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(*seconds))
                : Clock::time_point::max();
    while (!isOver_ && Clock::now() < end) {
        if (Clock::now() >= nextReading_)
            readAll();
        if (arrivals_->due && Clock::now() >= *arrivals_->due)
            readNew();
        if (nextSign_ && Clock::now() >= *nextSign_) {
            manager_.notify("WATCHDOG=1");
            *nextSign_ = Clock::now() + *manager_.signOfLife();
        }
        programs_.look();
        wait(std::min(end, nextReading_));
        while (system::performPendingWork()) {
        }
        takeSignals();
        takeReadings();
    }
    manager_.notify("STOPPING=1");
    if (!reader_.asked().empty()) {
        // A drive that does not answer would keep its thread, which needs what the end of a process takes away.
        programs_.stop();
        std::fflush(stdout);
        _exit(EXIT_SUCCESS);
    }
}

void HealthWatch::wait(Clock::time_point until)
{
    for (const auto& due : {arrivals_->due, nextSign_, programs_.nextLook()}) {
        if (due)
            until = std::min(until, *due);
    }
    pollfd descriptors[] = {
        {system::runLoopDescriptor(), POLLIN, 0}, {signals_, POLLIN, 0}, {reader_.descriptor(), POLLIN, 0}};
    constexpr std::chrono::hours longest(24);
    const auto left = std::clamp<Clock::duration>(until - Clock::now(), Clock::duration::zero(), longest);
    // Rounded up, so that what it wakes for is due.
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    poll(descriptors, std::size(descriptors), static_cast<int>(milliseconds));
}

void HealthWatch::takeSignals()
{
    signalfd_siginfo signal{};
    while (read(signals_, &signal, sizeof signal) == sizeof signal) {
        if (signal.ssi_signo == SIGHUP)
            reload();
        else if (signal.ssi_signo != SIGCHLD)
            isOver_ = true;
    }
}

void HealthWatch::reload()
{
    manager_.notifyReloading();
    try {
        settings_ = settingsFor(options_);
        nextReading_ = std::min(nextReading_, Clock::now() + settings_.interval);
        told_.clear();
        journal_.tell(Priority::information, "the settings were read again");
    } catch (const CommandError& error) {
        journal_.tell(Priority::error, fmt::format("{}; the old settings are kept", error.what()));
    }
    manager_.notify("READY=1");
}

void HealthWatch::readAll()
{
    // As it is now: the namespaces of an NVMe controller share a service.
    const std::set<std::uint64_t> hanging = reader_.asked();
    for (DriveOutcome& drive : unreadDrives({})) {
        if (drive.drive->service != 0 && hanging.contains(drive.drive->service)) {
            tellOnce(drive.name, "it has not answered since the last reading");
            drive.kind = DriveOutcome::Kind::failed;
            drive.error = "It does not answer.";
            consider(std::move(drive));
        } else {
            reader_.begin(std::move(drive));
        }
    }
    nextReading_ = std::max(nextReading_ + settings_.interval, Clock::now());
}

void HealthWatch::readNew()
{
    for (DriveOutcome& drive : unreadDrives(std::exchange(arrivals_->names, {}))) {
        drive.isNamed = false;
        reader_.begin(std::move(drive)); // it may have gone again
    }
    arrivals_->due.reset();
}

void HealthWatch::takeReadings()
{
    std::vector<DriveOutcome> outcomes = reader_.take();
    if (outcomes.empty())
        return;
    keepAll(outcomes);
    for (DriveOutcome& outcome : outcomes) {
        told_.erase(outcome.name);
        consider(std::move(outcome));
    }
    writeMetricsFile();
    malloc_trim(0); // nothing of this is needed for half an hour
}

void HealthWatch::keepAll(std::vector<DriveOutcome>& outcomes)
try {
    if (std::ranges::none_of(outcomes, [](const DriveOutcome& outcome) { return outcome.judged.has_value(); }))
        return;
    HistoryStore store = openHistory(settings_.history, HistoryStore::Use::write, std::chrono::milliseconds(500));
    const std::string machine = SystemReport::getSystemUUID().value_or("");
    const Timestamp now = currentTime();
    auto change = store.transaction();
    for (DriveOutcome& outcome : outcomes) {
        if (!outcome.judged)
            continue;
        outcome.comparedTo = judgeBeside(store, *outcome.judged, now);
        const auto kept = keep(store, *outcome.judged, machine, now);
        if (kept && kept->lastLevel)
            drives_.try_emplace(keyOf(outcome), Watched{*kept->lastLevel, false, outcome, {}});
        if (kept && kept->clockBefore)
            tellOnce("clock", "it has gone back");
    }
    change.commit();
    told_.erase("history");
} catch (const CommandError& error) {
    tellOnce("history", error.what());
}

void HealthWatch::consider(DriveOutcome outcome)
{
    Watched& watched = drives_[keyOf(outcome)];
    if (outcome.kind == DriveOutcome::Kind::asleep) { // as it was
        if (!watched.outcome.judged)
            watched.outcome = std::move(outcome);
        return;
    }
    const Level now = outcome.judged ? outcome.judged->verdict.level : Level::unknown;
    if (outcome.judged)
        watched.readAt = std::chrono::system_clock::now();
    watched.outcome = std::move(outcome);
    // One reading that came to nothing may be chance; two are none.
    const bool wasUnsure = std::exchange(watched.isUnsure, now == Level::unknown);
    if ((now != Level::unknown || wasUnsure) && now != watched.level)
        tellChange(watched.outcome, std::exchange(watched.level, now), now);
}

void HealthWatch::tellChange(const DriveOutcome& outcome, Level before, Level now)
{
    const LevelChange change{outcome, before, now};
    const std::string document = changeDocument(change);
    if (json_) {
        print(document);
        flush();
    } else {
        const DriveSnapshot& drive = *outcome.drive;
        journal_.tell(priorityOf(now), changeText(change),
                      {{"MESSAGE_ID", "6f6b7f1f5d4b4c7c9a52a1d0a3c2be71"},
                       {"VANTOREL_DISK", outcome.name},
                       {"VANTOREL_MODEL", drive.model.value_or("")},
                       {"VANTOREL_SERIAL", base::trimmed(drive.serial.value_or(""))},
                       {"VANTOREL_LEVEL", rawValue(now)},
                       {"VANTOREL_LAST_LEVEL", rawValue(before)},
                       {"VANTOREL_RULES", changeRules(change)}});
    }
    if (!settings_.onChange.empty())
        programs_.run({"the command for changes", {"/bin/sh", "-c", settings_.onChange}, document, settings_.patience});
    if (!settings_.mail.empty())
        programs_.run({"mail",
                       {"/bin/sh", "-c", "PATH=\"$PATH:/usr/sbin:/usr/lib\" exec sendmail -t"},
                       changeMail(change, settings_.mail),
                       settings_.patience});
}

void HealthWatch::writeMetricsFile()
try {
    if (settings_.metrics.empty())
        return;
    std::vector<DriveOutcome> present = unreadDrives({});
    std::vector<MeasuredDrive> measured;
    for (DriveOutcome& outcome : present) {
        std::optional<std::chrono::system_clock::time_point> readAt;
        if (const auto watched = drives_.find(keyOf(outcome)); watched != drives_.end()) {
            readAt = watched->second.readAt;
            const std::string name = std::exchange(outcome, watched->second.outcome).name;
            outcome.name = name;
        }
        measured.push_back(MeasuredDrive::of(outcome, readAt));
    }
    writeMetrics(measured, settings_.metrics, metricsFormatOf(settings_.metrics));
    told_.erase("metrics");
} catch (const CommandError& error) {
    tellOnce("metrics", error.what());
}

/// Tells what goes wrong again and again when it begins, and when it is another fault.
void HealthWatch::tellOnce(const std::string& what, const std::string& why)
{
    if (std::exchange(told_[what], why) != why)
        journal_.tell(Priority::warning, fmt::format("{}: {}", what, why));
}

} // namespace vantorel::host
