#!/usr/bin/env python3
"""Turns the scenarios into the fuzzers' first inputs: seeds.py FOLDER makes one folder each in there."""
import pathlib
import shlex
import sys

TAKEN_BY = {"board> {": ("board_reply", "follow"), "notes> {": ("notes_reply",)}

seeds = {}
for scenario in sorted((pathlib.Path(__file__).parent / "../tests/scenarios").glob("*.scenario")):
    for line in scenario.read_text(encoding="utf-8").splitlines():
        for fuzzer in TAKEN_BY.get(line[:8], ()):
            seeds.setdefault(fuzzer, []).append(line[7:])
        if line.startswith("$ qv "):
            for command in line[2:].split(";"):
                words = shlex.split(command.replace("'", '"', command.count("'") % 2))
                seeds.setdefault("arguments", []).append("\0".join(words[1:]))

for fuzzer, inputs in seeds.items():
    folder = pathlib.Path(sys.argv[1], fuzzer)
    folder.mkdir(parents=True, exist_ok=True)
    for number, text in enumerate(inputs):
        (folder / str(number)).write_bytes(text.encode())
