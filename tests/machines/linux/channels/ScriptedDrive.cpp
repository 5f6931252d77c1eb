// SPDX-License-Identifier: GPL-2.0-or-later
#include "ScriptedDrive.h"

#include "vantorel/base/Bytes.h"

#include <gtest/gtest.h>
#include <linux/fs.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace vantorel::test {

namespace {

constexpr std::uint64_t diskSequence = 7;

std::string text(const char* format, unsigned value)
{
    std::array<char, 32> buffer{};
    const int length = std::snprintf(buffer.data(), buffer.size(), format, value);
    return {buffer.data(), static_cast<std::size_t>(length)};
}

/// Bytes of the one who asks.
UMockdevIoctlData* resolved(UMockdevIoctlData* from, std::size_t offset, std::size_t size)
{
    return umockdev_ioctl_data_resolve(from, offset, size, nullptr);
}

void update(UMockdevIoctlData* to, const void* bytes, std::size_t size)
{
    Data copy(size); // it takes no constant bytes
    std::memcpy(copy.data(), bytes, size);
    umockdev_ioctl_data_update(to, 0, copy.data(), static_cast<gint>(size));
}

/// Puts bytes where a pointer of the one who asks leads.
void put(UMockdevIoctlData* from, std::size_t offset, const Data& bytes)
{
    if (!bytes.empty())
        update(resolved(from, offset, bytes.size()), bytes.data(), bytes.size());
}

} // namespace

ScriptedDrive::ScriptedDrive(const std::string& name, const std::string& deviceLines, const std::string& nodeLines,
                             const ScriptedDrive* beside)
    : bed_(beside ? UMOCKDEV_TESTBED(g_object_ref(beside->bed_)) : umockdev_testbed_new()),
      driver_(umockdev_ioctl_base_new())
{
    const bool isNvme = name.starts_with("nvme");
    const bool isController = isNvme && name.rfind('n') == 0;
    const int port = isNvme ? 0 : name.back() - 'a';
    const std::string address = std::to_string(port) + ":0:0:0";
    const std::string device = isNvme ? "/devices/nvme/nvme0" : "/devices/ata1/host0/target0/" + address;
    const std::string place = isController ? device : device + (isNvme ? "/" : "/block/") + name;
    const std::string minor = std::to_string(16 * port);
    std::string record;
    if (!isController)
        record = "P: " + device + "\nE: SUBSYSTEM=" + (isNvme ? "nvme" : "scsi") + "\n" + deviceLines + "\n";
    record += "P: " + place + "\nN: " + name + "\nE: SUBSYSTEM=" + (isController ? "nvme" : "block") +
              "\nE: DEVNAME=/dev/" + name + "\nE: DEVTYPE=disk\nE: MAJOR=8\nE: MINOR=" + minor +
              "\nE: DISKSEQ=" + std::to_string(diskSequence) + "\nA: size=4096\\n\nA: dev=8:" + minor +
              "\\n\nL: device=" + (isNvme ? "../../nvme0" : "../../../" + address) + "\n" + nodeLines + "\n";
    if (!umockdev_testbed_add_from_string(bed_, record.c_str(), nullptr))
        throw std::runtime_error("umockdev does not take the record:\n" + record);
    g_signal_connect(driver_, "handle-ioctl", G_CALLBACK(handle), this); // NOLINT
    umockdev_testbed_attach_ioctl(bed_, ("/dev/" + name).c_str(), driver_, nullptr);
    node.path = "/dev/" + name;
    node.sysfs = "/sys" + place;
    node.diskSequence = diskSequence;
}

ScriptedDrive::~ScriptedDrive()
{
    finish();
    umockdev_testbed_detach_ioctl(bed_, node.path.c_str(), nullptr);
    g_object_unref(driver_);
    g_object_unref(bed_);
}

std::string ScriptedDrive::file() const
{
    gchar* const root = umockdev_testbed_get_root_dir(bed_);
    std::string path = root + node.path;
    g_free(root);
    return path;
}

void ScriptedDrive::expect(std::vector<Exchange> exchanges)
{
    finish();
    script_ = std::move(exchanges);
    done_ = 0;
}

void ScriptedDrive::finish()
{
    for (const std::string& command : unexpected_)
        ADD_FAILURE() << "unexpected: " << command;
    for (; done_ < script_.size(); ++done_)
        ADD_FAILURE() << "never came: " << script_[done_].command;
    unexpected_.clear();
    script_.clear();
    done_ = 0;
}

const Reply* ScriptedDrive::next(const std::string& command)
{
    if (done_ < script_.size() && script_[done_].command == command)
        return &script_[done_++].reply;
    unexpected_.push_back(command);
    return nullptr;
}

gboolean ScriptedDrive::handle(UMockdevIoctlBase* /*base*/, UMockdevIoctlClient* client, gpointer self)
{
    auto& drive = *static_cast<ScriptedDrive*>(self);
    switch (umockdev_ioctl_client_get_request(client)) {
    case SG_IO:
        drive.answerScsi(client);
        return TRUE;
    case NVME_IOCTL_ADMIN_CMD:
        drive.answerNvme(client);
        return TRUE;
    case _IOR(0x12, 128, std::uint64_t): { // BLKGETDISKSEQ
        UMockdevIoctlData* const to = resolved(umockdev_ioctl_client_get_arg(client), 0, sizeof diskSequence);
        update(to, &diskSequence, sizeof diskSequence);
        umockdev_ioctl_client_complete(client, 0, 0);
        return TRUE;
    }
    default:
        return FALSE;
    }
}

void ScriptedDrive::answerScsi(UMockdevIoctlClient* client)
{
    UMockdevIoctlData* const arg = resolved(umockdev_ioctl_client_get_arg(client), 0, sizeof(sg_io_hdr));
    sg_io_hdr header{};
    std::memcpy(&header, arg->data, sizeof header);
    timeout_ = header.timeout;
    std::string command;
    const UMockdevIoctlData* const block = resolved(arg, offsetof(sg_io_hdr, cmdp), header.cmd_len);
    for (std::size_t i = 0; i < header.cmd_len; ++i)
        command += text(i == 0 ? "%02X" : " %02X", block->data[i]);
    if (header.dxfer_direction == SG_DXFER_TO_DEV) {
        const UMockdevIoctlData* const sent = resolved(arg, offsetof(sg_io_hdr, dxferp), header.dxfer_len);
        command += " <";
        for (std::size_t i = 0; i + 4 <= header.dxfer_len; i += 4) {
            const le32 word = *readRecord<le32>(DataView(sent->data + i, 4));
            if (word != 0)
                command += ' ' + std::to_string(i / 4) + text("=%08X", word);
        }
    }
    const Reply* const reply = next(command);
    if (!reply || reply->error != 0) {
        umockdev_ioctl_client_complete(client, -1, reply ? reply->error : EIO);
        return;
    }
    if (reply->data.size() > header.dxfer_len) {
        unexpected_.push_back(command + " with room for " + std::to_string(header.dxfer_len) + " bytes only");
        umockdev_ioctl_client_complete(client, -1, EFAULT);
        return;
    }
    put(arg, offsetof(sg_io_hdr, dxferp), reply->data);
    put(arg, offsetof(sg_io_hdr, sbp), reply->sense);
    header.host_status = static_cast<unsigned short>(reply->host);
    header.status = static_cast<unsigned char>(reply->sense.empty() ? reply->scsiStatus : 0x02);
    header.sb_len_wr = static_cast<unsigned char>(reply->sense.size());
    header.resid = static_cast<int>(header.dxfer_len - reply->data.size());
    update(arg, &header, sizeof header);
    end(client, *reply, 0);
}

void ScriptedDrive::answerNvme(UMockdevIoctlClient* client)
{
    UMockdevIoctlData* const arg = resolved(umockdev_ioctl_client_get_arg(client), 0, sizeof(nvme_admin_cmd));
    nvme_admin_cmd request{};
    std::memcpy(&request, arg->data, sizeof request);
    timeout_ = request.timeout_ms;
    std::string command = text("nvme %02X", request.opcode) + text(" %08X", request.nsid);
    for (const unsigned word :
         {request.cdw10, request.cdw11, request.cdw12, request.cdw13, request.cdw14, request.cdw15})
        command += text(" %X", word);
    const Reply* const reply = next(command + ' ' + std::to_string(request.data_len));
    if (!reply || reply->error != 0) {
        umockdev_ioctl_client_complete(client, -1, reply ? reply->error : EIO);
        return;
    }
    put(arg, offsetof(nvme_admin_cmd, addr), reply->data);
    end(client, *reply, reply->nvmeStatus);
}

void ScriptedDrive::end(UMockdevIoctlClient* client, const Reply& reply, int result)
{
    if (!reply.hangs) {
        umockdev_ioctl_client_complete(client, result, 0);
        return;
    }
    // Only this thread may end it; so it looks every now and then.
    hanging_ = UMOCKDEV_IOCTL_CLIENT(g_object_ref(client));
    GSource* const look = g_timeout_source_new(5);
    g_source_set_callback(look, endHanging, this, nullptr);
    g_source_attach(look, g_main_context_get_thread_default());
    g_source_unref(look);
}

gboolean ScriptedDrive::endHanging(gpointer self)
{
    auto& drive = *static_cast<ScriptedDrive*>(self);
    if (!drive.isLetGo_)
        return G_SOURCE_CONTINUE;
    UMockdevIoctlClient* const client = drive.hanging_.exchange(nullptr);
    umockdev_ioctl_client_complete(client, 0, 0);
    g_object_unref(client);
    return G_SOURCE_REMOVE;
}

Data bytesOf(std::string_view hexadecimal)
{
    const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'A' + 10; };
    Data bytes;
    for (std::size_t i = 0; i < hexadecimal.size(); ++i) {
        if (hexadecimal[i] == ' ')
            continue;
        bytes.push_back(static_cast<std::uint8_t>(digit(hexadecimal[i]) << 4 | digit(hexadecimal[i + 1])));
        ++i;
    }
    return bytes;
}

Reply refused(std::uint8_t key, std::uint8_t code)
{
    return {.data = {}, .sense = {0x70, 0, key, 0, 0, 0, 0, 10, 0, 0, 0, 0, code, 0, 0, 0, 0, 0}};
}

Reply registers(std::uint8_t status, std::uint8_t error, std::uint8_t count, std::uint32_t lba)
{
    const auto byteOf = [lba](unsigned shift) { return static_cast<std::uint8_t>(lba >> shift); };
    return {.data = {},
            .sense = {0x72,  1,    0,     0x1D, 0,         0,    0,         14,   9,          12,   0,
                      error, 0x55, count, 0x66, byteOf(0), 0x77, byteOf(8), 0x88, byteOf(16), 0xA0, status}};
}

Reply fixedRegisters(std::uint8_t status, std::uint8_t error, std::uint8_t count, std::uint32_t lba)
{
    const auto byteOf = [lba](unsigned shift) { return static_cast<std::uint8_t>(lba >> shift); };
    return {.data = {},
            .sense = {0x70, 0, 1, error, status, 0xA0, count, 10, 0x60, byteOf(0), byteOf(8), byteOf(16), 0, 0x1D, 0, 0,
                      0, 0}};
}

} // namespace vantorel::test
