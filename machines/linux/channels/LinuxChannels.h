// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DeviceNode.h"
#include "vantorel/machines/linux/ThisComputer.h"
#include "vantorel/system/Machine.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace vantorel::channels {

class AtaDrive;

/// Which commands a drive can be sent.
enum class DriveCommands { none, ata, nvme };

/// The roads to this computer's drives: SG_IO with ATA PASS-THROUGH, through USB bridges too, and the admin commands of
/// the kernel's NVMe driver.
///
/// It remembers what it found out about each node, so that a bridge that refused is not asked a second time, until the
/// node is another disk's. May be used by several threads at once; a channel outlives it.
///
/// Nodes are opened for reading only, no command moves data to a medium, and none is sent that the drive does not
/// declare, so that nothing is added to the drive's own error log. Unless `ChannelOptions::wake` is set a drive is
/// asked for its power mode first; one that sleeps is left asleep and opening ends with `kIOReturnNotReady`. An NVMe
/// controller answers admin commands in every power state and has nothing to wake.
///
/// A command ends when its time is over, by the kernel's clock: SG_IO and the NVMe driver end it and set the device
/// right again, which can take as long again. A kernel that does not come back from there keeps the calling thread.
class DriveChannels {
public:
    explicit DriveChannels(ChannelOptions options);
    ~DriveChannels();

    /// Which commands the drive can be sent, as far as that can be told. Asks a drive behind an unknown or twofold
    /// bridge once, unless it sleeps; a fixed drive that may not be asked counts as able, so that opening says why.
    /// Why a USB disk takes none, `whyNotOpened` tells from then on.
    [[nodiscard]] DriveCommands commands(const DeviceNode& node);

    [[nodiscard]] system::OpenedChannel<system::AtaChannel> openAta(const DeviceNode& node);
    [[nodiscard]] system::OpenedChannel<system::NvmeChannel> openNvme(const DeviceNode& node);
    /// Why the last opening of this node failed, or is bound to fail; absent when it did not.
    [[nodiscard]] std::optional<system::DriveObstacle> whyNotOpened(const DeviceNode& node) const;

    /// Model, serial and firmware in full, by IDENTIFY; absent when the drive cannot be asked, as in opening.
    [[nodiscard]] std::optional<DriveIdentity> readIdentity(const DeviceNode& node);

private:
    struct Way;
    struct Finding;
    /// A finding and the disk it is of, as the path may be another one's next time.
    struct Found {
        std::string disk;
        std::optional<DriveCommands> commands; ///< absent while it is being asked
    };
    template <typename Drive>
    struct Attempt {
        system::IOReturn status = system::kIOReturnUnsupported;
        std::unique_ptr<Drive> drive;
        std::string reason; ///< why there is none, where the status does not say it
    };

    [[nodiscard]] Way wayTo(const DeviceNode& node) const;
    [[nodiscard]] bool isLeftAsleep(const DeviceNode& node) const;
    [[nodiscard]] Finding find(const DeviceNode& node, const Way& way);
    [[nodiscard]] Finding ask(const DeviceNode& node, const Way& way) const;
    [[nodiscard]] Attempt<AtaDrive> openAtaDrive(const DeviceNode& node);
    [[nodiscard]] Attempt<system::NvmeChannel> openNvmeDrive(const DeviceNode& node);
    void note(const DeviceNode& node, system::IOReturn status, std::string reason);

    const ChannelOptions options_;
    mutable std::mutex mutex_;
    std::map<std::string, system::DriveObstacle> obstacles_; ///< by path
    std::map<std::string, Found> found_;                     ///< by path
};

} // namespace vantorel::channels
