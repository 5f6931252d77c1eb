// SPDX-License-Identifier: GPL-2.0-or-later
#include "MountTable.h"

#include "SharedLibrary.h"
#include "vantorel/base/Text.h"

#include <fcntl.h>
#include <libmount/libmount.h>
#include <poll.h>
#include <string_view>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace vantorel::machines {

namespace {

/// What is used of libmount.
struct Libmount {
    decltype(mnt_new_table)* newTable = nullptr;
    decltype(mnt_unref_table)* unrefTable = nullptr;
    decltype(mnt_table_parse_file)* parseFile = nullptr;
    decltype(mnt_table_next_fs)* nextFs = nullptr;
    decltype(mnt_new_iter)* newIter = nullptr;
    decltype(mnt_free_iter)* freeIter = nullptr;
    decltype(mnt_fs_get_id)* id = nullptr;
    decltype(mnt_fs_get_devno)* devno = nullptr;
    decltype(mnt_fs_get_source)* source = nullptr;
    decltype(mnt_fs_get_target)* target = nullptr;
    decltype(mnt_fs_get_fstype)* fstype = nullptr;
    decltype(mnt_fs_get_root)* root = nullptr;
    decltype(mnt_fs_get_option)* option = nullptr;
    bool isUsable = false;

    static const Libmount& shared()
    {
        static const Libmount the;
        return the;
    }

private:
    Libmount()
    {
        const SharedLibrary library("libmount.so.1");
        isUsable = library.bind(newTable, "mnt_new_table") && library.bind(unrefTable, "mnt_unref_table") &&
                   library.bind(parseFile, "mnt_table_parse_file") && library.bind(nextFs, "mnt_table_next_fs") &&
                   library.bind(newIter, "mnt_new_iter") && library.bind(freeIter, "mnt_free_iter") &&
                   library.bind(id, "mnt_fs_get_id") && library.bind(devno, "mnt_fs_get_devno") &&
                   library.bind(source, "mnt_fs_get_source") && library.bind(target, "mnt_fs_get_target") &&
                   library.bind(fstype, "mnt_fs_get_fstype") && library.bind(root, "mnt_fs_get_root") &&
                   library.bind(option, "mnt_fs_get_option");
    }
};

std::string textOf(const char* text)
{
    return text ? base::toUtf8(text) : std::string();
}

Mount mountOf(const Libmount& libmount, libmnt_fs* fs)
{
    const dev_t device = libmount.devno(fs);
    Mount mount{.id = libmount.id(fs), .major = major(device), .minor = minor(device)};
    mount.source = textOf(libmount.source(fs));
    // A path need not be UTF-8, and is asked for again as it is.
    mount.target = libmount.target(fs) ? libmount.target(fs) : "";
    mount.type = textOf(libmount.fstype(fs));
    const std::string root = textOf(libmount.root(fs));
    char* subvolume = nullptr;
    std::size_t length = 0;
    mount.isWhole = root.empty() || root == "/" ||
                    (libmount.option(fs, "subvol", &subvolume, &length) == 0 && subvolume &&
                     std::string_view(subvolume, length) == root);
    return mount;
}

std::shared_ptr<const std::vector<Mount>> parse(const std::string& path)
{
    const Libmount& libmount = Libmount::shared();
    if (!libmount.isUsable)
        return nullptr;
    const std::unique_ptr<libmnt_table, decltype(libmount.unrefTable)> table(libmount.newTable(), libmount.unrefTable);
    const std::unique_ptr<libmnt_iter, decltype(libmount.freeIter)> walk(libmount.newIter(MNT_ITER_FORWARD),
                                                                         libmount.freeIter);
    if (!table || !walk || libmount.parseFile(table.get(), path.c_str()) != 0)
        return nullptr;
    auto mounts = std::make_shared<std::vector<Mount>>();
    std::unordered_map<std::string, std::size_t> byTarget;
    libmnt_fs* fs = nullptr;
    while (libmount.nextFs(table.get(), walk.get(), &fs) == 0) {
        Mount mount = mountOf(libmount, fs);
        if (const auto [before, isFirst] = byTarget.try_emplace(mount.target, mounts->size()); !isFirst) {
            (*mounts)[before->second].isHidden = true;
            before->second = mounts->size();
        }
        mounts->push_back(std::move(mount));
    }
    return mounts;
}

} // namespace

MountTable::MountTable(std::string path) : path_(std::move(path)) {}

MountTable::~MountTable()
{
    if (watch_ >= 0)
        close(watch_);
}

std::shared_ptr<const std::vector<Mount>> MountTable::mounts()
{
    const std::scoped_lock lock(mutex_);
    if (watch_ < 0)
        watch_ = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    pollfd watch{watch_, POLLPRI, 0};
    if (!known_ || watch_ < 0 || poll(&watch, 1, 0) != 0)
        known_ = parse(path_);
    return known_;
}

} // namespace vantorel::machines
