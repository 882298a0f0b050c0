# SPDX-License-Identifier: GPL-2.0-or-later
"""What the modules share: yatctl, asked for JSON."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json
import time

from ansible.module_utils.basic import AnsibleModule

FORMAT = 1  # of the layout that yatctl prints
LOST = ("broken", "not_installed")  # states that nothing but a person leads out of
PLACES = ["/opt/kiv/yatkit/bin"]

COMMON_ARGUMENTS = dict(yatctl=dict(type="path"))


class Yatctl:
    """The machine as yatctl tells it; whatever it refuses ends the module with its words."""

    def __init__(self, arguments=None, **options):
        accepted = dict(COMMON_ARGUMENTS, **(arguments or {}))
        self.module = AnsibleModule(
            argument_spec=accepted, supports_check_mode=True, **options
        )
        self.parameters = self.module.params
        self.check_mode = self.module.check_mode
        self.program = self.parameters["yatctl"] or self.module.get_bin_path(
            "yatctl", required=True, opt_dirs=PLACES
        )

    def ask(self, *arguments):
        """What a command of yatctl prints, as a dictionary."""
        command = [self.program] + list(arguments) + ["--json"]
        status, output, complaint = self.module.run_command(
            command, environ_update=dict(LC_ALL="C.UTF-8", LANGUAGE="C")
        )
        try:
            answer = json.loads(output) if output else {}
        except ValueError:
            answer = {}
        if status != 0:
            said = answer.get("error", {}).get("message") or complaint.strip()
            self.fail(said or "yatctl ended with status %d" % status, rc=status, cmd=command)
        if answer.get("format") != FORMAT:
            self.fail(
                "%s prints format %s of its JSON, expected %d; install the collection that belongs "
                "to it" % (self.program, answer.get("format"), FORMAT),
                cmd=command,
            )
        return answer

    def device(self, name):
        return self.ask("show", name)["devices"][0]

    def operate(self, command, device, *arguments, **options):
        """Has an operation done, and with wait, a number of seconds, until the device has arrived.
        Returns the device. In check mode, asks only whether the machine supports it."""
        words = list(arguments) + ["--check" if self.check_mode else "--yes"]
        if options.get("wait") is not None and not self.check_mode:
            words.append("--wait=%d" % options["wait"])
        return self.ask(command, device, *words)["devices"][0]

    def expect_state(self, device):
        """Without a state, nobody knows whether there is anything to do."""
        if device["state"] is None:
            self.fail("the platform does not report the state of %s" % device["device"], device=device)

    def wait_for(self, name, states, seconds):
        """Waits for what somebody else began, until a device is in one of the states, and returns
        it. One that is lost before is not waited for."""
        end = time.monotonic() + seconds
        while True:
            device = self.device(name)
            if device["state"] in states:
                return device
            if device["state"] in LOST:
                self.fail("%s is %s, expected %s" % (name, device["state"], " or ".join(states)),
                          device=device)
            if time.monotonic() >= end:
                self.fail(
                    "%s is %s after %d seconds, expected %s"
                    % (name, device["state"], seconds, " or ".join(states)),
                    device=device,
                )
            time.sleep(1)

    def fail(self, message, **values):
        self.module.fail_json(msg=message, **values)

    def done(self, changed, before=None, after=None, **values):
        if before is not None and before != after:
            values["diff"] = dict(before=before, after=after)
        self.module.exit_json(changed=changed, **values)
