// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "machines/linux/channels/LinuxChannels.h"
#include "vantorel/base/Data.h"

#include <umockdev.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel::test {

/// How one command ends.
struct Reply {
    Data data;         ///< what comes back; the rest of the buffer stays
    Data sense;        ///< with CHECK CONDITION, where there is any
    int error = 0;     ///< with which the request itself fails
    unsigned host = 0; ///< how the host adapter saw it end
    unsigned scsiStatus = 0;
    int nvmeStatus = 0;
    bool hangs = false; ///< and comes only when the drive is let go
};

/// One command that is expected, and what comes of it. A SCSI command is its block in hexadecimal, behind which stand,
/// after "<", the words that are not 0 of what is sent with it: "A1 80 … < 0=454D564E 2=00000006". An NVMe command is
/// "nvme", opcode, NSID, the six command words and the length.
struct Exchange {
    std::string command;
    Reply reply;
};

/// A node of a machine of umockdev, whose driver expects commands in one order and no others: a SATA disk as libata
/// shows it, a namespace of an NVMe controller, or a controller.
class ScriptedDrive {
public:
    /// Makes the node, such as "sda", with these lines of its record and of its device's, as umockdev has them:
    /// "A: vendor=ATA\n". Commands other than the expected ones fail, and fail the test. `beside` has the machine to
    /// which it is added, and outlives it; otherwise it has one of its own.
    explicit ScriptedDrive(const std::string& name, const std::string& deviceLines = "",
                           const std::string& nodeLines = "", const ScriptedDrive* beside = nullptr);
    ScriptedDrive(const ScriptedDrive&) = delete;
    ScriptedDrive& operator=(const ScriptedDrive&) = delete;
    ~ScriptedDrive();

    channels::DeviceNode node; ///< with disk sequence 7, which the node has; to be changed by a test

    /// Expects these from now on, those before having come.
    void expect(std::vector<Exchange> exchanges);
    /// Whether all have come, with a failure for what came instead.
    void finish();
    [[nodiscard]] std::string file() const; ///< what stands for the node

    /// Whether a command hangs, and what ends it.
    [[nodiscard]] bool isHanging() const { return hanging_ != nullptr; }
    void letGo() { isLetGo_ = true; }

    /// Milliseconds that the last command was given.
    [[nodiscard]] unsigned timeout() const { return timeout_; }
    [[nodiscard]] UMockdevTestbed* bed() const { return bed_; }

private:
    static gboolean handle(UMockdevIoctlBase* base, UMockdevIoctlClient* client, gpointer self);
    static gboolean endHanging(gpointer self);
    const Reply* next(const std::string& command);
    void end(UMockdevIoctlClient* client, const Reply& reply, int result);
    void answerScsi(UMockdevIoctlClient* client);
    void answerNvme(UMockdevIoctlClient* client);

    UMockdevTestbed* bed_;
    UMockdevIoctlBase* driver_;
    std::vector<Exchange> script_;
    std::size_t done_ = 0;
    std::vector<std::string> unexpected_;
    unsigned timeout_ = 0;
    std::atomic<UMockdevIoctlClient*> hanging_ = nullptr;
    std::atomic<bool> isLetGo_ = false;
};

/// Bytes from text such as "85 06 20"; blanks are passed over.
[[nodiscard]] Data bytesOf(std::string_view hexadecimal);

/// CHECK CONDITION with a sense key and code and no registers, in the fixed form.
[[nodiscard]] Reply refused(std::uint8_t key, std::uint8_t code = 0);

/// The end of a command that asked for the registers, in the descriptor form (SAT-3).
[[nodiscard]] Reply registers(std::uint8_t status, std::uint8_t error, std::uint8_t count, std::uint32_t lba);

/// The same in the fixed form.
[[nodiscard]] Reply fixedRegisters(std::uint8_t status, std::uint8_t error, std::uint8_t count, std::uint32_t lba);

} // namespace vantorel::test
