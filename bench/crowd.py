"""Four builds with real tools that arrive together: side by side, one after another behind
flock, and behind qv. Prints how long the results take and what the machine goes through.
Usage: crowd.py QV SCRATCH TOOL..., where the tools are go and cargo. Linux only: reads /proc."""

import os
import resource
import shutil
import statistics
import subprocess
import sys
import threading
import time

from row import row

qv, scratch, tools = sys.argv[1], sys.argv[2], sys.argv[3:]
BUILDERS = 4
PROBE_SECONDS = 0.01

GO_IMPORTS = ["net/http", "encoding/json", "text/template", "archive/zip"]
GO_SOURCE = 'package main\n\nimport _ "%s"\n\nfunc main() { println("%s") }\n'

# Debian's packages of crates, without the network.
CARGO_CONFIG = ('[source.crates-io]\nreplace-with = "packages"\n'
                '[source.packages]\ndirectory = "/usr/share/cargo/registry"\n[net]\noffline = true\n')
CARGO_MANIFEST = ('[package]\nname = "project"\nversion = "%d.0.0"\nedition = "2021"\n'
                  '[dependencies]\nserde_json = "1"\nregex = "1"\n')
CARGO_SOURCE = ('fn main() {\n    let found = regex::Regex::new("%d").unwrap().is_match("1");\n'
                '    println!("{}", serde_json::to_string(&found).unwrap());\n}\n')


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def project(tool, number):
    """A small project of its own, under version control, that builds from nothing each time."""
    folder = f"{scratch}/{tool}-{number}"
    if tool == "go":
        write(f"{folder}/go.mod", f"module project{number}\n\ngo 1.19\n")
        write(f"{folder}/main.go", GO_SOURCE % (GO_IMPORTS[number], number))
    else:
        write(f"{folder}/.cargo/config.toml", CARGO_CONFIG)
        write(f"{folder}/Cargo.toml", CARGO_MANIFEST % number)
        write(f"{folder}/src/main.rs", CARGO_SOURCE % number)
        write(f"{folder}/.gitignore", "target/\nCargo.lock\n")
    for step in ("init -q", "add -A", "-c user.name=b -c user.email=b@b commit -qm project"):
        subprocess.run(["git", "-C", folder, *step.split()], check=True)
    return folder


def command(tool, folder):
    program = shutil.which(tool)
    if tool == "go":
        return [program, "build", "-a", "-o", "/dev/null", "."]
    return [program, "build", "--release", "--quiet", "--target-dir", folder + "/target"]


class Watch(threading.Thread):
    """The most memory that all processes below this one held at once, in MiB."""

    def __init__(self):
        super().__init__(daemon=True)
        self.peak, self.over = 0, threading.Event()

    def run(self):
        while not self.over.wait(0.1):
            self.peak = max(self.peak, self.held())

    @staticmethod
    def held():
        parents, sizes = {}, {}
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{pid}/stat", encoding="utf-8", errors="replace") as file:
                    fields = file.read().rsplit(")", 1)[1].split()
            except (OSError, IndexError):
                continue
            parents[int(pid)], sizes[int(pid)] = int(fields[1]), int(fields[21])
        below, total = {os.getpid()}, 0
        for pid in sorted(parents):  # a child may have the smaller number, so look up each chain
            chain, parent = [pid], parents[pid]
            while parent in parents and parent not in below:
                chain.append(parent)
                parent = parents[parent]
            if parent in below:
                below.update(chain)
        for pid in below - {os.getpid()}:
            total += sizes.get(pid, 0)
        return total * resource.getpagesize() / 2**20


PROBE = """import sys, time
late = []
while True:
    start = time.monotonic()
    time.sleep(%f)
    print("%%.3f" %% ((time.monotonic() - start - %f) * 1000), flush=True)
""" % (PROBE_SECONDS, PROBE_SECONDS)


def measure(wrapper, jobs):
    """Starts all jobs at once; seconds to each result, processor time, memory, lateness."""
    for folder in {folder for _, folder in jobs}:
        shutil.rmtree(folder + "/target", ignore_errors=True)
    watch = Watch()
    probe = subprocess.Popen([sys.executable, "-c", PROBE], stdout=subprocess.PIPE, text=True)
    late = []
    reader = threading.Thread(target=lambda: late.extend(map(float, probe.stdout)), daemon=True)
    reader.start()
    watch.start()
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    begun = time.monotonic()
    running = {subprocess.Popen(wrapper + command(tool, folder), cwd=folder, stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
               for tool, folder in jobs}
    results = []
    while running:
        for build in [build for build in running if build.poll() is not None]:
            if build.returncode != 0:
                sys.exit(f"a build failed: {wrapper} {build.args}")
            results.append(time.monotonic() - begun)
            running.remove(build)
        time.sleep(0.02)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    watch.over.set()
    probe.terminate()
    reader.join()
    probe.wait()
    late.sort()
    used = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    return [results[0], statistics.mean(results), results[-1], used, watch.peak,
            statistics.median(late), late[int(len(late) * 0.99)]]


def main():
    # Where a version manager keeps the tools, it finds them through the home directory.
    os.environ.setdefault("RUSTUP_HOME", os.path.expanduser("~/.rustup"))
    os.environ.update(HOME=scratch + "/home", GOCACHE=scratch + "/go-cache")
    for name in ("GOFLAGS", "CARGO_BUILD_JOBS", "QUORVEL_BUILD_SLOT", "QUORVEL_BUILD_SLOT_OFF"):
        os.environ.pop(name, None)
    ways = {"side by side": [], "behind flock": ["flock", scratch + "/lock"], "behind qv": [qv, "__build"]}
    print(f"{'':<34}{'first':>8}{'mean':>8}{'last':>8}{'CPU':>8}{'MiB':>8}{'late ms':>9}{'99 %':>8}")
    for tool in tools:
        folders = [project(tool, number) for number in range(BUILDERS)]
        for name, jobs in ((f"{BUILDERS} different, {tool}", [(tool, folder) for folder in folders]),
                           (f"{BUILDERS} identical, {tool}", [(tool, folders[0])] * BUILDERS)):
            means = {}
            for way, wrapper in ways.items():
                figures = measure(wrapper, jobs)
                means[way] = figures[1]
                print(f"{name + ', ' + way:<34}" + "".join(f"{f:>8.1f}" for f in figures[:4])
                      + f"{figures[4]:>8.0f}{figures[5]:>9.2f}{figures[6]:>8.1f}", flush=True)
            for peer in ("side by side", "behind flock"):
                row(f"mean time to a result, {name}", peer, f"{means['behind qv'] / means[peer]:.2f}")


main()
