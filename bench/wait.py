"""Measures one idle `qv wait`, and how soon it is woken. Runs inside a pane of the practice
app: wait.py QV QV-SANDBOX SECONDS. Linux only, since it reads /proc."""

import re
import subprocess
import sys
import time

from row import row

qv, sandbox, seconds = sys.argv[1], sys.argv[2], int(sys.argv[3])


def status(pid, key):
    with open(f"/proc/{pid}/status", encoding="ascii") as file:
        return int(re.search(rf"^{key}:\s+(\d+)", file.read(), re.M).group(1))


def latency():
    """Milliseconds from just before another pane files a task to the exit of the wait."""
    waiting = subprocess.Popen([qv, "wait"], stdout=subprocess.DEVNULL)
    script = (f"{qv} board register >/dev/null; sleep 0.5; date +%s.%N; "
              f"{qv} task add new >/dev/null; sleep 0.2")
    poke = subprocess.Popen([sandbox, "pane", "--", "sh", "-c", script], stdout=subprocess.PIPE,
                            stderr=subprocess.DEVNULL, text=True)
    waiting.wait()
    woken = time.time()
    return (woken - float(poke.communicate()[0])) * 1000


subprocess.run([qv, "board", "register"], stdout=subprocess.DEVNULL, check=True)
waiting = subprocess.Popen([qv, "wait"], stdout=subprocess.DEVNULL)
time.sleep(1)
before = status(waiting.pid, "voluntary_ctxt_switches")
time.sleep(seconds)
wakeups = status(waiting.pid, "voluntary_ctxt_switches") - before
with open(f"/proc/{waiting.pid}/schedstat", encoding="ascii") as file:
    cpu = int(file.read().split()[0]) / 1e6
row(f"an idle qv wait over {seconds} s", "", f"{cpu:.1f} ms CPU", "10 ms in 60 s")
row("its resident memory", "", f"{status(waiting.pid, 'VmRSS') / 1024:.1f} MiB", "6 MiB")
row("its wake-ups", "", f"{wakeups * 20 / seconds:.1f} in 20 s", "5 in 20 s")
waiting.terminate()
waiting.wait()
times = sorted(latency() for _ in range(5))
row("from a change to the end of a qv wait", "", f"{times[2]:.1f} ms", "20 ms")
