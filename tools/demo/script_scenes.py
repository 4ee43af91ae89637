"""The scenes in which a page's script uses the controls."""

import io
import zipfile
from contextlib import contextmanager
from collections.abc import Iterator
from pathlib import Path

import wine
from report import Scene
from script_host import ScriptHost
from stage import Stage

_HOST = "folivo-schools.example"
_OTHER_HOST = "elsewhere.example"
_OK = 1
_STAGE_LINE, _DETAIL_LINE, _PROGRESS_BAR = 210, 211, 212
_TITLE = "MERLO Folivo Collection Download"
_CANNOT_UNZIP_TEXT = "Could not unzip the Folivo Collections file."
_MISSING_TEXT = (
    "The Folivo Collection file that you are trying to download does not exist. "
    "Please verify that the path to the file is valid."
)
_RETURNED = "DownloadFile returned undefined"
_VERSION_SCRIPT = """
var control = new ActiveXObject("FolivoDownloadPlugin.VersionHelper");
WScript.Echo(control.Version);
"""
_DOWNLOAD_SCRIPT = """
var control = new ActiveXObject("FolivoDownloadPlugin.ZipDownloadHelpe");
var result = control.DownloadFile(WScript.Arguments(0));
WScript.Echo("DownloadFile returned " + result);
"""

_SAMPLE_PAGE = Path(__file__).parents[2] / "docs" / "sample-page.html"
# Wine has no HTML engine: what a page's script sees of its page, and a user who presses the button.
_SAMPLE_USER = """
var parts = {};
var page = { getElementById: function (id) {
  return parts[id] = parts[id] || { innerText: "", disabled: true, focus: function () {} };
} };
startPage(page, createControl, function (call) { call(); });
WScript.Echo("Version: " + parts.version.innerText);
WScript.Echo("Collections: " + parts.collections.innerText);
WScript.Echo("Button: " + (parts.download.disabled ? "off" : "on"));
for (var i = 0; i < WScript.Arguments.length; i++) {
  page.getElementById("address").value = WScript.Arguments(i);
  parts.form.onsubmit();
  WScript.Echo("Result: " + parts.result.innerText);
}
"""


def _archive() -> bytes:
    """Collections as a site offers them; so large that the progress can be seen."""
    data = io.BytesIO()
    with zipfile.ZipFile(data, "w") as archive:
        archive.writestr("Garden Birds.gallery", bytes(range(256)) * 300)
        archive.writestr("Spring Flowers.gallery", bytes(range(256)) * 200)
        archive.writestr(
            "manifest.xml",
            '<Collections><DownloadedFile Filename="Garden Birds.gallery"'
            ' Destination="Biology"/></Collections>',
        )
    return data.getvalue()


@contextmanager
def _download(stage: Stage, *sources: str, script: str = _DOWNLOAD_SCRIPT) -> Iterator[ScriptHost]:
    host = ScriptHost(stage.build, "download.js", script, *sources)
    try:
        yield host
    finally:
        host.abandon()


def _archive_path(stage: Stage) -> str:
    return stage.windows_temp + r"\ZDH\download.zip"


def _dismiss(script: ScriptHost, scene: Scene, text: str):
    """Waits for the plug-in's message and presses OK; gives it."""
    message = script.dialogs.wait("MERLO Folivo")
    texts = {control.text for control in script.dialogs.controls(message) if control.visible}
    scene.check("the message", {text}, texts - {"OK", ""})
    return message


def version(stage: Stage, scene: Scene) -> None:
    script = ScriptHost(stage.build, "version.js", _VERSION_SCRIPT)
    scene.check("version that a script is told", [stage.version], script.finish())


def download_collections(stage: Stage, scene: Scene) -> None:
    body = _archive()
    path = "/collections/Nature.zip"
    local = stage.server.serve_bytes(path, body, gated=True)
    first_part = 60_000
    stage.server.allow(local, limit=first_part)
    with _download(stage, stage.server.named_url(_HOST, path)) as script:
        stage.server.wait(local, "bytes", bytes=first_part)
        dialog = script.dialogs.wait(_TITLE)
        # The dialog answers nobody now: it waits for the server.
        shows = "the collection dialog in mid-transfer"
        stage.screenshots.take("8-collection-dialog", shows, dialog)
        stage.server.allow(local)
        message = _dismiss(script, scene, _CANNOT_UNZIP_TEXT)
        stage_line = script.dialogs.control(dialog, _STAGE_LINE).text
        scene.check("stage shown", "Retrieving downloaded collections to unzip...", stage_line)
        shows = "a downloaded archive is still open, so it cannot be unzipped"
        stage.screenshots.take("9-collection-message", shows, dialog, message)
        script.dialogs.click(message, _OK)
        printed = script.finish()
        # Among what the unzip library has to say.
        scene.check("what the script got", True, _RETURNED in printed)
        scene.check("the unzip library's answer", True, "Problem unzipping: 9" in printed)
    scene.check("requests at the server", 1, len(stage.server.requests(local)))
    archive = wine.unix_path(_archive_path(stage))
    scene.check("the archive is left", False, archive.exists())


def unzip_collections(stage: Stage, scene: Scene) -> None:
    archive = wine.unix_path(_archive_path(stage))
    archive.parent.mkdir(exist_ok=True)
    archive.write_bytes(_archive())
    source = rf"{stage.windows_temp}\Nature.zip"
    wine.unix_path(source).write_bytes(b"any file")
    with _download(stage, source) as script:
        dialog = script.dialogs.wait(_TITLE)
        message = _dismiss(script, scene, _CANNOT_UNZIP_TEXT)
        texts = [
            script.dialogs.control(dialog, control).text for control in (_STAGE_LINE, _DETAIL_LINE)
        ]
        expected = ["Unzipping Folivo Collections...", "Spring Flowers.gallery"]
        scene.check("stage and entry shown", expected, texts)
        shows = "the manifest has been read, and that counts as a failure"
        stage.screenshots.take("10-collection-manifest", shows, dialog, message)
        script.dialogs.click(message, _OK)
        script.finish()
    scene.check("the archive is left", False, archive.exists())


def untrusted_host(stage: Stage, scene: Scene) -> None:
    path = "/collections/Untrusted.zip"
    local = stage.server.serve_bytes(path, _archive())
    with _download(stage, stage.server.named_url(_OTHER_HOST, path)) as script:
        message = _dismiss(script, scene, _MISSING_TEXT)
        script.dialogs.click(message, _OK)
        scene.check("what the script got", [_RETURNED], script.finish())
    scene.check("who has asked the server", "nobody", stage.server.askers(local))


def sample_page(stage: Stage, scene: Scene) -> None:
    text = _SAMPLE_PAGE.read_text(encoding="ascii")
    begin, end = text.index("//<![CDATA["), text.index("//]]>")
    path = "/collections/Weather.zip"
    local = stage.server.serve_bytes(path, _archive())
    sources = (stage.server.named_url(_HOST, path), "http://" + "x" * 1000)
    with _download(stage, *sources, script=text[begin:end] + _SAMPLE_USER) as script:
        dialog = script.dialogs.wait(_TITLE)
        message = _dismiss(script, scene, _CANNOT_UNZIP_TEXT)
        shows = "the sample page's button was pressed: the add-on's message comes before the page's"
        stage.screenshots.take("11-sample-page", shows, dialog, message)
        script.dialogs.click(message, _OK)
        printed = script.finish()
    expected = [
        f"Version: Folivo add-on {stage.version} is installed.",
        "Collections: Collections can be downloaded.",
        "Button: on",
        "Result: The download has ended. If there was a message, it says what went wrong.",
        "Result: The address of the archive is longer than 1,000 characters. "
        "Please use a shorter one.",
    ]
    # Among what the unzip library has to say.
    for line in expected:
        scene.check("what the page shows", line, line if line in printed else "\n".join(printed))
    scene.check("requests at the server", 1, len(stage.server.requests(local)))
