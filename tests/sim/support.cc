// SPDX-License-Identifier: GPL-2.0-or-later
#include "support.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

// In memory where there is such a place: each operation waits for the disk.
fs::path placeForStates()
{
    const fs::path memory = "/dev/shm";
    return access(memory.c_str(), W_OK) == 0 ? memory : fs::temp_directory_path();
}

} // namespace

Sandbox::Sandbox(const std::string &machine, const std::string &timeScale)
    : own(placeForStates()), name(machine)
{
    set("YAT_STATE_DIR", directory().string());
    set("YAT_MACHINE", machine);
    set("YAT_TIME_SCALE", timeScale);
    set("LC_ALL", "C.UTF-8");
    set("LANGUAGE", ""); // goes before the line above in messages of the system
    set("TZ", "UTC");
}

Sandbox::~Sandbox()
{
    for (const auto &[variable, value] : before) {
        if (value == "(unset)")
            unsetenv(variable.c_str());
        else
            setenv(variable.c_str(), value.c_str(), 1);
    }
}

void Sandbox::set(const std::string &variable, const std::string &value)
{
    const char *old = getenv(variable.c_str());
    before.emplace(variable, old ? old : "(unset)");
    setenv(variable.c_str(), value.c_str(), 1);
}

std::string Sandbox::describe(const std::string &text, const std::string &file)
{
    const std::string path = (directory() / file).string();
    std::ofstream(path) << text;
    set("YAT_MACHINE", path);
    return path;
}

fs::path Sandbox::stateFile() const
{
    return directory() / "machines" / (name + ".db");
}

Interface::Interface()
{
    EXPECT_EQ(ft_FunctionInit(), 1);
    EXPECT_EQ(CreateTreeViewData(&root), 1);
}

Interface::~Interface()
{
    if (root) {
        EXPECT_EQ(FreeTreeViewData(&root), 1);
    }
    EXPECT_EQ(ft_FunctionRelease(), 1);
}

namespace {

yat_device *recordNamed(yat_device *above, const std::string &name)
{
    for (int i = 0; above && i < above->NextDevNum; ++i) {
        yat_device *device = above->children[i];
        if (device->lpszTreeName == name)
            return device;
        if (yat_device *below = recordNamed(device, name))
            return below;
    }
    return nullptr;
}

std::string stateOf(int kind, int number, int code)
{
    char text[1025] = {};
    return StatusChange(kind, number, code, text) == -1 ? "(fails)" : text;
}

} // namespace

yat_device *Interface::operator[](const std::string &name) const
{
    yat_device *device = recordNamed(root, name);
    if (!device)
        throw std::runtime_error("no device " + name);
    return device;
}

std::string cpuState(int number)
{
    return stateOf(YAT_KIND_CPU_MODULE, number, YAT_STATE_CPU_MODULE);
}

std::string pciState(int number)
{
    return stateOf(YAT_KIND_PCI_MODULE, number, YAT_STATE_PCI_MODULE);
}

std::string property(int kind, int number, int id)
{
    char text[1025] = {};
    unsigned long size = sizeof text;
    if (yat_ft_func.yat_ft_get_property(kind, number, id, text, &size) != 0)
        return "(fails)";
    EXPECT_EQ(size, strlen(text) + 1);
    return text;
}

Finished yatsim(const std::string &arguments)
{
    return run(commandOf(YATSIM, arguments));
}

std::string steer(const std::string &arguments)
{
    const Finished result = yatsim(arguments);
    EXPECT_EQ(result.status, 0) << "yatsim " << arguments << ": " << result.errors;
    EXPECT_EQ(result.errors, "") << "yatsim " << arguments;
    return result.output;
}

std::string shipped(const std::string &machine, const std::string &part,
                    const std::string &replacement)
{
    std::string text = readFile(fs::path(SOURCES) / "data" / "machines" / (machine + ".toml"));
    if (part.empty())
        return text;
    const size_t where = text.find(part);
    if (where == std::string::npos)
        throw std::runtime_error(machine + " has no " + part);
    return text.replace(where, part.size(), replacement);
}
