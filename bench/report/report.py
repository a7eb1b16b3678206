#!/usr/bin/env python3
"""Makes the report of a run of scripts/bench.

usage: report.py FOLDER [--update-docs PAGE CHART]

FOLDER holds the results, one JSON file each, in "results/", with "machine.json" and, where they ran,
"micro.json", "counts.txt" and "skipped.txt". Writes bench.json, bench.md and growth.svg beside them
and prints the tables. Ends with 1 when a figure is not met or was not measured. --update-docs writes
the tables between the markers of a page, and the chart.
"""

import json
import pathlib
import sys

from chart import chart
from limits import Results, figures, verdict
from tables import report

BEGIN, END = "<!-- tables: begin -->", "<!-- tables: end -->"
# Google Benchmark's names for a statement that nobody wants, and for the host's stream alone.
FILTERED, STREAM = "logStatement/threshold:3", "logStream/threshold:3"


def read_json(path):
    return json.loads(path.read_text()) if path.exists() else {}


def lines_of(path):
    return path.read_text().splitlines() if path.exists() else []


def statement_ns(micro):
    """What a filtered statement costs beyond the host's own stream, or altogether where the stream
    has no figure of its own; nothing when not measured."""
    times = {line["name"]: line["cpu_time"]
             for line in micro.get("benchmarks", []) if line.get("time_unit") == "ns"}
    if FILTERED not in times:
        return None
    return max(0.0, times[FILTERED] - times.get(STREAM, 0.0))


def read_results(folder, micro):
    results = [json.loads(path.read_text()) for path in sorted(folder.glob("*.json"))]
    statements = {record["shape"]: record["logStatements"]
                  for record in results if record["task"] == "record"}
    for result in results:
        if result["shape"] in statements:
            result["logStatements"] = statements[result["shape"]]
    return Results(results, statement_ns(micro))


def between_markers(page, text):
    head, rest = page.split(BEGIN, 1)
    tail = rest.split(END, 1)[1]
    return f"{head}{BEGIN}\n{text}{END}{tail}"


def main(arguments):
    folder = pathlib.Path(arguments[0])
    micro = read_json(folder / "micro.json")
    machine = read_json(folder / "machine.json")
    results = read_results(folder / "results", micro)
    text = report(results, machine, micro, lines_of(folder / "counts.txt"),
                  lines_of(folder / "skipped.txt"))
    drawn = chart(results)
    verdicts = [{"figure": text_, "atMost": limit, "verdict": verdict(checks),
                 "checks": [{"what": check.what, "value": check.value, "limit": check.limit}
                            for check in checks]}
                for text_, limit, checks in figures(results)]
    (folder / "bench.md").write_text(text)
    (folder / "bench.json").write_text(json.dumps(
        {"machine": machine, "figures": verdicts, "results": results.all, "micro": micro},
        indent=1) + "\n")
    if drawn:
        (folder / "growth.svg").write_text(drawn)
    print(text, end="")
    if arguments[1:2] == ["--update-docs"]:
        page = pathlib.Path(arguments[2])
        page.write_text(between_markers(page.read_text(), text))
        if drawn:
            pathlib.Path(arguments[3]).write_text(drawn)
    return 0 if all(line["verdict"] == "met" for line in verdicts) else 1


if __name__ == "__main__":
    if len(sys.argv) not in (2, 5) or sys.argv[1] == "--help":
        print(__doc__)
        sys.exit(2)
    sys.exit(main(sys.argv[1:]))
