// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace vantorel::test {

/// A tree of kernel files in a folder of its own, which goes with it.
class FakeSysfs {
public:
    using Files = std::map<std::string, std::string>; ///< contents by relative path

    FakeSysfs()
    {
        std::filesystem::create_directories(root_ / "sys/class/block");
        std::filesystem::create_directories(root_ / "etc");
    }

    [[nodiscard]] std::string path(const std::string& relative) const { return root_ / relative; }
    [[nodiscard]] std::string sysfs() const { return path("sys"); }

    /// At once, as the kernel's files change: whoever reads meanwhile finds the one content or the other.
    void write(const std::string& relative, const std::string& content) const
    {
        std::filesystem::create_directories((root_ / relative).parent_path());
        std::ofstream(root_ / "next", std::ios::binary) << content;
        std::filesystem::rename(root_ / "next", root_ / relative);
    }

    /// A device's folder under "sys/devices" with these files; gives its path.
    std::string folder(const std::string& path, const Files& files) const
    {
        std::filesystem::create_directories(root_ / "sys/devices" / path);
        for (const auto& [name, content] : files)
            write("sys/devices/" + path + "/" + name, content);
        return path;
    }

    /// A block device in such a folder, as the kernel shows it: with its numbers, its sequence and a size in sectors.
    /// `uevent` adds lines; as udev's properties stand there, they need no database.
    void block(const std::string& path, int major, int minor, int sequence, long sectors,
               const std::string& uevent = {}, const Files& files = {}) const
    {
        const std::string name = path.substr(path.rfind('/') + 1);
        folder(path, {{"size", std::to_string(sectors) + "\n"}, {"ro", "0\n"}, {"hidden", "0\n"}});
        write("sys/devices/" + path + "/uevent", "MAJOR=" + std::to_string(major) + "\nMINOR=" + std::to_string(minor) +
                                                     "\nDEVNAME=" + name + "\nDISKSEQ=" + std::to_string(sequence) +
                                                     "\n" + uevent);
        folder(path, files);
        const auto link = root_ / "sys/class/block" / name;
        if (!std::filesystem::is_symlink(link))
            std::filesystem::create_symlink("../../devices/" + path, link);
    }

    /// Takes a block device away.
    void remove(const std::string& path) const
    {
        std::filesystem::remove(root_ / "sys/class/block" / path.substr(path.rfind('/') + 1));
        std::filesystem::remove_all(root_ / "sys/devices" / path);
    }

    void link(const std::string& relative, const std::string& target) const
    {
        std::filesystem::create_directories((root_ / relative).parent_path());
        std::filesystem::create_symlink(target, root_ / relative);
    }

private:
    TemporaryFolder folder_;
    std::filesystem::path root_ = folder_.file("");
};

} // namespace vantorel::test
