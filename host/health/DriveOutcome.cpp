// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveOutcome.h"

#include "SideBySide.h"
#include "host/choice/DriveChoice.h"
#include "host/console/Output.h"
#include "host/console/Status.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/system/Installation.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>
#include <utility>

namespace vantorel::host {

namespace {

using Kind = DriveOutcome::Kind;

/// A drive that is to be read, and what came of it. Drives that one service answers for, such as the namespaces of an
/// NVMe controller, are one.
struct Job {
    ReadableDrive drive;
    Kind kind = Kind::noSmart;
    std::optional<JudgedReading> judged;
    bool isExplained = false;
    std::string error = "It has no SMART data.";
    std::string remedy;
};

void tellObstacle(Job& job, std::uint64_t entry)
{
    const auto obstacle = system::machine()->whyNotOpened(entry);
    if (!obstacle)
        return;
    job.isExplained = true;
    job.error = obstacle->reason;
    job.remedy = obstacle->remedy;
    if (obstacle->status == system::kIOReturnNotReady)
        job.kind = Kind::asleep;
}

/// The entry of the device that a drive is the medium of, behind the block storage driver; 0 for none.
std::uint64_t deviceOf(const Drive& drive)
{
    system::IOHandle driver;
    system::IOHandle device;
    std::uint64_t entry = 0;
    system::IORegistryEntryGetParentEntry(drive.ioService().get(), system::kIOServicePlane, driver.receive());
    system::IORegistryEntryGetParentEntry(driver.get(), system::kIOServicePlane, device.receive());
    system::IORegistryEntryGetRegistryEntryID(device.get(), entry);
    return entry;
}

/// Runs on any thread; nothing is thrown.
void perform(Job& job) noexcept
try {
    job.judged.emplace(readDrive(job.drive), job.drive.isSSD);
    job.kind = Kind::read;
    job.error.clear();
} catch (const SmartOpenError& error) {
    job.kind = Kind::notOpened;
    job.error = error.errorDescription();
    tellObstacle(job, job.drive.service);
} catch (const std::exception& error) {
    job.kind = Kind::failed;
    job.error = error.what();
}

std::vector<DriveOutcome> outcomesFor(const std::vector<std::string>& names)
{
    std::vector<DriveOutcome> outcomes;
    for (auto& drive : names.empty() ? Vantorel::shared().drives() : std::vector<std::shared_ptr<Drive>>())
        outcomes.push_back({Kind::noSmart, driveName(*drive), false, drive, {}, false, {}, {}});
    for (const std::string& name : names) {
        auto drive = driveNamed(name);
        if (!drive)
            outcomes.push_back({Kind::noDrive, name, true, nullptr, {}, false, "There is no such drive.", {}});
        else if (std::ranges::find(outcomes, drive, &DriveOutcome::drive) == outcomes.end())
            outcomes.push_back({Kind::noSmart, driveName(*drive), true, drive, {}, false, {}, {}});
    }
    return outcomes;
}

} // namespace

int DriveOutcome::status() const
{
    switch (kind) {
    case Kind::noDrive:
        return usageError;
    case Kind::notOpened:
        return driveNotOpened;
    case Kind::failed:
        return readFailed;
    case Kind::noSmart:
        return isNamed ? driveNotOpened : success;
    case Kind::read:
        return judged->status();
    case Kind::asleep:
        break;
    }
    return success;
}

int statusOf(const std::vector<DriveOutcome>& outcomes)
{
    int status = outcomes.empty() ? usageError : success;
    for (const DriveOutcome& outcome : outcomes)
        status |= outcome.status();
    return status;
}

std::vector<DriveOutcome> readDrives(const std::vector<std::string>& names)
{
    std::vector<DriveOutcome> outcomes = outcomesFor(names);
    std::vector<Job> jobs;
    std::vector<std::pair<DriveOutcome*, std::size_t>> answers; // which job answers for a drive
    for (DriveOutcome& outcome : outcomes) {
        if (!outcome.drive)
            continue;
        Job job{.drive = ReadableDrive::of(*outcome.drive)};
        if (job.drive.service == 0)
            tellObstacle(job, deviceOf(*outcome.drive));
        const auto same = std::ranges::find_if(jobs, [&](const Job& other) {
            return other.drive.service != 0 && other.drive.service == job.drive.service;
        });
        answers.emplace_back(&outcome, static_cast<std::size_t>(same - jobs.begin()));
        if (same == jobs.end())
            jobs.push_back(std::move(job));
    }
    {
        ProgressLine progress;
        sideBySide(
            jobs.size(),
            [&](std::size_t i) {
                if (jobs[i].drive.service != 0)
                    perform(jobs[i]);
            },
            [&](std::size_t done) { progress.show(fmt::format("Reading drives, {} of {} done", done, jobs.size())); });
    }
    for (const auto& [outcome, index] : answers) {
        const Job& job = jobs[index];
        outcome->kind = job.kind;
        outcome->judged = job.judged;
        outcome->isExplained = job.isExplained;
        outcome->error = job.error;
        outcome->remedy = job.remedy;
    }
    return outcomes;
}

void complainOfFaults(const std::vector<DriveOutcome>& outcomes)
{
    for (const DriveOutcome& outcome : outcomes) {
        if (!outcome.judged && outcome.status() != success)
            complain(outcome.name, outcome.error + (outcome.remedy.empty() ? "" : " Try: " + outcome.remedy));
    }
}

} // namespace vantorel::host
