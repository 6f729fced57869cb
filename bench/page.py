"""Writes docs/performance.md and its chart, docs/performance.svg, from the rows that the
measuring scripts left: page.py QV <ROWS. Each row is what was measured, against what, the
figure, and what it may be at most, with tabs between."""

import os
import platform
import re
import subprocess
import sys
from html import escape

PAGE = """# Performance

How long qv takes, and how much memory, against doing the same by other means. Where no unit is
given, the figure is qv's time, or memory, in times of its peer's: below 1, qv is the quicker.
The two were measured in one run, most of them by turns. "At most" is what a change has to keep
to; a figure in bold did not keep to it on this machine.

![The times as bars](performance.svg)

| measured | against | figure | at most |
|---|---|---:|---:|
{rows}

The program: {program}.
The machine: {machine}.

To repeat it, on a machine with nothing else to do:

    bench/run.sh PROGRAM   # that of a release; without one it measures what it compiles
"""

STYLE = """
  text { font: 13px system-ui, sans-serif; fill: #24292f }
  .peer { fill: #57606a }
  .bar { fill: #0969da }
  .limit { stroke: #cf222e; stroke-width: 2 }
  .axis { stroke: #8c959f; stroke-dasharray: 3 3 }
  @media (prefers-color-scheme: dark) {
    text { fill: #e6edf3 }
    .peer { fill: #9198a1 }
    .bar { fill: #4493f8 }
    .limit { stroke: #f85149 }
    .axis { stroke: #656c76 }
  }
"""


def output_of(*command):
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout
    except (OSError, subprocess.CalledProcessError):
        return ""


def processor():
    if sys.platform == "darwin":
        return output_of("sysctl", "-n", "machdep.cpu.brand_string").strip()
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        models = re.findall(r"^model name\s*: (.*)", file.read(), re.M)
    return models[0] if models else platform.machine()


def machine():
    kernel = re.match(r"[\d.]*", platform.release()).group()
    return f"{processor()}, {os.cpu_count()} cores, {platform.system()} {kernel}"


def program(qv):
    """Its version, size, linkage and compiler, as the file itself tells them."""
    size = f"{os.path.getsize(qv) / 1024:,.0f} KiB"
    needed = re.findall(r"NEEDED.*\[(.*)\]", output_of("readelf", "-d", qv))
    linkage = "with " + ", ".join(needed) if needed else "static"
    comment = output_of("readelf", "-p", ".comment", qv)
    compilers = re.findall(r"\]\s+(.*(?:clang|GCC).*?)(?: \(http.*)?$", comment, re.M)
    facts = [output_of(qv, "--version").strip(), size]
    return ", ".join(facts + ([linkage] if sys.platform != "darwin" else []) + compilers[:1])


def is_ratio(figure):
    return re.fullmatch(r"[\d.]+", figure) is not None


def cells_of(row):
    """Markdown, with the figure in bold if it is beyond its bound."""
    what, against, figure, at_most = (cell.replace("|", "\\|") for cell in row)
    reached, bound = (re.search(r"[\d.]+", cell) for cell in (figure, at_most))
    if bound and float(reached.group()) > float(bound.group()):
        figure = f"**{figure}**"
    return f"| {what} | {against} | {figure} | {at_most} |"


def chart(rows):
    """A bar for each ratio of times, as long as the ratio, with a dashed line where the peer
    stands and a stroke where the bar has to end."""
    rows = [row for row in rows if is_ratio(row[2]) and not row[0].startswith("peak memory")]
    labels = [f"{what} : {against}" for what, against, _, _ in rows]
    left, step, top = 7 * max(map(len, labels)), 26, 34
    longest = max([1] + [float(number) for row in rows for number in row[2:] if is_ratio(number)])
    unit = 400 / longest
    width, height = left + 50 + 400 + 20, top + step * len(rows) + 10
    start = left + 50
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" role="img">',
             "<title>qv's time in times of its peers'</title>", f"<style>{STYLE}</style>"]
    for i, (what, against, figure, at_most) in enumerate(rows):
        y = top + i * step
        end = start + unit * float(figure)
        parts += [f'<text x="{left - 10}" y="{y + 14}" text-anchor="end">{escape(what)}'
                  f'<tspan class="peer"> : {escape(against)}</tspan></text>',
                  f'<text x="{start - 10}" y="{y + 14}" text-anchor="end">{figure}</text>',
                  f'<path class="bar" d="M{start} {y + 3}H{end:.1f}v14H{start}z"/>']
        if is_ratio(at_most):
            parts.append(f'<path class="limit" d="M{start + unit * float(at_most):.1f} {y}v20"/>')
    parts += [f'<path class="axis" d="M{start + unit:.1f} {top - 8}V{height - 6}"/>',
              f'<text class="peer" x="{start + unit:.1f}" y="{top - 14}" text-anchor="middle">the peer</text>']
    return "\n".join(parts + ["</svg>", ""])


def main():
    rows = [line.rstrip("\n").split("\t") for line in sys.stdin]
    docs = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "docs")
    page = PAGE.format(rows="\n".join(map(cells_of, rows)), program=program(sys.argv[1]),
                       machine=machine())
    for name, text in (("performance.md", page), ("performance.svg", chart(rows))):
        with open(os.path.join(docs, name), "w", encoding="utf-8") as file:
            file.write(text)


main()
