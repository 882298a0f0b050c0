// SPDX-License-Identifier: GPL-2.0-or-later
// What a monitoring system is told of a machine, value by value, and where it is written.
#include "ctl.h"

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

const char machine[] = R"(
name = "Small server"
type = "CEDAR"
[settings]
automatic_firmware_update = true
[mtbf]
threshold = 10
[[cpu_module]]
number = 1
name = "CPU \"eins\""
path = [0]
state = "simplex"
mtbf_type = "always restart"
bios_version = "2.0\\b"
bios_status = "Valid"
[[cpu_module]]
number = 2
name = "CPU module 2"
path = [1]
state = "broken"
mtbf_type = "stay down"
failures = [6.5, 1]
failure_count = 7
bios_version = "1.9"
bios_status = "Gone"
bios_valid = false
[[pci_module]]
number = 1
name = "PCI module 1"
path = [10]
board = 3
state = "duplex"
mtbf_type = "restart at or above threshold"
[[pci_module.adapter]]
class = "Ethernet"
number = 1
name = "計算アダプター"
path = [10, 2]
[[pci_module]]
number = 2
name = "PCI module 2"
path = [11]
board = 4
state = "duplex"
mtbf_type = "restart at or above threshold"
)";

// All but the states that a device is not in, and the time.
const char values[] = R"(yat_machine_info{type="CEDAR"} 1
yat_device_info{device="cpu1",name="CPU \"eins\"",class="cpu_module",module="cpu1",path="0"} 1
yat_device_info{device="cpu2",name="CPU module 2",class="cpu_module",module="cpu2",path="1"} 1
yat_device_info{device="pci1",name="PCI module 1",class="pci_module",module="pci1",path="10"} 1
yat_device_info{device="ethernet1",name="計算アダプター",class="ethernet_adapter",module="pci1",path="10/2"} 1
yat_device_info{device="pci2",name="PCI module 2",class="pci_module",module="pci2",path="11"} 1
yat_device_state{device="cpu1",state="running"} 1
yat_device_state{device="cpu2",state="broken"} 1
yat_device_state{device="pci1",state="running"} 1
yat_device_state{device="ethernet1",state="running"} 1
yat_device_state{device="pci2",state="running"} 1
yat_module_duplex{device="cpu1",pair="cpu1+cpu2"} 0
yat_module_duplex{device="cpu2",pair="cpu1+cpu2"} 0
yat_module_duplex{device="pci1",pair="pci1+pci2"} 1
yat_module_duplex{device="pci2",pair="pci1+pci2"} 1
yat_device_failures{device="cpu1"} 0
yat_device_failures{device="cpu2"} 7
yat_device_failures{device="pci1"} 0
yat_device_failures{device="ethernet1"} 0
yat_device_failures{device="pci2"} 0
yat_device_mtbf_seconds{device="cpu2"} 19800
yat_device_mtbf_threshold_seconds{device="cpu1"} 36000
yat_device_mtbf_threshold_seconds{device="cpu2"} 36000
yat_device_mtbf_threshold_seconds{device="pci1"} 36000
yat_device_mtbf_threshold_seconds{device="ethernet1"} 36000
yat_device_mtbf_threshold_seconds{device="pci2"} 36000
yat_module_mtbf_type{device="cpu1"} 1
yat_module_mtbf_type{device="cpu2"} 0
yat_module_mtbf_type{device="pci1"} 2
yat_module_mtbf_type{device="pci2"} 2
yat_cpu_module_bios_info{device="cpu1",pair="cpu1+cpu2",state="valid",version="2.0\\b"} 1
yat_cpu_module_bios_info{device="cpu2",pair="cpu1+cpu2",state="invalid",version="1.9"} 1
yat_setting{setting="automatic_firmware_update"} 1
yat_setting{setting="automatic_module_start"} 0
)";

class Metrics : public testing::Test {
protected:
    Metrics()
    {
        writeFile(sandbox.directory() / "small.toml", machine);
        sandbox.set("YAT_MACHINE", (sandbox.directory() / "small.toml").string());
    }

    Sandbox sandbox;
    const fs::path file = sandbox.directory() / "yatkit.prom";
};

} // namespace

TEST_F(Metrics, HaveTheValuesOfTheMachine)
{
    const time_t before = time(nullptr);
    const std::vector<std::string> lines = linesOf(does("metrics"));
    const time_t after = time(nullptr);
    const std::string look = "yat_last_look_timestamp_seconds ";
    std::string told;
    size_t otherStates = 0, looks = 0;
    for (const std::string &line : lines) {
        if (line.starts_with(look)) {
            const long when = std::stol(line.substr(look.size()));
            EXPECT_TRUE(before <= when && when <= after) << line;
            ++looks;
        } else if (line.starts_with("yat_device_state") && line.ends_with(" 0")) {
            ++otherStates;
        } else if (line[0] != '#') {
            told += line + "\n";
        }
    }
    EXPECT_EQ(told, values);
    EXPECT_EQ(looks, 1u);
    EXPECT_EQ(otherStates, 5u * 8u);
    EXPECT_EQ(lines.back(), "# EOF");
}

TEST_F(Metrics, OfASettingFollowIt)
{
    does("settings automatic_module_start=on automatic_firmware_update=off --yes");
    const std::string text = does("metrics");
    EXPECT_NE(text.find("yat_setting{setting=\"automatic_firmware_update\"} 0\n"), text.npos);
    EXPECT_NE(text.find("yat_setting{setting=\"automatic_module_start\"} 1\n"), text.npos);
}

TEST_F(Metrics, ReplaceAFileInOneStep)
{
    writeFile(file, "old\n");
    struct stat old {
    }, now{};
    stat(file.c_str(), &old);
    const fs::path kept = sandbox.directory() / "kept";
    fs::create_hard_link(file, kept);
    EXPECT_EQ(does("metrics --output " + file.string()), "");
    const std::string text = readFile(file);
    EXPECT_TRUE(text.starts_with("# HELP ") && text.ends_with("# EOF\n")) << text;
    EXPECT_EQ(readFile(kept), "old\n"); // the file was not written over, but replaced
    ASSERT_EQ(stat(file.c_str(), &now), 0);
    EXPECT_EQ(now.st_mode & 07777, 0644u); // for the exporter, which is another user
}

TEST_F(Metrics, LeaveTheOldFileWhenTheyFail)
{
    writeFile(file, "old\n");
    const auto fails = [&](int status, const std::string &complaint) {
        const Finished result = yatctl("metrics --output " + file.string());
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(linesOf(result.errors).at(0), "yatctl: " + complaint);
        EXPECT_EQ(readFile(file), "old\n");
    };
    steer("inject CreateTreeViewData 0");
    fails(5, "the platform does not report the devices");
    const fs::path missing = sandbox.directory() / "missing/yatkit.prom";
    expectFailure("metrics --output " + missing.string(), 1,
                  missing.string() + " can't be written: No such file or directory");
    expectFailure("metrics --output /dev/full/x", 1,
                  "/dev/full/x can't be written: Not a directory");
    const fs::path other = sandbox.directory() / "directory";
    fs::create_directory(other);
    expectFailure("metrics --output " + other.string(), 1,
                  other.string() + " can't be written: Is a directory");
    for (const auto &entry : fs::directory_iterator(sandbox.directory())) // nothing is left of it
        EXPECT_FALSE(entry.path().string().starts_with(other.string() + ".")) << entry.path();
}
