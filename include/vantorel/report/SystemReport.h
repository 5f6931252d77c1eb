// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"
#include "vantorel/disks/Drive.h"
#include "vantorel/smart/DriveReading.h"
#include "vantorel/smart/records/SmartObject.h"
#include "vantorel/system/DispatchQueue.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace VANTOREL_PUBLIC vantorel {

/// What a host may have to say to the making of a report. A function that is empty is not called.
struct SystemReportOptions {
    /// Reads a drive that has SMART, in the place of `SmartController::getSmartData`: for a host that has read all of
    /// them side by side, or tells of each. Called on the caller's thread in the order of the drives; throws
    /// `SmartError` as that does.
    std::function<DriveReading(const Drive& drive)> read;
    /// Before the completion: why there is no report, or no listing of the registry in it. On the main queue, or before
    /// `generate` returns.
    std::function<void(const std::string& why)> onFault;
    /// How long the listing of the registry may take.
    std::chrono::milliseconds listingTime = std::chrono::minutes(1);
};

/// The state of the machine's storage as one buffer, a keyed archive of one table: the library's "version", the
/// "drives" with their identity and their SMART data, raw and processed, and "ioreg", a gzip-compressed listing of the
/// I/O registry; and what helps to understand them later: when, where and by what the report was made, the volumes, why
/// drives could not be read, and what drives told beside their health. The format: docs/formats/report.md.
/// `ReportReader` opens it on any computer. Nothing is kept from one report to the next.
class SystemReport {
public:
    using Completion = std::function<void(std::optional<Data> report)>;

    SystemReport() = delete;

    /// Makes a report and calls `onComplete` once with it, or with nothing when there is none: where the library's
    /// version cannot be read, at once, before it returns; where a tool for the listing of the registry is missing, on
    /// the main queue, as for every report. So the host has to run a main queue.
    ///
    /// The drives of `Vantorel::shared` are read one by one on the calling thread, which has to be the registry's. A
    /// drive that cannot be read has no SMART data in the report. The listing is made on a serial queue; those of
    /// overlapping calls follow each other. One that takes too long counts as empty.
    static void generate(Completion onComplete, SystemReportOptions options);
    static void generate(Completion onComplete) { generate(std::move(onComplete), SystemReportOptions()); }

    /// What the platform calls this machine, "IOPlatformUUID" of its "IOPlatformExpertDevice"; absent when the machine
    /// does not say. Not part of a report.
    [[nodiscard]] static std::optional<std::string> getSystemUUID();

private:
    [[nodiscard]] static const system::DispatchQueueRef& queue();
    [[nodiscard]] static PropertyTable encodeSmart(const SmartObject& smartObject);
    static void getRegDump(std::chrono::milliseconds time,
                           std::function<void(Data dump, const std::string& fault)> onComplete);
};

} // namespace vantorel
