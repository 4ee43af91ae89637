"""The test programs as CTest knows them, and how one of them is run."""

import dataclasses
import json
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import time

FAILED_CASE = re.compile(r"^\[  FAILED  \] ([\w/]+\.[\w/]+)", re.MULTILINE)
CRASHED_CASE = re.compile(r"CRASH: in ([\w/]+\.[\w/]+)")
ASSERTION = re.compile(r"^\S+: Failure$", re.MULTILINE)


@dataclasses.dataclass
class Program:
    """One CTest entry. `timeout`: CTest's. `targets`: what ninja builds for it. `folder`: of its
    sources."""

    name: str
    command: list
    environment: dict
    working_directory: str
    failure_pattern: str
    label: str
    timeout: float
    targets: set
    folder: str

    @property
    def report(self):
        """The file that a GoogleTest program writes at its end, None for other programs."""
        for word in self.command:
            if word.startswith("--gtest_output=xml:Z:"):
                return pathlib.Path(word.removeprefix("--gtest_output=xml:Z:"))
        return None


@dataclasses.dataclass
class Run:
    """How a program ended: "passed", "failed" or "time limit"; `case`: what failed. `orderly`: it
    came to its own end, so its fixtures have removed what they made."""

    outcome: str
    seconds: float
    output: str
    case: str = ""
    orderly: bool = True


def modified(environment, changes):
    """CTest's ENVIRONMENT_MODIFICATION: NAME=OPERATION:VALUE."""
    result = dict(environment)
    for change in changes:
        name, _, rest = change.partition("=")
        operation, _, value = rest.partition(":")
        if operation == "set":
            result[name] = value
        elif operation == "cmake_list_append":
            result[name] = f"{result[name]};{value}" if result.get(name) else value
        else:
            raise ValueError(f"unknown change of the environment: {change}")
    return result


def read_program(entry, graph, build_dir, environment):
    """A program from one entry of `ctest --show-only=json-v1`."""
    properties = {item["name"]: item["value"] for item in entry["properties"]}
    own = dict(item.split("=", 1) for item in properties.get("ENVIRONMENT", []))
    own = modified({**environment, **own}, properties.get("ENVIRONMENT_MODIFICATION", []))
    words = entry["command"] + [value for name, value in own.items()
                                if environment.get(name) != value]
    targets = {graph.resolve(word, build_dir) for word in words} - {None}
    folder = ""
    for target in sorted(targets):
        for source in graph.steps[target].inputs:
            match = re.match(r"(.*?)/CMakeFiles/[^/]*\.dir/[^_]", source)
            if match and target.endswith(f"/{entry['name']}.exe"):
                folder = match.group(1)
                break
    return Program(
        entry["name"], entry["command"], own, properties.get("WORKING_DIRECTORY", str(build_dir)),
        "|".join(properties.get("FAIL_REGULAR_EXPRESSION", [])),
        properties.get("LABELS", [""])[0], properties.get("TIMEOUT"), targets, folder)


def load(graph, build_dir, environment):
    text = subprocess.run(
        ["/usr/bin/ctest", "--test-dir", str(build_dir), "--show-only=json-v1"], check=True,
        capture_output=True, text=True).stdout
    programs = [read_program(entry, graph, build_dir, environment)
                for entry in json.loads(text)["tests"] if "command" in entry]
    # Scripts that no built program is named to see the tree only, not the product.
    return [program for program in programs if program.targets]


def end_group(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def run(program, limit=None, cases=None):
    """Runs a program to its end, or for `limit` seconds; a GoogleTest program to the first failure,
    and with only those `cases` where they are given."""
    command = list(program.command)
    if program.report:
        program.report.unlink(missing_ok=True)
        command += ["--gtest_fail_fast", "--gtest_brief=1"]
        if cases:
            command.append(f"--gtest_filter={cases}")
    # A file, not a pipe: what runs on behind Wine would keep a pipe open.
    with tempfile.TemporaryFile() as output:
        start = time.monotonic()
        process = subprocess.Popen(
            command, cwd=program.working_directory, env=program.environment,
            stdin=subprocess.DEVNULL, stdout=output, stderr=output, start_new_session=True)
        try:
            code = process.wait(limit)
        except subprocess.TimeoutExpired:
            code = None
        finally:
            if process.poll() is None:
                end_group(process)
        seconds = time.monotonic() - start
        output.seek(0)
        text = output.read().decode(errors="replace").replace("\r\n", "\n")
    return judge(program, code, seconds, text)


def judge(program, code, seconds, text):
    """`code`: the exit code, None when the time limit ended it."""
    match = CRASHED_CASE.search(text) or FAILED_CASE.search(text)
    case = match.group(1) if match else ""
    orderly = code is not None and (not program.report or program.report.exists())
    if code is None and not ASSERTION.search(text):
        return Run("time limit", seconds, text, case, orderly)
    if code == 0 and not orderly:
        return Run("failed", seconds, text, case, orderly)  # somebody ended the process early
    if code != 0 or (program.failure_pattern and re.search(program.failure_pattern, text)):
        return Run("failed", seconds, text, case, orderly)
    return Run("passed", seconds, text)
