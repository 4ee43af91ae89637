"""What is built from what: ninja's build file, and the headers that ninja recorded."""

import os
import re
import subprocess

STATEMENT = re.compile(r"^build ((?:[^:$]|\$.)+): (\S+)(.*)$")
PATH = re.compile(r"(?:[^ $]|\$.)+")
# What a program loads or starts when it runs, and so is built before it.
LOADED = (".dll", ".exe")


def unescape(path):
    return re.sub(r"\$(.)", r"\1", path)


def split_paths(text):
    return [unescape(path) for path in PATH.findall(text)]


class Step:
    """One build statement: what it writes, reads, and wants to be there before."""

    def __init__(self, rule, outputs, inputs, before):
        self.rule = rule
        self.outputs = outputs
        self.inputs = inputs
        self.before = before


def parse_statements(text):
    """The build statements of a build.ninja, with paths as they stand there."""
    text = text.replace("$\n", "").replace("${cmake_ninja_workdir}", "")
    for line in text.splitlines():
        match = STATEMENT.match(line)
        if not match:
            continue
        outputs, rule, rest = match.groups()
        rest, _, before = rest.partition(" || ")
        yield Step(rule, split_paths(outputs.replace(" | ", " ")),
                   split_paths(rest.replace(" | ", " ")), split_paths(before))


def parse_headers(text):
    """The output of `ninja -t deps`: maps each object to the files that were read for it."""
    result, current = {}, []
    for line in text.splitlines():
        if line.startswith("    "):
            current.append(line.strip())
        elif ": #deps" in line:
            name, _, rest = line.partition(": #deps")
            current = []
            if "(VALID)" in rest:
                result[name] = current
    return result


class BuildGraph:
    """Paths are relative to the build folder if they lie in it, absolute otherwise."""

    def __init__(self, statements, headers):
        self.steps, self.readers, self.objects = {}, {}, set()
        for step in statements:
            for output in step.outputs:
                self.steps[output] = step
                self.add_readers(output, step.inputs)
                if output.endswith((".obj", ".o")):
                    self.objects.add(output)
        for output, files in headers.items():
            self.add_readers(output, files)
        self.unknown = self.objects - set(headers)

    def add_readers(self, output, files):
        for file in files:
            self.readers.setdefault(file, set()).add(output)

    def built_from(self, files):
        """All outputs that are built from any of these files, by whatever many steps."""
        found, open_ends = set(), list(files)
        while open_ends:
            for reader in self.readers.get(open_ends.pop(), ()):
                if reader not in found:
                    found.add(reader)
                    open_ends.append(reader)
        return found

    def files_built_from(self, files):
        """As built_from, without mere names of targets."""
        return {output for output in self.built_from(files) if not self.is_name(output)}

    def may_be_built_from(self, file):
        """As built_from, and from objects of which nobody knows yet what headers they include."""
        is_header = file.endswith((".h", ".hpp", ".inl"))
        return self.built_from([file, *self.unknown] if is_header else [file]) | (
            self.unknown if is_header else set())

    def parts(self, outputs):
        """Programs with the libraries that they load and the programs that they start."""
        found, open_ends = set(), list(outputs)
        while open_ends:
            output = open_ends.pop()
            step = self.steps.get(output)
            if step and output not in found:
                found.add(output)
                open_ends += [path for path in step.before + step.inputs
                              if path.lower().endswith(LOADED) or self.is_name(path)]
        return {output for output in found if not self.is_name(output)}

    def is_name(self, output):
        """Whether an output is no file but the name of a target."""
        return output in self.steps and self.steps[output].rule == "phony"

    def resolve(self, path, build_dir):
        """A path on a command line or in an environment as an output of the build, or None. Wine
        calls the machine's root "Z:"."""
        path = path.removeprefix("Z:")
        if os.path.isabs(path):
            path = os.path.relpath(path, build_dir)
        return path if path in self.steps else None


def load(build_dir, environment):
    text = (build_dir / "build.ninja").read_text()
    headers = subprocess.run(["/usr/bin/ninja", "-C", str(build_dir), "-t", "deps"], check=True,
                             capture_output=True, text=True, env=environment).stdout
    return BuildGraph(parse_statements(text), parse_headers(headers))
