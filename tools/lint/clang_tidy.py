#!/usr/bin/env python3
"""Runs clang-tidy over the product's sources, in parallel, and skips files that were clean before
and have not changed since, nor anything they include.

Usage: clang_tidy.py BUILD_DIR [--all | SOURCE...]    (BUILD_DIR configured and built)

Each source costs seconds, most of them for the system's headers: a test run checks what users load;
--all checks tests and tools too.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

CLANG_TIDY = "/usr/bin/clang-tidy-19"
# The compile commands are GCC's; clang reads them for the same target. What GCC knows and clang
# does not, or the other way round, is not what this looks for.
EXTRA_ARGUMENTS = [
    "--extra-arg=--target=x86_64-w64-mingw32",
    "--extra-arg=-Wno-unknown-warning-option",
    # Errors to clang in what Boost 1.74 and <commdlg.h> define; GCC looks after narrowing in ours.
    "--extra-arg=-Wno-enum-constexpr-conversion",
    "--extra-arg=-Wno-c++11-narrowing",
    # mingw-w64's <intrin.h> would define what clang's own headers define.
    "--extra-arg=-D__INTRINSIC_DEFINED___cpuidex",
    # The analyzer gives up a function after so many states, not after 225,000: half of the time of all
    # checks went into the last of these.
    *(f"--extra-arg={word}" for word in ("-Xclang", "-analyzer-config", "-Xclang", "max-nodes=30000")),
]
# What users load; atl/ is headers only and checked with the sources that include it.
PRODUCT_FOLDERS = ("base", "browser", "collections", "com", "download", "plugin", "ui")
DIAGNOSTIC = re.compile(r"^[^\s:]+:\d+:\d+: (?:warning|error): ")


def dependencies(build_dir):
    """Maps each object file to the files it was compiled from, as ninja recorded them."""
    output = subprocess.run(
        ["/usr/bin/ninja", "-C", str(build_dir), "-t", "deps"],
        check=True, capture_output=True, text=True).stdout
    result, current = {}, None
    for line in output.splitlines():
        if line.startswith("    "):
            current.append(line.strip())
        elif ": #deps" in line:
            current = result.setdefault(line.split(": #deps")[0], [])
    return result


class Checker:
    """Checks single sources, remembering the clean ones in `stamps`."""

    def __init__(self, root, build_dir, entries):
        self.root = root
        self.build_dir = build_dir
        self.stamps = root / "build" / "lint"
        # clang-tidy checks a source once for each of its compile commands, so it gets one of each.
        self.commands = self.stamps / f"commands-{build_dir.name}"
        self.commands.mkdir(parents=True, exist_ok=True)
        (self.commands / "compile_commands.json").write_text(json.dumps(entries))
        self.dependencies = dependencies(build_dir)
        self.hashes = {}
        configurations = sorted(root.glob(".clang-tidy")) + sorted(root.glob("t*/.clang-tidy"))
        self.base = hashlib.sha256(b"".join(
            [file.read_bytes() for file in configurations]
            + [pathlib.Path(__file__).read_bytes(), self.version()])).hexdigest()

    @staticmethod
    def version():
        return subprocess.run([CLANG_TIDY, "--version"], check=True, capture_output=True).stdout

    def hash_of(self, path):
        if path not in self.hashes:
            try:
                content = pathlib.Path(self.build_dir, path).read_bytes()
            except OSError:
                content = b"missing"
            self.hashes[path] = hashlib.sha256(content).hexdigest()
        return self.hashes[path]

    def key(self, entry):
        """What the result for a source depends on. Installed headers change with their packages
        only; their paths stand for them."""
        command = shlex.split(entry["command"])
        output = command[command.index("-o") + 1]
        files = self.dependencies.get(output, []) + [entry["file"]]
        own = str(self.root) + "/"
        parts = [self.base, entry["command"]]
        for path in sorted(set(files)):
            absolute = os.path.normpath(self.build_dir / path)
            parts.append(absolute + (self.hash_of(path) if absolute.startswith(own) else ""))
        return hashlib.sha256("\n".join(parts).encode()).hexdigest()

    def check(self, entry):
        """Returns clang-tidy's findings, an empty text for a clean source."""
        name = os.path.relpath(entry["file"], self.root).replace("/", "+")
        stamp = self.stamps / name
        key = self.key(entry)
        if stamp.exists() and stamp.read_text() == key:
            return ""
        run = subprocess.run(
            [CLANG_TIDY, "-p", str(self.commands), "--quiet", "--warnings-as-errors=*",
             *EXTRA_ARGUMENTS, entry["file"]],
            capture_output=True, text=True)
        if run.returncode == 0:
            stamp.write_text(key)
            return ""
        stamp.unlink(missing_ok=True)
        return run.stdout or run.stderr or f"clang-tidy failed on {entry['file']}\n"


def own_sources(root, build_dir, wanted):
    """The compile commands of the project's own sources, of each source the first: those `wanted`,
    all when that is empty, the product's when it is None."""
    seen = set()
    for entry in json.loads((build_dir / "compile_commands.json").read_text()):
        file = os.path.normpath(entry["file"])
        if not file.endswith(".cpp") or not file.startswith(str(root) + "/"):
            continue
        if file.startswith(str(root / "build") + "/") or file in seen:
            continue
        if wanted and file not in wanted:
            continue
        if wanted is None and os.path.relpath(file, root).split("/")[0] not in PRODUCT_FOLDERS:
            continue
        seen.add(file)
        yield without_precompiled_headers(entry)


def without_precompiled_headers(entry):
    """The compile command without GCC's precompiled headers: clang would read them as a header, all
    of it for each source, and each check would walk through it."""
    words = shlex.split(entry["command"])
    for position in range(len(words) - 1, 0, -1):
        if words[position - 1] == "-include" and words[position].endswith("/cmake_pch.hxx"):
            del words[position - 1:position + 1]
    return dict(entry, command=shlex.join(words))


def blocks(output):
    """Splits clang-tidy's output into findings: the line with the place, and what follows."""
    block = []
    for line in output.splitlines():
        if DIAGNOSTIC.match(line) and block:
            yield "\n".join(block)
            block = []
        block.append(line)
    if block:
        yield "\n".join(block)


def main():
    root = pathlib.Path(__file__).resolve().parents[2]
    build_dir = pathlib.Path(sys.argv[1]).resolve()
    arguments = sys.argv[2:]
    wanted = {os.path.abspath(path) for path in arguments if path != "--all"}
    if not arguments:
        wanted = None
    entries = list(own_sources(root, build_dir, wanted))
    if not entries:
        print("no sources to check")
        return 1
    checker = Checker(root, build_dir, entries)
    findings = {}
    with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        for output in pool.map(checker.check, entries):
            # A finding in a header comes with every source that includes it.
            findings.update(dict.fromkeys(blocks(output.replace(f"{root}/", ""))))
    for finding in findings:
        print(finding)
    print(f"{len(entries)} sources, {len(findings)} findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
