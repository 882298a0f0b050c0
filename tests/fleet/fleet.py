# SPDX-License-Identifier: GPL-2.0-or-later
"""Simulated machines that Ansible administers, one of them over ssh on the loopback."""
import datetime
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import time
import tomllib

project = pathlib.Path(__file__).resolve().parent.parent.parent
version = "4.2.0001"  # in the data file of each machine
calls = {"stop": "InitBringDown", "update": "BurnFirmware", "start": "InitBringUp"}


class Fleet:
    def __init__(self, stage, work, healthy, others):
        self.stage, self.work = stage, work
        self.healthy = [f"machine-{i:02}" for i in range(1, healthy + 1)]
        self.names = self.healthy + others
        subprocess.run(["ansible-galaxy", "collection", "install", "--offline", project / "ansible",
                        "-p", work / "collections"], check=True, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL,
                       env={**os.environ, "HOME": str(work),
                            "ANSIBLE_COLLECTIONS_PATH": str(work / "collections")})
        for name in self.names:
            (work / name).mkdir()
            self.yatsim(name, "set", "data_file", version)
        self.sshd = None

    def environment(self, name):
        return {"YAT_STATE_DIR": str(self.work / name), "YAT_MACHINE": "CEDAR",
                "YAT_TIME_SCALE": "200",
                "PATH": f"{self.work / name}/bin:{self.stage}/bin:/usr/sbin:/usr/bin:/sbin:/bin"}

    def standBetween(self, name, script):
        """Has a shell script take the place of a machine's yatctl, which is $yatctl to it."""
        stub = self.work / name / "bin/yatctl"
        stub.parent.mkdir()
        stub.write_text(f"#!/bin/sh\nyatctl={self.stage}/bin/yatctl\n{script}")
        stub.chmod(0o755)

    def ask(self, program, name, *arguments):
        done = subprocess.run([self.stage / "bin" / program, *arguments], stdin=subprocess.DEVNULL,
                              cwd=self.work / name,
                              env={**os.environ, **self.environment(name)},
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def yatsim(self, name, *arguments):
        status, output, complaint = self.ask("yatsim", name, *arguments)
        if status != 0:
            sys.exit(f"fleet: yatsim {' '.join(arguments)} on {name}: {complaint}")
        return output

    def modules(self, name):
        devices = json.loads(self.ask("yatctl", name, "list", "--json")[1])["devices"]
        return [device for device in devices if device["class"] == "cpu_module"]

    def startSshd(self):
        """A server with keys of its own, for the first machine."""
        place = self.work / "ssh"
        place.mkdir(mode=0o700)
        for key in ("host", "user"):
            subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", place / key],
                           check=True)
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            self.port = free.getsockname()[1]
        (place / "config").write_text(
            f"ListenAddress 127.0.0.1\nPort {self.port}\nHostKey {place}/host\nUsePAM no\n"
            f"AuthorizedKeysFile {place}/user.pub\nStrictModes no\nPidFile none\n"
            f"PasswordAuthentication no\nSubsystem sftp internal-sftp\n")
        self.openSshd()

    def openSshd(self):
        place = self.work / "ssh"
        (place / "known").write_text(f"[127.0.0.1]:{self.port} {(place / 'host.pub').read_text()}")
        if os.getuid() == 0:
            os.makedirs("/run/sshd", exist_ok=True)
        self.sshd = subprocess.Popen([shutil.which("sshd", path="/usr/sbin:/usr/bin"), "-D", "-e",
                                      "-f", place / "config"], stderr=subprocess.DEVNULL)
        for _ in range(100):
            with socket.socket() as probe:
                if probe.connect_ex(("127.0.0.1", self.port)) == 0:
                    return
            time.sleep(0.1)
        sys.exit("fleet: sshd does not start")

    def closeSshd(self):
        """Connections end as well, unlike what runs in them."""
        if not self.sshd:
            return
        servers = [self.sshd.pid]
        for server in servers:
            found = subprocess.run(["pgrep", "-x", "-P", str(server), "sshd"],
                                   stdout=subprocess.PIPE, check=False)
            servers += [int(process) for process in found.stdout.split()]
        for server in servers:
            os.kill(server, signal.SIGKILL)
        self.sshd.wait()
        self.sshd = None

    def writeInventory(self):
        hosts = {}
        for name in self.names:
            hosts[name] = {"ansible_connection": "local", "yat_environment": self.environment(name),
                           "yat_update_marker": str(self.work / name / "rolling-update")}
        if self.sshd:
            place = self.work / "ssh"
            hosts[self.names[0]].update({
                "ansible_connection": "ssh", "ansible_host": "127.0.0.1",
                "ansible_port": self.port, "ansible_ssh_private_key_file": str(place / "user"),
                "ansible_ssh_common_args": f"-o UserKnownHostsFile={place}/known "
                                           "-o StrictHostKeyChecking=yes -o IdentitiesOnly=yes"})
        everywhere = {"ansible_python_interpreter": sys.executable,
                      "yat_update_version": version, "yat_update_timeout": 20,
                      "yat_update_report": str(self.work / "report")}
        inventory = {"all": {"hosts": hosts, "vars": everywhere}}
        (self.work / "hosts.json").write_text(json.dumps(inventory))

    def ansible(self, program, *arguments):
        return subprocess.Popen(
            [program, "-i", self.work / "hosts.json", *arguments], cwd=self.work,
            stdin=subprocess.DEVNULL, stdout=(self.work / "output").open("w"),
            stderr=subprocess.STDOUT, start_new_session=True,
            env={**os.environ, "ANSIBLE_COLLECTIONS_PATH": str(self.work / "collections"),
                 "ANSIBLE_LOCALHOST_WARNING": "false", "ANSIBLE_NOCOLOR": "true",
                 "ANSIBLE_PIPELINING": "true", "ANSIBLE_FORKS": "4", "ANSIBLE_RETRY_FILES_ENABLED":
                 "false", "LC_ALL": "C.UTF-8", "HOME": str(self.work)})

    def finish(self, process):
        status = process.wait()
        return status, (self.work / "output").read_text()

    def hangBefore(self, name, operation):
        self.yatsim(name, "inject", "--delay", "600000", calls[operation.split()[0]], "real")

    def hangNoMore(self, name, operation):
        self.yatsim(name, "inject", calls[operation.split()[0]], "off")

    def update(self, *arguments):
        return self.ansible("ansible-playbook", "kiv.yatkit.rolling_update", "-e",
                            "yat_update_serial=100% yat_update_max_failed=100", *arguments)

    def report(self):
        lines = (self.work / "report").read_text().splitlines()
        return dict(line.split(": ", 1) for line in lines)


def neverBothDown(fleet, name):
    """By the journal: whether a CPU module was stopped only while the other one was up, which it is
    once it has started and synchronised, and nobody tried anything else."""
    timing = tomllib.loads(fleet.yatsim(name, "export"))["timing"]
    start = datetime.timedelta(seconds=timing["start"] + timing["synchronise"])
    never = datetime.datetime.max.replace(tzinfo=datetime.timezone.utc)
    up = {"cpu1": never.min.replace(tzinfo=never.tzinfo), "cpu2": never.min.replace(tzinfo=never.tzinfo)}
    for row in json.loads(fleet.yatsim(name, "journal", "--json")):
        device, operation = row["device"], row["operation"]
        time = datetime.datetime.fromisoformat(row["time"])
        if device not in up or operation not in ("InitBringDown", "InitBringUp", "pull"):
            continue
        if operation == "InitBringDown" and row["result"].startswith("refused"):
            return False
        if row["result"] == "done":
            up[device] = time + start if operation == "InitBringUp" else never
            if operation != "InitBringUp" and min(up.values()) > time:
                return False
    return True


def awaitThat(isSo, seconds):
    end = time.monotonic() + seconds
    while not isSo() and time.monotonic() < end:
        time.sleep(0.2)
    return isSo()


def operationsUnderWay(fleet, operation):
    """The processes of yatctl that carry it out, on any of the machines."""
    found = subprocess.run(["pgrep", "-f", f"^{fleet.stage}/bin/yatctl {operation} "],
                           stdout=subprocess.PIPE, check=False)
    return [int(process) for process in found.stdout.split()]
