"""All faults of the chosen files, remembered from run to run, and the order they are drawn in."""

import concurrent.futures
import dataclasses
import hashlib
import json
import os
import pathlib
import random

import compile_flags
import effects
import faults
import mutant
import syntax
from mutant import Edit, Guard, name_mutants


def read_edits(arguments):
    """One file's edits; a function of its own so that another process can run it."""
    path, flags = arguments
    return syntax.find_edits(path, flags)


class Planner:
    def __init__(self, sources, build_dir, cache):
        self.sources = sources
        self.cache = cache
        self.resources = compile_flags.resource_flags()
        self.entries = json.loads((build_dir / "compile_commands.json").read_text())
        # Whatever these modules do differently, they do to all files.
        modules = [compile_flags, effects, faults, mutant, syntax]
        self.version = hashlib.sha256(b"".join(
            pathlib.Path(module.__file__).read_bytes() for module in modules)).digest()

    def flags(self, path):
        entry = compile_flags.nearest_entry(self.entries, path)
        return [*self.resources, *compile_flags.language_flags(path),
                *compile_flags.clang_flags(entry["command"])]

    def cache_file(self, path):
        content = (self.sources / path).read_bytes()
        key = hashlib.sha256(self.version + path.encode() + content).hexdigest()
        return self.cache / key

    def mutants(self, paths):
        """All mutants of these files (paths in the checkout), in the order of their places."""
        self.cache.mkdir(parents=True, exist_ok=True)
        missing = [path for path in paths if not self.cache_file(path).exists()]
        jobs = [(str(self.sources / path), self.flags(str(self.sources / path)))
                for path in missing]
        pool = concurrent.futures.ProcessPoolExecutor(len(os.sched_getaffinity(0)))
        try:
            for path, edits in zip(missing, pool.map(read_edits, jobs)):
                rows = [dataclasses.astuple(edit) for edit in edits]
                self.cache_file(path).write_text(json.dumps(rows))
        finally:
            pool.shutdown(cancel_futures=True)  # an interruption waits for no further file
        result = []
        for path in sorted(paths):
            edits = {Edit(*row, guard and Guard(*guard))
                     for *row, guard in json.loads(self.cache_file(path).read_text())}
            result += name_mutants(path, (self.sources / path).read_bytes(), edits)
        return result


def draw(mutants, seed):
    """The mutants in an order that the seed alone decides."""
    result = list(mutants)
    random.Random(seed).shuffle(result)
    return result


def named(mutants, names):
    """The mutants with these names, in this order."""
    by_name = {mutant.name: mutant for mutant in mutants}
    unknown = [name for name in names if name not in by_name]
    if unknown:
        raise KeyError(f"there is no mutant {', '.join(unknown)} (any more)")
    return [by_name[name] for name in names]
