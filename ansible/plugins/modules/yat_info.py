#!/usr/bin/python
# SPDX-License-Identifier: GPL-2.0-or-later

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
---
module: yat_info
short_description: Tell the devices of a fault-tolerant server
version_added: 1.0.0
description:
  - Tells the modules and adapters of a fault-tolerant server, its settings and its management
    controller, as C(yatctl) knows them.
  - Nothing is changed.
options:
  gather:
    description: What is asked for. The management controller may take seconds to answer.
    type: list
    elements: str
    choices: [devices, settings, bmc]
    default: [devices, settings]
extends_documentation_fragment:
  - kiv.yatkit.yatctl
author:
  - The mrvutil maintainers (@mrvutil)
"""

EXAMPLES = r"""
- name: Look at the machine
  kiv.yatkit.yat_info:
  register: yat

- name: Show the modules that are broken
  ansible.builtin.debug:
    msg: "{{ yat.devices | selectattr('state', 'eq', 'broken') | map(attribute='name') }}"
"""

RETURN = r"""
machine:
  description: The type of the machine.
  returned: when devices are asked for
  type: dict
  sample: {type: CEDAR}
devices:
  description:
    - The devices, each module followed by its adapters, with the keys that C(yatctl show --json)
      has. What the platform does not tell is null.
  returned: when devices are asked for
  type: list
  elements: dict
  sample: [{device: cpu1, name: CPU module 1, class: cpu_module, number: 1, state: running,
            duplex: true, failures: 0, bios_version: 4.1.0072}]
settings:
  description: The settings of the machine, true for on; null for one that can't be read.
  returned: when settings are asked for
  type: dict
  sample: {automatic_firmware_update: true, automatic_module_start: false}
bmc:
  description: The management controller.
  returned: when it is asked for
  type: dict
  sample: {firmware_revision: "04.17", device_id: 32, device_revision: 1}
"""

from ansible_collections.kiv.yatkit.plugins.module_utils.yatctl import Yatctl

COMMANDS = {"devices": "list", "settings": "settings", "bmc": "bmc"}


def main():
    yatctl = Yatctl(
        dict(
            gather=dict(
                type="list",
                elements="str",
                choices=["devices", "settings", "bmc"],
                default=["devices", "settings"],
            )
        )
    )
    found = {}
    for subject in yatctl.parameters["gather"]:
        found.update(yatctl.ask(COMMANDS[subject]))
    found.pop("format", None)
    yatctl.done(False, **found)


if __name__ == "__main__":
    main()
