// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatctl/bmc.h"

#include "yat/hwinfo.h"
#include "yat/winshim.h"
#include "yatctl/failure.h"

#include <climits>
#include <dlfcn.h>
#include <memory>

namespace yatctl {

std::array<uint8_t, 16> deviceIdOfBmc()
{
    char root[PATH_MAX] = "";
    GetYatRootPath(root, sizeof root);
    const std::unique_ptr<void, int (*)(void *)> plugin(
        LoadLibrary((std::string(root) + "/lib/yathwinfo.dll").c_str()), FreeLibrary);
    if (!plugin)
        throw Failure(unreachable, std::string("yathwinfo.dll can't be loaded: ") + dlerror());
    const auto getDeviceId = reinterpret_cast<decltype(YATGetDeviceID) *>(
        GetProcAddress(plugin.get(), "YATGetDeviceID"));
    if (!getDeviceId)
        throw Failure(unreachable, "yathwinfo.dll is not usable: it has no YATGetDeviceID");
    std::array<uint8_t, 16> response{};
    if (getDeviceId(response.data()) != 1)
        throw Failure(unreachable, "the management controller does not answer; the trace log of "
                                   "yatctl says why");
    return response;
}

} // namespace yatctl
