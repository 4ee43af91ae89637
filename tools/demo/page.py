"""The demo as a page: the scenes in order, each with its pictures and with what was checked."""

import html
from pathlib import Path

from report import Check, Scene, verdict

_HEAD = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>FolivoPlugin: what the demo showed</title>
<style>
body { font: 16px/1.5 sans-serif; max-width: 60em; margin: 2em auto; padding: 0 1em; color: #222 }
h2 { margin: 2.5em 0 .5em; font-size: 1.2em }
figure { margin: 1em 0 }
img { max-width: 100%; border: 1px solid #ccc }
figcaption { color: #555 }
table { border-collapse: collapse; width: 100%; font-size: .9em }
th, td { text-align: left; vertical-align: top; padding: .2em 1em .2em 0;
  border-bottom: 1px solid #ddd; overflow-wrap: anywhere }
.ok { color: #17692c }
.not { color: #b00020; font-weight: bold }
</style>
</head>
<body>
<h1>FolivoPlugin: what the demo showed</h1>
"""


def _cell(text: str, kind: str = "td", style: str = "") -> str:
    attribute = f' class="{style}"' if style else ""
    return f"<{kind}{attribute}>{html.escape(text)}</{kind}>"


def _row(check: Check) -> str:
    verdict_cell = _cell("ok", style="ok") if check.ok else _cell("NOT", style="not")
    return f"<tr>{_cell(check.what)}{_cell(check.expected)}{_cell(check.seen)}{verdict_cell}</tr>"


def _section(scene: Scene) -> list[str]:
    mark = '<span class="ok">ok</span>' if scene.ok else '<span class="not">NOT as expected</span>'
    lines = [f"<h2>{scene.number}. {html.escape(scene.title)}: {mark}</h2>"]
    for path, shows in scene.pictures:
        name, text = html.escape(path.name, quote=True), html.escape(shows)
        lines.append(f'<figure><img src="{name}" alt="{html.escape(shows, quote=True)}">')
        lines.append(f"<figcaption>{text[:1].upper()}{text[1:]}</figcaption></figure>")
    if not scene.checks:
        return [*lines, '<p class="not">Nothing was checked.</p>']
    heads = ("What was checked", "Expected", "Seen", "")
    head = "".join(_cell(text, "th") for text in heads)
    return [*lines, "<table>", f"<tr>{head}</tr>", *map(_row, scene.checks), "</table>"]


def write_page(folder: Path, scenes: list[Scene]) -> Path:
    """Writes index.html beside the pictures; gives its path."""
    style = "ok" if all(scene.ok for scene in scenes) else "not"
    lines = [f'{_HEAD}<p class="{style}">{html.escape(verdict(scenes))}</p>']
    for scene in scenes:
        lines += _section(scene)
    page = folder / "index.html"
    page.write_text("\n".join([*lines, "</body>", "</html>", ""]), encoding="utf-8")
    return page
