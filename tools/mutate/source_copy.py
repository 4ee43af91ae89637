"""A copy of the sources with a build folder of its own: the faults are planted there only.

Ninja compares times. So whatever changes in the copy is newer than what was built before; only the
way back from a fault restores sources and outputs with the times that they had, so that nothing is
built anew. Should that be interrupted, the next `update` finds the source that differs, writes it,
and everything that depends on it is built again.
"""

import contextlib
import os
import pathlib
import subprocess

ASIDE = ".aside"
# What a link step writes beside its outputs.
BESIDE = ("", ".debug")


def source_files(root):
    """The files of a checkout, relative to it: those under version control and new ones. A tree
    without git, or a machine without it, is taken as it is."""
    try:
        listed = subprocess.run(
            ["git", "-C", str(root), "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
            capture_output=True, check=True, text=True).stdout
        files = set(filter(None, listed.split("\0")))
    except (FileNotFoundError, subprocess.CalledProcessError):
        files = {str(path.relative_to(root)) for path in root.rglob("*") if path.is_file()}
    return {file for file in files
            if (root / file).is_file() and file.split("/")[0] not in ("build", ".git")}


class SourceCopy:
    """`sources` follows the checkout `root`, `build` holds what is built from it."""

    def __init__(self, root, folder):
        self.root = root
        self.sources = folder / "source"
        self.build = folder / "build"

    def update(self):
        """Brings the copy to the checkout's state; returns how many files that changed."""
        self.build.mkdir(parents=True, exist_ok=True)
        for path in self.build.rglob("*" + ASIDE):
            path.unlink()
        wanted, changed = source_files(self.root), 0
        for file in wanted:
            changed += self.update_file(file)
        if self.sources.is_dir():
            for path in [path for path in self.sources.rglob("*") if path.is_file()]:
                if str(path.relative_to(self.sources)) not in wanted:
                    path.unlink()
                    changed += 1
        return changed

    def update_file(self, file):
        original, copy = self.root / file, self.sources / file
        content, mode = original.read_bytes(), original.stat().st_mode
        try:
            if copy.read_bytes() == content and copy.stat().st_mode == mode:
                return False
        except FileNotFoundError:
            copy.parent.mkdir(parents=True, exist_ok=True)
        copy.write_bytes(content)
        copy.chmod(mode)
        return True

    def planted(self, mutant, outputs):
        """The copy with a fault in it; `outputs`: all that is built from the file."""
        text = (self.sources / mutant.path).read_bytes()
        return self.replaced({mutant.path: mutant.edit.apply(text)}, outputs)

    @contextlib.contextmanager
    def replaced(self, texts, outputs):
        """The copy with other texts (bytes by path) and without `outputs`, what is built from these
        files. All is back afterwards as it was."""
        before = {path: ((self.sources / path).read_bytes(), (self.sources / path).stat())
                  for path in texts}
        aside = self.put_aside(outputs)
        try:
            for path, text in texts.items():
                (self.sources / path).write_bytes(text)
            yield
        finally:
            # The sources last: while they differ, an interruption here leaves nothing stale.
            for path, name in aside:
                path.unlink(missing_ok=True)
                if name:
                    name.rename(path)
            for path, (text, times) in before.items():
                (self.sources / path).write_bytes(text)
                os.utime(self.sources / path, ns=(times.st_atime_ns, times.st_mtime_ns))

    def put_aside(self, outputs):
        """Renames files of the build folder; returns rows of (path, new name), with None as the new
        name of a file that was not there."""
        result = []
        for output in sorted(outputs):
            if os.path.isabs(output):
                continue
            for suffix in BESIDE:
                path = self.build / (output + suffix)
                name = None
                if path.is_file():
                    name = pathlib.Path(f"{path}{ASIDE}")
                    path.rename(name)
                result.append((path, name))
        return result
