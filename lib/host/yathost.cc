// SPDX-License-Identifier: GPL-2.0-or-later
// This server as a platform, yathost.dll.
#include "base/tracing.h"
#include "common/answers.h"
#include "common/complaints.h"
#include "common/configuration.h"
#include "common/guarded.h"
#include "common/problem.h"
#include "common/records.h"
#include "host/asking.h"
#include "host/calls.h"
#include "yat/platform.h"

namespace {

constexpr char traceSource[] = "yathost";

// A mistake in the configuration must not pass for a no.
int openPlatform()
{
    yat::areOperationsAllowed();
    return 1;
}

int closePlatform()
{
    yat::tellComplaints();
    host::forget();
    return 1;
}

// What keeps it from opening, the user is told by whoever opens it.
void trace(const std::exception &problem)
{
    TRACE_ERROR("%s", problem.what());
}

void tell(const std::exception &problem)
{
    trace(problem);
    if (dynamic_cast<const yat::Problem *>(&problem))
        yat::complain(problem.what());
}

template <auto call, auto failure> using Guarded = yat::Guarded<call, failure, tell>;

} // namespace

const yat_platform YatPlatform = {
    .magic = YAT_PLATFORM_MAGIC,
    .version = YAT_PLATFORM_VERSION,
    .size = sizeof(struct yat_platform),
    .open = yat::Guarded<openPlatform, 0, trace>::run,
    .close = closePlatform,
    .functions =
        {
            .handle = nullptr,
            .create_tree = Guarded<host::createTree, 0>::run,
            .free_tree = Guarded<yat::freeTree, 0>::run,
            .yat_ft_get_property = Guarded<host::getProperty, -1>::run,
            .is_ft = Guarded<host::isFt, -1>::run,
            .status_change = Guarded<host::statusChange, -1>::run,
            .if_support = Guarded<host::ifSupport, 0>::run,
            .clear_mtbf = Guarded<host::clearMtbf, 0>::run,
            .bring_up = Guarded<host::bringUp, 0>::run,
            .Linux_ConvertDataToInt = yat::toInteger,
            .bring_down = Guarded<host::bringDown, 0>::run,
            .set_mtbf_type = Guarded<host::setMtbfType, 0>::run,
            .burn_firmware = Guarded<host::burnFirmware, 0>::run,
            .get_setting = Guarded<host::getSetting, 0>::run,
            .put_setting = Guarded<host::putSetting, 0>::run,
        },
    .get_facts = Guarded<host::getFacts, 0>::run,
    .get_reason = Guarded<host::getReason, 0>::run,
};
