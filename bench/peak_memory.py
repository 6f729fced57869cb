"""Prints the most memory that a command held, in times of a file's size:
peak_memory.py FILE COMMAND..."""

import os
import resource
import subprocess
import sys

subprocess.run(sys.argv[2:], stdout=subprocess.DEVNULL, check=True)
unit = 1 if sys.platform == "darwin" else 1024
peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss * unit
print(f"{peak / os.path.getsize(sys.argv[1]):.2f}")
