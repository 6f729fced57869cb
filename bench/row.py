"""The measuring scripts' rows, as row.sh has them."""

import os


def row(what, against, figure, at_most=""):
    print(f"{what:<46} {against:<26} {figure:>10}   {at_most}", flush=True)
    if os.environ.get("BENCH_ROWS"):
        with open(os.environ["BENCH_ROWS"], "a", encoding="utf-8") as file:
            print(what, against, figure, at_most, sep="\t", file=file)
