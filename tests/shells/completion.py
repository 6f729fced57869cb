#!/usr/bin/env python3
"""Presses Tab in real shells, with the scripts of `completions`, in a pane of the practice app.

    completion.py FOLDER        the folder of qv and qv-sandbox
"""

import fcntl
import os
import pty
import re
import select
import struct
import subprocess
import sys
import tempfile
import termios
import time

SCRIPTS = os.path.abspath(os.path.join(os.path.dirname(__file__), "../../completions"))

# What is typed, and what Tab makes of it. There are the open task T-1, the pane SV6, the
# note write-up and the debate D-1.
ROWS = [
    ("qv ta", "qv task "),
    ("qv task cla", "qv task claim "),
    ("qv task claim T", "qv task claim T-1 "),
    ("qv task add x --waitsOn T-0,T", "qv task add x --waitsOn T-0,T-1 "),
    ("qv task complete T-1 --summary=x --js", "qv task complete T-1 --summary=x --json "),
    ("qv task list --include ac", "qv task list --include active "),
    ("qv task list --include=ac", "qv task list --include=active "),
    ("qv task verify T-1 --approve f", "qv task verify T-1 --approve false "),
    ("qv squad message S", "qv squad message SV6 "),
    ("qv note read wri", "qv note read write-up "),
    ("qv discuss reply D", "qv discuss reply D-1 "),
    ("qv wait --park-reason 'two words' --sco", "qv wait --park-reason 'two words' --scope "),
    ("qv secret exec KEY -- cat onl", "qv secret exec KEY -- cat only-file "),
    ("qv nosuch x", "qv nosuch x"),
]

# How each shell is started, told of the script, and made to print its line, and drop it, at Ctrl-G.
SHELLS = {
    "bash": ("bash --norc --noprofile -i",
             f". {SCRIPTS}/qv.bash; show() {{ echo \"<<$READLINE_LINE>>\"; READLINE_LINE=; }}; "
             "bind -x '\"\\C-g\": show'"),
    "zsh": ("zsh -f -i",
            f"cp {SCRIPTS}/qv.zsh _qv; fpath=($PWD $fpath); autoload -U compinit; compinit -u; "
            "show() { print -r \"<<$BUFFER>>\"; BUFFER=; }; zle -N show; bindkey -e '^G' show; bindkey -e"),
    "fish": ("fish --no-config -i",
             f"source {SCRIPTS}/qv.fish; function show; echo '<<'(commandline)'>>'; commandline ''; end; bind \\cg show"),
}


class Shell:
    def __init__(self, command, setting_up):
        pid, self.terminal = pty.fork()
        if pid == 0:
            os.execvp(command.split()[0], command.split())
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 50, 200, 0, 0))
        self.seen = ""
        self.send(setting_up + "; echo re''ady\r")
        self.read_until("ready")

    def send(self, text):
        os.write(self.terminal, text.encode())

    def read_until(self, pattern):
        end = time.monotonic() + 20
        while not (found := re.search(pattern, self.seen)):
            if not select.select([self.terminal], [], [], max(0, end - time.monotonic()))[0]:
                sys.exit(f"{pattern!r} never came: {self.seen!r}")
            self.seen += os.read(self.terminal, 65536).decode(errors="replace")
        self.seen = self.seen[found.end():]
        return found

    def completed(self, typed):
        self.send(typed + "\t\x07")
        return self.read_until("<<(.*?)>>").group(1)


def check():
    subprocess.run("qv board register; qv task add One; qv note create write-up x; qv discuss open Why", shell=True, check=True, stdout=subprocess.DEVNULL)
    pane = subprocess.Popen(["qv-sandbox", "pane", "--", "sleep", "1000"], stderr=subprocess.PIPE)
    pane.stderr.readline()
    failed = 0
    with tempfile.TemporaryDirectory() as home:
        os.chdir(home)
        os.environ |= {"HOME": home, "TERM": "xterm"}
        with open("only-file", "w"):
            pass
        for name, row in SHELLS.items():
            shell = Shell(*row)
            for typed, expected in ROWS:
                got = shell.completed(typed)
                if got != expected:
                    failed += 1
                    print(f"{name}: {typed!r} became {got!r}, not {expected!r}")
            shell.send("exit\r")
    pane.terminate()
    print(f"completion: {len(SHELLS) * len(ROWS) - failed} passed, {failed} failed")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    if sys.argv[1] == "--inside":
        check()
    programs = os.path.abspath(sys.argv[1])
    os.environ["PATH"] = programs + ":" + os.environ["PATH"]
    os.execvp("qv-sandbox", ["qv-sandbox", "--", sys.executable, __file__, "--inside"])
