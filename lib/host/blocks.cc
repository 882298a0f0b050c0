// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/blocks.h"

#include "common/problem.h"
#include "host/enumeration.h"
#include "host/sysfs.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <libmount/libmount.h>
#include <memory>
#include <set>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace host {
namespace {

using Paths = std::set<std::string>;

std::string parentOf(const std::string &path)
{
    return path.substr(0, path.rfind('/'));
}

// Adds the devices that a block device stands on: itself, the disk of a partition, the parts of
// an md or dm device, the controllers of an NVMe namespace that has several.
void addGrounds(Paths &grounds, const std::string &path)
{
    if (path.empty() || !grounds.insert(path).second)
        return;
    const std::string parent = parentOf(path);
    if (readAttribute(path + "/partition"))
        addGrounds(grounds, parent);
    for (const std::string &name : namesIn(path + "/slaves"))
        addGrounds(grounds, resolved(path + "/slaves/" + name));
    for (const std::string &name : namesIn(parent))
        if (const std::string target = resolved(parent + "/" + name);
            name.starts_with("nvme") && !isBelow(target, parent))
            addGrounds(grounds, target);
}

bool standsBelow(const std::string &device, const std::vector<std::string> &paths)
{
    Paths grounds;
    addGrounds(grounds, device);
    return std::ranges::any_of(grounds, [&](const std::string &ground) {
        return std::ranges::any_of(paths,
                                   [&](const std::string &path) { return isBelow(ground, path); });
    });
}

// The path of the block device with such a node, whatever links lead to that.
std::string pathOfNode(const char *node)
{
    std::string name = node ? resolved(node) : "";
    if (!name.starts_with("/dev/"))
        return {};
    name.erase(0, strlen("/dev/"));
    std::ranges::replace(name, '/', '!');
    return resolved("/sys/class/block/" + name);
}

// ---- Mounts and swap

struct Unref {
    void operator()(libmnt_table *table) const
    {
        mnt_unref_table(table);
    }
    void operator()(libmnt_iter *iterator) const
    {
        mnt_free_iter(iterator);
    }
};
using Table = std::unique_ptr<libmnt_table, Unref>;

// A line that can't be understood would be passed over; it may tell of the very disk.
int refuseLine(libmnt_table *, const char *, int)
{
    return -EINVAL;
}

void eachOf(int (*parse)(libmnt_table *, const char *), const char *file,
            const std::function<void(libmnt_fs *)> &work)
{
    const Table table(mnt_new_table());
    if (!table || mnt_table_set_parser_errcb(table.get(), refuseLine) != 0
        || parse(table.get(), file) != 0)
        throw yat::Problem(std::string(file) + " can't be read");
    const std::unique_ptr<libmnt_iter, Unref> iterator(mnt_new_iter(MNT_ITER_FORWARD));
    libmnt_fs *entry;
    while (mnt_table_next_fs(table.get(), iterator.get(), &entry) == 0)
        work(entry);
}

// The device of a file system: by its number or, where it has a number of its own, by its source.
std::string deviceOf(libmnt_fs *entry)
{
    const dev_t number = mnt_fs_get_devno(entry);
    return major(number) == 0 ? pathOfNode(mnt_fs_get_source(entry))
                              : resolved("/sys/dev/block/" + std::to_string(major(number)) + ":"
                                         + std::to_string(minor(number)));
}

MaybeReason useByMounts(const Paths &disks)
{
    MaybeReason use;
    bool hasAny = false;
    eachOf(mnt_table_parse_file, "/proc/self/mountinfo", [&](libmnt_fs *entry) {
        hasAny = true;
        const std::string device = deviceOf(entry);
        if (!use && disks.contains(device))
            use = {lastName(device) + " is mounted on " + mnt_fs_get_target(entry),
                   lastName(device) + "は" + mnt_fs_get_target(entry) + "にマウントされています"};
    });
    if (!hasAny) // not even the root
        throw yat::Problem("/proc/self/mountinfo is empty");
    return use;
}

MaybeReason useBySwap(const Paths &disks)
{
    MaybeReason use;
    eachOf(mnt_table_parse_swaps, "/proc/swaps", [&](libmnt_fs *entry) {
        const std::string device = pathOfNode(mnt_fs_get_source(entry));
        if (!use && disks.contains(device))
            use = {lastName(device) + " is used for swap",
                   lastName(device) + "はスワップに使われています"};
    });
    return use;
}

// ---- Other uses

MaybeReason useByHolders(const Paths &disks)
{
    for (const std::string &disk : disks)
        for (const std::string &holder : namesIn(disk + "/holders")) {
            const std::string whole =
                readAttribute("/sys/class/block/" + holder + "/dm/name").value_or(holder);
            return Reason{lastName(disk) + " is a part of " + whole,
                          lastName(disk) + "は" + whole + "の一部です"};
        }
    return {};
}

// A file system over several devices is mounted by one of them.
MaybeReason useByFileSystems(const Paths &disks)
{
    const std::string all = "/sys/fs/btrfs";
    for (const std::string &one : namesIn(all))
        for (const std::string &name : namesIn(all + "/" + one + "/devices"))
            if (disks.contains(resolved(all + "/" + one + "/devices/" + name)))
                return Reason{name + " is a part of the mounted file system " + one,
                              name + "はマウントされたファイルシステム" + one + "の一部です"};
    return {};
}

// A node without a device or a medium behind it is no use.
constexpr int unused[] = {0, ENOENT, ENXIO, ENOMEDIUM};

// What else holds a device: another mount namespace, another kind of volume.
MaybeReason useByOthers(const Paths &disks)
{
    for (const std::string &disk : disks) {
        std::string name = lastName(disk);
        std::ranges::replace(name, '!', '/');
        const int descriptor =
            open(("/dev/" + name).c_str(), O_RDONLY | O_EXCL | O_NONBLOCK | O_CLOEXEC);
        const int error = descriptor < 0 ? errno : 0;
        if (descriptor >= 0)
            close(descriptor);
        if (error == EBUSY)
            return Reason{name + " is in use", name + "は使用中です"};
        if (std::ranges::count(unused, error) == 0)
            throw yat::Problem("/dev/" + name + " can't be opened: " + yat::reason(error));
    }
    return {};
}

} // namespace

MaybeReason useOfDisks(const std::vector<std::string> &paths)
{
    Paths disks;
    for (const KernelDevice &device : kernelDevices("block"))
        if (standsBelow(device.path, paths))
            disks.insert(device.path);
    for (const auto use : {useByMounts, useBySwap, useByHolders, useByFileSystems, useByOthers})
        if (MaybeReason found = use(disks))
            return found;
    return {};
}

} // namespace host
