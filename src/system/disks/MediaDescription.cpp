// SPDX-License-Identifier: GPL-2.0-or-later
#include "MediaDescription.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace vantorel::system {

namespace {

/// Far more levels than any registry has. A hostile one costs no more than this for each disk.
constexpr int mostLevels = 1024;

using Rename = std::pair<std::string_view, std::string_view>;

constexpr std::array<Rename, 1> mediaTexts{{{"Content", "DAMediaContent"}}};
constexpr std::array<Rename, 5> mediaNumbers{{
    {"BSD Unit", "DAMediaBSDUnit"},
    {"BSD Major", "DAMediaBSDMajor"},
    {"BSD Minor", "DAMediaBSDMinor"},
    {"Preferred Block Size", "DAMediaBlockSize"},
    {"Size", "DAMediaSize"},
}};
constexpr std::array<Rename, 5> mediaFlags{{
    {"Ejectable", "DAMediaEjectable"},
    {"Leaf", "DAMediaLeaf"},
    {"Removable", "DAMediaRemovable"},
    {"Whole", "DAMediaWhole"},
    {"Writable", "DAMediaWritable"},
}};
constexpr std::array<Rename, 3> deviceTexts{{
    {"Product Name", "DADeviceModel"},
    {"Product Revision Level", "DADeviceRevision"},
    {"Vendor Name", "DADeviceVendor"},
}};

/// What the platform writes under the first key, the library reads under the second.
constexpr std::array<Rename, 7> secondSpellings{{
    {"DAMediaBlockSize", "DADeviceBlockSize"},
    {"DAMediaContent", "DADeviceContent"},
    {"DAMediaEjectable", "DADeviceEjectable"},
    {"DAMediaRemovable", "DADeviceRemovable"},
    {"DAMediaWritable", "DADeviceWritable"},
    {"DAVolumeMountable", "DADeviceMountable"},
    {"DAVolumeNetwork", "DADeviceNetwork"},
}};

constexpr std::string_view deviceCharacteristics = "Device Characteristics";
constexpr std::string_view protocolCharacteristics = "Protocol Characteristics";
constexpr std::array<std::string_view, 5> inheritedKeys{deviceCharacteristics, protocolCharacteristics, "GUID",
                                                        "IOMediaIcon", "IOUnit"};

/// Copies the values that are there with the given type, under their new names.
void copyValues(const PropertyTable& from, std::span<const Rename> names, PropertyValue::Type type, PropertyTable& to)
{
    for (const auto& [source, target] : names) {
        const PropertyValue* const value = from.lookUp(source);
        if (value && value->type() == type)
            to.insert_or_assign(std::string(target), *value);
    }
}

/// The nearest value of this key and type, beginning with the entry itself.
const PropertyValue* searchUp(const RegistryNode& from, std::string_view key, PropertyValue::Type type)
{
    const RegistryNode* node = &from;
    for (int level = 0; node && level < mostLevels; node = node->firstParent(), ++level) {
        const PropertyValue* const value = node->properties->lookUp(key);
        if (value && value->type() == type)
            return value;
    }
    return nullptr;
}

const PropertyTable* tableIn(const RegistryNode& node, std::string_view key)
{
    const PropertyValue* const value = node.properties->lookUp(key);
    return value ? value->table() : nullptr;
}

/// A file URL of a folder, as the platform writes it.
std::string folderUrl(const std::string& path)
{
    constexpr std::string_view plain = "-._~/!$&'()*+,;=:@";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char character : path) {
        const auto byte = static_cast<unsigned char>(character);
        const bool isLetterOrDigit =
            (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
        if (isLetterOrDigit || plain.find(character) != std::string_view::npos)
            url += character;
        else
            url.append({'%', digits[byte >> 4U], digits[byte & 15U]});
    }
    if (url.back() != '/')
        url += '/';
    return url;
}

void describeDevice(const RegistryNode& device, PropertyTable& description)
{
    if (const PropertyTable* const facts = tableIn(device, deviceCharacteristics))
        copyValues(*facts, deviceTexts, PropertyValue::Type::text, description);
    if (const PropertyTable* const facts = tableIn(device, protocolCharacteristics)) {
        copyValues(*facts, {{{"Physical Interconnect", "DADeviceProtocol"}}}, PropertyValue::Type::text, description);
        // Any other place, such as the "File" of a disk image, is neither inside nor outside.
        const auto place = facts->get<std::string>("Physical Interconnect Location");
        if (place == "Internal" || place == "External")
            description.emplace("DADeviceInternal", place == "Internal");
    }
    if (const PropertyValue* const unit = searchUp(device, "IOUnit", PropertyValue::Type::integer))
        description.emplace("DADeviceUnit", *unit);
    if (const PropertyValue* const guid = searchUp(device, "GUID", PropertyValue::Type::data))
        description.emplace("DADeviceGUID", *guid);
    description.emplace("DADevicePath", servicePath(device));
}

void describeVolume(const VolumeFacts* volume, PropertyTable& description)
{
    description.emplace("DAVolumeNetwork", false);
    if (!volume)
        return;
    if (volume->kind)
        description.emplace("DAVolumeKind", *volume->kind);
    if (volume->name)
        description.emplace("DAVolumeName", *volume->name);
    if (volume->uuid)
        description.emplace("DAVolumeUUID", *volume->uuid);
    if (!volume->mountPoints.empty())
        description.emplace("DAVolumePath", folderUrl(volume->mountPoints.front()));
    description.emplace("DAVolumeMountable", volume->mountable.value_or(volume->kind.has_value()));
}

} // namespace

bool isMedia(const RegistryNode& node)
{
    return conformsTo(node, "IOMedia") ||
           (node.properties->get<std::string>("BSD Name") && node.properties->get<bool>("Whole"));
}

const RegistryNode* blockStorageDevice(const RegistryNode& media)
{
    const RegistryNode* below = &media;
    for (int level = 0; level < mostLevels; ++level) {
        const RegistryNode* const node = below->firstParent();
        if (!node)
            return nullptr;
        // The block storage driver stands on nothing but such a device, whatever class the device is of.
        if (conformsTo(*node, "IOBlockStorageDevice") || conformsTo(*below, "IOBlockStorageDriver"))
            return node;
        below = node;
    }
    return nullptr;
}

PropertyTable describeMedia(const RegistryNode& media, const RegistryNode& device, const VolumeFacts* volume)
{
    const PropertyTable& properties = *media.properties;
    PropertyTable description;
    copyValues(properties, {{{"BSD Name", "DAMediaBSDName"}}}, PropertyValue::Type::text, description);
    copyValues(properties, mediaTexts, PropertyValue::Type::text, description);
    copyValues(properties, mediaNumbers, PropertyValue::Type::integer, description);
    copyValues(properties, mediaFlags, PropertyValue::Type::boolean, description);
    description.emplace("DAMediaName", media.name);
    description.emplace("DAMediaPath", servicePath(media));
    if (const auto text = properties.get<std::string>("UUID")) {
        if (const std::optional<base::Uuid> uuid = base::Uuid::parse(*text))
            description.emplace("DAMediaUUID", *uuid);
    }
    if (const PropertyValue* const icon = searchUp(media, "IOMediaIcon", PropertyValue::Type::table))
        description.emplace("DAMediaIcon", *icon);

    const bool isOptical =
        media.className == "IOBDMedia" || media.className == "IOCDMedia" || media.className == "IODVDMedia";
    description.emplace("DAMediaKind", isOptical ? std::string_view(media.className) : "IOMedia");
    if (isOptical)
        copyValues(properties, {{{"Type", "DAMediaType"}}}, PropertyValue::Type::text, description);

    describeDevice(device, description);
    describeVolume(volume, description);
    for (const auto& [platform, ours] : secondSpellings) {
        if (const PropertyValue* const value = description.lookUp(platform))
            description.emplace(ours, *value);
    }
    return description;
}

bool describesMediaBelow(const PropertyTable& before, const PropertyTable& after)
{
    return std::ranges::any_of(inheritedKeys, [&](std::string_view key) {
        const PropertyValue* const old = before.lookUp(key);
        const PropertyValue* const fresh = after.lookUp(key);
        return old && fresh ? *old != *fresh : old != fresh;
    });
}

std::string servicePath(const RegistryNode& node)
{
    std::vector<const RegistryNode*> names;
    const RegistryNode* step = &node;
    for (int level = 0; level < mostLevels; ++level) {
        const RegistryNode* const parent = step->firstParent();
        if (!parent)
            break; // the root itself is left out, and so is the platform's own device under it
        if (step->className != "IOPlatformExpertDevice" || parent->firstParent())
            names.push_back(step);
        step = parent;
    }
    std::string path = "IOService:";
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        path.append("/").append((*name)->name);
        if (!(*name)->location.empty())
            path.append("@").append((*name)->location);
    }
    return path;
}

} // namespace vantorel::system
