#!/usr/bin/env python3
"""Makes a list of requests as a user without the engine would write it.

usage: peers.py urllib|requests|curl

Reads one line of JSON from standard input: the manager's "url", the "token" of a session, and
"requests", a file with one request for each line, as the manager's request log has them. Makes the
requests, each over a connection of its own, reads each body as JSON, and writes one line of JSON:
how long that took ("wall"), the CPU seconds of this process and its children ("cpu"), and the
answers that came ("exchanges"). "peers.py --have NAME" ends with 0 when that peer can run here.
"""

import json
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.request


def read_requests(path, token):
    """The requests as (method, target, headers); the log has fingerprints in the token's place."""
    requests = []
    with open(path, encoding="utf-8") as lines:
        for line in lines:
            entry = json.loads(line)
            headers = {name: value for name, value in entry["headers"] if name != "Host"}
            if "X-Auth-Token" in headers:
                headers["X-Auth-Token"] = token
            requests.append((entry["method"], entry["target"], headers))
    return requests


# Each peer returns how many answers it got, those that sent it on to another place included.


def by_urllib(url, requests):
    class Answers(urllib.request.BaseHandler):
        count = 0

        def http_response(self, _, answer):
            self.count += 1
            return answer

        https_response = http_response

    answers = Answers()
    urllib.request.install_opener(urllib.request.build_opener(answers))
    for method, target, headers in requests:
        request = urllib.request.Request(url + target, headers=headers, method=method)
        with urllib.request.urlopen(request, timeout=600) as answer:
            json.loads(answer.read())
    return answers.count


def by_requests(url, requests):
    import requests as library

    answers = 0
    for method, target, headers in requests:
        answer = library.request(method, url + target, headers=headers, timeout=(10, 600))
        answer.raise_for_status()
        answer.json()
        answers += 1 + len(answer.history)
    return answers


def by_curl(url, requests):
    answers = 0
    with tempfile.NamedTemporaryFile("w", prefix="bench-headers-") as file:
        for method, target, headers in requests:
            file.seek(0)
            file.truncate()
            file.writelines(f"{name}: {value}\n" for name, value in headers.items())
            file.flush()
            # The headers hold a token, which must not stand in a list of processes.
            words = ["curl", "--silent", "--fail", "--request", method, "--header", "@" + file.name]
            words += ["--connect-timeout", "10", "--max-time", "600", url + target]
            json.loads(subprocess.run(words, check=True, stdout=subprocess.PIPE).stdout)
            answers += 1  # it goes to no other place unless told to
    return answers


PEERS = {"urllib": by_urllib, "requests": by_requests, "curl": by_curl}


def have(name):
    if name == "curl":
        return shutil.which("curl") is not None
    if name == "requests":
        try:
            import requests  # noqa: F401
        except ImportError:
            return False
    return name in PEERS


def cpu_seconds():
    own = resource.getrusage(resource.RUSAGE_SELF)
    children = resource.getrusage(resource.RUSAGE_CHILDREN)
    return own.ru_utime + own.ru_stime + children.ru_utime + children.ru_stime


def main(arguments):
    if len(arguments) == 2 and arguments[0] == "--have":
        return 0 if have(arguments[1]) else 1
    if len(arguments) != 1 or arguments[0] not in PEERS:
        print(__doc__, file=sys.stderr)
        return 2
    os.environ["no_proxy"] = "*"
    question = json.loads(sys.stdin.readline())
    requests = read_requests(question["requests"], question["token"])
    if arguments[0] == "requests":
        import requests as _  # noqa: F401  (loading it is no part of the exchanges)
    wall, cpu = time.perf_counter(), cpu_seconds()
    exchanges = PEERS[arguments[0]](question["url"], requests)
    print(json.dumps({"wall": time.perf_counter() - wall, "cpu": cpu_seconds() - cpu,
                      "exchanges": exchanges}), flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
