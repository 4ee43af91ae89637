"""One planted fault: a piece of one file's text, and what stands there instead."""

import dataclasses
import difflib
import hashlib


# In a guard's texts, replaced by the condition that turns the fault on.
PLANTED = "\0"


@dataclasses.dataclass(frozen=True)
class Guard:
    """Texts before and after the bytes [start, end), which stay as they are."""

    start: int
    end: int
    before: str
    behind: str


@dataclasses.dataclass(frozen=True, order=True)
class Edit:
    """Replaces the bytes [start, end) of a file. `kind` says what sort of fault that is. `guard`:
    the same fault as insertions that a condition turns on, None where that cannot be."""

    start: int
    end: int
    replacement: str
    kind: str
    guard: "Guard | None" = dataclasses.field(default=None, compare=False)

    def apply(self, text):
        """The file's bytes with the fault in them."""
        return text[:self.start] + self.replacement.encode() + text[self.end:]


@dataclasses.dataclass(frozen=True)
class Mutant:
    """An edit of a file (a path relative to the checkout), with the name that repeats it."""

    path: str
    edit: Edit
    name: str
    line: int

    @property
    def place(self):
        return f"{self.path}:{self.line}"

    def diff(self, text):
        """The fault as a unified diff with one line before and after."""
        before = text.decode(errors="replace").splitlines(keepends=True)
        after = self.edit.apply(text).decode(errors="replace").splitlines(keepends=True)
        return "".join(difflib.unified_diff(before, after, f"a/{self.path}", f"b/{self.path}", n=1))


def line_of(text, offset):
    return text.count(b"\n", 0, offset) + 1


def whole_lines(text, edit):
    """The lines that an edit touches."""
    begin = text.rfind(b"\n", 0, edit.start) + 1
    end = text.find(b"\n", edit.end)
    return text[begin:] if end < 0 else text[begin:end]


def name_mutants(path, text, edits):
    """Makes mutants of the edits of one file, in the order of their places.

    A name consists of the path and a hash of the touched lines and of what becomes of them, so that
    it outlives changes elsewhere in the file. Equal lines with equal faults are told apart by their
    order.
    """
    result, seen = [], {}
    for edit in sorted(edits):
        lines = whole_lines(text, edit)
        column = edit.start - (text.rfind(b"\n", 0, edit.start) + 1)
        key = (lines, column, edit.end - edit.start, edit.replacement)
        order = seen[key] = seen.get(key, -1) + 1
        digest = hashlib.sha256(repr((key, order)).encode()).hexdigest()[:8]
        result.append(Mutant(path, edit, f"{path}@{digest}", line_of(text, edit.start)))
    return result
