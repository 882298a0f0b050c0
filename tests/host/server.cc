// SPDX-License-Identifier: GPL-2.0-or-later
#include "server.h"

#include <cstdio>
#include <cstdlib>

namespace fs = std::filesystem;

Server::Server()
{
    for (const char *folder :
         {"sys/bus/pci/slots", "sys/bus/pci/devices", "sys/class", "proc/self"})
        fs::create_directories(directory.path / folder);
    write("/proc/interrupts", "            CPU0\n  0:   1   timer\n");
    write("/proc/self/mountinfo", "22 1 0:21 / / rw - rootfs rootfs rw\n");
    write("/proc/swaps", "Filename\tType\tSize\tUsed\tPriority\n");
    setenv("UMOCKDEV_DIR", directory.path.c_str(), 1);
}

Server::~Server()
{
    unsetenv("UMOCKDEV_DIR");
}

fs::path Server::at(const std::string &path) const
{
    return directory.path.string() + path;
}

void Server::write(const std::string &path, const std::string &text) const
{
    writeFile(at(path), text);
}

std::string Server::read(const std::string &path) const
{
    return readFile(at(path));
}

void Server::remove(const std::string &path) const
{
    fs::remove_all(at(path));
}

void Server::link(const std::string &path, const std::string &target) const
{
    fs::create_directories(at(path).parent_path());
    fs::create_symlink(at(target).lexically_relative(at(path).parent_path()), at(path));
}

void Server::addDevice(const std::string &path, const std::string &subsystem, bool isClass,
                       const std::string &properties) const
{
    const std::string home = isClass ? "/sys/class/" + subsystem : "/sys/bus/" + subsystem;
    write(path + "/uevent", properties);
    fs::create_directories(at(home));
    link(path + "/subsystem", home);
    link(home + (isClass ? "/" : "/devices/") + path.substr(path.rfind('/') + 1), path);
}

void Server::addProcessor(int number, int package, bool canGoOffline) const
{
    const std::string path = "/sys/devices/system/cpu/cpu" + std::to_string(number);
    addDevice(path, "cpu", false, "MODALIAS=cpu:type:x86\n");
    setOnline(number, package, true);
    if (!canGoOffline)
        remove(path + "/online");
}

void Server::setOnline(int number, int package, bool isOnline) const
{
    const std::string path = "/sys/devices/system/cpu/cpu" + std::to_string(number);
    write(path + "/online", isOnline ? "1\n" : "0\n");
    if (isOnline)
        write(path + "/topology/physical_package_id", std::to_string(package) + "\n");
    else
        remove(path + "/topology");
}

std::string Server::addFunction(const std::string &address, const std::string &classCode,
                                const std::string &driver, const std::string &above,
                                const std::string &id) const
{
    const std::string root = "/sys/devices/pci" + address.substr(0, address.rfind(':'));
    const std::string path = (above.empty() ? root : above) + "/" + address;
    addDevice(path, "pci", false,
              (driver.empty() ? "" : "DRIVER=" + driver + "\n") + "PCI_CLASS=" + classCode
                  + "\nPCI_ID=" + id + "\nPCI_SLOT_NAME=" + address + "\n");
    return path;
}

void Server::addSlot(const std::string &label, const std::string &address, bool isOn,
                     bool hasCard) const
{
    const std::string path = "/sys/bus/pci/slots/" + label;
    write(path + "/address", address + "\n");
    write(path + "/power", isOn ? "1\n" : "0\n");
    write(path + "/adapter", hasCard ? "1\n" : "0\n");
}

std::string Server::addInterface(const std::string &function, const std::string &name) const
{
    const std::string path = function + "/net/" + name;
    addDevice(path, "net", true, "INTERFACE=" + name + "\nIFINDEX=7\n");
    write(path + "/statistics/rx_errors", "0\n");
    write(path + "/statistics/tx_errors", "0\n");
    return path;
}

std::string Server::addDisk(const std::string &function, const std::string &name, int number) const
{
    const std::string host = std::to_string(number), target = function + "/host" + host + "/target"
                                                              + host + ":0:0/" + host + ":0:0:0";
    addDevice(target, "scsi", false, "DEVTYPE=scsi_device\n");
    write(target + "/ioerr_cnt", "0x0\n");
    const std::string path = target + "/block/" + name;
    addDevice(path, "block", true,
              "MAJOR=8\nMINOR=" + std::to_string(16 * number) + "\nDEVNAME=" + name + "\n");
    write(path + "/dev", "8:" + std::to_string(16 * number) + "\n");
    link("/sys/dev/block/8:" + std::to_string(16 * number), path);
    return path;
}

std::vector<std::string> addThousandFunctions(const Server &server)
{
    std::vector<std::string> paths;
    char address[16];
    for (int slot = 1; slot <= 64; ++slot) {
        snprintf(address, sizeof address, "0000:%02x:00", slot);
        server.addSlot(std::to_string(slot), address, true, true);
        for (int function = 0; function < 8; ++function)
            paths.push_back(server.addFunction(
                std::string(address) + "." + std::to_string(function), ethernet));
    }
    for (int device = 0; device < 488; ++device) {
        snprintf(address, sizeof address, "0001:%02x:%02x.%d", device / 256, device / 8 % 32,
                 device % 8);
        paths.push_back(server.addFunction(address, nvme));
    }
    return paths;
}
