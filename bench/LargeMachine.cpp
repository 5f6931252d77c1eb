// SPDX-License-Identifier: GPL-2.0-or-later
// Writes a recorded machine with a hundred SATA disks that answer, in a registry listing of some 4 MB:
//   large_machine FOLDER
#include "system/propertylist/PropertyList.h"
#include "vantorel/base/PropertyValue.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

using namespace vantorel;

namespace {

constexpr int drives = 100;
constexpr int entriesBesideADrive = 24;

std::uint64_t lastId = 0x1'0000'0000;

PropertyTable entry(const char* className, std::string name, PropertyTable properties, PropertyArray children)
{
    properties["IOObjectClass"] = className;
    properties["IORegistryEntryName"] = std::move(name);
    properties["IORegistryEntryID"] = ++lastId;
    if (!children.empty())
        properties["IORegistryEntryChildren"] = std::move(children);
    return properties;
}

PropertyTable medium(int number)
{
    return entry("IOMedia", "WDC WD5000AAKS-00TMA0 Media",
                 {{"BSD Name", fmt::format("disk{}", number)},
                  {"BSD Unit", number},
                  {"BSD Major", 1},
                  {"BSD Minor", number},
                  {"Content", "GUID_partition_scheme"},
                  {"Ejectable", false},
                  {"Leaf", true},
                  {"Preferred Block Size", 512},
                  {"Removable", false},
                  {"Size", 500'107'862'016},
                  {"Whole", true},
                  {"Writable", true}},
                 {});
}

PropertyTable drive(int number)
{
    PropertyTable driver = entry("IOBlockStorageDriver", "IOBlockStorageDriver", {}, {medium(number)});
    const PropertyTable characteristics = {{"Product Name", "WDC WD5000AAKS-00TMA0"},
                                           {"Serial Number", fmt::format("WD-LARGE{:05}", number)},
                                           {"Product Revision Level", "12.01C01"},
                                           {"Medium Type", "Rotational"}};
    const PropertyTable protocol = {{"Physical Interconnect", "SATA"}, {"Physical Interconnect Location", "Internal"}};
    PropertyTable device = entry(
        "IOAHCIBlockStorageDevice", "IOAHCIBlockStorageDevice",
        {{"SMART Capable", true}, {"Device Characteristics", characteristics}, {"Protocol Characteristics", protocol}},
        {std::move(driver)});
    PropertyArray children = {std::move(device)};
    for (int i = 0; i < entriesBesideADrive; ++i) {
        PropertyTable properties = {{"IOProviderClass", "IOPCIDevice"}, {"reg", Data(600, std::uint8_t(i))}};
        for (int key = 0; key < 8; ++key)
            properties[fmt::format("Property number {}", key)] = fmt::format("value {} of {}", key, i);
        children.emplace_back(entry("IOService", fmt::format("Service{}", i), std::move(properties), {}));
    }
    return entry("AppleAHCI", "AppleAHCI", {}, std::move(children));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    const std::filesystem::path folder(argv[1]);
    std::filesystem::create_directories(folder);
    PropertyArray controllers;
    std::string json = R"({"listing": "ioreg.plist", "drives": [)";
    for (int i = 0; i < drives; ++i) {
        controllers.emplace_back(drive(i));
        json += fmt::format(R"({}{{"disk": "disk{}", "ata": {{"data": "data.bin", "thresholds": "thresholds.bin"}}}})",
                            i == 0 ? "" : ",", i);
    }
    std::ofstream(folder / "machine.json") << json << "]}\n";
    std::ofstream(folder / "ioreg.plist")
        << system::writeXmlPropertyList(entry("IORegistryEntry", "Root", {}, std::move(controllers)));
    for (const char* const name : {"data.bin", "thresholds.bin"})
        std::filesystem::copy_file(std::filesystem::path(VANTOREL_TEST_DATA) / "ata/wd-aaks" / name, folder / name,
                                   std::filesystem::copy_options::overwrite_existing);
}
