#!/usr/bin/env python3
"""The installer under Wine's own, in a Wine prefix of its own: installer_test.py BUILD_DIR

What Wine's installer cannot show, so that it is looked at on Windows before a release
(docs/release.md):
- elevation, and the refusal without it; a 32-bit system; Group Policy; the dialogs for files in use
  and the restart manager that closes programs.
- The old version coming back when an upgrade fails: Wine removes it in a transaction of its own.
- A feature brings the one above it: here both are named.
- Features chosen earlier are kept at an upgrade: Wine has no MigrateFeatureStates.
- The folder chosen earlier is found by itself at repair and removal: here INSTALLFOLDER names it.
- The Condition table is not read beside ADDLOCAL; 32-bit Windows answers 1633; who may write where.
- Another package of the same version is refused (1638).
- msiexec /f: here its long form, msiexec /i with REINSTALL.
- Removal takes the separator out of PATH, too, and the maker's empty folder away: Wine leaves both.
A restart is Wine's: wineboot carries out what was put off until then.
"""

import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(sys.argv.pop()).resolve()
os.environ["WINEPREFIX"] = str(ROOT / "build/wine/package")
os.environ.pop("WINEPATH", None)
sys.path.insert(0, str(ROOT / "tools" / "demo"))

import packages  # noqa: E402
import wine  # noqa: E402
from browser import Browser  # noqa: E402
from dialogs import Dialogs  # noqa: E402
from lesson_server import LessonServer  # noqa: E402
from lessons import Lesson, digest_of  # noqa: E402

TOOLS = BUILD / "tools"
DRIVE = wine.PREFIX / "drive_c"
FOLDER = DRIVE / "Program Files/MERLO Technologies/Folivo Plugin"
NEWER = "1.2.0.0"
# Exit codes, as far as they leave Wine: the low byte.
DONE, FATAL, RESTART_NEEDED = 0, 1603 & 0xFF, 3010 & 0xFF
ENVIRONMENT = r"HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Session Manager\Environment"
HELPERS = r"Microsoft\Windows\CurrentVersion\Explorer\Browser Helper Objects"
POLICIES = r"Microsoft\Internet Explorer\Low Rights\ElevationPolicy"
MAKERS_KEY = r"HKLM\Software\Wow6432Node\MERLO Technologies"
INSTALL_INFORMATION = MAKERS_KEY + r"\Folivo Software\Install Information"
TIMEOUT_S = 10
OK, SAVE, ENTRY_LINE, FILE_NAME = 1, 7, 211, 1148  # controls of dialogs
# The installer's own notes of what is installed; everything else is ours to answer for.
BOOKKEEPING = (
    r"hkey_local_machine\software\classes\installer",
    r"hkey_local_machine\software\microsoft\windows\currentversion\installer",
)
PROGRAMS_KEY = r"hkey_local_machine\software\microsoft\windows\currentversion\uninstall"
# What users and other products have, in the places where we write, too.
OTHERS_KEYS = [
    rf"HKLM\Software\{HELPERS}\{{11111111-0000-4000-8000-000000000001}}",
    rf"HKLM\Software\{POLICIES}\{{11111111-0000-4000-8000-000000000002}}",
    r"HKLM\Software\Classes\Wow6432Node\Interface\{11111111-0000-4000-8000-000000000003}",
    r"HKLM\Software\Classes\FolivoDownloadPlugin.Other",
]
OTHERS_FILES = [
    "users/Public/Documents/Folivo/Collections/Birds.gallery",
    "users/Public/Temp/MERLO Technologies/MERLO Folivo/TempFiles/Rivers.folivo",
]
LIST_ARCHIVE = """
new ActiveXObject("FolivoDownloadPlugin.ZipDownloadHelpe").DownloadFile(WScript.Arguments(0));
"""


def wineserver(option):
    quiet = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    subprocess.run(["/usr/lib/wine/wineserver64", option], check=False, **quiet)


def start_prefix():
    """A prefix as new, with a desktop: the program that starts one keeps its output open."""
    stop_prefix()
    shutil.rmtree(wine.PREFIX, ignore_errors=True)
    shutil.copytree(ROOT / "build/wine/template", wine.PREFIX, symlinks=True)
    wineserver("-p60")  # seconds: it ends even if nobody stops it
    quiet = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    minutes = str(15 * 60 * 1000)
    # Waits for what never comes; as long as it does, the desktop stays.
    holder = subprocess.Popen(wine.command(TOOLS / "dialog_driver.exe", "--timeout", minutes,
                                           "wait-window", "--title", "none"), **quiet)
    unittest.addModuleCleanup(holder.wait)
    unittest.addModuleCleanup(stop_prefix)
    subprocess.run(wine.command("rundll32", "user32.dll,GetDesktopWindow"), check=True, **quiet)


def stop_prefix():
    wineserver("-k")
    wineserver("-w")


def setUpModule():
    global older, newer, work
    work = pathlib.Path(unittest.enterModuleContext(tempfile.TemporaryDirectory()))
    start_prefix()
    older, newer = (packages.make(BUILD, work, version) for version in (packages.VERSION, NEWER))
    for key in OTHERS_KEYS:
        wine.set_registry_text(key, "", "of others")
    for name in OTHERS_FILES:
        (DRIVE / name).parent.mkdir(parents=True)
        (DRIVE / name).write_text("of others")
    installed_version()  # the script host registers itself when it runs first


def msiexec(option, package, *properties, silent="/qn"):
    """Gives the exit code; the log says more."""
    return wine.run("msiexec", option, wine.windows_path(package), silent, "/l*v",
                    wine.windows_path(work / "msi.log"), *properties)[0]


def registry():
    """The machine's software and environment, each key in lower case, without the bookkeeping."""
    found = wine.read_registry(TOOLS / "registry_saver.exe")
    saved = work / "environment.txt"
    code, _ = wine.run(TOOLS / "registry_saver.exe", ENVIRONMENT, wine.windows_path(saved))
    assert code == 0, code
    values = [line for line in saved.read_text().splitlines() if line.startswith('"')]
    found[ENVIRONMENT] = frozenset(re.sub(';+("?)', r";\1", line).replace(';"', '"')
                                   for line in values)
    saved.unlink()
    return {key.lower(): values for key, values in found.items()
            if not key.lower().startswith(BOOKKEEPING)}


def path():
    """The machine's search path, as a new process has it."""
    return wine.run("cmd", "/c", "echo %PATH%")[1].strip()


def files():
    """All files and folders of drive C: with their sizes and times."""
    found = {}
    for file in sorted(DRIVE.rglob("*")):
        name = str(file.relative_to(DRIVE))
        if not name.startswith(("windows/Installer", "windows/temp", "users/root/Temp/MSI")):
            status = file.lstat()
            found[name] = "folder" if file.is_dir() else (status.st_size, status.st_mtime_ns)
    if FOLDER.parent.is_dir() and not any(FOLDER.parent.iterdir()):
        FOLDER.parent.rmdir()  # see above
        del found[str(FOLDER.parent.relative_to(DRIVE))]
    return found


def everything():
    return registry(), files()


def difference(left, right):
    """What is in `left` and is not, or is not the same, in `right`."""
    return {key: values - right[key] if isinstance(values, frozenset) and key in right else values
            for key, values in left.items() if right.get(key) != values}


def script(source, *arguments):
    """The command that runs a page's script in the system's script host."""
    file = work / "script.js"
    file.write_text(source)
    return ["cscript", "//nologo", wine.windows_path(file), *arguments]


def installed_version():
    return wine.run(*script("WScript.Echo(new ActiveXObject("
                            "'FolivoDownloadPlugin.VersionHelper').Version)"))[1].strip()


class InstallerTest(unittest.TestCase):
    maxDiff = 3000

    def setUp(self):
        self.addCleanup(self.remove_all)

    def remove_all(self):
        for package in (newer, older):
            # The installer keeps a copy of what is installed.
            if any((DRIVE / "windows/Installer").glob("*.msi")):
                msiexec("/x", package)

    def assert_same(self, expected):
        for now, then in zip(everything(), expected):
            self.assertEqual((difference(now, then), difference(then, now)), ({}, {}))

    def install(self, package, *properties):
        self.assertEqual(msiexec("/i", package, *properties), DONE)

    def browser(self):
        log = self.enterContext((work / "browser.log").open("ab", buffering=0))
        return Browser(TOOLS, DRIVE, log)

    def test_registry_is_as_regsvr32_writes_it_and_removal_leaves_nothing(self):
        before = everything()
        software = before[0]
        dll = wine.windows_path(BUILD / "FolivoPlugin.dll")
        self.assertEqual(wine.run("regsvr32", "/s", dll)[0], 0)
        registered = difference(registry(), software)
        self.assertEqual(wine.run("regsvr32", "/s", "/u", dll)[0], 0)
        self.install(older)
        added = difference(registry(), software)
        self.assertEqual(len(added.pop(ENVIRONMENT.lower())), 1)  # the search path
        code = packages.installer.identifier("product", packages.VERSION)
        self.assertLessEqual({f'"DisplayVersion"="{packages.VERSION}"',
                              '"Publisher"="MERLO Technologies"',
                              '"HelpLink"="https://merlo-downloads.example/folivo-plugin"'},
                             added.pop(f"{PROGRAMS_KEY}\\{code}".lower()))

        def neutral(keys, folder):
            folder = folder.replace("\\", "\\\\")
            return {key: {value.replace(folder, "FOLDER").replace('FOLDER\\\\"', 'FOLDER"')
                          for value in values} for key, values in keys.items()}

        expected = neutral(registered, wine.windows_path(BUILD))
        # Wine notes that the library was read from a file; Windows does not.
        library = next(key for key in expected if key.endswith(r"\1.0\flags"))
        self.assertEqual(expected[library], {'@="8"'})
        expected[library] = {'@="0"'}
        self.assertEqual(
            neutral(added, r"C:\Program Files\MERLO Technologies\Folivo Plugin"), expected)
        self.assertEqual(msiexec("/x", older), DONE)
        self.assert_same(before)

    def test_same_version_changes_nothing_and_repair_restores(self):
        self.install(older)
        installed = everything()
        self.install(older)
        self.assert_same(installed)
        digest = digest_of(FOLDER / "FolivoPlugin.dll")
        (FOLDER / "FolivoPlugin.dll").unlink()
        wine.run("reg", "delete", r"HKCR\CLSID\{D2F43197-BF77-45A1-ACA4-5A9BEDF67FB0}", "/f")
        self.assertNotEqual(installed_version(), packages.VERSION)
        # Of keys that the scripts remove first, only what they write is left.
        wine.set_registry_text(r"HKCR\CLSID\{635046B4-7B72-43B0-85F7-D720FBFC9903}\Old", "", "x")
        self.install(older, "REINSTALL=ALL", "REINSTALLMODE=omus")
        repaired = registry()
        self.assertEqual((difference(repaired, installed[0]), difference(installed[0], repaired)),
                         ({}, {}))
        self.assertEqual(digest_of(FOLDER / "FolivoPlugin.dll"), digest)

    def test_upgrade_is_one_step_and_downgrade_is_refused(self):
        before = everything()
        folder = r"C:\Add-on"
        self.install(older, f"INSTALLFOLDER={folder}")
        self.assertEqual(installed_version(), packages.VERSION)
        self.install(newer)
        self.assertEqual(installed_version(), NEWER)
        self.assertTrue((DRIVE / "Add-on/FolivoPlugin.dll").exists())
        self.assertFalse(FOLDER.exists())
        self.assertEqual(path().count("Collections"), 1)
        upgraded = everything()
        code = packages.installer.identifier("product", NEWER)
        self.assertEqual({key for key in difference(upgraded[0], before[0])
                          if key.startswith(PROGRAMS_KEY)}, {f"{PROGRAMS_KEY}\\{code}".lower()})

        # With a user to read the reason, and without.
        process = subprocess.Popen(wine.command("msiexec", "/i", wine.windows_path(older), "/qb"),
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        dialogs = Dialogs(TOOLS / "dialog_driver.exe", None)
        message = dialogs.wait("Install Failed")
        texts = " ".join(control.text for control in dialogs.controls(message))
        self.assertIn("A newer version of MERLO Folivo Download Utility is installed.", texts)
        dialogs.click(message, OK)
        self.assertEqual(process.wait(TIMEOUT_S), FATAL)
        self.assertEqual(msiexec("/i", older), FATAL)
        self.assert_same(upgraded)
        self.assertEqual(msiexec("/x", newer, f"INSTALLFOLDER={folder}"), DONE)
        self.assert_same(before)

    def test_features_are_chosen_by_properties(self):
        before = everything()
        self.install(older, "ADDLOCAL=AddOn")
        self.assertFalse((FOLDER / "Collections").exists())
        self.assertNotIn("Collections", path())
        self.install(older, "ADDLOCAL=Collections")
        self.assertTrue((FOLDER / "Collections/UNZIP32-LICENSE.txt").exists())
        self.assertTrue(path().endswith(r"\Folivo Plugin\Collections" "\\"))
        self.install(older, "REMOVE=Collections")
        self.assertFalse((FOLDER / "Collections").exists())
        self.assertEqual(msiexec("/x", older), DONE)
        self.assert_same(before)

    def test_elevation_policy_names_the_launchers_folder(self):
        before = everything()

        def policies():
            return [values for key, values in difference(registry(), before[0]).items()
                    if POLICIES.lower() in key]

        self.addCleanup(wine.run, "reg", "delete", MAKERS_KEY, "/f")
        for wish in ("ELEVATIONPOLICY=1", "ADDLOCAL=all"):  # without the application
            self.assertEqual(msiexec("/i", older, wish), FATAL)
            self.assert_same(before)
        self.install(older)
        self.assertEqual(msiexec("/i", older, "ADDLOCAL=ElevationPolicy"), FATAL)
        wine.set_registry_text(INSTALL_INFORMATION, "FolivoExePath", r"C:\Folivo")
        # The installer would not look at it.
        self.assertEqual(msiexec("/i", older, "ELEVATIONPOLICY=1"), FATAL)
        self.assertEqual(policies(), [])
        self.assertEqual(msiexec("/i", older, "ADDLOCAL=ElevationPolicy"), DONE)
        self.assertEqual(len(policies()), 1)
        self.assertEqual(msiexec("/i", older, "ELEVATIONPOLICY=1"), DONE)  # as it is already
        self.assertEqual(msiexec("/x", older), DONE)
        self.assertEqual(policies(), [])
        for properties, folder in [((), None), (("ELEVATIONPOLICY=1",), r"C:\Folivo"),
                                   (("ELEVATIONPOLICY=1", r"LAUNCHERFOLDER=D:\F"), r"D:\F")]:
            with self.subTest(properties):
                self.install(older, *properties)
                self.assertEqual(policies(), [] if not folder else [{
                    '"AppName"="LaunchFolivo.exe"', '"Policy"=dword:00000003',
                    '"AppPath"="{}"'.format(folder.replace("\\", "\\\\"))}])
                self.assertEqual(msiexec("/x", older), DONE)

    def test_failed_installation_leaves_nothing(self):
        before = everything()
        # Where no folder can be made; a full disk ends the same way.
        for properties in ([r"INSTALLFOLDER=Z:\proc\Add-on"], ["ALLUSERS="]):
            with self.subTest(properties):
                self.assertEqual(msiexec("/i", older, *properties), FATAL)
                self.assert_same(before)

    def test_files_in_use_are_replaced_at_the_restart(self):
        self.install(older)
        browser = self.browser()
        with contextlib.ExitStack() as open_browser:
            open_browser.callback(browser.abandon)
            self.assertEqual(msiexec("/i", newer), RESTART_NEEDED)
            self.assertEqual(installed_version(), packages.VERSION)  # whole, though old
        wine.run("wineboot")
        self.assertEqual(installed_version(), NEWER)
        self.assertEqual(list(FOLDER.glob("*.tmp")), [])

    def test_installed_addon_saves_a_lesson(self):
        self.install(older)
        server = LessonServer(self.enterContext((work / "server.log").open("wb", buffering=0)))
        self.addCleanup(server.close)
        lesson = Lesson("Solar System.folivo", 1_000_000, seed=1)
        saved = DRIVE / lesson.name
        self.addCleanup(saved.unlink)
        browser = self.browser()
        self.addCleanup(browser.abandon)
        browser.go(server.serve_lesson(lesson))
        browser.dialogs.click(browser.dialogs.wait("File Download"), SAVE)
        dialog = browser.dialogs.wait("Save As")
        browser.dialogs.type(dialog, FILE_NAME, rf"C:\{lesson.name}")
        browser.dialogs.click(dialog, OK)
        self.assertTrue(browser.navigation().cancelled)
        self.assertEqual(digest_of(saved), lesson.digest())

    def test_scripts_list_an_archive_by_the_installed_library(self):
        temporary = wine.unix_path(wine.temporary_folder())
        for features, printed in [("AddOn,Collections", ""), ("AddOn", "Couldn't find unzip DLL.")]:
            with self.subTest(features):
                self.install(older, f"ADDLOCAL={features}")
                self.assertEqual(installed_version(), packages.VERSION)
                folder = temporary / "ZDH"
                self.addCleanup(shutil.rmtree, folder, True)
                folder.mkdir(exist_ok=True)
                (folder / "source.zip").write_bytes(b"any file")
                with zipfile.ZipFile(folder / "download.zip", "w") as archive:
                    archive.writestr("Spring Flowers.gallery", bytes(1000))
                process = subprocess.Popen(
                    wine.command(*script(LIST_ARCHIVE, rf"{wine.temporary_folder()}\ZDH\source.zip")),
                    stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
                dialogs = Dialogs(TOOLS / "dialog_driver.exe", None)
                message = dialogs.wait("MERLO Folivo", TIMEOUT_S)
                stages = dialogs.wait("MERLO Folivo Collection Download")
                entry = dialogs.control(stages, ENTRY_LINE).text
                dialogs.click(message, OK)
                output = process.communicate(timeout=TIMEOUT_S)[0].decode()
                self.assertEqual(entry == "Spring Flowers.gallery", not printed)
                self.assertIn(printed, output)
                self.assertEqual(msiexec("/x", older), DONE)


if __name__ == "__main__":
    unittest.main(warnings="ignore")
