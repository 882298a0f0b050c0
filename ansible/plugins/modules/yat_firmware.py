#!/usr/bin/python
# SPDX-License-Identifier: GPL-2.0-or-later

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
---
module: yat_firmware
short_description: Update the BIOS of a CPU module
version_added: 1.0.0
description:
  - Updates the BIOS of a stopped CPU module, and waits until it is done. Nothing happens when the
    module has the version already and its BIOS is valid.
  - The role M(kiv.yatkit.rolling_update) stops and starts modules around it.
options:
  device:
    description: The CPU module, such as C(cpu1).
    type: str
    required: true
  version:
    description: The version that the BIOS is to have. Another one after the update is a failure.
    type: str
    required: true
  source:
    description: Where the BIOS comes from, the data file of the machine or the module that runs.
    type: str
    choices: [file, copy]
    default: file
  wait_timeout:
    description: Seconds after which waiting fails.
    type: int
    default: 1800
extends_documentation_fragment:
  - kiv.yatkit.yatctl
author:
  - The mrvutil maintainers (@mrvutil)
"""

EXAMPLES = r"""
- name: Update the BIOS of a stopped module
  kiv.yatkit.yat_firmware:
    device: cpu1
    version: 4.1.0072
"""

RETURN = r"""
device:
  description: The module as it is now, with the keys that C(yatctl show --json) has.
  returned: success
  type: dict
  sample: {device: cpu1, state: stopped, bios_version: 4.1.0072, bios_state: valid}
rc:
  description: The exit status of C(yatctl); 3 means not supported or refused.
  returned: when yatctl failed
  type: int
  sample: 3
"""

from ansible_collections.kiv.yatkit.plugins.module_utils.yatctl import Yatctl


def is_current(device, version):
    return device["bios_version"] == version and device["bios_state"] != "invalid"


def main():
    yatctl = Yatctl(
        dict(
            device=dict(type="str", required=True),
            version=dict(type="str", required=True),
            source=dict(type="str", choices=["file", "copy"], default="file"),
            wait_timeout=dict(type="int", default=1800),
        )
    )
    wanted = yatctl.parameters
    before = yatctl.device(wanted["device"])
    name = before["device"]
    yatctl.expect_state(before)
    if before["state"] == "updating" and not yatctl.check_mode:
        before = yatctl.wait_for(name, ("stopped",), wanted["wait_timeout"])
    after = dict(before)
    changed = not is_current(before, wanted["version"])
    if changed:
        updated = yatctl.operate(
            "update", name, wanted["source"], wait=wanted["wait_timeout"]
        )
        after["bios_version"] = wanted["version"]
    if changed and not yatctl.check_mode:
        after = updated
        if not is_current(after, wanted["version"]):
            yatctl.fail(
                "the BIOS of %s has version %s (%s) after the update, expected %s"
                % (name, after["bios_version"], after["bios_state"], wanted["version"]),
                changed=True,
                device=after,
            )
    yatctl.done(
        changed,
        before=dict(bios_version=before["bios_version"]),
        after=dict(bios_version=after["bios_version"]),
        device=after,
    )


if __name__ == "__main__":
    main()
