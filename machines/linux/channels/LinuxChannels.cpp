// SPDX-License-Identifier: GPL-2.0-or-later
#include "LinuxChannels.h"

#include "AtaDrive.h"
#include "AtaRoad.h"
#include "DeviceFile.h"
#include "NvmeRoad.h"
#include "Obstacles.h"
#include "UsbBridge.h"

#include <charconv>
#include <string_view>
#include <utility>

namespace vantorel::channels {

using namespace system;

/// How a node is spoken to, as far as it is known before it is asked.
struct DriveChannels::Way {
    enum class Kind { none, direct, kernelNvme, usb, unknownUsb };

    Kind kind = Kind::none;
    UsbBridge bridge;   ///< of a USB bridge; an unknown one is taken for SAT
    std::string reason; ///< why there is none

    [[nodiscard]] bool takesEither() const { return bridge.ata && bridge.nvme; }
    /// Only an answer says which commands are taken.
    [[nodiscard]] bool isOpen() const { return kind == Kind::unknownUsb || takesEither(); }
    [[nodiscard]] DriveCommands commands() const
    {
        if (kind == Kind::kernelNvme || bridge.nvme)
            return DriveCommands::nvme;
        return kind == Kind::direct || bridge.ata ? DriveCommands::ata : DriveCommands::none;
    }
};

/// What asking came to: commands, or why nothing could be asked.
struct DriveChannels::Finding {
    IOReturn status = kIOReturnSuccess;
    std::optional<DriveCommands> commands;
};

namespace {

constexpr auto notAta = "The drive takes no ATA commands.";
constexpr auto notNvme = "The drive takes no NVMe commands.";

std::string bridgeName(const DeviceNode& node)
{
    return "Its USB bridge (" + node.usbVendor + ':' + node.usbProduct + ')';
}

std::string unanswered(const DeviceNode& node)
{
    return bridgeName(node) + " is not known and did not answer for the drive.";
}

/// Four hexadecimal digits; 0, which is nobody's, for anything else.
std::uint16_t number(std::string_view digits)
{
    std::uint16_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    return error == std::errc() && end == digits.data() + digits.size() ? value : std::uint16_t{0};
}

/// The disk behind a node, as something that the next disk with this path does not share.
std::string diskOf(const DeviceNode& node)
{
    return node.sysfs + '#' + (node.diskSequence ? std::to_string(*node.diskSequence) : std::string());
}

} // namespace

DriveChannels::DriveChannels(ChannelOptions options) : options_(std::move(options)) {}

DriveChannels::~DriveChannels() = default;

DriveCommands DriveChannels::commands(const DeviceNode& node)
{
    const Way way = wayTo(node);
    std::optional<DriveCommands> taken = way.commands();
    if (way.isOpen()) {
        taken = find(node, way).commands;
        const bool isStick = way.kind == Way::Kind::unknownUsb && attribute(node, "removable") == "1";
        if (!taken)
            return isStick ? DriveCommands::none : way.commands();
    }
    if (taken == DriveCommands::none && !node.usbVendor.empty())
        note(node, kIOReturnUnsupported, way.reason.empty() ? unanswered(node) : way.reason);
    return *taken;
}

OpenedChannel<AtaChannel> DriveChannels::openAta(const DeviceNode& node)
{
    Attempt<AtaDrive> attempt = openAtaDrive(node);
    if (attempt.drive && !attempt.drive->declaration()->hasSmart())
        attempt = {kIOReturnUnsupported, nullptr, "The drive has no SMART."};
    note(node, attempt.status, std::move(attempt.reason));
    return {attempt.status, std::move(attempt.drive)};
}

OpenedChannel<NvmeChannel> DriveChannels::openNvme(const DeviceNode& node)
{
    Attempt<NvmeChannel> attempt = openNvmeDrive(node);
    note(node, attempt.status, std::move(attempt.reason));
    return {attempt.status, std::move(attempt.drive)};
}

std::optional<DriveObstacle> DriveChannels::whyNotOpened(const DeviceNode& node) const
{
    const std::scoped_lock lock(mutex_);
    const auto found = obstacles_.find(node.path);
    return found == obstacles_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<DriveIdentity> DriveChannels::readIdentity(const DeviceNode& node)
{
    const DriveCommands taken = commands(node);
    if (taken == DriveCommands::ata) {
        if (const auto drive = openAtaDrive(node).drive)
            return drive->declaration()->identity();
    }
    if (taken == DriveCommands::nvme) {
        if (const auto drive = openNvmeDrive(node).drive) {
            NvmeIdentity answer = identifyController(*drive);
            if (answer.status == kIOReturnSuccess)
                return std::move(answer.identity);
        }
    }
    return std::nullopt;
}

DriveChannels::Way DriveChannels::wayTo(const DeviceNode& node) const
{
    if (node.path.starts_with("/dev/nvme"))
        return {Way::Kind::kernelNvme, {}, {}};
    if (!node.path.starts_with("/dev/sd"))
        return {};
    if (node.usbVendor.empty()) {
        // The translator of the kernel gives every drive this vendor, and that of a host adapter has a page of its own.
        const bool isAta = attribute(node, "device/vendor") == "ATA" || hasAttribute(node, "device/vpd_pg89");
        return {isAta ? Way::Kind::direct : Way::Kind::none, {}, {}};
    }
    const std::optional<std::string> words =
        options_.usbBridge
            ? options_.usbBridge(number(node.usbVendor), number(node.usbProduct), number(node.usbVersion))
            : std::nullopt;
    if (!words)
        return {Way::Kind::unknownUsb, {.ata = AtaWrapping::sat16}, {}};
    if (const std::optional<UsbBridge> bridge = usbBridgeNamed(*words))
        return {Way::Kind::usb, *bridge, {}};
    return {Way::Kind::none, {}, bridgeName(node) + " carries no commands to the drive."};
}

bool DriveChannels::isLeftAsleep(const DeviceNode& node) const
{
    return !options_.wake && isSuspended(node);
}

DriveChannels::Finding DriveChannels::find(const DeviceNode& node, const Way& way)
{
    {
        const std::scoped_lock lock(mutex_);
        Found& found = found_[node.path];
        if (found.disk == diskOf(node))
            return {found.commands ? kIOReturnSuccess : kIOReturnBusy, found.commands};
        found = {diskOf(node), {}};
    }
    Finding finding = ask(node, way);
    const std::scoped_lock lock(mutex_);
    if (finding.commands)
        found_[node.path] = {diskOf(node), finding.commands};
    else
        found_.erase(node.path);
    return finding;
}

DriveChannels::Finding DriveChannels::ask(const DeviceNode& node, const Way& way) const
{
    if (isLeftAsleep(node))
        return {kIOReturnNotReady, {}};
    OpenedFile opened = openNode(node);
    if (opened.status != kIOReturnSuccess)
        return {opened.status, {}};
    IOReturn status = kIOReturnSuccess;
    DriveCommands commands = DriveCommands::none;
    if (way.takesEither()) {
        const NvmeIdentity answer = identifyController(*usbNvme(*way.bridge.nvme, std::move(opened.file)));
        status = answer.status;
        const bool isNvme = status == kIOReturnSuccess && !answer.identity.model.empty();
        commands = isNvme ? DriveCommands::nvme : DriveCommands::ata;
    } else {
        status = AtaDrive(usbRoad(way.bridge, std::move(opened.file))).identify();
        commands = status == kIOReturnSuccess ? DriveCommands::ata : DriveCommands::none;
    }
    if (status == kIOReturnNotPrivileged)
        return {status, {}};
    return {kIOReturnSuccess, commands};
}

DriveChannels::Attempt<AtaDrive> DriveChannels::openAtaDrive(const DeviceNode& node)
{
    const Way way = wayTo(node);
    if (way.kind != Way::Kind::direct && !way.bridge.ata)
        return {kIOReturnUnsupported, nullptr, way.reason.empty() ? notAta : way.reason};
    if (way.isOpen()) {
        const Finding finding = find(node, way);
        if (finding.status != kIOReturnSuccess)
            return {finding.status, nullptr, {}};
        if (finding.commands == DriveCommands::nvme)
            return {kIOReturnUnsupported, nullptr, notAta};
        if (finding.commands == DriveCommands::none)
            return {kIOReturnUnsupported, nullptr, unanswered(node)};
    }
    if (isLeftAsleep(node))
        return {kIOReturnNotReady, nullptr, {}};
    OpenedFile opened = openNode(node);
    if (opened.status != kIOReturnSuccess)
        return {opened.status, nullptr, {}};
    auto drive =
        std::make_unique<AtaDrive>(way.kind == Way::Kind::direct ? directRoad(std::move(opened.file))
                                                                 : usbRoad(way.bridge, std::move(opened.file)));
    if (!options_.wake) {
        const AtaDrive::PowerMode mode = drive->powerMode();
        if (mode.status != kIOReturnSuccess || mode.isAsleep)
            return {mode.isAsleep ? kIOReturnNotReady : mode.status, nullptr, {}};
    }
    if (const IOReturn status = drive->identify(); status != kIOReturnSuccess)
        return {status, nullptr, {}};
    return {kIOReturnSuccess, std::move(drive), {}};
}

DriveChannels::Attempt<NvmeChannel> DriveChannels::openNvmeDrive(const DeviceNode& node)
{
    const Way way = wayTo(node);
    if (way.commands() != DriveCommands::nvme)
        return {kIOReturnUnsupported, nullptr, way.reason.empty() ? notNvme : way.reason};
    if (way.isOpen()) {
        const Finding finding = find(node, way);
        if (finding.status != kIOReturnSuccess)
            return {finding.status, nullptr, {}};
        if (finding.commands != DriveCommands::nvme)
            return {kIOReturnUnsupported, nullptr, notNvme};
    }
    // A bridge sleeps as a whole, and its drive with it; the kernel's driver lets a controller sleep when it likes to,
    // and the controller answers all the same.
    if (way.kind != Way::Kind::kernelNvme && isLeftAsleep(node))
        return {kIOReturnNotReady, nullptr, {}};
    OpenedFile opened = openNode(node);
    if (opened.status != kIOReturnSuccess)
        return {opened.status, nullptr, {}};
    const bool isKernel = way.kind == Way::Kind::kernelNvme;
    std::unique_ptr<NvmeChannel> drive =
        isKernel ? kernelNvme(std::move(opened.file)) : usbNvme(*way.bridge.nvme, std::move(opened.file));
    const IOReturn status = isKernel ? tryHealthLog(*drive) : identifyController(*drive).status;
    if (status != kIOReturnSuccess)
        return {status, nullptr, {}};
    return {kIOReturnSuccess, std::move(drive), {}};
}

void DriveChannels::note(const DeviceNode& node, IOReturn status, std::string reason)
{
    std::optional<DriveObstacle> obstacle;
    if (status != kIOReturnSuccess)
        obstacle = obstacleOf(node, status, std::move(reason));
    const std::scoped_lock lock(mutex_);
    if (obstacle)
        obstacles_.insert_or_assign(node.path, std::move(*obstacle));
    else
        obstacles_.erase(node.path);
}

} // namespace vantorel::channels
