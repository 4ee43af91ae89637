#!/usr/bin/env python3
"""The measurements' names: `selection.py` lists them, `selection.py NAME...` fails unless each is
one."""

import difflib
import sys

NAMES = {
    "transfer": "whole transfers, against the system's calls, URLDownloadToFile and curl",
    "question": "from the click on a lesson to the question",
    "other-links": "the event for a link that is none of ours; under a second",
    "loading": "load the DLL, make the object, set its site; a few seconds",
    "memory": "peak memory of a large transfer against a small one",
    "silence": "how long the browser gives no answer during a transfer",
    "unique-name": "a name beside many files of that name",
    "listing": "the entries of a large archive; a few seconds",
    "adding": "the collections of a large manifest",
}


class UnknownNameError(Exception):
    """There is no measurement of that name; the text says which there are."""


def choose(only: list[str]) -> list[str]:
    """The names to measure, in the table's order: all, or those that were asked for."""
    for name in only:
        if name not in NAMES:
            near = difflib.get_close_matches(name, NAMES, n=1)
            hint = f" Did you mean {near[0]}?" if near else ""
            raise UnknownNameError(
                f'there is no measurement "{name}".{hint} They are: {", ".join(NAMES)}.')
    return [name for name in NAMES if not only or name in only]


def describe() -> str:
    return "\n".join(f"  {name:12} {what}" for name, what in NAMES.items())


if __name__ == "__main__":
    try:
        choose(sys.argv[1:])
    except UnknownNameError as error:
        sys.exit(f"bench: {error}")
    if len(sys.argv) == 1:
        print(describe())
