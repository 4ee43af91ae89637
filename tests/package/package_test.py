#!/usr/bin/env python3
"""Checks what ./run package makes, without installing it: package_test.py BUILD_DIR"""

import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import unittest.mock
import zipfile

BUILD = pathlib.Path(sys.argv.pop()).resolve()

import packages  # noqa: E402
from packages import ROOT, VERSION, installer  # noqa: E402

import bill_of_materials  # noqa: E402
import package  # noqa: E402
import registration  # noqa: E402
from bill_of_materials import BillError, linked_archives, origins  # noqa: E402

GUID = r"\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\}"


def setUpModule():
    global work, made
    work = pathlib.Path(unittest.enterModuleContext(tempfile.TemporaryDirectory()))
    made = packages.make(BUILD, work)


def rows(file, table):
    """The table's rows as dictionaries, as msiinfo reads them."""
    text = subprocess.run(["msiinfo", "export", file, table], capture_output=True, check=True,
                          encoding="ascii", cwd=work).stdout  # which gets the tables' streams
    names, _, _, *lines = text.replace("\r", "").splitlines()
    return [dict(zip(names.split("\t"), line.split("\t"))) for line in lines]


def property_of(file, name):
    return next(row["Value"] for row in rows(file, "Property") if row["Property"] == name)


def package_code(file):
    text = subprocess.run(["msiinfo", "suminfo", file], capture_output=True, check=True,
                          encoding="utf-8").stdout
    return re.search(r"UUID\): (.*)", text)[1]


class InstallerTablesTest(unittest.TestCase):
    def test_registry_rows_are_what_the_scripts_write(self):
        found = {(row["Root"], row["Key"], row["Name"], row["Value"], row["Component_"])
                 for row in rows(made, "Registry")}
        helpers = (r"SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\Browser Helper Objects"
                   r"\{69402495-68F6-4342-B726-0659FADD1883}")
        class_key = r"CLSID\{635046B4-7B72-43B0-85F7-D720FBFC9903}"
        interface = r"Interface\{6890EACC-1DC3-42D8-8C69-0848A8B3B392}"
        for row in [
                ("2", helpers, "", "MERLO Folivo Download Utility", "AddOn"),
                ("2", helpers, "-", "", "AddOn"),
                ("0", class_key, "-", "", "AddOn"),
                ("0", class_key + r"\Programmable", "+", "", "AddOn"),
                ("0", class_key + r"\InprocServer32", "", "[#FolivoPlugin.dll]", "AddOn"),
                ("0", interface, "-", "", "AddOn32"),
                ("0", interface + r"\TypeLib", "Version", "1.0", "AddOn32")]:
            self.assertIn(row, found)
        # Nothing that others use, too, goes with us.
        removed = {key for _, key, name, _, _ in found if name == "-"}
        self.assertEqual({key for key in removed if not re.search(GUID + "$", key)
                          and not key.startswith("FolivoDownloadPlugin.")}, set())

    def test_keys_that_scripts_remove_first_are_removed_first(self):
        removed = {row["Key"].rpartition("\\")[0] for row in rows(made, "RemoveRegistry")}
        self.assertEqual({key.rpartition("\\")[2] for key in removed},
                         {"CLSID", "Browser Helper Objects"})
        self.assertEqual(len(rows(made, "RemoveRegistry")), 4)

    def test_components_are_of_64_bits_but_one(self):
        narrow = {row["Component"] for row in rows(made, "Component")
                  if not int(row["Attributes"]) & 256}
        self.assertEqual(narrow, {"AddOn32"})
        self.assertTrue(all(re.fullmatch(GUID, row["ComponentId"])
                            for row in rows(made, "Component")))

    def test_no_code_runs_at_installation(self):
        self.assertEqual({row["Type"] for row in rows(made, "CustomAction")}, {"51"})
        self.assertEqual(rows(made, "Binary"), [])
        actions = {row["Action"] for row in rows(made, "InstallExecuteSequence")}
        self.assertFalse(actions & {"SelfRegModules", "RegisterTypeLibraries"})

    def test_actions_come_in_an_order_that_can_be_taken_back(self):
        place = {row["Action"]: int(row["Sequence"])
                 for row in rows(made, "InstallExecuteSequence")}
        for order in [
                "FindRelatedProducts AppSearch KeepFormerFolder LaunchConditions CostInitialize",
                "InstallInitialize RemoveExistingProducts RemoveFiles InstallFiles InstallFinalize",
                "RemoveRegistryValues WriteRegistryValues", "CostFinalize MigrateFeatureStates",
                "RemoveEnvironmentStrings WriteEnvironmentStrings"]:
            numbers = [place[action] for action in order.split()]
            self.assertEqual(numbers, sorted(numbers), order)
        shown = {row["Action"] for row in rows(made, "InstallUISequence")}
        self.assertLessEqual({"FindRelatedProducts", "LaunchConditions"}, shown)

    def test_single_rows(self):
        for table, expected in [
                ("Environment", {"Name": "=-*PATH", "Value": "[~];[UnzipFolder]",
                                 "Component_": "Unzip"}),
                ("Upgrade", {"VersionMin": VERSION, "Attributes": "2",
                             "ActionProperty": "NEWERFOUND"}),
                ("Upgrade", {"VersionMax": VERSION, "Attributes": "257",
                             "ActionProperty": "OLDERFOUND"}),
                ("LaunchCondition", {"Condition": "VersionNT64"}),
                ("LaunchCondition", {"Condition": "Installed OR NOT NEWERFOUND"}),
                ("Feature", {"Feature": "AddOn", "Level": "1", "Attributes": "24"}),
                ("Feature", {"Feature": "Collections", "Level": "1"}),
                ("Feature", {"Feature": "ElevationPolicy", "Level": "1000"}),
                ("File", {"File": "FolivoPlugin.dll", "Version": VERSION}),
                ("Property", {"Property": "ALLUSERS", "Value": "1"}),
                ("Property", {"Property": "MSIRESTARTMANAGERCONTROL", "Value": "Disable"}),
                ("Component", {"Component": "ElevationPolicy", "Condition": "LAUNCHERFOLDER"}),
                ("InstallExecuteSequence", {"Action": "MigrateFeatureStates",
                                            "Condition": "NOT ELEVATIONPOLICY"}),
                ("Property", {"Property": "ARPPRODUCTICON", "Value": "folivo.ico"}),
                ("Icon", {"Name": "folivo.ico"}),
                ("_SummaryInformation", {"PropertyId": "7", "Value": "x64;1033"})]:
            with self.subTest(table=table, **expected):
                self.assertTrue(any(expected.items() <= row.items() for row in rows(made, table)))


class InstallerIdentityTest(unittest.TestCase):
    def make(self, name, *arguments, **changes):
        folder = work / name
        folder.mkdir()
        return packages.make(BUILD, folder, *arguments, **changes)

    def test_same_content_gives_the_same_bytes(self):
        with unittest.mock.patch.dict(os.environ, TZ="Asia/Tokyo"):
            again = self.make("again")
        self.assertEqual(again.read_bytes(), made.read_bytes())

    def test_codes_follow_version_and_content(self):
        for name, version, content, same, differs in [
                ("other", VERSION, {"notices": ROOT / "README.md"},
                 ("ProductCode", "UpgradeCode"), ()),
                ("newer", "1.0.1.0", {}, ("UpgradeCode",), ("ProductCode",))]:
            with self.subTest(name):
                other = self.make(name, version, **content)
                self.assertNotEqual(package_code(other), package_code(made))
                for code in same:
                    self.assertEqual(property_of(other, code), property_of(made, code))
                for code in differs:
                    self.assertNotEqual(property_of(other, code), property_of(made, code))

    def test_version_that_the_installer_cannot_compare_is_refused(self):
        for version in ("1.0.0.1", "1.0.0", "1.0.x.0"):
            with self.assertRaisesRegex(installer.InstallerError, "version|fourth"):
                installer.make(ROOT, packages.content(BUILD), version, 0, work / "none.msi")
        self.assertFalse((work / "none.msi").exists())


class ScriptTest(unittest.TestCase):
    def parsed(self, text):
        return list(registration._Script(text, {"MODULE": "[#x]"}).rows())

    def test_scripts_become_rows(self):
        value, own, empty = registration.Value, registration.OwnKey, registration.EmptyKey
        for text, expected in [
                ("HKCR { A = s 'it''s' { val B = s '%MODULE%' } }",
                 [own(0, "A", False), value(0, "A", "", "it's"), value(0, "A", "B", "[#x]")]),
                ("HKLM { NoRemove 'A B' { ForceRemove C { D } } }",
                 [own(2, r"A B\C", True), empty(2, r"A B\C\D")])]:
            with self.subTest(text):
                self.assertEqual(self.parsed(text), expected)

    def test_what_is_not_known_is_an_error(self):
        for text in ("HKCU { A }", "HKCR { A = d '1' }", "HKCR { A = s '%B%' }", "HKCR { A",
                     "HKCR A", "HKCR { val A s 'b' }"):
            with self.subTest(text), self.assertRaises(registration.RegistrationError):
                self.parsed(text)


class BillOfMaterialsTest(unittest.TestCase):
    def test_members_of_archives_count_and_what_is_only_loaded_does_not(self):
        text = ("Archive member included to satisfy reference by file (symbol)\n\n"
                "/deps/lib/libtinyxml.a(x.obj)\n                  /own/libown.a(y.obj) (f)\n"
                "own/libown.a(y.obj)\n   z.obj (g)\n\nDiscarded input sections\n\n"
                "/usr/lib/libnot.a(x.o)\n\nMemory Configuration\n\nLOAD /usr/lib/libnot.a\n")
        self.assertEqual(linked_archives(text), {"/deps/lib/libtinyxml.a", "own/libown.a"})

    def test_archives_of_unknown_origin_are_refused(self):
        deps = pathlib.Path("/deps")
        self.assertEqual(origins({"/deps/lib/libtinyxml.a", "own/libown.a"}, deps), {"tinyxml"})
        for archive in ("/deps/lib/libother.a", "/nowhere/libother.a", "/usr/bin/msiinfo"):
            with self.subTest(archive), self.assertRaises(BillError):
                origins({archive}, deps)

    def test_document_has_what_spdx_requires(self):
        maps = {"FolivoPlugin.dll": (BUILD / "FolivoPlugin.map", None),
                "UNZIP32.DLL": (ROOT / "build/libraries/UNZIP32.map", "unzip")}
        shipped = [bill_of_materials.Shipped(BUILD / name, *rest) for name, rest in maps.items()]
        text = bill_of_materials.make(ROOT, shipped, VERSION, packages.EPOCH)
        self.assertEqual(text, bill_of_materials.make(ROOT, shipped, VERSION, packages.EPOCH))
        document = json.loads(text)
        creation = document["creationInfo"]
        for value, pattern in [
                (document["spdxVersion"], r"SPDX-2\.3"), (document["dataLicense"], r"CC0-1\.0"),
                (document["SPDXID"], "SPDXRef-DOCUMENT"), (document["name"], ".+"),
                (document["documentNamespace"], r"urn:uuid:[-0-9a-f]{36}"),
                (creation["created"], r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ"),
                *((creator, "(Organization|Tool|Person): .+") for creator in creation["creators"])]:
            self.assertRegex(value, f"^{pattern}$")
        known = ["SPDXRef-DOCUMENT"]
        for item in document["packages"] + document["files"]:
            known.append(item["SPDXID"])
            self.assertRegex(item["SPDXID"], r"^SPDXRef-[A-Za-z0-9.-]+$")
            for field in ("licenseConcluded", "copyrightText"):
                self.assertTrue(item[field], item)
            for checksum in item.get("checksums", []):
                length = {"SHA1": 40, "SHA256": 64}[checksum["algorithm"]]
                self.assertRegex(checksum["checksumValue"], f"^[0-9a-f]{{{length}}}$")
        for item in document["packages"]:
            self.assertTrue(item["name"] and item["downloadLocation"] and item["versionInfo"])
        # A package that contains files is analysed, and has the code that follows from them.
        contents = hashlib.sha1("".join(sorted(
            checksum["checksumValue"] for item in document["files"]
            for checksum in item["checksums"] if checksum["algorithm"] == "SHA1")).encode())
        for item in document["packages"]:
            is_product = item["name"] == "FolivoPlugin"
            self.assertIs(item["filesAnalyzed"], is_product)
            self.assertEqual(item.get("packageVerificationCode"),
                             {"packageVerificationCodeValue": contents.hexdigest()}
                             if is_product else None)
        for item in document["files"]:
            self.assertRegex(item["fileName"], r"^\./")
            self.assertIn("SHA1", {checksum["algorithm"] for checksum in item["checksums"]})
        self.assertEqual(len(known), len(set(known)))
        relations = {(row["spdxElementId"].removeprefix("SPDXRef-"), row["relationshipType"],
                      row["relatedSpdxElement"].removeprefix("SPDXRef-"))
                     for row in document["relationships"]}
        for left, _, right in relations:
            self.assertLessEqual({"SPDXRef-" + left, "SPDXRef-" + right}, set(known))
        self.assertIn(("DOCUMENT", "DESCRIBES", "Package-FolivoPlugin"), relations)
        linked = {right for left, kind, right in relations
                  if (left, kind) == ("File-FolivoPlugin.dll", "STATIC_LINK")}
        self.assertLessEqual({"Package-boost1.74", "Package-tinyxml"}, linked)
        self.assertIn(("File-UNZIP32.DLL", "GENERATED_FROM", "Package-unzip"), relations)


class ResultsTest(unittest.TestCase):
    def make(self, name):
        folder = work / name
        steps = package.Package(BUILD, folder, VERSION)
        steps.collect()
        steps.archive()
        steps.checksums()
        return folder / "dist"

    def test_archive_and_checksums_are_the_same_each_time(self):
        first, second = self.make("first"), self.make("second")
        name = f"FolivoPlugin-{VERSION}-x64"
        for file in (f"{name}.zip", "SHA256SUMS"):
            self.assertEqual((first / file).read_bytes(), (second / file).read_bytes())
        subprocess.run(["sha256sum", "--check", "--quiet", "SHA256SUMS"], cwd=first, check=True)
        with zipfile.ZipFile(first / f"{name}.zip") as archive:
            names = {item.filename.removeprefix(name + "/") for item in archive.infolist()}
            plugin = archive.read(f"{name}/FolivoPlugin.dll")
        self.assertEqual(hashlib.sha256(plugin).digest(),
                         hashlib.sha256((BUILD / "FolivoPlugin.dll").read_bytes()).digest())
        self.assertLessEqual(
            {"UNZIP32.DLL", "UNZIP32-LICENSE.txt", "LICENSE.txt", "THIRD_PARTY_NOTICES.md",
             "CHANGELOG.md", "docs/page-authors.md", "symbols/FolivoPlugin.pdb",
             "symbols/FolivoPlugin.dll.debug"}, names)
        shutil.rmtree(first.parent)

    def test_time_is_that_of_the_environment_and_never_too_old(self):
        for text, expected in [("", 315532800), ("12", 315532800), ("1700000000", 1700000000)]:
            with unittest.mock.patch.dict(os.environ, SOURCE_DATE_EPOCH=text):
                self.assertEqual(package.epoch(), expected)
        with unittest.mock.patch.dict(os.environ, SOURCE_DATE_EPOCH="today"):
            self.assertRaisesRegex(package.PackageError, "today", package.epoch)


if __name__ == "__main__":
    unittest.main()
