# SPDX-License-Identifier: MIT
"""Two machines that are reached by ssh: two sshd on ports of the loopback interface, with a key of this run."""
import os
import pathlib
import signal
import subprocess
import time

from scene import kill_all
from slurm import free_ports

# With SHLVL, bash reads no ~/.bashrc: what that starts would be killed with a machine, and might leave a lock behind.
CONFIG = """ListenAddress 127.0.0.1
Port {port}
HostKey {folder}/host
AuthorizedKeysFile {folder}/key.pub
PidFile {folder}/{port}.pid
StrictModes no
UsePAM no
PermitRootLogin yes
PasswordAuthentication no
MaxStartups 100
SetEnv SHLVL=2
"""


class Machines:
    """A context: the daemons run while it is entered, and none is left afterwards."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.folder.mkdir(exist_ok=True)
        self.ports = free_ports(2)
        for name in ("host", "key"):
            (self.folder / name).unlink(missing_ok=True)
            subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", self.folder / name], check=True)
        (self.folder / "ssh_config").write_text(
            f"IdentityFile {self.folder}/key\nIdentitiesOnly yes\nUserKnownHostsFile {self.folder}/known\n"
            "StrictHostKeyChecking no\nLogLevel ERROR\n" +
            "".join(f"Host machine{n}\n  HostName 127.0.0.1\n  Port {port}\n" for n, port in enumerate(self.ports, 1)))
        self.ssh = f"ssh -F {self.folder}/ssh_config"
        self.daemons = []

    def __enter__(self):
        os.makedirs("/run/sshd", mode=0o755, exist_ok=True)  # sshd wants its folder, even if it does not use it
        for port in self.ports:
            config = self.folder / f"sshd-{port}"
            config.write_text(CONFIG.format(folder=self.folder, port=port))
            self.daemons.append(subprocess.Popen(["/usr/sbin/sshd", "-D", "-e", "-f", config], start_new_session=True,
                                                 stderr=open(self.folder / f"{port}.log", "wb")))
        for n in (1, 2):
            for _ in range(100):
                if subprocess.run([*self.ssh.split(), f"machine{n}", "true"], check=False).returncode == 0:
                    break
                time.sleep(0.1)
            else:
                self.__exit__()
                raise SystemExit(f"sshd does not start: {self.folder}")
        return self

    def __exit__(self, *_):
        for n in range(1, len(self.daemons) + 1):
            self.kill_machine(n)

    def nodes(self, jobs=1, machines=(1, 2)):
        path = self.folder / "nodes"
        path.write_text("".join(f"{jobs}/machine{n}\n" for n in machines))
        return path

    def kill_machine(self, n):
        """The end of a machine: its daemon, its sessions and all that they run."""
        sessions = [b"SSH_CONNECTION=127.0.0.1 ", f" 127.0.0.1 {self.ports[n - 1]}\0".encode()]
        self.daemons[n - 1].kill()
        self.daemons[n - 1].wait()
        kill_all(sessions, signal.SIGKILL)
