"""The figures that must hold, and whether they do."""

from figures import beyond_the_list, handshakes, logging_share, median_ratio, not_resumed

SITE_S = "plain-1000"
PLAIN = ["plain-100", SITE_S, "plain-10000"]


class Results:
    """What was measured, found by task, shape, transport and stand-ins."""

    def __init__(self, results, statement_ns=None):
        self.all = results
        self.statement_ns = statement_ns  # of a filtered log statement, beyond the host's stream

    def find(self, shape, transport="http", stand_ins="real", task="measure"):
        for result in self.all:
            if (result["task"], result["shape"], result["transport"],
                    result["standIns"]) == (task, shape, transport, stand_ins):
                return result
        return None


class Check:
    """One measured value and its limit; no value: it was not measured."""

    def __init__(self, what, value, limit, unit=""):
        self.what, self.value, self.limit, self.unit = what, value, limit, unit

    def verdict(self):
        if self.value is None:
            return "not measured"
        return "met" if self.value <= self.limit else "not met"

    def text(self):
        if self.value is None:
            return f"{self.what}: not measured"
        return f"{self.what}: {number(self.value)}{self.unit}"


def number(value):
    if isinstance(value, int) or value >= 100:
        return f"{value:,.0f}"
    return f"{value:.2f}"


def ratios(results, shapes, transports, who, limits):
    """Wall and CPU of the engine over another contender, for each shape."""
    checks = []
    for transport in transports:
        for shape in shapes:
            result = results.find(shape, transport)
            for field, limit in limits:
                value = result and median_ratio(result, "engine", who, field)
                name = "CPU" if field == "cpu" else field
                over = "" if transport == "http" else f", {transport}"
                checks.append(Check(f"{shape}{over}, {name}", value, limit))
    return checks


def shared_sessions(results):
    checks = []
    for shape in PLAIN[:2]:
        result = results.find(shape, "https-shared")
        counted = result and handshakes(result) > 0
        checks.append(Check(shape, not_resumed(result) if counted else None, 0))
    return checks


def growth(results):
    checks = []
    large, small = results.find("plain-50000"), results.find(SITE_S)
    for field, name in (("wall", "wall"), ("cpu", "CPU")):
        value = None
        if large and small:
            value = (median_ratio(large, "engine", "bare", field)
                     / median_ratio(small, "engine", "bare", field))
        checks.append(Check(name, value, 1.15))
    return checks


def memory(results):
    checks = []
    for shape in (SITE_S, "plain-10000", "plain-50000"):
        once = results.find(shape, task="once")
        limit = once and (6 * once["machines"] + 2 * once["disks"] + 24 * 1024) / 1024
        value = once and once["peakAboveStartKiB"] / 1024
        told = f"{shape} (at most {number(limit)} MiB)" if once else shape
        checks.append(Check(told, value, limit, " MiB"))
    return checks


def stack(results):
    deep = results.find("deep", task="once")
    return [Check("deepest use", deep and deep["stackBytes"] / 1024, 256, " KiB")]


def logging(results):
    real = results.find(SITE_S, task="instructions")
    null = results.find(SITE_S, stand_ins="null", task="instructions")
    scan = results.find(SITE_S)
    share = None
    if real and null and scan and "logStatements" in scan:
        share = 100 * logging_share(real, null, scan, results.statement_ns)
    return [Check("filtered statement", results.statement_ns, 20, " ns"),
            Check("share of CPU", share, 3, " %")]


def told_list(results):
    measured = [result for result in results.all if result["task"] == "measure"]
    return [Check("all measurements, both ends", sum(map(beyond_the_list, measured))
                  if measured else None, 0)]


def against_urllib(results):
    checks = []
    for shape in PLAIN[:2]:
        result = results.find(shape)
        known = result and "urllib" in result["rounds"][0]
        value = median_ratio(result, "engine", "urllib", "wall") if known else None
        checks.append(Check(shape, value, 1.0))
    return checks


def figures(results):
    """(figure, at most, checks) for each line of the table."""
    wall_cpu = lambda wall, cpu: [("wall", wall), ("cpu", cpu)]  # noqa: E731
    return [
        ("plain, engine / (bare + parse): wall, CPU", "1.20, 1.30",
         ratios(results, PLAIN, ["http"], "parse", wall_cpu(1.20, 1.30))),
        ("plain, engine / bare: wall, CPU", "1.65, 1.95",
         ratios(results, PLAIN, ["http"], "bare", wall_cpu(1.65, 1.95))),
        ("HTTPS with a trusted text, engine / bare with the same options: wall, CPU", "1.06, 1.10",
         ratios(results, PLAIN[:2], ["https"], "bare", wall_cpu(1.06, 1.10))),
        ("HTTPS with shared sessions: exchanges after the first that were not resumed, by the "
         "manager's count", "0", shared_sessions(results)),
        ("200 hosts x 500 datastores, engine / bare: CPU", "2.5",
         ratios(results, ["200x500"], ["http"], "bare", [("cpu", 2.5)])),
        ("(engine / bare) at 50,000 VMs over the same at 1,000", "1.15", growth(results)),
        ("stack of a scan of 10,000 hosts", "256 KiB", stack(results)),
        ("memory above start, the peak of a scan", "6 KB a VM + 2 KB a disk + 24 MB",
         memory(results)),
        ("filtered log statement, beyond the host's own stream; all logging as a share of CPU on "
         "site S", "20 ns; 3 %", logging(results)),
        ("requests on the wire beyond or short of the told list", "0", told_list(results)),
        ("engine / Python urllib, plain: wall", "1.0", against_urllib(results)),
    ]


def verdict(checks):
    """Of all checks of a figure: one that fails decides, then one that was not made."""
    verdicts = [check.verdict() for check in checks]
    for word in ("not met", "not measured"):
        if word in verdicts:
            return word
    return "met"
