// SPDX-License-Identifier: GPL-2.0-or-later
// The simulated machine as a platform, yatcore.dll: its calls, with injections around them.
#include "base/tracing.h"
#include "common/answers.h"
#include "common/complaints.h"
#include "common/configuration.h"
#include "common/guarded.h"
#include "common/records.h"
#include "sim/calls.h"
#include "sim/injection.h"
#include "yat/platform.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <new>
#include <tuple>
#include <type_traits>

namespace {

using namespace sim;

constexpr char traceSource[] = "yatcore";

// Has the user told what a call can't say, and puts it into the trace log, each line once.
void tell(const std::exception &problem) noexcept
{
    if (dynamic_cast<const std::bad_alloc *>(&problem))
        return yat::complainOf(problem);
    std::string_view rest = problem.what();
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        if (yat::complain(line))
            TRACE_ERROR("%.*s", static_cast<int>(line.size()), line.data());
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
}

std::optional<Store> opened;

// The store of the machine that the calls are about.
Store &openedStore()
{
    if (!opened)
        opened = configuredStore();
    return *opened;
}

// ---- Injections

Injection injectionFor(CallName call)
{
    return takeInjection(openedStore(), call).value_or(Injection());
}

// The same where the machine may be missing.
Injection injectionIfAny(CallName call)
try {
    return injectionFor(call);
} catch (const yat::Problem &) { // the calls that need one tell it
    return {};
}

// What a call gives besides its result goes to its last argument: a number, a text, or a property
// with its size behind it; other calls give nothing. False when it can't be given.
template <class... Arguments> bool give(const std::string &text, Arguments... arguments)
{
    constexpr size_t last = sizeof...(arguments) - 1;
    const std::tuple all(arguments...);
    const auto to = std::get<last>(all);
    if constexpr (std::is_same_v<decltype(to), unsigned long *const>)
        return to && std::get<last - 1>(all) && yat::putProperty(text, std::get<last - 1>(all), to);
    else if constexpr (std::is_same_v<decltype(to), char *const>)
        yat::putState(text, to);
    else if constexpr (std::is_same_v<decltype(to), int *const>)
        return to && (*to = atoi(text.c_str()), true);
    return true;
}

// The answer to a call that only reads. An injected failure leaves the caller's buffer alone; an
// injected success has the injection's text, else the real one, else an empty one.
template <class Call, class... Arguments>
int answerTo(CallName name, const Injection &injection, const Call &call, Arguments... arguments)
{
    const InjectableCall &rule = name.call();
    if (injection.result && rule.hasFailed(*injection.result))
        return *injection.result;
    const int real = call(), result = injection.result.value_or(real);
    if (rule.hasFailed(result) || (!injection.text && !rule.hasFailed(real)))
        return result;
    return give(injection.text.value_or(""), arguments...) ? result : rule.failed();
}

// Such a call with the injection for it. One that needs no machine touches no file, but for an
// injection that is known from a call before.
template <auto call, CallName name> struct Answered;
template <class... Arguments, int (*call)(Arguments...), CallName name>
requires(!(std::is_same_v<Arguments, const Machine &> || ...)) struct Answered<call, name> {
    static int run(Arguments... arguments)
    {
        const bool isInjected = opened && isKnown(*opened, name);
        return answerTo(
            name, isInjected ? injectionIfAny(name) : Injection(),
            [&] { return call(arguments...); }, arguments...);
    }
};
template <class... Arguments, int (*call)(const Machine &, Arguments...), CallName name>
struct Answered<call, name> {
    static int run(Arguments... arguments)
    {
        return answerTo(
            name, injectionFor(name), [&] { return call(look(openedStore()), arguments...); },
            arguments...);
    }
};

// The value that it gives is the reason for a no.
int ifSupportAnswered(yat_device *device, int code, int *detail)
{
    const Injection injection = injectionFor("IfSupport");
    int why = 0;
    const int real = ifSupport(look(openedStore()), device, code, &why);
    const int result = injection.result.value_or(real);
    if (result == 0 && injection.text)
        why = atoi(injection.text->c_str());
    if (detail)
        *detail = result == 0 ? why : 0;
    return result;
}

// An operation that is answered by its injection is written down and not carried out.
int operateAnswered(const Order &order)
{
    Store &store = openedStore();
    int result = 0;
    withInjection(store, nameOf(order.verb), [&](const std::optional<Injection> &injection) {
        const bool isAnswered = injection && injection->result;
        result = isAnswered ? *injection->result : perform(store, order) == Refusal::none;
        if (isAnswered)
            writeDown(store, rowOf(order, "injected: " + std::to_string(result)));
    });
    return result;
}

template <Verb verb, class... Argument>
int operation(yat_device *device, int code, Argument... argument)
{
    return operateAnswered(orderOf(verb, device, code, argument...));
}

int putSetting(int kind, int object, int index, int *value)
{
    return operateAnswered(settingOrder(kind, object, index, value));
}

// ---- Opening and closing

int openPlatform()
{
    const yat::ConfiguredMachine machine = yat::configuredMachine();
    if (machine.isHardware) {
        TRACE_ERROR("yatcore.dll only simulates machines, but the configuration names a real one");
        return 0;
    }
    opened = configuredStore(machine);
    return injectionFor("ft_FunctionInit").result.value_or(1);
}

int closePlatform()
{
    const int result = injectionIfAny("ft_FunctionRelease").result.value_or(1);
    yat::tellComplaints();
    opened.reset();
    return result;
}

template <auto call, CallName name>
constexpr auto reading = yat::Guarded<Answered<call, name>::run, name.call().failed(), tell>::run;
template <auto call> constexpr auto guarded = yat::Guarded<call, 0, tell>::run;

} // namespace

const yat_platform YatPlatform = {
    .magic = YAT_PLATFORM_MAGIC,
    .version = YAT_PLATFORM_VERSION,
    .size = sizeof(struct yat_platform),
    .open = yat::Guarded<openPlatform, 1, tell>::run, // the calls fail that need the machine
    .close = guarded<closePlatform>,
    .functions =
        {
            .handle = nullptr,
            .create_tree = reading<createTree, "CreateTreeViewData">,
            .free_tree = reading<yat::freeTree, "FreeTreeViewData">,
            .yat_ft_get_property = reading<getProperty, "yat_ft_get_property">,
            .is_ft = reading<isFt, "call_yat_is_ft">,
            .status_change = reading<statusChange, "StatusChange">,
            .if_support = guarded<ifSupportAnswered>,
            .clear_mtbf = guarded<operation<Verb::clearMtbf>>,
            .bring_up = guarded<operation<Verb::bringUp>>,
            .Linux_ConvertDataToInt = reading<yat::toInteger, "Linux_ConvertDataToInt">,
            .bring_down = guarded<operation<Verb::bringDown>>,
            .set_mtbf_type = guarded<operation<Verb::setMtbfType, const char *>>,
            .burn_firmware = guarded<operation<Verb::burnFirmware, const char *>>,
            .get_setting = reading<getSetting, "GetBBDriverSettings">,
            .put_setting = guarded<putSetting>,
        },
    .get_facts = reading<getFacts, "GetDeviceFacts">,
    .get_reason = reading<getReason, "GetSupportReason">,
};
