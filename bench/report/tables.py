"""The tables, in Markdown."""

from figures import beyond_the_list, contenders, median_of, median_ratio, ratios
from limits import figures, verdict
from prediction import calibrated, checked

NAMES = {"bare": "bare", "parse": "bare + parse", "engine": "engine", "urllib": "Python urllib",
         "requests": "Python requests", "curl": "a curl process each"}
TRANSPORTS = {"http": "Plain HTTP",
              "https": "HTTPS with a trusted text, nothing shared",
              "https-shared": "HTTPS with a trusted text, sessions shared",
              "https-system": "HTTPS with the system's trust store"}


def table(heads, rows):
    """Columns of numbers, all but the first words, are set to the right."""
    words = {"shape", "stand-ins", "by", "over", "figure", "at most", "measured", ""}
    lines = ["| " + " | ".join(heads) + " |",
             "| " + " | ".join("---" if head in words else "---:" for head in heads) + " |"]
    lines += ["| " + " | ".join(str(cell) for cell in row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def milliseconds(seconds):
    return f"{1000 * seconds:,.0f}" if seconds >= 0.1 else f"{1000 * seconds:.1f}"


def row(result, who):
    cells = [result["shape"], result["standIns"], NAMES.get(who, who)]
    cells += [milliseconds(median_of(result, who, field)) for field in ("wall", "cpu", "managerCpu")]
    for other in ("bare", "parse"):
        for field in ("wall", "cpu"):
            cells.append(f"{median_ratio(result, who, other, field):.2f}")
    rounds = [round_[who] for round_ in result["rounds"]]
    cells.append(f"{result['requests']:,}")
    cells.append(sum(abs(cost[end] - result["requests"]) for cost in rounds
                     for end in ("transfers", "requests")))
    cells.append(f"{sum(cost['resumed'] for cost in rounds):,} of "
                 f"{sum(cost['handshakes'] for cost in rounds):,}")
    return cells


SCAN_HEADS = ["shape", "stand-ins", "by", "wall ms", "CPU ms", "manager's CPU ms", "wall / bare",
              "CPU / bare", "wall / parse", "CPU / parse", "exchanges", "not told", "resumed"]


def any_of(numbers):
    """Of 3, 7 and 15: 3, 7 or 15."""
    *first, last = map(str, numbers)
    return f"{', '.join(first)} or {last}" if first else last


def scan_tables(results):
    text = ""
    for transport, title in TRANSPORTS.items():
        found = [result for result in results.all
                 if result["task"] == "measure" and result["transport"] == transport]
        if not found:
            continue
        rounds = sorted({len(result["rounds"]) for result in found})
        text += f"\n#### {title}\n\nMedians of {any_of(rounds)} rounds.\n\n"
        found.sort(key=lambda result: (result["requests"], result["shape"], result["standIns"]))
        text += table(SCAN_HEADS, [row(result, who) for result in found
                                   for who in contenders(result)])
    return text


def once_table(results):
    found = [result for result in results.all if result["task"] == "once"]
    if not found:
        return ""
    found.sort(key=lambda result: result["peakAboveStartKiB"])
    rows = [[once["shape"], once["standIns"], f"{once['stackBytes'] / 1024:.0f}",
             f"{once['startKiB'] / 1024:.0f}", f"{once['peakAboveStartKiB'] / 1024:.1f}",
             f"{once['endAboveStartKiB'] / 1024:.1f}"] for once in found]
    heads = ["shape", "stand-ins", "stack KiB", "memory at start MiB", "peak above MiB",
             "end above MiB"]
    return "\n#### Memory and stack of the first scan of a process\n\n" + table(heads, rows)


def wiping_table(results):
    """Scans of two hosts that differ in their allocators alone. No limit holds for their ratio."""
    rows = []
    for result in results.all:
        if result["task"] != "wiping":
            continue
        of_rounds = ratios(result, "wiping", "plain", "cpu")
        rows.append([result["shape"], result["standIns"], TRANSPORTS[result["transport"]],
                     len(of_rounds)]
                    + [milliseconds(median_of(result, who, "cpu")) for who in ("plain", "wiping")]
                    + [f"{ratio:.3f}" for ratio in (median_ratio(result, "wiping", "plain", "cpu"),
                                                    min(of_rounds), max(of_rounds))])
    if not rows:
        return ""
    heads = ["shape", "stand-ins", "over", "rounds", "plain CPU ms", "wiping CPU ms",
             "wiping / plain", "least", "most"]
    return "\n#### What wiping freed memory costs\n\n" + table(heads, rows)


def limits_table(results):
    rows = []
    for place, (text, limit, checks) in enumerate(figures(results), 1):
        measured = "; ".join(check.text() for check in checks)
        rows.append([place, text, limit, measured, verdict(checks)])
    return "\n#### What must hold\n\n" + table(["", "figure", "at most", "measured", ""], rows)


NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def duration(nanoseconds):
    """In the largest unit of which there is at least one."""
    unit = next((name for name, size in reversed(NANOSECONDS.items()) if nanoseconds >= size), "ns")
    return f"{nanoseconds / NANOSECONDS[unit]:,.1f} {unit}"


def micro_table(micro):
    """One row for each of Google Benchmark's."""
    rows = [[f"`{line['name']}`", duration(line["cpu_time"] * NANOSECONDS[line["time_unit"]]),
             f"{line['iterations']:,}"]
            for line in micro.get("benchmarks", []) if line.get("run_type") != "aggregate"]
    if not rows:
        return ""
    return "\n#### Pieces of the work\n\n" + table(["", "CPU each", "repetitions"], rows)


def prediction_table(results):
    factors = calibrated(results)
    if factors is None:
        return ""
    exchange, machine, datastore = (1e6 * factor for factor in factors)
    rows = [[shape, f"{told:,}", f"{counted:,}", milliseconds(expected), milliseconds(wall),
             f"{100 * (expected / wall - 1):+.0f} %"]
            for shape, told, counted, expected, wall in checked(results)]
    heads = ["shape", "exchanges by the formula", "by the log", "wall ms by the formula",
             "measured", "off by"]
    return ("\n#### The formula\n\n"
            f"Here an exchange takes {exchange:.0f} us, a machine {machine:.0f} us and a datastore "
            f"{datastore:.1f} us, by the sites plain-10000 and 200x500. The others:\n\n"
            + table(heads, rows))


def machine_line(machine):
    return (f"{machine['cores']} cores, {machine['memory']} GiB, {machine['compiler']}, libcurl "
            f"{machine['libcurl']}, {machine['date']}")


def report(results, machine, micro, counts, skipped):
    """All tables of a run. counts are the lines of the instruction counts, skipped those that say
    what did not run and why."""
    text = machine_line(machine) + "\n"
    text += limits_table(results) + scan_tables(results)
    text += once_table(results) + wiping_table(results) + prediction_table(results)
    text += micro_table(micro)
    if counts:
        text += "\n#### Instructions\n\n" + "".join(f"- {line}\n" for line in counts)
    if skipped:
        text += "\n#### Not run\n\n" + "".join(f"- {line}\n" for line in skipped)
    return text
