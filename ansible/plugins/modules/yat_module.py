#!/usr/bin/python
# SPDX-License-Identifier: GPL-2.0-or-later

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
---
module: yat_module
short_description: Start, stop and set a module of a fault-tolerant server
version_added: 1.0.0
description:
  - Brings a CPU or PCI module into a state, sets its MTBF type and clears its failures, in the
    order failures, type, state. Failures can be cleared of adapters as well.
  - The machine is asked first whether it supports an operation now; if it does not, the task
    fails with the machine's reason. The last module of a pair that runs is never stopped.
options:
  device:
    description: A short name such as C(cpu1), the name that the machine shows, or a path.
    type: str
    required: true
  state:
    description: The state that the module is to be in.
    type: str
    choices: [started, stopped]
  mtbf_type:
    description:
      - What a failure leads to. C(0) leaves the module down, C(1) starts it again, C(2) starts it
        again unless it fails too often.
    type: int
    choices: [0, 1, 2]
  failures:
    description: With C(cleared), the MTBF count is cleared if there are failures.
    type: str
    choices: [cleared]
  wait:
    description: Whether to wait until the module has arrived in its state.
    type: bool
    default: true
  wait_timeout:
    description: Seconds after which waiting fails.
    type: int
    default: 600
extends_documentation_fragment:
  - kiv.yatkit.yatctl
author:
  - The mrvutil maintainers (@mrvutil)
"""

EXAMPLES = r"""
- name: Stop a CPU module
  kiv.yatkit.yat_module:
    device: cpu1
    state: stopped

- name: Forget the failures of an adapter
  kiv.yatkit.yat_module:
    device: ethernet3
    failures: cleared
"""

RETURN = r"""
device:
  description: The device as it is now, with the keys that C(yatctl show --json) has.
  returned: success
  type: dict
  sample: {device: cpu1, name: CPU module 1, state: stopped, failures: 0, mtbf_type: 1}
rc:
  description: The exit status of C(yatctl); 3 means not supported or refused.
  returned: when yatctl failed
  type: int
  sample: 3
"""

from ansible_collections.kiv.yatkit.plugins.module_utils.yatctl import Yatctl

# What is there, what is on the way there, and how to get there.
STATES = {
    "started": (("running",), ("starting", "synchronising"), "start"),
    "stopped": (("stopped", "not_installed"), ("stopping", "updating"), "stop"),
}


def main():
    yatctl = Yatctl(
        dict(
            device=dict(type="str", required=True),
            state=dict(type="str", choices=["started", "stopped"]),
            mtbf_type=dict(type="int", choices=[0, 1, 2]),
            failures=dict(type="str", choices=["cleared"]),
            wait=dict(type="bool", default=True),
            wait_timeout=dict(type="int", default=600),
        ),
        required_one_of=[("state", "mtbf_type", "failures")],
    )
    wanted = yatctl.parameters
    before = yatctl.device(wanted["device"])
    name = before["device"]
    expected = dict(before)
    changed = False

    if wanted["failures"] and before["failures"] != 0:
        yatctl.operate("clear", name)
        expected["failures"] = 0
        changed = True
    if wanted["mtbf_type"] is not None and before["mtbf_type"] != wanted["mtbf_type"]:
        yatctl.operate("set-type", name, str(wanted["mtbf_type"]))
        expected["mtbf_type"] = wanted["mtbf_type"]
        changed = True
    after = None
    if wanted["state"]:
        yatctl.expect_state(before)
        arrived, moving, command = STATES[wanted["state"]]
        seconds = wanted["wait_timeout"] if wanted["wait"] else None
        if before["state"] not in arrived + moving:
            after = yatctl.operate(command, name, wait=seconds)
            expected["state"] = arrived[0]
            changed = True
        elif wanted["wait"] and not yatctl.check_mode:
            after = yatctl.wait_for(name, arrived, seconds)
    if yatctl.check_mode:
        after = expected
    elif after is None:
        after = yatctl.device(name)
    told = ("state", "mtbf_type", "failures")
    yatctl.done(
        changed,
        before=dict((key, before[key]) for key in told),
        after=dict((key, after[key]) for key in told),
        device=after,
    )


if __name__ == "__main__":
    main()
