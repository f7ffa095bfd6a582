#!/usr/bin/env python3
"""Counts the user-space instructions that one operation of a program costs.

    own_instructions.py PROGRAM MODE

Runs `PROGRAM MODE N` under callgrind for two values of N and prints the difference per operation: in the program's own
object files, and in the libraries it calls.
"""
import collections
import os
import re
import subprocess
import sys
import tempfile


def count(program, mode, operations):
    """Instructions by object file."""
    with tempfile.TemporaryDirectory() as folder:
        out = os.path.join(folder, "callgrind.out")
        subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={out}", "--separate-threads=no",
                        program, mode, str(operations)],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        names, totals, current, skip = {}, collections.Counter(), None, False
        for line in open(out):
            match = re.match(r"ob=\((\d+)\)(?: (.*))?$", line)
            if match:
                if match.group(2):
                    names[match.group(1)] = match.group(2)
                current = names[match.group(1)]
            elif (match := re.match(r"cob=\((\d+)\) (.*)$", line)):
                names[match.group(1)] = match.group(2)
            elif line.startswith("calls="):
                skip = True  # the next line is the callee's inclusive cost
            elif re.match(r"[+*\-\d]", line):
                if not skip:
                    totals[current] += int(line.split()[1])
                skip = False
        return totals


def main():
    program, mode = sys.argv[1:3]
    few, many = 1000, 11000
    low, high = count(program, mode, few), count(program, mode, many)
    own, libraries = 0.0, 0.0
    for name in high:
        per_operation = (high[name] - low[name]) / (many - few)
        if os.path.basename(name) == os.path.basename(program):
            own += per_operation
        else:
            libraries += per_operation
    print(f"{os.path.basename(program)} {mode}: {own:.0f} instructions of its own per operation, "
          f"{libraries:.0f} in libraries")


main()
