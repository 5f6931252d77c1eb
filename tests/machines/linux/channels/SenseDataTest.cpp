// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/linux/channels/SenseData.h"

#include "ScriptedDrive.h"
#include "machines/linux/channels/UsbBridge.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace vantorel::channels {
namespace {

/// All that was read, as one text to compare: key, codes, then the registers.
std::string told(const Data& bytes)
{
    const auto sense = readSense(bytes);
    if (!sense)
        return "none";
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%X %02X %02X%s", sense->key, sense->code, sense->qualifier,
                  sense->isDeferred ? " deferred" : "");
    std::string all = text.data();
    if (sense->registers) {
        std::snprintf(text.data(), text.size(), ": %02X %02X %02X %06X", sense->registers->status,
                      sense->registers->error, sense->registers->count, sense->registers->lba);
        all += text.data();
    }
    return all;
}

TEST(SenseData, AreReadInEitherFormAsFarAsTheyReach)
{
    const std::tuple<const char*, std::string> rows[] = {
        // The descriptor form, with the registers as QEMU's translator gives them, and behind another descriptor.
        {"72 01 00 1D 00 00 00 0E 09 0C 01 04 22 33 44 55 66 77 88 99 A0 51", "1 00 1D: 51 04 33 997755"},
        {"73 0B 47 00 00 00 00 16 00 06 80 00 11 22 33 44 09 0C 00 00 00 FF 00 01 00 4F 00 C2 00 50",
         "B 47 00 deferred: 50 00 FF C24F01"},
        {"72 01 00 1D 00 00 00 0E 09 0C 01 04 22 33 44 55 66 77 88 99 A0", "1 00 1D"},    // cut off
        {"72 01 00 1D 00 00 00 0D 09 0C 01 04 22 33 44 55 66 77 88 99 A0 51", "1 00 1D"}, // said to be shorter
        {"72 05 20 00 00 00 00 FF 09", "5 20 00"},
        {"72 05 20 00 00 00 00 02 09 FF", "5 20 00"},
        {"72 05 20 00 00 00 00", "none"},
        // The fixed form, where the codes say what the fields hold.
        {"F0 00 01 04 51 A0 33 0A 40 55 77 99 00 1D 00 00 00 00", "1 00 1D: 51 04 33 997755"},
        {"71 00 63 04 51 A0 33 0A 40 55 77 99 11 04", "3 11 04 deferred"},
        {"70 00 05 00 00 00 00 06 00 00 00 00 24 00", "5 24 00"},
        {"70 00 05 00 00 00 00 04 00 00 00 00 24 1D", "5 00 00"}, // ends before the codes
        {"70 00 05 00 00 00 00 00", "5 00 00"},
        {"70 00 05 00 00 00 00", "none"},
        {"7F 00 05 00 00 00 00 0A 00 00 00 00 24 00", "none"},
        {"00 00 00 00 00 00 00 00", "none"},
        {"", "none"},
    };
    for (const auto& [bytes, expected] : rows)
        EXPECT_EQ(told(test::bytesOf(bytes)), expected) << bytes;
}

TEST(UsbBridges, AreNamedAsTheDriveTableNamesThem)
{
    using A = AtaWrapping;
    using N = NvmeWrapping;
    struct Row {
        const char* words;
        std::optional<AtaWrapping> ata;
        std::optional<NvmeWrapping> nvme = {};
        std::optional<std::uint8_t> port = {};
        bool hasTail = false;
        std::uint8_t signature = 0x24;
    };
    const Row rows[] = {
        {"sat", A::sat16},
        {"sat,16", A::sat16},
        {"sat,12", A::sat12},
        {"usbjmicron", A::jmicron},
        {"usbjmicron,x,1", A::jmicron, {}, 1},
        {"usbjmicron,p", A::jmicron, {}, 0, true},
        {"usbjmicron,p,1", A::jmicron, {}, 1, true},
        {"usbprolific", A::prolific},
        {"usbsunplus", A::sunplus},
        {"usbcypress", A::cypress},
        {"usbcypress,0xBE", A::cypress, {}, {}, false, 0xBE},
        {"sntasmedia", {}, N::asmedia},
        {"sntrealtek", {}, N::realtek},
        {"sntjmicron", {}, N::jmicron},
        {"sntjmicron/sat", A::sat16, N::jmicron},
        {"sntrealtek/sat,12", A::sat12, N::realtek},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.words);
        const auto bridge = usbBridgeNamed(row.words);
        ASSERT_TRUE(bridge);
        EXPECT_EQ(bridge->ata, row.ata);
        EXPECT_EQ(bridge->nvme, row.nvme);
        EXPECT_EQ(bridge->port, row.port);
        EXPECT_EQ(bridge->hasTail, row.hasTail);
        EXPECT_EQ(bridge->signature, row.signature);
    }
    for (const char* words : {"", "unsupported", "SAT", "sat,13", "usbjmicron,2", "usbjmicron,y", "usbsunplus,x",
                              "usbcypress,0x100", "sntasmedia,1", "sat/sntjmicron", "sntjmicron/none"})
        EXPECT_FALSE(usbBridgeNamed(words)) << words;
}

} // namespace
} // namespace vantorel::channels
