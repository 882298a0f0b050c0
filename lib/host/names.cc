#include "host/names.h"

extern "C" {
#include <pci/pci.h>
}

#include <memory>

namespace host {
namespace {

constexpr size_t longest = 28; // with what stands before it, the title of a window has room for it

struct Cleanup {
    void operator()(pci_access *access) const
    {
        pci_cleanup(access);
    }
};
std::unique_ptr<pci_access, Cleanup> opened;

// A list that is damaged gives fewer names; the library would end the program.
void ignore(char *, ...) {}

pci_access *openedNames()
{
    if (!opened) {
        opened.reset(pci_alloc());
        opened->error = ignore;
        opened->warning = ignore;
        opened->debug = ignore;
    }
    return opened.get();
}

std::string lookUp(const Function &function, int what)
{
    char buffer[256];
    const char *name =
        pci_lookup_name(openedNames(), buffer, sizeof buffer, what | PCI_LOOKUP_NO_NUMBERS,
                        function.vendor, function.device);
    return name ? name : "";
}

std::string cut(std::string name)
{
    if (name.size() <= longest)
        return name;
    size_t end = longest;
    while (end > 0 && (name[end] & 0xC0) == 0x80) // within a character
        --end;
    return name.substr(0, name.find_last_not_of(' ', end - 1) + 1);
}

} // namespace

std::string nameOf(const Function &function)
{
    for (const int what : {PCI_LOOKUP_DEVICE, PCI_LOOKUP_VENDOR})
        if (const std::string name = lookUp(function, what); !name.empty())
            return cut(name);
    return function.address;
}

void forgetNames()
{
    opened.reset();
}

} // namespace host
