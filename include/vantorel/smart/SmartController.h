// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/ATASmartController.h"
#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"
#include "vantorel/disks/Drive.h"
#include "vantorel/nvme/NVMeSmartController.h"
#include "vantorel/smart/DriveReading.h"
#include "vantorel/smart/DriveSnapshot.h"
#include "vantorel/smart/records/SmartError.h"
#include "vantorel/smart/records/SmartObject.h"

#include <optional>
#include <string>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {

/// The door to health results. It decides nothing about health itself: it chooses the reader and passes the bytes on.
///
/// There is one instance, made at first use together with its two readers; it lives until the process ends. It caches
/// nothing and takes no locks; every call runs wholly on the caller's thread.
class SmartController {
public:
    /// The one instance. Safe against concurrent first use.
    [[nodiscard]] static SmartController& shared();

    SmartController(const SmartController&) = delete;
    SmartController& operator=(const SmartController&) = delete;

    [[nodiscard]] const NVMeSmartController& nvmeSmartController() const { return nvmeSmartController_; }
    [[nodiscard]] const ATASmartController& ataSmartController() const { return ataSmartController_; }

    /// The result of bytes that were saved earlier, without any drive.
    ///
    /// With `nvme`, `data` is a SMART / Health Information log, and the other arguments are not looked at. Without it,
    /// `data` and `thresholdsData` are the two sectors of ATA SMART; `model` selects the row of the drive table
    /// (firmware and serial are the empty text), and `isSSD` tells which kind of drive it was. Absent when a buffer
    /// holds fewer than 512 bytes or an ATA result has no thresholds. Throws nothing of its own.
    [[nodiscard]] std::optional<SmartObject> processExtractedSmart(DataView data,
                                                                   std::optional<DataView> thresholdsData, bool nvme,
                                                                   bool isSSD, const std::string& model) const;

    // The reads of live drives. Each opens a plug-in at the nearest registry entry above the drive's own that declares
    // itself SMART capable, and is finished with it at return. They throw `SmartError`, of the kind `SmartOpenError` as
    // long as no command was sent, and block the calling thread. Of one drive the second read at a time fails.
    //
    // The registry changes its drives while it handles events, and no lock guards them: what takes a `Drive` is to be
    // called on the registry's thread. A snapshot, made there, may be read on any thread, and many drives at once.

    /// Reads a drive of either kind. The result is the one that the operation for its kind gives, by the same steps;
    /// then an ATA drive is asked for its own opinion and its identify data. `health::JudgedReading` is the verdict on
    /// it. Any thread.
    [[nodiscard]] DriveReading getSmartData(const DriveSnapshot& drive) const;
    /// The same of the drive as it is now. On the registry's thread.
    [[nodiscard]] DriveReading getSmartData(const Drive& drive) const;

    // The two operations for one kind each, and the log that only one has. Which fits is for the caller to say, by
    // `Drive::interface`. On the registry's thread.

    [[nodiscard]] ATASmartObject getATASmartData(const Drive& drive) const;
    [[nodiscard]] NVMeSmartObject getNVMeSmartData(const Drive& drive) const;
    /// The errors that an NVMe controller keeps, newest first; unused entries are left out.
    [[nodiscard]] std::vector<NVMeSmartError> getNvmeErrorLog(const Drive& drive) const;

private:
    SmartController() = default;

    NVMeSmartController nvmeSmartController_;
    ATASmartController ataSmartController_;
};

} // namespace vantorel
