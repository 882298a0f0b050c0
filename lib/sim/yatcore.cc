// The simulated machine as a platform, yatcore.dll: its calls, with injections around them.
#include "base/record.h"
#include "common/answers.h"
#include "common/complaints.h"
#include "common/guarded.h"
#include "common/machine.h"
#include "sim/calls.h"
#include "yat/platform.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <new>

namespace {

using namespace sim;

constexpr char traceSource[] = "yatcore";

// What exceptions need of memory in a library that is loaded later, fetched while there is some:
// the loader ends the program at once when it can't be had.
[[maybe_unused]] const int readyForExceptions = std::uncaught_exceptions();

// Has the user told, and puts it into the trace log, each line once.
void complain(std::string_view problem) noexcept
{
    while (!problem.empty()) {
        const std::string_view line = problem.substr(0, problem.find('\n'));
        if (yat::complain(line))
            TRACE_ERROR("%.*s", static_cast<int>(line.size()), line.data());
        problem.remove_prefix(std::min(line.size() + 1, problem.size()));
    }
}

// ---- Injections

using Injected = std::optional<Injection>;

Injected injectionFor(const char *call)
{
    return takeInjection(openedStore(), call);
}

// The same for a call that needs no machine, and so works also without one.
Injected injectionIfAny(const char *call)
try {
    return injectionFor(call);
} catch (const yat::Problem &problem) {
    complain(problem.what());
    return {};
}

// How a call says that it failed.
bool zeroFails(int result)
{
    return result == 0;
}

bool minusOneFails(int result)
{
    return result == -1;
}

bool allButZeroFail(int result)
{
    return result != 0;
}

// A call that only reads, with the injection for it. An injected failure leaves the caller's buffer
// alone; an injected success has the injection's text, else the real one, else an empty one. give
// puts a text into the buffer and returns what the call is to return.
template <class Call, class Give>
int answer(const Injected &injection, bool (*hasFailed)(int), Call call, Give give)
{
    if (!injection)
        return call();
    if (injection->result && hasFailed(*injection->result))
        return *injection->result;
    const int real = call(), result = injection->result.value_or(real);
    if (hasFailed(result) || (!injection->text && !hasFailed(real)))
        return result;
    return give(injection->text.value_or(""), result);
}

int givesNothing(const std::string &, int)
{
    return 0;
}

auto givesNumber(int *value)
{
    return [value](const std::string &text, int result) {
        *value = atoi(text.c_str());
        return result;
    };
}

auto givesText(char *buffer)
{
    return [buffer](const std::string &text, int result) {
        yat::putState(text, buffer);
        return result;
    };
}

int createTree(yat_device **root)
{
    return answer(
        injectionFor("CreateTreeViewData"), zeroFails, [&] { return calls.create_tree(root); },
        givesNothing);
}

int freeTree(yat_device **root)
{
    return answer(
        injectionIfAny("FreeTreeViewData"), zeroFails, [&] { return calls.free_tree(root); },
        givesNothing);
}

int isFt(int reserved)
{
    return injectionFor("call_yat_is_ft")
        .value_or(Injection())
        .result.value_or(calls.is_ft(reserved));
}

int getProperty(int kind, int number, int property, char *buffer, unsigned long *size)
{
    if (!buffer || !size)
        return -1;
    return answer(
        injectionFor("yat_ft_get_property"), allButZeroFail,
        [&] { return calls.yat_ft_get_property(kind, number, property, buffer, size); },
        [&](const std::string &text, int result) {
            return yat::putProperty(text, buffer, size) ? result : -1;
        });
}

int convertDataToInt(char *text, int *value)
{
    if (!text || !value)
        return -1;
    return answer(
        injectionIfAny("Linux_ConvertDataToInt"), minusOneFails,
        [&] { return calls.Linux_ConvertDataToInt(text, value); }, givesNumber(value));
}

int statusChange(int kind, int number, int code, char *text)
{
    return answer(
        injectionFor("StatusChange"), minusOneFails,
        [&] { return calls.status_change(kind, number, code, text); }, givesText(text));
}

int getSetting(int kind, int object, int index, int *value)
{
    return answer(
        injectionFor("GetBBDriverSettings"), zeroFails,
        [&] { return calls.get_setting(kind, object, index, value); }, givesNumber(value));
}

// The value that it gives is the reason for a no.
int ifSupport(yat_device *device, int code, int *detail)
{
    const Injection injection = injectionFor("IfSupport").value_or(Injection());
    int why = 0;
    const int real = calls.if_support(device, code, &why);
    const int result = injection.result.value_or(real);
    if (result == 0 && injection.text)
        why = atoi(injection.text->c_str());
    if (detail)
        *detail = result == 0 ? why : 0;
    return result;
}

int facts(yat_device *device, yat_facts *told)
{
    return answer(
        injectionFor("GetDeviceFacts"), zeroFails, [&] { return getFacts(device, told); },
        givesNothing);
}

int reason(yat_device *device, int code, int detail, char *text)
{
    return answer(
        injectionFor("GetSupportReason"), zeroFails,
        [&] { return getReason(device, code, detail, text); }, givesText(text));
}

// An operation that is answered by its injection is written down and not carried out.
template <class Call> int operate(const Operation &operation, Call call)
{
    Store &store = openedStore();
    int result = 0;
    withInjection(store, nameOf(operation.verb), [&](const Injected &injection) {
        const bool isAnswered = injection && injection->result;
        result = isAnswered ? *injection->result : call();
        if (isAnswered)
            writeDown(store, rowOf(operation, "injected: " + std::to_string(result)));
    });
    return result;
}

template <Verb verb, auto call, class... Argument>
int operation(yat_device *device, int code, Argument... argument)
{
    return operate(operationOf(verb, device, code, argument...),
                   [&] { return (calls.*call)(device, code, argument...); });
}

int putSetting(int kind, int object, int index, int *value)
{
    return operate(settingOf(kind, object, index, value),
                   [&] { return calls.put_setting(kind, object, index, value); });
}

// ---- Opening and closing

int openPlatform()
try {
    const yat::ConfiguredMachine machine = yat::configuredMachine();
    if (machine.isHardware) {
        TRACE_ERROR("this platform only simulates machines, and can't take the place of "
                    "another one");
        return 0;
    }
    openStoreOf(machine);
    const int result = injectionFor("ft_FunctionInit").value_or(Injection()).result.value_or(1);
    if (result == 0)
        closeStore();
    else if (const std::string note = descriptionNote(openedStore()); !note.empty())
        TRACE("%s", note.c_str());
    return result;
} catch (const std::bad_alloc &problem) {
    yat::complainOf(problem);
    return 1;
} catch (const std::exception &problem) {
    complain(problem.what());
    return 1; // the calls will fail that need the machine
}

int closePlatform()
{
    const Injected injection = injectionIfAny("ft_FunctionRelease");
    yat::tellComplaints();
    closeStore();
    return injection.value_or(Injection()).result.value_or(1);
}

void tell(const std::exception &problem)
{
    if (dynamic_cast<const yat::Problem *>(&problem))
        complain(problem.what());
    else if (dynamic_cast<const std::bad_alloc *>(&problem))
        yat::complainOf(problem);
    else
        TRACE_ERROR("%s", problem.what());
}

template <auto call, auto failure> using Guarded = yat::Guarded<call, failure, tell>;
using Calls = yat_ft_functions;

} // namespace

const yat_platform YatPlatform = {
    .magic = YAT_PLATFORM_MAGIC,
    .version = YAT_PLATFORM_VERSION,
    .size = sizeof(struct yat_platform),
    .open = openPlatform,
    .close = Guarded<closePlatform, 0>::run,
    .functions =
        {
            .handle = nullptr,
            .create_tree = Guarded<createTree, 0>::run,
            .free_tree = Guarded<freeTree, 0>::run,
            .yat_ft_get_property = Guarded<getProperty, -1>::run,
            .is_ft = Guarded<isFt, -1>::run,
            .status_change = Guarded<statusChange, -1>::run,
            .if_support = Guarded<ifSupport, 0>::run,
            .clear_mtbf = Guarded<operation<Verb::clearMtbf, &Calls::clear_mtbf>, 0>::run,
            .bring_up = Guarded<operation<Verb::bringUp, &Calls::bring_up>, 0>::run,
            .Linux_ConvertDataToInt = Guarded<convertDataToInt, -1>::run,
            .bring_down = Guarded<operation<Verb::bringDown, &Calls::bring_down>, 0>::run,
            .set_mtbf_type =
                Guarded<operation<Verb::setMtbfType, &Calls::set_mtbf_type, const char *>, 0>::run,
            .burn_firmware =
                Guarded<operation<Verb::burnFirmware, &Calls::burn_firmware, const char *>, 0>::run,
            .get_setting = Guarded<getSetting, 0>::run,
            .put_setting = Guarded<putSetting, 0>::run,
        },
    .get_facts = Guarded<facts, 0>::run,
    .get_reason = Guarded<reason, 0>::run,
};
