"""Measures what completing a name costs, beside a bare start of the same program.

  names.py KESTRELCTL [ROUNDS]

The index has 100,000 machines. Both runs take turns, round after round, each begun by the other one; a
ratio is that of a round. Prints a table in Markdown.
"""

import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

OBJECTS = 100_000
NAME = "vm-15432"  # begins ten of them


def write_index(cache):
    folder = pathlib.Path(cache) / "kestrelctl"
    folder.mkdir()
    lines = (f"machine\tvm-{number}\n" for number in range(OBJECTS, 2 * OBJECTS))
    (folder / "names").write_text("".join(lines))


def run(program, words, cache):
    """Milliseconds on the clock, and what was printed."""
    environment = {**os.environ, "XDG_CACHE_HOME": cache}
    start = time.perf_counter()
    done = subprocess.run([program, *words], env=environment, check=True, capture_output=True, text=True)
    return 1000 * (time.perf_counter() - start), done.stdout


def measure(program, rounds, cache):
    """Pairs of milliseconds: of a bare start and of a completion."""
    pairs = []
    for number in range(rounds):
        costs = {}
        order = ("start", "names") if number % 2 == 0 else ("names", "start")
        for what in order:
            words = ["--version"] if what == "start" else ["completion", "names", "machine", NAME]
            costs[what], printed = run(program, words, cache)
            if what == "names" and len(printed.splitlines()) != 10:
                sys.exit(f"10 names begin with {NAME}, but there came: {printed}")
        pairs.append((costs["start"], costs["names"]))
    return pairs


def main():
    program, rounds = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 51
    with tempfile.TemporaryDirectory() as cache:
        write_index(cache)
        pairs = measure(program, rounds, cache)
    starts, names = zip(*pairs)
    ratios = [completion / start for start, completion in pairs]
    print("| objects | rounds | start ms | completion ms | completion / start | least | most |")
    print("| ---: | ---: | ---: | ---: | ---: | ---: | ---: |")
    print(f"| {OBJECTS:,} | {rounds} | {statistics.median(starts):.1f} | {statistics.median(names):.1f} | "
          f"{statistics.median(ratios):.2f} | {min(ratios):.2f} | {max(ratios):.2f} |")


if __name__ == "__main__":
    main()
