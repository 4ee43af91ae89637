"""Plays the scenes one after the other, ends with a table of what was seen, and leaves it as a page
with the pictures.

Usage: demo.py BUILD_FOLDER OUTPUT_FOLDER, in the environment of demo.sh. Exits 0 when everything
was as expected.
"""

import os
import shutil
import signal
import sys
import time
from collections.abc import Callable
from pathlib import Path

import scenes
import script_scenes
from lesson_server import LessonServer
from page import write_page
from registration import Registration
from report import Scene, table, verdict
from stage import Stage
from wine import DemoError

_Play = Callable[[Stage, Scene], None]


def _programme() -> list[tuple[str, _Play]]:
    registration = Registration()
    return [
        ("regsvr32 registers the plug-in", registration.register),
        ("lesson link, Save: a file of 50 MiB", scenes.save_lesson),
        ("lesson link, Open: handed to the launcher", scenes.open_lesson),
        ("lesson link, Cancel in the prompt", scenes.cancel_prompt),
        ("lesson link, Cancel in mid-transfer", scenes.cancel_transfer),
        ("an error document under a lesson's name", scenes.error_document),
        ("a link of another type", scenes.other_type),
        ("a link to insert into Folivo", scenes.insert_link),
        ("gallery link, Save", scenes.gallery_link),
        ("a local lesson, and one that is missing", scenes.local_lesson),
        ("a script asks for the version", script_scenes.version),
        ("a script downloads collections", script_scenes.download_collections),
        ("a script's collections are unzipped", script_scenes.unzip_collections),
        ("a script names a host that is not trusted", script_scenes.untrusted_host),
        ("the sample page of docs/, its button pressed", script_scenes.sample_page),
        ("regsvr32 /u removes the plug-in", registration.unregister),
    ]


def _play(stage: Stage, scene: Scene, play: _Play) -> None:
    """One scene; what goes wrong in it must not hide the others."""
    scene.start()
    before = len(stage.screenshots.taken)
    try:
        play(stage, scene)
    except (DemoError, OSError) as error:
        scene.check("played to its end", True, str(error))
    scene.pictures = list(stage.screenshots.taken.items())[before:]
    scene.end()


def main() -> int:
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    build, output = Path(sys.argv[1]), Path(sys.argv[2])
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    start = time.monotonic()
    with (output / "demo.log").open("wb", buffering=0) as log:
        try:
            server = LessonServer(log)
        except DemoError as error:
            sys.exit(f"demo: {error}")
        try:
            stage = Stage(build, output, server, log)
            played = []
            for number, (title, play) in enumerate(_programme()):
                played.append(Scene(number, title))
                _play(stage, played[-1], play)
        except DemoError as error:
            sys.exit(f"demo: {error}")
        finally:
            server.close()

    print()
    print(table(played))
    print()
    try:
        page = write_page(output, played)
    except OSError as error:
        sys.exit(f"demo: the page of pictures could not be written: {error}")
    print(f"{verdict(played)} ({time.monotonic() - start:.0f} s)")
    count = len(stage.screenshots.taken)
    print(f"The {count} pictures, and what was checked, on one page: {page.resolve().as_uri()}")
    return 0 if all(scene.ok for scene in played) else 1


if __name__ == "__main__":
    sys.exit(main())
