"""The browser on the user's own display, with the plug-in and a web site to try it on.

Usage: interactive.py BUILD_FOLDER OUTPUT_FOLDER, in the environment of demo.sh. Ends when the
browser is closed.
"""

import os
import re
import signal
import subprocess
import sys
import threading
from pathlib import Path

import wine
from lesson_server import LessonServer
from lessons import Lesson
from stage import LESSONS, Stage
from wine import DemoError

_MEGABYTE = 1_000_000
_BEFORE_NAVIGATE = re.compile(r"event BeforeNavigate2 url=<(.*)> cancel=([01])")
_NO_WINDOW = 3  # exit code of the browser
_LOOK_S = 0.5
_PAGE = [{"text": "<!DOCTYPE html><html><body><h1>Ask your teacher.</h1></body></html>"}]


def _serve(server: LessonServer) -> list[tuple[str, str]]:
    """Puts files onto the web site; gives their URLs, with what each is."""
    large = Lesson("Solar System.folivo", 50 * _MEGABYTE, seed=1)
    small = Lesson("Plant Cells.qdk", 3 * _MEGABYTE, seed=2)
    gallery = Lesson("Map Symbols.gallery", 4 * _MEGABYTE, seed=6)
    return [
        (server.serve_lesson(large, rate=5 * _MEGABYTE), "a lesson of 50 MB, in ten seconds"),
        (server.serve_lesson(small), "a small lesson"),
        (server.serve_lesson(gallery, folder="/galleries"), "a gallery"),
        (server.serve("/lessons/Moved.folivo", "text/html", body=_PAGE), "no lesson, but a page"),
        (server.serve("/lessons/Gone.folivo", status=404), "a lesson that is not there"),
        (server.url("/media/Volcano.jpg?insertinfolivo=1"), "something to insert"),
        (rf"{LESSONS}\Local Lesson.folivo", "a lesson on this machine"),
        (rf"{LESSONS}\Lost Lesson.folivo", "one that is not there"),
    ]


def _show_navigation(line: str) -> None:
    if match := _BEFORE_NAVIGATE.fullmatch(line.rstrip()):
        outcome = "cancelled by the plug-in" if match[2] == "1" else "left to the browser"
        print(f"  navigation to {match[1]}: {outcome}", flush=True)


def _show_launches(stage: Stage, over: threading.Event) -> None:
    shown = 0
    while not over.wait(_LOOK_S):
        for launch in stage.launches()[shown:]:
            print(f"  LaunchFolivo.exe was started with: {launch}", flush=True)
            shown += 1


def _browse(stage: Stage) -> int:
    """Runs the browser until its window is closed; gives its exit code."""
    browser = subprocess.Popen(
        wine.command(stage.tools / "browser_host.exe"),
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        text=True,
        cwd=wine.unix_path(LESSONS),
    )
    over = threading.Event()
    threading.Thread(target=_show_launches, args=(stage, over), daemon=True).start()
    try:
        assert browser.stdout
        for line in browser.stdout:
            _show_navigation(line)
        return browser.wait()
    finally:
        over.set()
        if browser.poll() is None:
            browser.kill()
            browser.wait()


def _play(stage: Stage) -> int:
    Lesson("Local Lesson.folivo", _MEGABYTE, seed=7).write(
        wine.unix_path(LESSONS) / "Local Lesson.folivo"
    )
    addresses = _serve(stage.server)
    if (code := stage.register()) != 0:
        raise DemoError(f"regsvr32 ended with exit code {code}")
    print("Type one of these into the browser's address bar; close the browser to end.")
    width = max(len(address) for address, _ in addresses)
    for address, what in addresses:
        print(f"  {address:<{width}}  {what}")
    print(f"Its drive C: is {wine.unix_path(LESSONS).parent}", flush=True)
    code = _browse(stage)
    if code == _NO_WINDOW:
        raise DemoError(f"no window can be opened on the display {os.environ['DISPLAY']}")
    if code != 0:
        raise DemoError(f"the browser ended with exit code {code}")
    return code


def main() -> int:
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    build, output = Path(sys.argv[1]), Path(sys.argv[2])
    output.mkdir(parents=True, exist_ok=True)
    with (output / "interactive.log").open("wb", buffering=0) as log:
        try:
            server = LessonServer(log)
            try:
                return _play(Stage(build, output, server, log))
            finally:
                server.close()
        except DemoError as error:
            sys.exit(f"demo: {error}")


if __name__ == "__main__":
    sys.exit(main())
