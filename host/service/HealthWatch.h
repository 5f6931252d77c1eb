// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "BoundedPrograms.h"
#include "DriveReader.h"
#include "ServiceManager.h"
#include "WatchSettings.h"
#include "host/history/History.h"
#include "vantorel/disks/DiskListener.h"

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vantorel::host {

/// The watching service: reads the drives of the registry now and then, keeps what they show in the history, and tells
/// when the level of one has changed: in the journal, to a command and by mail. docs/watching.md tells it in full.
///
/// It runs on the registry's thread, and sleeps there until a reading is due, a disk comes or goes, a drive has
/// answered, a program has ended or a signal arrives. To be made before any thread is started, as it blocks the signals
/// that it takes; that thread and all later ones leave SIGTERM, SIGINT, SIGHUP and SIGCHLD to it.
class HealthWatch {
public:
    /// Throws what `settingsFor` does.
    HealthWatch(WatchOptions options, bool json);
    ~HealthWatch();
    HealthWatch(const HealthWatch&) = delete;
    HealthWatch& operator=(const HealthWatch&) = delete;

    /// Runs until SIGTERM or SIGINT, or for so many seconds. The machine has been started.
    void run(std::optional<double> seconds);

private:
    using Clock = std::chrono::steady_clock;
    class Arrivals;

    /// What is remembered of a drive between two readings.
    struct Watched {
        health::Level level = health::Level::good; ///< as it was last told
        bool isUnsure = false;                     ///< the last reading gave no level
        DriveOutcome outcome;                      ///< the last one
        std::optional<std::chrono::system_clock::time_point> readAt;
    };

    void wait(Clock::time_point until);
    void takeSignals();
    void reload();
    void readAll();
    void readNew();
    void takeReadings();
    void keepAll(std::vector<DriveOutcome>& outcomes);
    void consider(DriveOutcome outcome);
    void tellChange(const DriveOutcome& outcome, health::Level before, health::Level now);
    void writeMetricsFile();
    void tellOnce(const std::string& what, const std::string& why);

    WatchOptions options_;
    WatchSettings settings_;
    bool json_;
    int signals_ = -1;
    bool isOver_ = false;
    ServiceManager manager_;
    Journal journal_;
    DriveReader reader_;
    BoundedPrograms programs_;
    std::shared_ptr<Arrivals> arrivals_;
    std::map<std::string, Watched> drives_;   ///< by what tells them apart
    std::map<std::string, std::string> told_; ///< what went wrong and has not come right since
    Clock::time_point nextReading_;
    std::optional<Clock::time_point> nextSign_; ///< of life
};

} // namespace vantorel::host
