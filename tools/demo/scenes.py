"""The scenes of the demo, one function each: what a user does, and what must come of it."""

import time

import wine
from browser import Browser
from dialogs import Window
from lessons import Lesson, digest_of
from report import Scene
from stage import LESSONS, Stage

MEBIBYTE = 1024 * 1024
_OPEN, _SAVE, _CANCEL = 6, 7, 2  # buttons of the prompt
_OK = 1
_FILE_NAME, _FILE_TYPE = 1148, 1136  # fields of the save dialog
_PROGRESS_TEXT, _PROGRESS_BAR = 207, 205
_PROMPT_TEXT = "Would you like to open or save this Folivo file?"
_NOT_AVAILABLE_TEXT = "The file {} is not available for downloading."
_MISSING_TEXT = "The file {} does not exist. Please verify that the path to the file is valid."
_AT_ONCE_MS = 10000  # the start of the program that clicks included


def _prompt(browser: Browser) -> Window:
    return browser.dialogs.wait("File Download")


def _texts(browser: Browser, window: Window) -> set[str]:
    return {control.text for control in browser.dialogs.controls(window) if control.visible}


def _answer(browser: Browser, button: int) -> None:
    browser.dialogs.click(_prompt(browser), button)


def _save_as(browser: Browser, path: str) -> None:
    dialog = browser.dialogs.wait("Save As")
    browser.dialogs.type(dialog, _FILE_NAME, path)
    browser.dialogs.click(dialog, _OK)


def _progress(browser: Browser) -> Window:
    return browser.dialogs.wait("MERLO Folivo File Download")


def save_lesson(stage: Stage, scene: Scene) -> None:
    lesson = Lesson("Solar System.folivo", 50 * MEBIBYTE, seed=1)
    url = stage.server.serve_lesson(lesson, gated=True)
    # As far as the bar can show it exactly: received * 100 must fit into 31 bits.
    first_part = 21_000_000
    stage.server.allow(url, limit=first_part)
    pictures = stage.screenshots
    with stage.browser() as browser:
        pictures.take("1-browser-window", "the browser", browser.frame)
        browser.go(url)
        prompt = _prompt(browser)
        texts = _texts(browser, prompt)
        scene.check("texts of the prompt", {_PROMPT_TEXT, "Open", "Save", "Cancel"}, texts - {""})
        pictures.take("2-prompt", "the open-or-save prompt", browser.frame, prompt)
        _answer(browser, _SAVE)

        dialog = browser.dialogs.wait("Save As")
        offered = browser.dialogs.control(dialog, _FILE_NAME).text
        scene.check("name offered by the save dialog", lesson.name, offered)
        pictures.take("3-save-dialog", "the save dialog for a lesson", browser.frame, dialog)
        _save_as(browser, rf"{LESSONS}\{lesson.name}")

        progress = _progress(browser)
        text = browser.dialogs.control(progress, _PROGRESS_TEXT).text
        scene.check("the progress dialog says", f"Downloading {lesson.name}", text)
        percent = first_part * 100 // lesson.size
        bar = browser.dialogs.wait_progress(progress, _PROGRESS_BAR, percent)
        scene.check("its bar while the server waits", f"{percent} of 100", f"{bar} of 100")
        shows = "the progress dialog in mid-transfer"
        pictures.take("4-progress-dialog", shows, browser.frame, progress)
        stage.server.allow(url)
        browser.dialogs.wait_gone(progress)
        scene.check("browser's navigation cancelled", True, browser.navigation().cancelled)
    saved = wine.unix_path(LESSONS) / lesson.name
    size = saved.stat().st_size if saved.is_file() else "no file"
    scene.check("size of the saved file", f"{lesson.size} bytes", f"{size} bytes")
    scene.check("its SHA-256", lesson.digest(), digest_of(saved))
    scene.check("who has asked the server", "plug-in", stage.server.askers(url))
    scene.check("temporary files left", set(), stage.temp_files())


def open_lesson(stage: Stage, scene: Scene) -> None:
    lesson = Lesson("Plant Cells.qdk", 3 * MEBIBYTE, seed=2)
    url = stage.server.serve_lesson(lesson)
    launches = len(stage.launches())
    with stage.browser() as browser:
        browser.go(url)
        _answer(browser, _OPEN)
        scene.check("browser's navigation cancelled", True, browser.navigation().cancelled)
        started = stage.wait_launches(launches + 1)[launches:]
    path = rf"{stage.temp_folder}\{lesson.name}"
    scene.check("the launcher's command line", path, started[0])
    scene.check("number of launches", 1, len(started))
    scene.check("SHA-256 of that file", lesson.digest(), digest_of(wine.unix_path(started[0])))


def cancel_prompt(stage: Stage, scene: Scene) -> None:
    url = stage.server.serve_lesson(Lesson("Old Castles.fvk", 2 * MEBIBYTE, seed=3))
    before = stage.temp_files() | stage.saved_files()
    launches = stage.launches()
    with stage.browser() as browser:
        browser.go(url)
        _answer(browser, _CANCEL)
        scene.check("browser's navigation cancelled", True, browser.navigation().cancelled)
        scene.check("windows left", [], browser.windows())
    after = stage.temp_files() | stage.saved_files()
    scene.check("files stored", set(), after - before)
    scene.check("launches", 0, len(stage.launches()) - len(launches))


def cancel_transfer(stage: Stage, scene: Scene) -> None:
    lesson = Lesson("Rivers of Europe.folivo", 16 * MEBIBYTE, seed=4)
    url = stage.server.serve_lesson(lesson, gated=True)
    first_part = 10_000_000
    stage.server.allow(url, limit=first_part)
    before = stage.temp_files() | stage.saved_files()
    with stage.browser() as browser:
        browser.go(url)
        _answer(browser, _SAVE)
        _save_as(browser, rf"{LESSONS}\{lesson.name}")
        progress = _progress(browser)
        percent = first_part * 100 // lesson.size
        bar = browser.dialogs.wait_progress(progress, _PROGRESS_BAR, percent)
        scene.check("bar while the server is silent", f"{percent} of 100", f"{bar} of 100")
        partial = len(stage.temp_files() - before)
        scene.check("temporary files during the transfer", 1, partial)

        start = time.monotonic()
        browser.dialogs.click(progress, _CANCEL)
        navigation = browser.navigation()
        elapsed_ms = (navigation.time - start) * 1000
        browser.dialogs.wait_gone(progress)
        scene.check_that(
            "from the click to the dialog's end",
            f"under {_AT_ONCE_MS} ms",
            f"{elapsed_ms:.0f} ms",
            elapsed_ms < _AT_ONCE_MS,
        )
        scene.check("browser's navigation cancelled", True, navigation.cancelled)
        sent = stage.server.requests(url)[0]["body_sent"]
        scene.check("bytes the server had sent by then", first_part, sent)
        after = stage.temp_files() | stage.saved_files()
        scene.check("files left", set(), after - before)

        stage.server.allow(url)
        stage.server.wait(url, "ended")
        browser.wait_idle()
        after = stage.temp_files() | stage.saved_files()
        scene.check("files left once the server goes on", set(), after - before)


def _message(browser: Browser, scene: Scene, what: str, text: str) -> Window:
    """Waits for a message of the plug-in, which must be the given one."""
    message = browser.dialogs.wait("MERLO Folivo")
    scene.check(what, {text}, _texts(browser, message) - {"OK", ""})
    return message


def error_document(stage: Stage, scene: Scene) -> None:
    page = [{"text": "<!DOCTYPE html><html><body><h1>Ask your teacher.</h1></body></html>"}]
    url = stage.server.serve("/lessons/Moved.folivo", "text/html", body=page)
    before = stage.temp_files()
    with stage.browser() as browser:
        browser.go(url)
        # A prompt would hold this up, as nobody is there to answer it.
        scene.check("browser's navigation cancelled", False, browser.navigation().cancelled)
        browser.wait_idle()
        scene.check("windows besides the browser's", [], browser.windows())
        scene.check("who has asked the server", "plug-in, browser", stage.server.askers(url))

        url = stage.server.serve("/lessons/Gone.folivo", "text/html", status=404, body=page)
        browser.go(url)
        message = _message(browser, scene, "message for 404", _NOT_AVAILABLE_TEXT.format(url))
        shows = "the message for 404"
        stage.screenshots.take("5-not-available-message", shows, browser.frame, message)
        browser.dialogs.click(message, _OK)
        scene.check("navigation to it cancelled", False, browser.navigation().cancelled)
    scene.check("temporary files left", set(), stage.temp_files() - before)


def other_type(stage: Stage, scene: Scene) -> None:
    picture = [{"pattern": {"seed": 5, "length": 20_000}}]
    url = stage.server.serve("/pictures/Garden.png", "image/png", body=picture)
    with stage.browser() as browser:
        browser.go(url)
        scene.check("browser's navigation cancelled", False, browser.navigation().cancelled)
        browser.wait_idle()
        scene.check("windows besides the browser's", [], browser.windows())
    scene.check("who has asked the server", "browser", stage.server.askers(url))


def insert_link(stage: Stage, scene: Scene) -> None:
    path = "/media/Volcano.jpg"
    url = stage.server.serve(path, "image/jpeg", body=[{"text": "picture"}]) + "?insertinfolivo=1"
    launches = len(stage.launches())
    before = stage.temp_files()
    with stage.browser() as browser:
        browser.go(url)
        scene.check("browser's navigation cancelled", True, browser.navigation().cancelled)
        started = stage.wait_launches(launches + 1)[launches:]
    new = stage.temp_files() - before
    scene.check("new file", {"File.url"}, new)
    shortcut = rf"{stage.temp_folder}\File.url"
    scene.check("the launcher's command line", f"/insertinfolivo:{shortcut}", started[0])
    expected = b"[InternetShortcut]\r\nURL=" + url.encode()
    file = wine.unix_path(shortcut)
    scene.check("the shortcut's bytes", expected, file.read_bytes() if file.exists() else None)
    scene.check("who has asked the server", "nobody", stage.server.askers(stage.server.url(path)))


def gallery_link(stage: Stage, scene: Scene) -> None:
    gallery = Lesson("Map Symbols.gallery", 4 * MEBIBYTE, seed=6)
    url = stage.server.serve_lesson(gallery, folder="/galleries")
    with stage.browser() as browser:
        browser.go(url)
        _answer(browser, _SAVE)
        dialog = browser.dialogs.wait("Save As")
        chosen = browser.dialogs.control(dialog, _FILE_TYPE).text
        expected = "Gallery Files (*.gallery;*.galleryitem;*.qdc;*.qdt;*.qdi)"
        scene.check("file type in the save dialog", expected, chosen)
        shows = "the save dialog for a gallery"
        stage.screenshots.take("6-save-dialog-gallery", shows, browser.frame, dialog)
        _save_as(browser, rf"{LESSONS}\My Symbols")
        scene.check("browser's navigation cancelled", True, browser.navigation().cancelled)
    saved = wine.unix_path(LESSONS) / "My Symbols.gallery"
    scene.check("extension added to \"My Symbols\"", True, saved.is_file())
    scene.check("the file's SHA-256", gallery.digest(), digest_of(saved))


def local_lesson(stage: Stage, scene: Scene) -> None:
    lesson = Lesson("Local Lesson.folivo", MEBIBYTE, seed=7)
    lesson.write(wine.unix_path(LESSONS) / lesson.name)
    path = rf"{LESSONS}\{lesson.name}"
    missing = rf"{LESSONS}\Lost Lesson.folivo"
    launches = len(stage.launches())
    with stage.browser() as browser:
        browser.go(path)
        _answer(browser, _OPEN)
        scene.check("browser's navigation cancelled", True, browser.navigation().cancelled)
        started = stage.wait_launches(launches + 1)[launches:]
        scene.check("the launcher's command line", path, started[0])

        browser.go(missing)
        expected = _MISSING_TEXT.format(missing)
        message = _message(browser, scene, "message for a missing file", expected)
        shows = "the message for a missing file"
        stage.screenshots.take("7-missing-file-message", shows, browser.frame, message)
        browser.dialogs.click(message, _OK)
        scene.check("navigation to it cancelled", False, browser.navigation().cancelled)
    scene.check("launches for it", 0, len(stage.launches()) - launches - 1)
