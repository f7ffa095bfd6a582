#!/usr/bin/env python3
"""Puts the faults of mutations.txt into a copy of the code, one at a time, and prints which tests find each.

    tests/mutations.py [--only REGEX] [--every] [--tests CTEST_REGEX] [--build DIR] [--list]

The tests of the fault's own room run first, then the transcripts, then all; the first that fails ends it, but for --every.
--build is a build folder inside the copy, kept from one run to the next. A fault whose text no longer stands in its file
is told as stale, one that does not compile as broken: both want mending here. The exit status is 1 when a fault was
found by no test.
"""
import argparse
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def faults():
    result = []
    for line in (ROOT / "tests/mutations.txt").read_text().splitlines():
        if line.startswith(("- ", "+ ")):
            result[-1][2 if line[0] == "-" else 3].append(line[2:])
        elif line.strip() and not line.startswith("#"):
            file, what = line.split(": ", 1)
            result.append((file, what, [], []))
    return [(file, what, "\n".join(old), "\n".join(new)) for file, what, old, new in result]


def run(*command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False, **options)


def copy_to(folder):
    """The files that git knows, as they stand here; one that is the same keeps its time."""
    names = set(run("git", "ls-files", cwd=ROOT).stdout.splitlines())
    for path in folder.rglob("*"):
        name = str(path.relative_to(folder))
        if path.is_file() and name not in names and not name.startswith("build/"):
            path.unlink()
    for name in names:
        source, target = ROOT / name, folder / name
        if source.is_file() and not (target.is_file() and target.read_bytes() == source.read_bytes()):
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)


def finders(build, file, options):
    """Without what looks at the library as it ships: this one is not optimised."""
    if options.every:
        rounds, stop = [options.tests], []
    else:
        rounds, stop = [rf"^(rpc_)?{re.escape(pathlib.Path(file).parent.name)}[._]", r"\.", options.tests], ["--stop-on-failure"]
    for tests in rounds:
        outcome = run("ctest", "--test-dir", str(build), "-j2", *stop, "-E", "^library_test$", "-R", tests, "--timeout", "120").stdout
        found = re.findall(r"^\s+\d+ - (\S+) \((?!Not Run)", outcome, re.M)
        if found:
            return found
    return []


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("--only", default="", help="faults whose line fits this")
    arguments.add_argument("--every", action="store_true", help="all tests that find it")
    arguments.add_argument("--tests", default=".", help="of ctest, -R")
    arguments.add_argument("--build", default=ROOT / "build/mutations", type=pathlib.Path)
    arguments.add_argument("--list", action="store_true")
    options = arguments.parse_args()
    chosen = [fault for fault in faults() if re.search(options.only, f"{fault[0]}: {fault[1]}")]
    if options.list:
        print("\n".join(f"{file}: {what}" for file, what, _, _ in chosen))
        return 0

    copy = options.build.resolve() / "copy"
    build = copy / "build"
    copy_to(copy)
    run("cmake", "--preset", "i386", "-B", str(build), "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS=-O0 -g0", cwd=copy)
    sound = run("cmake", "--build", str(build))
    if sound.returncode != 0:
        sys.exit("the code does not build:\n" + sound.stdout[-3000:])
    missed = 0
    for file, what, old, new in chosen:
        path = copy / file
        text = path.read_text() if path.exists() else ""
        if text.count(old) == 0:
            print(f"stale   {file}: {what}", flush=True)
            continue
        path.write_text(text.replace(old, new, 1))
        compiled = run("cmake", "--build", str(build))
        if compiled.returncode != 0:
            print(f"broken  {file}: {what}\n{compiled.stdout[-800:]}", flush=True)
        else:
            found = finders(build, file, options)
            missed += not found
            print(f"{'found' if found else 'MISSED':7} {file}: {what}: {' '.join(found)}", flush=True)
        path.write_text(text)
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
