// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/PropertyValue.h"
#include "vantorel/disks/Drive.h"
#include "vantorel/smart/records/SmartObject.h"
#include "vantorel/system/DispatchQueue.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace vantorel {

/// The state of the machine's storage as one buffer, a keyed archive of one table: the library's "version", the
/// "drives" with their identity and their SMART data, raw and processed, and "ioreg", a gzip-compressed listing of the
/// I/O registry. `ReportReader` opens it on any computer. Nothing is kept from one report to the next.
class SystemReport {
public:
    using Completion = std::function<void(std::optional<Data> report)>;
    /// Told of each drive before it is read: the drive, its number from 0 on and how many there are.
    using Progress = std::function<void(const Drive& drive, std::size_t number, std::size_t count)>;

    SystemReport() = delete;

    /// Makes a report and calls `onComplete` once with it, or with nothing when there is none: where the library's
    /// version cannot be read, at once, before it returns; where the registry cannot be listed, on the main queue, as
    /// for every report. So the host has to run a main queue.
    ///
    /// The drives of `Vantorel::shared` are read one by one on the calling thread, which has to be the registry's. A
    /// drive that cannot be read has no SMART data in the report. The listing is made on a serial queue; those of
    /// overlapping calls follow each other. A listing that takes longer than a minute counts as none.
    static void generate(Completion onComplete, const Progress& onDrive = nullptr);

    /// What the platform calls this machine, "IOPlatformUUID" of its "IOPlatformExpertDevice"; absent when the machine
    /// does not say. Not part of a report.
    [[nodiscard]] static std::optional<std::string> getSystemUUID();

private:
    [[nodiscard]] static const system::DispatchQueueRef& queue();
    [[nodiscard]] static PropertyTable encodeSmart(const SmartObject& smartObject);
    static void getRegDump(std::function<void(Data dump)> onComplete);
};

} // namespace vantorel
