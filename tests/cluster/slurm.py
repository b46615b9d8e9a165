# SPDX-License-Identifier: MIT
"""Slurm in a folder: a controller and two nodes of one processor each on this machine, under names of their own."""
import os
import pathlib
import signal
import socket
import subprocess
import time

from scene import kill_all

NODES = ("node1", "node2")
CONFIG = """ClusterName=check
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={ports[0]}
SlurmUser=root
AuthInfo=socket={folder}/munge.socket,cred_expire=5
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool-%n
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd-%n.pid
SlurmctldLogFile={folder}/slurmctld.log
SlurmdLogFile={folder}/slurmd-%n.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerParameters=sched_interval=5,batch_sched_delay=0
SlurmdParameters=config_overrides
SlurmdTimeout=5
ReturnToService=2
KillWait=2
MailProg=/bin/true
NodeName=node1 NodeHostname={host} NodeAddr=127.0.0.1 Port={ports[1]} CPUs=1 RealMemory=4000
NodeName=node2 NodeHostname={host} NodeAddr=127.0.0.1 Port={ports[2]} CPUs=1 RealMemory=4000
PartitionName=all Nodes=node1,node2 Default=YES State=UP
"""


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for each in sockets:
        each.bind(("127.0.0.1", 0))
    ports = [each.getsockname()[1] for each in sockets]
    for each in sockets:
        each.close()
    return ports


class Slurm:
    """A context: the daemons run while it is entered, and none is left afterwards."""

    def __init__(self, folder, path):
        self.folder = pathlib.Path(folder)
        for name in ("", "state", *(f"spool-{node}" for node in NODES)):
            (self.folder / name).mkdir(mode=0o755, exist_ok=True)
        config = self.folder / "slurm.conf"
        config.write_text(CONFIG.format(folder=self.folder, host=socket.gethostname(), ports=free_ports(3)))
        self.environment = {**os.environ, "SLURM_CONF": str(config), "PATH": f"{path}:{os.environ['PATH']}"}
        self.daemons = {}

    def start(self, name, *words):
        with open(self.folder / f"{name}.out", "ab") as out:
            self.daemons[name] = subprocess.Popen(
                words, env={**self.environment, "CLUSTER_CHECK": name}, stdin=subprocess.DEVNULL, stdout=out,
                stderr=out, start_new_session=True)

    def start_node(self, node):
        self.start(node, "slurmd", "-D", "-N", node)

    def __enter__(self):
        try:
            key = self.folder / "munge.key"
            key.write_bytes(os.urandom(128))
            key.chmod(0o600)
            self.start("munged", "munged", "--foreground", "--force", f"--key-file={key}",
                       f"--socket={self.folder}/munge.socket", f"--pid-file={self.folder}/munged.pid",
                       f"--seed-file={self.folder}/munge.seed", f"--log-file={self.folder}/munged.log")
            self.wait_until("munge does not start", (self.folder / "munge.socket").exists)
            self.start("slurmctld", "slurmctld", "-D", "-i")
            for node in NODES:
                self.start_node(node)
            self.wait_until("the nodes do not start", lambda: self.idle() == 2)
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if "slurmctld" in self.daemons:
            self.ask("scancel", "--user", "root", check=False)
        mark = b"SLURM_CONF=" + str(self.folder).encode() + b"/"
        kill_all([mark], signal.SIGKILL)
        for daemon in self.daemons.values():
            daemon.wait()

    def ask(self, *words, check=True):
        done = subprocess.run(list(map(str, words)), env=self.environment, capture_output=True, text=True, check=False)
        if check and done.returncode != 0:
            raise SystemExit(f"{words}: {done.stderr}")
        return done.stdout

    @staticmethod
    def wait_until(what, condition, seconds=120):
        end = time.monotonic() + seconds
        while not condition():
            if time.monotonic() > end:
                raise SystemExit(f"after {seconds} s: {what}")
            time.sleep(0.1)

    def idle(self):
        """The number of nodes that take jobs."""
        states = self.ask("sinfo", "--Node", "--noheader", "--format=%t", check=False).split()
        return sum(state in ("idle", "alloc", "mix") for state in states)

    def submit(self, script, array, *words, nodes=NODES):
        return self.ask("sbatch", "--parsable", f"--array={array}", f"--exclude={','.join(set(NODES) - set(nodes))}",
                        script, *words).strip()

    def jobs(self):
        return self.ask("squeue", "--noheader", "--array", "--format=%i %t %N").splitlines()

    def wait(self, seconds=900):
        self.wait_until(f"jobs do not end: {self.jobs()[:3]}", lambda: not self.jobs(), seconds)

    def kill_node(self, node):
        """The end of a machine: its daemon and all processes of its jobs, at once and without notice."""
        conf = b"SLURM_CONF=" + str(self.folder).encode() + b"/"
        for mark in (b"CLUSTER_CHECK=" + node.encode() + b"\0", b"SLURMD_NODENAME=" + node.encode() + b"\0"):
            kill_all([conf, mark], signal.SIGKILL)
        self.daemons[node].wait()
