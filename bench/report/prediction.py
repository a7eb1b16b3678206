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


def predicted(factors, result):
    return sum(factor * amount for factor, amount in zip(factors, amounts(result)))


def calibrated(results):
    """Seconds for each exchange, machine and datastore; nothing without the shapes that tell. One after
    the other: exchanges and machines grow together, so that equations for both would blow up errors."""
    large, wide = results.find("plain-10000"), results.find("200x500")
    if not large or not wide:
        return None
    exchange = median_of(large, "bare", "wall") / large["requests"]
    factors = [exchange, 0.0, 0.0]
    for place, result in ((1, large), (2, wide)):
        rest = median_of(result, "engine", "wall") - predicted(factors, result)
        factors[place] = rest / amounts(result)[place]
    return factors


def checked(results):
    """(shape, exchanges told by the formula and by the log, wall told and measured) of the others."""
    factors = calibrated(results)
    found = [results.find(shape) for shape in ("plain-100", "plain-1000", "plain-50000")]
    return [(result["shape"], amounts(result)[0], result["requests"],
             predicted(factors, result), median_of(result, "engine", "wall"))
            for result in found if factors and result]
