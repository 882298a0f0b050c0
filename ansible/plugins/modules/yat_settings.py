#!/usr/bin/python
# SPDX-License-Identifier: GPL-2.0-or-later

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
---
module: yat_settings
short_description: Change the settings of a fault-tolerant server
version_added: 1.0.0
description:
  - Changes the settings of the whole machine. One that is not given stays as it is.
options:
  automatic_firmware_update:
    description: Whether a module that starts gets the BIOS of the one that runs.
    type: bool
  automatic_module_start:
    description: Whether a module that is inserted starts by itself.
    type: bool
extends_documentation_fragment:
  - kiv.yatkit.yatctl
author:
  - The mrvutil maintainers (@mrvutil)
"""

EXAMPLES = r"""
- name: Let modules start by themselves
  kiv.yatkit.yat_settings:
    automatic_module_start: true
"""

RETURN = r"""
settings:
  description: All settings as they are now, true for on; null for one that can't be read.
  returned: success
  type: dict
  sample: {automatic_firmware_update: true, automatic_module_start: true}
rc:
  description: The exit status of C(yatctl); 3 means not supported or refused.
  returned: when yatctl failed
  type: int
  sample: 3
"""

from ansible_collections.kiv.yatkit.plugins.module_utils.yatctl import Yatctl

KEYS = ("automatic_firmware_update", "automatic_module_start")


def main():
    yatctl = Yatctl(dict((key, dict(type="bool")) for key in KEYS), required_one_of=[KEYS])
    before = yatctl.ask("settings")["settings"]
    wanted = dict(
        (key, yatctl.parameters[key]) for key in KEYS if yatctl.parameters[key] is not None
    )
    differing = dict((key, on) for key, on in wanted.items() if before[key] != on)
    after = dict(before, **wanted)
    if differing and not yatctl.check_mode:
        assignments = ["%s=%s" % (key, "on" if on else "off") for key, on in differing.items()]
        after = yatctl.ask("settings", "--yes", *assignments)["settings"]
        if any(after[key] != on for key, on in differing.items()):
            yatctl.fail("the machine did not keep the settings", settings=after)
    yatctl.done(bool(differing), before=before, after=after, settings=after)


if __name__ == "__main__":
    main()
