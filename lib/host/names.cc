// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/names.h"

#include "text/utf8.h"

extern "C" {
#include <pci/pci.h>
}

#include <algorithm>
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

// The library would print what is wrong with its list and end the program.
void ignore(char *, ...) {}

struct Damaged {};
__attribute__((noreturn)) void leave(char *, ...)
{
    throw Damaged();
}
bool isDamaged;

pci_access *openedNames()
{
    if (!opened) {
        opened.reset(pci_alloc());
        opened->error = leave;
        opened->warning = ignore;
        opened->debug = ignore;
    }
    return opened.get();
}

std::string lookUp(const Function &function, int what)
{
    if (isDamaged)
        return "";
    char buffer[256];
    try {
        // Where udev has no list either, the library would leak memory for each name.
        const char *name = pci_lookup_name(openedNames(), buffer, sizeof buffer,
                                           what | PCI_LOOKUP_NO_NUMBERS | PCI_LOOKUP_NO_HWDB,
                                           function.vendor, function.device);
        return name ? name : "";
    } catch (const Damaged &) {
        isDamaged = true;
        return "";
    }
}

// Between characters; a byte that belongs to none is one.
std::string cut(const std::string &name)
{
    if (name.size() <= longest)
        return name;
    const auto endOfCharacter = [&](size_t begin) {
        return begin + std::max<size_t>(yat::utf8Length(std::string_view(name).substr(begin)), 1);
    };
    size_t end = 0;
    while (endOfCharacter(end) <= longest)
        end = endOfCharacter(end);
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
    isDamaged = false;
}

} // namespace host
