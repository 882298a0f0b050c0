// SPDX-License-Identifier: GPL-2.0-or-later
#include "looked.h"

#include "yat/trace.h"

#include <clocale>
#include <cstdlib>

namespace fs = std::filesystem;

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

yat_device *find(yat_device *record, int classCode, int number)
{
    const yat_identity *identity = record->identity;
    if (identity && identity->ClassCode == classCode && identity->Instance == number)
        return record;
    for (int i = 0; i < record->NextDevNum; ++i)
        if (yat_device *found = find(record->children[i], classCode, number))
            return found;
    return nullptr;
}

std::string stateOf(decltype(&StatusChange) call, int kind, int number, int code)
{
    char text[1025] = "";
    return call(kind, number, code, text) == -1 ? "(unreadable)" : text;
}

} // namespace

Looked::Looked()
{
    fs::create_directories(root.path / "lib");
    for (const char *name : {"lib/libyat.so", "lib/yathost.dll"})
        fs::create_hard_link(fs::path(STAGE) / name, root.path / name);
    setenv("YAT_MACHINE", "hardware", 1);
    setenv("YAT_STATE_DIR", state.path.c_str(), 1);
    library = dlopen((root.path / "lib/libyat.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    CALL(TraceLogInit)(0, "test", 0, 0, 0);
    EXPECT_EQ(CALL(ft_FunctionInit)(), 1) << trace();
}

Looked::~Looked()
{
    if (records)
        CALL(FreeTreeViewData)(&records);
    EXPECT_EQ(CALL(ft_FunctionRelease)(), 1);
    dlclose(library);
}

std::vector<std::string> Looked::tree()
{
    yat_device *made = nullptr;
    if (CALL(CreateTreeViewData)(&made) != 1)
        return {"(unreadable)"};
    std::vector<std::string> lines;
    addLines(lines, *made);
    EXPECT_EQ(CALL(FreeTreeViewData)(&made), 1);
    return lines;
}

yat_device *Looked::record(int classCode, int number)
{
    if (!records)
        CALL(CreateTreeViewData)(&records);
    return records ? find(records, classCode, number) : nullptr;
}

yat_facts Looked::facts(int classCode, int number)
{
    yat_facts told{};
    told.size = sizeof told;
    EXPECT_EQ(CALL(GetDeviceFacts)(record(classCode, number), &told), 1);
    return told;
}

std::string Looked::cpu(int number)
{
    return stateOf(CALL(StatusChange), YAT_KIND_CPU_MODULE, number, YAT_STATE_CPU_MODULE);
}

std::string Looked::pci(int number)
{
    return stateOf(CALL(StatusChange), YAT_KIND_PCI_MODULE, number, YAT_STATE_PCI_MODULE);
}

std::string Looked::property(int number, int property)
{
    const auto *functions = static_cast<const yat_ft_functions *>(dlsym(library, "yat_ft_func"));
    char text[1025] = "";
    unsigned long size = sizeof text;
    return functions->yat_ft_get_property(YAT_KIND_CPU_MODULE, number, property, text, &size) == 0
               ? text
               : "(unreadable)";
}

std::string Looked::whyNot(yat_device *device, int code, int detail, const char *locale)
{
    setlocale(LC_CTYPE, "C.UTF-8"); // the encoding; the language is that of the environment
    setenv("LC_ALL", locale, 1);
    char text[1024] = "";
    EXPECT_EQ(CALL(GetSupportReason)(device, code, detail + 1, text), 0); // it isn't that
    EXPECT_STREQ(text, "");
    EXPECT_EQ(CALL(GetSupportReason)(device, code, detail, text), 1);
    unsetenv("LC_ALL");
    setlocale(LC_CTYPE, "C");
    return text;
}

void Looked::configure(const std::string &text) const
{
    writeFile(root.path / "etc/yatkit.toml", text);
}

std::string Looked::trace() const
{
    return readFile(state.path / "log/test.log");
}
