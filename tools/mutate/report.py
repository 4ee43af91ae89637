"""What a run of mutants found: lines on the screen, and files to work off."""

import json

from trial import KILLED, NOT_COMPILING, SAME_CODE, SURVIVED, TIME_LIMIT

COUNTED = (KILLED, SURVIVED, TIME_LIMIT)


def counts(results, path=None):
    """How many results there are of each outcome, in all or for one file."""
    result = dict.fromkeys((*COUNTED, NOT_COMPILING, SAME_CODE), 0)
    for item in results:
        if path in (None, item.mutant.path):
            result[item.outcome] += 1
    return result


def progress_line(result):
    by = f" by {result.program}" if result.program else ""
    case = f" ({result.case})" if result.case else ""
    unsteady = f" [failed once only: {', '.join(result.unsteady)}]" if result.unsteady else ""
    return (f"{result.outcome:13} {result.mutant.place} {result.mutant.edit.kind}"
            f"{by}{case}{unsteady}  {result.seconds:.1f} s")


def table(results):
    """Killed, survived and killed by a time limit only, per file and in all; what does not compile
    or makes no other code stands apart and counts for nothing."""
    files = sorted({result.mutant.path for result in results})
    width = max([len(file) for file in files] + [len("in all")])
    lines = [f"{'file':{width}}  killed  survived  time limit | not compiling  same code"]
    for file in [*files, None]:
        one = counts(results, file)
        lines.append(f"{file or 'in all':{width}}  {one[KILLED]:6}  {one[SURVIVED]:8}  "
                     f"{one[TIME_LIMIT]:10} | {one[NOT_COMPILING]:13}  {one[SAME_CODE]:9}")
    return lines


def survivors(results, text_of):
    """The faults that nothing noticed, each as a diff with the command that repeats it."""
    blocks = []
    for result in results:
        if result.outcome in (SURVIVED, TIME_LIMIT):
            mutant = result.mutant
            blocks.append(f"{mutant.place}: {result.outcome} ({mutant.edit.kind})\n"
                          f"./run mutate --only {mutant.name}\n"
                          f"{mutant.diff(text_of(mutant.path))}")
    return "\n".join(blocks)


def closing_lines(results):
    one = counts(results)
    total = sum(one[outcome] for outcome in COUNTED)
    if not total:
        return ["No mutant was tried."]
    tried = [result.seconds for result in results if result.outcome in COUNTED]
    return [f"{one[KILLED]} of {total} killed ({100 * one[KILLED] / total:.1f} %), "
            f"{one[SURVIVED]} survived, {one[TIME_LIMIT]} killed by a time limit only",
            f"{sum(tried) / total:.1f} s for a mutant on average"]


def write(folder, results, text_of):
    """survivors.diff to work off, results.json for further use."""
    (folder / "survivors.diff").write_text(survivors(results, text_of))
    (folder / "results.json").write_text(json.dumps([
        {"name": result.mutant.name, "place": result.mutant.place, "kind": result.mutant.edit.kind,
         "outcome": result.outcome, "program": result.program, "case": result.case,
         "unsteady": result.unsteady, "seconds": round(result.seconds, 1)}
        for result in results], indent=1))
