"""How each system call can fail, and strace, which makes it fail or kills the process there.

Calls before main() are the C library's; the first of main's asks whether standard input is open.
"""
import collections
import os
import re
import tempfile
import threading

# What a call may fail with; the manual pages say more, these make a difference to somebody.
ERRORS = {
    "open openat": "EACCES EMFILE ENOMEM EIO",
    "read pread64": "EIO EINTR",
    "write writev": "EIO ENOSPC EPIPE EINTR",
    "close getdents64 fsync ftruncate": "EIO",
    "fstat stat lstat newfstatat statx": "EACCES ENOMEM EIO",
    "access faccessat faccessat2 readlink readlinkat getcwd": "EACCES ENOMEM",
    "mkdir rename": "EACCES ENOSPC",
    "unlink unlinkat": "EACCES EIO",
    "fchmod utimensat sched_getaffinity prlimit64 setpgid": "EPERM",
    "flock": "ENOLCK EINTR EAGAIN",
    "fgetxattr": "EOPNOTSUPP EIO",
    "fsetxattr": "ENOSPC EIO",
    "socket": "EMFILE ENOMEM",
    "connect": "ECONNREFUSED EACCES EAGAIN EINTR",
    "sendto": "EPIPE EAGAIN EINTR",
    "recvfrom": "ECONNRESET EAGAIN EINTR",
    "getsockopt setsockopt mmap mprotect mremap": "ENOMEM",
    "shutdown": "ENOTCONN",
    "poll ppoll": "ENOMEM EINTR",
    "pipe pipe2 dup2": "EMFILE",
    "brk": "0",  # the kernel tells the end as it was
    "vfork clone clone3": "EAGAIN ENOMEM",
    "execve": "ENOMEM EACCES",
    "wait4 waitid clock_nanosleep": "EINTR",
    "pidfd_open": "EMFILE ENOSYS",
    "sysinfo": "EFAULT",
    "prctl": "EINVAL",
    "getrandom": "EAGAIN",
}
ERRORS_OF = {call: errors.split() for calls, errors in ERRORS.items() for call in calls.split()}

# For ever these would be a machine that does nothing else.
PASSING = {"EINTR"}

# They cannot fail, or nobody could go on if they did.
SAFE = set("""exit exit_group fcntl futex getegid geteuid getpid getppid gettid getuid ioctl kill lseek madvise
    munmap restart_syscall rseq rt_sigaction rt_sigprocmask rt_sigreturn set_robust_list sigaltstack tgkill umask
    uname""".split())

MAIN, OTHERS = "main", "others"  # the first thread, and all other threads and children until they are programs

LET_GO = ["-b", "execve"]  # what becomes another program, unless that is what fails

Call = collections.namedtuple("Call", "tracee name number")


class Strace:
    """Around one process, which stays the caller's child."""

    def __init__(self, *options):
        self.path = tempfile.mktemp(prefix="qv-strace-")
        os.mkfifo(self.path)
        self.text = ""
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()
        self.command = ["strace", "-D", "-qq", "-e", "signal=none", "-o", self.path, *options]

    def read(self):
        with open(self.path, encoding="utf-8", errors="replace") as pipe:
            self.text = pipe.read()

    def told(self):
        self.reader.join(10)
        os.unlink(self.path)
        if self.reader.is_alive():
            raise AssertionError(f"strace does not take {self.command}")
        return self.text


def around(trial):
    """The strace that makes a trial of it."""
    error = "" if trial.error in ("0", "KILL") else ":error=" + trial.error
    how = {"0": ":retval=0", "KILL": ":signal=KILL"}.get(trial.error, error)
    when = f":when={trial.number}" + ("+" if trial.lasting else "")
    follow = ["-f"] if trial.tracee == OTHERS else []
    free = LET_GO if trial.call != "execve" else []
    return Strace(*follow, *free, "-e", "trace=" + trial.call, "-e", f"inject={trial.call}{how}{when}")


def was_hit(told, trial):
    """Whether the call that was to fail, or to be the last, was come to."""
    return "(INJECTED)" in told or trial.error == "KILL" and f"{trial.call}(" in told


def calls_of(told):
    """What is called between main() and the end, each call of each tracee once."""
    counts, main, begun, found = collections.Counter(), None, False, []
    for line in told.splitlines():
        match = re.match(r"(\d+) +(\w+)\(", line)
        if not match:
            continue  # the end of a call that was told before
        pid, name = match.groups()
        main = main or pid
        counts[pid, name] += 1
        begun = begun or "fcntl(0, F_GETFD" in line
        if not begun or name == "execve" and pid != main:
            continue
        # The one that made this program of strace is not counted when calls fail.
        number = counts[pid, name] - (name == "execve")
        call = Call(MAIN if pid == main else OTHERS, name, number)
        if call not in found:
            found.append(call)
    return found
