"""Prints the reply for a note that makes it the largest reply there may be, 16 MiB:
big_note.py KIND, with KIND one of prose, code, french and line."""

import json
import random
import sys

random.seed(1)
WORDS = "the lease parser drops a cursor when the bridge restarts so keep it and say why in the log".split()


FRENCH = "le bail de l'analyseur a été rendu après la défaillance, à cause du délai dépassé".split()


def code(number):
    return "\t" * (number % 4) + f'if (lease["{number}"] == "\\t") {{ return find("{number % 7}"); }}'


def line(number):
    if kind == "code":
        return json.dumps(code(number) + "\n")[1:-1]
    if kind == "french":
        return json.dumps(" ".join(random.choices(FRENCH, k=14)) + "\n", ensure_ascii=False)[1:-1]
    if kind == "line":
        return "x" * 300
    text = " ".join(random.choices(WORDS, k=random.randint(0, 24)))
    if number % 20 == 0:
        text = f"## {number // 20} — \"{text}\""
    return json.dumps(text + "\n", ensure_ascii=False)[1:-1]


kind = sys.argv[1]
LIMIT = 16_777_216
head, tail = '{"kind":"note","note":{"name":"big","content":"', '"},"threadTag":"T-abc123"}'
lines, room, number = [], LIMIT - len(head) - len(tail), 0
while room > 400:
    text = line(number)
    lines.append(text)
    room -= len(text.encode())
    number += 1
print(head + "".join(lines) + "x" * room + tail, end="")
