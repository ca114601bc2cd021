"""Runs the tools under nothing but what they need, and sees the rest denied: confined.py BUILD_FOLDER.

READABLE and CALLS are all that a tool may open and ask of the kernel, besides a folder of its own and TCP to one port.
landlock guards files and ports, seccomp the system calls. 77, ctest's "skipped", where the kernel can't confine.
"""

import ctypes
import glob
import json
import os
import socket
import struct
import subprocess
import sys
import tempfile
import unittest

build = os.path.abspath(sys.argv[1])
quorvid = f"{build}/quorvid"
# Libraries, fonts and the drivers' settings, name services, what the processors and this process are.
READABLE = f"""/lib /lib64 /usr/lib /usr/share /etc/ld.so.cache /etc/host.conf /etc/hosts /etc/nsswitch.conf /etc/resolv.conf
  /etc/fonts /etc/localtime /var/cache/fontconfig /sys/devices/system /proc/self /proc/filesystems /dev/urandom {build}""".split()
CALLS = """access arch_prctl brk close dup2 dup3 execve exit exit_group fadvise64 fstat fstatfs futex getdents64 getrandom
  lseek madvise mlock mmap mprotect munmap newfstatat openat ppoll prctl pread64 prlimit64 read readlink readlinkat rseq
  rt_sigaction rt_sigprocmask rt_sigreturn rt_sigsuspend set_robust_list set_tid_address stat statfs uname write clock_gettime
  clock_nanosleep connect eventfd2 fcntl getsockopt ioctl poll sendto setsockopt shutdown get_mempolicy set_mempolicy
  sched_getaffinity sched_setaffinity sched_setscheduler setpriority sysinfo getegid geteuid getgid getpid getresgid getresuid
  getuid gettid""".split()
EXECUTE, WRITE, READ, LIST, REMOVE, MAKE, TRUNCATE = 1, 2, 4, 8, 16 | 32, 256, 1 << 14
kernel = ctypes.CDLL(None, use_errno=True)


def landlock(number, *arguments):
    result = kernel.syscall(444 + number, *arguments)
    if result < 0:
        raise OSError(ctypes.get_errno(), "this kernel has no landlock")
    return result


def confine_files(folder, port):
    version = landlock(0, None, 0, 1)
    every = (1 << {1: 13, 2: 14}.get(version, 15)) - 1
    rules = landlock(0, attributes := struct.pack("QQ", every, 3)[:16 if version > 3 else 8], len(attributes), 0)
    loaders = glob.glob("/lib*/ld-linux*") + glob.glob("/lib/ld-linux*")
    rights = {**dict.fromkeys(READABLE, READ | LIST), **dict.fromkeys([quorvid, *loaders], READ | EXECUTE),
              "/dev/null": READ | WRITE, folder: READ | LIST | WRITE | REMOVE | MAKE | TRUNCATE}
    for path, right in rights.items():
        if os.path.exists(path):
            of_kind = every if os.path.isdir(path) else every & (EXECUTE | WRITE | READ | TRUNCATE)
            landlock(1, rules, 1, struct.pack("=Qi", right & of_kind, os.open(path, os.O_PATH)), 0)
    if version > 3:
        landlock(1, rules, 2, struct.pack("QQ", 2, port), 0)  # connect
    kernel.prctl(38, 1, 0, 0, 0)  # no new privileges
    landlock(2, rules, 0)


def confine_calls():
    seccomp = ctypes.CDLL("libseccomp.so.2")
    seccomp.seccomp_init.restype = ctypes.c_void_p
    allow, fail = 0x7FFF0000, 0x00050000
    rules = ctypes.c_void_p(seccomp.seccomp_init(fail | 1))  # EPERM

    def rule(name, action, *compared):  # compared: argument, mask, value
        number = seccomp.seccomp_syscall_resolve_name(name.encode())
        array = b"".join(struct.pack("IIQQ", argument, 7, mask, value) for argument, mask, value in compared)
        if number >= 0 and seccomp.seccomp_rule_add_array(rules, action, number, len(compared), array) != 0:
            raise OSError(f"no rule for {name}")
    for name in CALLS:
        rule(name, allow)
    rule("socket", allow, (0, 0xFFFFFFFF, socket.AF_INET), (1, 0xF, socket.SOCK_STREAM))
    rule("clone", allow, (0, 0x10000, 0x10000))  # threads
    rule("clone3", fail | 38)  # ENOSYS: its flags can't be looked at, and clone() takes its place
    if seccomp.seccomp_load(rules) != 0:
        raise OSError("this kernel has no seccomp")


class Confined(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(tempfile.TemporaryDirectory())
        sim = subprocess.Popen([f"{build}/quorvid-sim", "--json"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(sim.communicate)
        self.addCleanup(sim.terminate)
        self.ports = json.loads(sim.stdout.readline())

    def run_confined(self, *arguments, attempt=lambda: None):
        def put_up():
            confine_files(self.folder, self.ports["fleet"])
            confine_calls()
            attempt()
        environment = {"HOME": self.folder, "XDG_RUNTIME_DIR": self.folder}
        return subprocess.run([quorvid, *arguments], preexec_fn=put_up, env=environment, timeout=100, text=True, capture_output=True)

    def run_tool(self, tool, *arguments, service="fleet"):
        server = f"127.0.0.1:{self.ports[service]}"
        return self.run_confined(tool, server, "--device", "TRUCK-7", "--seconds", "4", "--json", *arguments)

    def test_a_stream_is_recorded(self):
        for ending in "mp4", "mkv", "h264":
            done = self.run_tool("record", "-o", f"{self.folder}/tour.{ending}")
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertGreater(json.loads(done.stdout)["frames"], 5)

    def test_a_picture_is_shown(self):
        done = self.run_tool("view", "--headless", "--snapshot", f"{self.folder}/shown.png")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        subprocess.run([f"{build}/tests/sim/compare_picture", f"{self.folder}/shown.png"], check=True)

    def test_the_rest_is_denied(self):
        refused = [self.run_tool("record", "-o", "/var/tmp/tour.mp4")]
        if landlock(0, None, 0, 1) > 3:
            refused.append(self.run_tool("record", "-o", f"{self.folder}/tour.mp4", service="car"))
        for done in refused:
            self.assertIn("Permission denied", done.stderr)
        self.run_confined("--version", attempt=lambda: socket.socket(socket.AF_INET)).check_returncode()
        for number, attempt in enumerate([
                lambda: open("/etc/passwd"), lambda: open("/dev/zero"), lambda: os.mkdir("/var/tmp/made"),
                lambda: os.execv("/bin/true", ["true"]), lambda: socket.socket(socket.AF_UNIX), lambda: os.chroot("/"),
                lambda: socket.socket(socket.AF_INET, socket.SOCK_DGRAM), os.fork, lambda: os.kill(os.getppid(), 0)]):
            with self.subTest(number), self.assertRaises(subprocess.SubprocessError):
                self.run_confined("--version", attempt=attempt)


if __name__ == "__main__":
    try:
        landlock(0, None, 0, 1)
        ctypes.CDLL("libseccomp.so.2")
    except OSError as error:
        print(f"the tools can't be confined here: {error}")
        sys.exit(77)
    unittest.main(argv=["confined.py", "-v"])
