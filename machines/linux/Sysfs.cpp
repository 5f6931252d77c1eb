// SPDX-License-Identifier: GPL-2.0-or-later
#include "Sysfs.h"

#include "vantorel/base/Text.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace vantorel::machines {

namespace {

/// In a tree that is none of the kernel's, a pipe must not keep the reader.
constexpr int readFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

/// Reads until the end, an error or until `into` is full; the number of bytes, absent after an error.
std::optional<std::size_t> readAll(int descriptor, char* into, std::size_t size)
{
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = read(descriptor, into + filled, size - filled);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    return filled;
}

std::optional<std::size_t> readFile(int folder, const char* path, char* into, std::size_t size)
{
    if (folder < 0)
        return std::nullopt;
    const int file = openat(folder, path, readFlags);
    if (file < 0)
        return std::nullopt;
    const auto count = readAll(file, into, size);
    close(file);
    return count;
}

} // namespace

std::string_view valueOf(const DeviceProperties& properties, std::string_view key)
{
    const auto found = properties.find(key);
    return found == properties.end() ? std::string_view() : std::string_view(found->second);
}

DeviceProperties parseProperties(std::string_view text)
{
    DeviceProperties properties;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        if (const std::size_t equals = line.find('='); equals != std::string_view::npos && equals > 0)
            properties.insert_or_assign(std::string(line.substr(0, equals)), base::toUtf8(line.substr(equals + 1)));
    }
    return properties;
}

std::optional<std::uint64_t> parseNumber(std::string_view text)
{
    const bool isHexadecimal = text.starts_with("0x");
    if (isHexadecimal)
        text.remove_prefix(2);
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, isHexadecimal ? 16 : 10);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::string_view stripped(std::string_view text)
{
    constexpr std::string_view blank(" \t\r\n\0", 5);
    const std::size_t first = text.find_first_not_of(blank);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blank) - first + 1);
}

Folder::Folder(const std::string& path) : descriptor_(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

Folder::~Folder()
{
    if (descriptor_ >= 0)
        close(descriptor_);
}

Folder Folder::folder(const std::string& path) const
{
    Folder inner;
    if (descriptor_ >= 0)
        inner.descriptor_ = openat(descriptor_, path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return inner;
}

bool Folder::contains(const char* path) const
{
    return descriptor_ >= 0 && faccessat(descriptor_, path, F_OK, 0) == 0;
}

std::optional<Data> Folder::bytes(const char* path, std::size_t most) const
{
    Data data(most);
    const auto count = readFile(descriptor_, path, reinterpret_cast<char*>(data.data()), data.size());
    if (!count)
        return std::nullopt;
    data.resize(*count);
    return data;
}

std::optional<std::string> Folder::text(const char* path) const
{
    std::array<char, mostTextBytes> buffer{};
    const auto count = readFile(descriptor_, path, buffer.data(), buffer.size());
    const std::string_view text = stripped({buffer.data(), count.value_or(0)});
    return text.empty() ? std::nullopt : std::optional(base::toUtf8(text));
}

std::optional<std::uint64_t> Folder::number(const char* path) const
{
    std::array<char, 64> buffer{};
    const auto count = readFile(descriptor_, path, buffer.data(), buffer.size());
    return count ? parseNumber(stripped({buffer.data(), *count})) : std::nullopt;
}

DeviceProperties Folder::properties(const char* path) const
{
    std::array<char, mostTextBytes> buffer{};
    const auto count = readFile(descriptor_, path, buffer.data(), buffer.size());
    return parseProperties({buffer.data(), count.value_or(0)});
}

std::optional<std::string> Folder::link(const char* path) const
{
    std::array<char, mostTextBytes> buffer{};
    const ssize_t count = descriptor_ < 0 ? -1 : readlinkat(descriptor_, path, buffer.data(), buffer.size());
    if (count <= 0 || static_cast<std::size_t>(count) == buffer.size())
        return std::nullopt;
    return std::string(buffer.data(), static_cast<std::size_t>(count));
}

std::vector<std::string> Folder::names() const
{
    std::vector<std::string> names;
    if (descriptor_ < 0 || lseek(descriptor_, 0, SEEK_SET) < 0)
        return names;
    alignas(dirent64) std::array<char, std::size_t{32} * 1024> buffer;
    while (names.size() < mostNames) {
        const ssize_t count = getdents64(descriptor_, buffer.data(), buffer.size());
        if (count <= 0)
            break;
        for (ssize_t place = 0; place < count;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(buffer.data() + place);
            place += entry->d_reclen;
            const std::string_view name = entry->d_name;
            if (name != "." && name != "..")
                names.emplace_back(name);
        }
    }
    return names;
}

} // namespace vantorel::machines
