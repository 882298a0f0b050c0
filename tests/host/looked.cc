#include "looked.h"

#include "yat/trace.h"

#include <cstdlib>

namespace {

void addLines(std::vector<std::string> &lines, const yat_device &record)
{
    if (const yat_identity *identity = record.identity) {
        std::string line(2 * static_cast<size_t>(record.Hierarchy - 1), ' ');
        line +=
            std::to_string(identity->ClassCode) + " " + std::to_string(identity->Instance) + " ";
        for (const uint8_t &byte : identity->DevicePathID)
            line += std::to_string(byte) + (&byte == &identity->DevicePathID[7] ? " " : ".");
        lines.push_back(line + record.lpszTreeName);
    }
    for (int i = 0; i < record.NextDevNum; ++i)
        addLines(lines, *record.children[i]);
}

std::string stateOf(int kind, int number, int code)
{
    char text[1025] = "";
    return StatusChange(kind, number, code, text) == -1 ? "(unreadable)" : text;
}

} // namespace

Looked::Looked()
{
    setenv("YAT_MACHINE", "hardware", 1);
    setenv("YAT_STATE_DIR", state.path.c_str(), 1);
    TraceLogInit(0, "test", 0, 0, 0);
    EXPECT_EQ(ft_FunctionInit(), 1) << trace();
}

Looked::~Looked()
{
    EXPECT_EQ(ft_FunctionRelease(), 1);
}

std::vector<std::string> Looked::tree()
{
    yat_device *root = nullptr;
    if (CreateTreeViewData(&root) != 1)
        return {"(unreadable)"};
    std::vector<std::string> lines;
    addLines(lines, *root);
    EXPECT_EQ(FreeTreeViewData(&root), 1);
    return lines;
}

std::string Looked::cpu(int number)
{
    return stateOf(YAT_KIND_CPU_MODULE, number, YAT_STATE_CPU_MODULE);
}

std::string Looked::pci(int number)
{
    return stateOf(YAT_KIND_PCI_MODULE, number, YAT_STATE_PCI_MODULE);
}

std::string Looked::property(int number, int property)
{
    char text[1025] = "";
    unsigned long size = sizeof text;
    return yat_ft_func.yat_ft_get_property(YAT_KIND_CPU_MODULE, number, property, text, &size) == 0
               ? text
               : "(unreadable)";
}

std::string Looked::trace() const
{
    return readFile(state.path / "log/test.log");
}
