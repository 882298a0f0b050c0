// SPDX-License-Identifier: GPL-2.0-or-later
// A server that umockdev plays: what is written below its directory is what this process reads
// below /sys, /proc and /dev. The paths given are those that are read.
#pragma once

#include "support/files.h"

#include <string>
#include <vector>

class Server {
public:
    Server(); // with nothing in it
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    // Where a file of the server really is.
    std::filesystem::path at(const std::string &path) const;

    void write(const std::string &path, const std::string &text) const;
    std::string read(const std::string &path) const;
    void remove(const std::string &path) const;
    void link(const std::string &path, const std::string &target) const;

    // A processor; one that is offline doesn't tell its package.
    void addProcessor(int number, int package, bool canGoOffline = true) const;
    void setOnline(int number, int package, bool isOnline) const;

    // A PCI function below another one or below the root of its domain. Returns its path.
    std::string addFunction(const std::string &address, const std::string &classCode,
                            const std::string &driver = "", const std::string &above = "",
                            const std::string &id = "8086:10D3") const;

    // A slot with a power switch.
    void addSlot(const std::string &label, const std::string &address, bool isOn,
                 bool hasCard) const;

    // What a function has below it. Returns its path.
    std::string addInterface(const std::string &function, const std::string &name) const;
    // A disk has no node below /dev; that must not be the name of one on this machine.
    std::string addDisk(const std::string &function, const std::string &name, int number) const;

    // A device of any kind, linked from its class or its bus.
    void addDevice(const std::string &path, const std::string &subsystem, bool isClass,
                   const std::string &properties) const;

    TemporaryDirectory directory;
};

// A thousand PCI functions: eight Ethernet ones in each of 64 slots, and NVMe ones in no slot in a
// domain of their own. Returns their paths.
std::vector<std::string> addThousandFunctions(const Server &server);

// The classes of PCI functions.
inline const std::string ethernet = "20000", nvme = "10802", scsi = "10000", bridge = "60400",
                         display = "30000";
