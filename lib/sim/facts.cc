// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/facts.h"

namespace sim {
namespace {

int32_t toldState(State state)
{
    switch (state) {
    case State::empty: return YAT_DEVICE_NOT_INSTALLED;
    case State::stopped: return YAT_DEVICE_STOPPED;
    case State::simplex:
    case State::duplex: return YAT_DEVICE_RUNNING;
    case State::broken: return YAT_DEVICE_BROKEN;
    case State::starting: return YAT_DEVICE_STARTING;
    case State::synchronising: return YAT_DEVICE_SYNCHRONISING;
    case State::stopping: return YAT_DEVICE_STOPPING;
    case State::firmwareUpdate: return YAT_DEVICE_UPDATING;
    }
    return 0;
}

int32_t toldBios(const Device &device)
{
    return device.state == State::firmwareUpdate ? YAT_BIOS_UPDATING
           : device.bios == Bios::invalid        ? YAT_BIOS_INVALID
                                                 : YAT_BIOS_VALID;
}

template <class Field, class Value>
void tell(yat_facts &facts, uint32_t fact, Field &field, Value value)
{
    facts.known |= fact;
    field = static_cast<Field>(value);
}

void tellOfModule(yat_facts &facts, const Machine &machine, const Device &device)
{
    const Device *partner = partnerOf(machine, device);
    tell(facts, YAT_KNOWS_PARTNER, facts.partner, partner ? partner->id.number : 0);
    if (device.state == State::empty)
        return;
    if (supports(machine, Verb::setMtbfType, device.id.classCode))
        tell(facts, YAT_KNOWS_MTBF_TYPE, facts.mtbf_type, device.mtbfType);
    if (device.id.classCode == YAT_CLASS_CPU_MODULE)
        tell(facts, YAT_KNOWS_BIOS, facts.bios, toldBios(device));
}

} // namespace

yat_facts factsOf(const Machine &machine, const Device &device)
{
    const State state = stateOf(machine, device);
    yat_facts facts{};
    tell(facts, YAT_KNOWS_STATE, facts.state, toldState(state));
    tell(facts, YAT_KNOWS_DUPLEX, facts.duplex, state == State::duplex);
    tell(facts, YAT_KNOWS_FAILURES, facts.failures, device.failureCount);
    tell(facts, YAT_KNOWS_MTBF_THRESHOLD, facts.mtbf_threshold, machine.mtbfThreshold / second);
    if (const auto percent = progress(machine, device))
        tell(facts, YAT_KNOWS_PROGRESS, facts.progress, *percent);
    if (const auto mean = mtbf(device))
        tell(facts, YAT_KNOWS_MTBF, facts.mtbf, *mean / second);
    if (isModule(device.id))
        tellOfModule(facts, machine, device);
    return facts;
}

} // namespace sim
