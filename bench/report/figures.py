"""What is computed from the measured rounds."""

import statistics


def median_of(result, who, field):
    return statistics.median(round_[who][field] for round_ in result["rounds"])


def ratios(result, who, other, field):
    """Of each round: what slows a whole round down divides out."""
    return [round_[who][field] / round_[other][field] for round_ in result["rounds"]]


def median_ratio(result, who, other, field):
    return statistics.median(ratios(result, who, other, field))


def contenders(result):
    """In the order of the tables: the three of every measurement, then the peers by name."""
    first = ["bare", "parse", "engine"]
    return first + sorted(set(result["rounds"][0]) - set(first))


def beyond_the_list(result):
    """How many exchanges more or fewer than told there were, by either end's count."""
    told = result["requests"]
    return sum(abs(cost[count] - told) for round_ in result["rounds"] for cost in round_.values()
               for count in ("transfers", "requests", "connections"))


def handshakes(result):
    return sum(cost["handshakes"] for round_ in result["rounds"] for cost in round_.values())


def not_resumed(result):
    """The handshakes that took up no session, of all that the process made but the first."""
    return result["fullHandshakes"] - 1


def logging_share(real, null, scan, statement_ns=None):
    """What logging is of a scan. The host's part is what the real stand-ins need more instructions
    for than those that do nothing: a count, since the share is smaller than what times scatter by.
    The kernel's work is not counted, so that this is more than the share of CPU. The engine's own part
    is that of so many statements that nobody wants."""
    share = 1 - null["instructions"] / real["instructions"]
    if statement_ns is not None:
        share += scan["logStatements"] * statement_ns * 1e-9 / median_of(scan, "engine", "cpu")
    return share
