// SPDX-License-Identifier: GPL-2.0-or-later
// What nobody can look at is not touched, and that is written down as any other refusal is.
#include "kernel.h"
#include "operated.h"

#include <syslog.h>

namespace {

class Unseen : public Operated {
protected:
    Unseen()
    {
        addPackages(2, 1);
        card = server.addFunction("0000:02:00.0", display, "some");
        server.addSlot("1", "0000:02:00", true, true);
    }
    ~Unseen() override
    {
        kernel = {};
    }

    // Whether the slot stays on for that reason, by the words of all who tell it.
    void expectRefusal(const std::string &reason, int detail = YAT_DETAIL_STATE)
    {
        yat_device *slot = record(YAT_CLASS_PCI_MODULE, 1);
        logged.clear();
        EXPECT_EQ(support(YAT_CLASS_PCI_MODULE, 1, stopPci), std::to_string(detail) + " " + reason);
        EXPECT_EQ(CALL(InitBringDown)(slot, stopPci + 1), 0);
        EXPECT_EQ(server.read("/sys/bus/pci/slots/1/power"), "1\n");
        const std::string line = "PCI module 1 (slot 1) stop refused " + reason;
        EXPECT_EQ(journal(), (Lines{line, line}));
        ASSERT_EQ(logged.size(), 2u);
        for (const auto &[priority, text] : logged) {
            EXPECT_EQ(priority, LOG_AUTHPRIV | LOG_NOTICE);
            EXPECT_TRUE(text.ends_with(": refused: " + reason)) << text;
        }
    }

    std::string card;
};

} // namespace

TEST_F(Unseen, FunctionsKeepTheSlotOn)
{
    record(YAT_CLASS_PCI_MODULE, 1);
    kernel.untoldKind = "pci";
    expectRefusal("the devices of the subsystem pci can't be listed: Input/output error");
}

TEST_F(Unseen, ProcessorsKeepTheSlotOn)
{
    yat_device *slot = record(YAT_CLASS_PCI_MODULE, 1);
    server.remove("/sys/bus/cpu/devices");
    expectRefusal("no processors are listed below /sys/devices/system/cpu");
    yat_facts told{};
    told.size = sizeof told;
    EXPECT_EQ(CALL(GetDeviceFacts)(slot, &told), 0);
}

TEST_F(Unseen, NetworksKeepTheSlotOn)
{
    server.write(server.addInterface(card, "ens3") + "/ifindex", "987654\n");
    for (const char *call : {"nl_connect", "rtnl_addr_alloc_cache", "rtnl_route_alloc_cache"}) {
        std::filesystem::remove(state.path / "host.journal");
        kernel.refusedCall = call;
        expectRefusal("it can't be checked whether it is in use: addresses and routes can't be "
                      "read: Operation not permitted",
                      YAT_DETAIL_IN_USE);
    }
}

// A slot that claims to be where nothing is.
TEST_F(Unseen, FunctionOfASlotKeepsItOn)
{
    server.write("/sys/bus/pci/slots/1/address", "garbage\n");
    expectRefusal(
        "the kernel lists no device in the slot, so it can't be checked whether it is in use");
}

TEST_F(Unseen, LockThatCantBeMadeIsARefusal)
{
    std::filesystem::create_directories(state.path / "host.operation.lock");
    EXPECT_EQ(CALL(InitBringDown)(record(2, 2), stopCpu + 1), 0);
    EXPECT_EQ(online(1), "1");
    EXPECT_EQ(journal(),
              (Lines{"CPU module 2 stop refused " + (state.path / "host.operation.lock").string()
                     + " can't be written: it is not a regular file"}));
    EXPECT_EQ(logged.size(), 1u);
}
