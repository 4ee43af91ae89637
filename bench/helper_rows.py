"""Measurements of the helper object: what the browser waits for."""

from context import MIB, Bench
from imports import calls_of_other_kinds
from table import Row, ratio_row
from turns import Ratio

_LESSON = 50 * MIB
# What is after the head is not looked at before the question. Were it sent, Wine would read it to
# its end when the request is closed, which takes seconds.
_SENT = 64 << 10
_COUNTED_EVENTS = 1000


def question(bench: Bench) -> list[Row]:
    programs = bench.programs

    def url() -> str:
        return bench.bodies.url(_LESSON, _SENT)

    results = bench.take_turns(
        "click to question, s",
        {
            "plugin": lambda: programs.number("helper", "prompt", programs.plugin, url()),
            "bare": lambda: programs.number("helper", "bare-prompt", url()),
        },
        bench.scale.rounds,
    )
    what = "click to question, lesson of 50 MiB / open, read, message box"
    return [ratio_row(what, Ratio.of(results["plugin"], results["bare"]), 1.15)]


def other_links(bench: Bench) -> list[Row]:
    programs = bench.programs
    results = bench.keep("event of another link, s", programs.rounds(
        "helper", "other-links", programs.plugin, programs.minimal, bench.scale.rounds.most))
    lines = programs.lines("helper", "calls", programs.plugin, _COUNTED_EVENTS)
    others = calls_of_other_kinds(lines, _COUNTED_EVENTS)

    def of(ours: str, theirs: str) -> Ratio:
        return Ratio.of(results[ours], results[theirs])

    return [
        ratio_row("event of another link / a sink that copies the URL",
                  of("plugin", "minimal"), 3.00),
        ratio_row("  / the two calls that are required, and nothing else",
                  of("plugin", "required"), 1.50),
        ratio_row("  these two by themselves / the sink", of("required", "minimal")),
        Row("  calls of anything but memory and text functions under it",
            str(sum(others.values())), ", ".join(others), "0", not others),
    ]


def loading(bench: Bench) -> list[Row]:
    programs = bench.programs
    # In a new process each time: nothing of the DLL is there yet.
    results = bench.take_turns(
        "loading, s",
        {
            "plugin": lambda: programs.number("helper", "load", programs.plugin),
            "minimal": lambda: programs.number("helper", "load", programs.minimal),
        },
        bench.scale.many,
    )
    what = "load, make the object, set its site / a DLL of one class"
    return [ratio_row(what, Ratio.of(results["plugin"], results["minimal"]), 1.50)]
