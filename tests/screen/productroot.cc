// SPDX-License-Identifier: GPL-2.0-or-later
#include "productroot.h"

namespace fs = std::filesystem;

ProductRoot::ProductRoot()
{
    const fs::path built = fs::path(PROGRAMS).parent_path();
    fs::create_directories(library());
    fs::copy_file(built / "lib/libyat.so", library() / "libyat.so");
    for (const char *plugin : {"yatcore.dll", "yathost.dll", "yathwinfo.dll"})
        fs::copy_file(built / "lib" / plugin, library() / plugin);
    fs::copy(built / "data", directory.path / "data", fs::copy_options::recursive);
}

fs::path ProductRoot::library() const
{
    return directory.path / "lib";
}

RunOptions ProductRoot::options(RunOptions result) const
{
    result.environment["LD_LIBRARY_PATH"] = library().string();
    return result;
}
