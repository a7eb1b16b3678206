"""How long a scan takes, from what the site has. docs/performance.md tells the same in words."""

from figures import median_of

PAGE = 100
FIXED = 6  # versions, own site, two catalogues of guest systems, clusters, hosts without a cluster


def pages(machines):
    """The pages that are asked for in a scope with so many machines."""
    return 0 if machines == 0 else machines // PAGE + 1


def exchanges(machines_of_hosts, machines_of_clusters, disks):
    """The exchanges of a scan that has a session. The lists hold the machines of each host, and those
    that the manager tells of for each cluster, the hosts' machines included."""
    hosts = sum(2 + pages(count) for count in machines_of_hosts)  # datastores, count, pages
    clusters = sum(3 + pages(count) for count in machines_of_clusters)  # the same, and its hosts
    return FIXED + hosts + clusters + disks


def spread(result):
    """The machines of each host and of each cluster, as the generator spreads them."""
    hosts, clusters = [0] * result["hosts"], [0] * result["clusters"]
    for machine in range(result["machines"]):
        hosts[machine % len(hosts)] += 1
    for host in range(result["hosts"] - result["standaloneHosts"]):
        clusters[host % len(clusters)] += hosts[host]
    return hosts, clusters


def amounts(result):
    """What the time grows with: exchanges, machines told of, datastores told of."""
    hosts, clusters = spread(result)
    return (exchanges(hosts, clusters, result["disks"]), sum(hosts) + sum(clusters),
            (result["hosts"] + 1) * result["datastores"])


def solve(rows, values):
    """The three factors that fit three equations, by elimination."""
    matrix = [list(row) + [value] for row, value in zip(rows, values)]
    for column in range(3):
        pivot = max(range(column, 3), key=lambda line: abs(matrix[line][column]))
        matrix[column], matrix[pivot] = matrix[pivot], matrix[column]
        for line in range(3):
            if line == column:
                continue
            factor = matrix[line][column] / matrix[column][column]
            matrix[line] = [a - factor * b for a, b in zip(matrix[line], matrix[column])]
    return [matrix[line][3] / matrix[line][line] for line in range(3)]


def predicted(factors, result):
    return sum(factor * amount for factor, amount in zip(factors, amounts(result)))


def calibrated(results):
    """Seconds for each exchange, machine and datastore, by three of the shapes; nothing without."""
    known = [results.find(shape) for shape in ("plain-100", "plain-10000", "200x500")]
    if None in known:
        return None
    return solve([amounts(result) for result in known],
                 [median_of(result, "engine", "wall") for result in known])


def checked(results):
    """(shape, exchanges told by the formula and by the log, wall told and measured) of the others."""
    factors = calibrated(results)
    found = [results.find(shape) for shape in ("plain-1000", "plain-50000")]
    return [(result["shape"], amounts(result)[0], result["requests"],
             predicted(factors, result), median_of(result, "engine", "wall"))
            for result in found if factors and result]
