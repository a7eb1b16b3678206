"""Looks whether the benchmarks exist of which the report computes a figure.

usage: check_benchmarks.py MICRO_BENCHMARKS
"""

import subprocess
import sys

import report

listed = subprocess.run([sys.argv[1], "--benchmark_list_tests"], check=True, text=True,
                        stdout=subprocess.PIPE).stdout.splitlines()
missing = {report.FILTERED, report.STREAM} - set(listed)
if missing:
    sys.exit("no such benchmark: " + ", ".join(sorted(missing)))
