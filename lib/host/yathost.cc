// This server as a platform, yathost.dll.
#include "base/record.h"
#include "common/answers.h"
#include "common/complaints.h"
#include "common/guarded.h"
#include "common/problem.h"
#include "host/calls.h"
#include "yat/platform.h"

namespace {

constexpr char traceSource[] = "yathost";

int openPlatform()
{
    return 1;
}

int closePlatform()
{
    yat::tellComplaints();
    host::forget();
    return 1;
}

void tell(const std::exception &problem)
{
    TRACE_ERROR("%s", problem.what());
    if (dynamic_cast<const yat::Problem *>(&problem))
        yat::complain(problem.what());
}

template <auto call, auto failure> using Guarded = yat::Guarded<call, failure, tell>;

} // namespace

const yat_platform YatPlatform = {
    .magic = YAT_PLATFORM_MAGIC,
    .version = YAT_PLATFORM_VERSION,
    .size = sizeof(struct yat_platform),
    .open = openPlatform,
    .close = closePlatform,
    .functions =
        {
            .handle = nullptr,
            .create_tree = Guarded<host::createTree, 0>::run,
            .free_tree = Guarded<host::freeTree, 0>::run,
            .yat_ft_get_property = Guarded<host::getProperty, -1>::run,
            .is_ft = Guarded<host::isFt, -1>::run,
            .status_change = Guarded<host::statusChange, -1>::run,
            .if_support = Guarded<host::ifSupport, 0>::run,
            .clear_mtbf = Guarded<host::operation, 0>::run,
            .bring_up = Guarded<host::operation, 0>::run,
            .Linux_ConvertDataToInt = yat::toInteger,
            .bring_down = Guarded<host::operation, 0>::run,
            .set_mtbf_type = Guarded<host::operationWithText, 0>::run,
            .burn_firmware = Guarded<host::operationWithText, 0>::run,
            .get_setting = Guarded<host::setting, 0>::run,
            .put_setting = Guarded<host::setting, 0>::run,
        },
    .get_facts = nullptr,
    .get_reason = nullptr,
};
