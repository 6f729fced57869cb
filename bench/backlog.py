"""Prints a task list just under the largest reply: backlog.py KIND. The tasks are of prose, as
agents write them, or minimal, with nothing but what a task must have."""

import json
import random
import sys

random.seed(1)
WORDS = "the lease parser drops a cursor when the bridge restarts so keep it and say why in the log".split()


def prose(words):
    return " ".join(random.choices(WORDS, k=words))


def minimal(number):
    return {"id": f"T-{number}", "title": "t", "body": "", "state": "open", "log": [], "resources": []}


def full(number):
    return {
        "id": f"T-{number}", "title": prose(8), "body": prose(60) + "\n" + prose(20),
        "state": random.choice(["open", "claimed", "review", "done"]), "log": [prose(12), prose(9)],
        "priority": number % 5, "resources": [], "waitsOn": [f"T-{number // 2}"], "ready": number % 3 == 0,
        "ownerFingerprint": f"f{number % 7}", "claimLeaseSecondsRemaining": 90, "blocked": False,
        "assignedRole": "dev", "watchers": [{"kind": "agent", "fingerprint": "f1", "auto": True}],
    }


task = minimal if sys.argv[1] == "minimal" else full
LIMIT = 16_777_216 - 100
tasks, size, number = [], 0, 0
while True:
    text = json.dumps(task(number), separators=(",", ":"))
    if size + len(text) + 1 > LIMIT:
        break
    tasks.append(text)
    size += len(text) + 1
    number += 1
print('{"kind":"tasks","threadTag":"T-abc123","tasks":[' + ",".join(tasks) + "]}", end="")
