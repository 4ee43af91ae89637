#!/usr/bin/env python3
"""Checks that pages of docs/ name what is in the sources."""

import pathlib
import re
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
GUID = r"[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}"


def text(*paths):
    return "\n".join((ROOT / path).read_text(encoding="utf-8") for path in paths)


SCRIPTS = text(*(path.relative_to(ROOT) for path in (ROOT / "resources").glob("*.rgs")))
INTERFACES = text("interfaces/folivo_plugin.idl")
PACKAGE = text("tools/package/tables.py", "tools/package/folivo_plugin.wxs")
PAGE = text("docs/administrators.md")
SAMPLE = text("docs/sample-page.html")


def keys(root):
    """The keys of ours that the page's table lists below a root, each once."""
    section = PAGE.split("## Our registry keys")[1].split("\n## ")[0]
    cells = [line.split("|")[1] for line in section.splitlines() if line.startswith("| `")]
    found = re.findall(rf"`{root}\\([^`]+)`", "\n".join(cells))
    assert len(found) == len(set(found)), found
    return set(found)


class AdministratorsPageTest(unittest.TestCase):
    def test_keys_are_those_that_scripts_type_library_and_installer_write(self):
        classes = set(re.findall(rf"ForceRemove (\{{{GUID}\}}) = s '%FriendlyName%'", SCRIPTS))
        names = set(re.findall(r"^\t(FolivoDownloadPlugin\S+) =", SCRIPTS, re.MULTILINE))
        library, *_ = re.findall(rf"uuid\(({GUID})\),\s*version", INTERFACES)
        interfaces = re.findall(rf"uuid\(({GUID})\),\s*dual", INTERFACES)
        self.assertEqual((len(classes), len(names), len(interfaces)), (3, 6, 3))
        self.assertEqual(keys("HKCR"), names | {f"CLSID\\{clsid}" for clsid in classes}
                         | {f"TypeLib\\{{{library}}}"}
                         | {f"Interface\\{{{interface}}}" for interface in interfaces})

        helper, = re.findall(rf"ForceRemove (\{{{GUID}\}}) = s 'MERLO", SCRIPTS)
        policy = "".join(re.search(r'_POLICY_KEY = \(\s*r"([^"]+)"\s*r"([^"]+)"', PACKAGE).groups())
        branch = re.findall(r"NoRemove '?([\w ]+)'?$", text("resources/folivo_plugin.rgs"), re.M)
        self.assertEqual(keys("HKLM"), {"\\".join([*branch, helper]), policy})

    def test_identifiers_on_the_page_are_in_the_sources_and_keys_that_are_read_are_on_the_page(self):
        source = text("com/class_registration.h", "browser/application_handoff.cpp")
        known = set(re.findall(GUID, SCRIPTS + INTERFACES + PACKAGE + source))
        self.assertEqual(set(re.findall(GUID, PAGE)) - known, set())
        for key in re.findall(r'L"(Software\\\\[^"]+)"', source):
            self.assertIn(f"`HKLM\\{key}`".replace("\\\\", "\\"), PAGE)
        # Each class in the policy's list, each control in the user's list of domains.
        helper, = re.findall(rf"ForceRemove (\{{{GUID}\}}) = s 'MERLO", SCRIPTS)
        for clsid in re.findall(rf"ForceRemove (\{{{GUID}\}}) = s '%F", SCRIPTS):
            self.assertIn(f"| `{clsid}` |", PAGE)
            self.assertIn(f'Policies\\Ext\\CLSID" /v "{clsid}" /t REG_SZ /d 1 /f', PAGE)
            self.assertEqual(f"Ext\\Stats\\{clsid}\\iexplore" in PAGE, clsid != helper)

    def test_properties_and_features_are_the_installers(self):
        features = set(re.findall(r'<Feature Id="(\w+)"', PACKAGE))
        table = re.findall(r"^\| `(\w+)` \| [^|]+ \| [^|]+ \|$", PAGE, re.MULTILINE)
        self.assertEqual(set(table) & features, features)
        self.assertLessEqual(set(re.findall(r"ADDLOCAL=(\w+)", PAGE)), features)
        secure = re.search(r"SecureCustomProperties', \"\s*\"'([A-Z;]+)'", PACKAGE)[1].split(";")
        public = {name for name in secure if not name.endswith("FOUND")}
        named = set(re.findall(r"`([A-Z]{5,})=", PAGE))
        self.assertEqual(named - {"ADDLOCAL", "ARPHELPLINK"}, public)
        self.assertIn('<Property Id="ARPHELPLINK"', PACKAGE)


class SamplePageTest(unittest.TestCase):
    def test_page_is_well_formed_and_each_field_has_a_label(self):
        page = xml.etree.ElementTree.fromstring(SAMPLE)
        labels = {label.get("for") for label in page.iter("label")}
        self.assertEqual(labels, {field.get("id") for field in page.iter("input")})
        ids = {element.get("id") for element in page.iter()}
        self.assertLessEqual(set(re.findall(r'getElementById\("(\w+)"\)', SAMPLE)), ids)

    def test_script_needs_no_newer_engine(self):
        script = SAMPLE.split("//<![CDATA[")[1].split("//]]>")[0]
        code = re.sub(r'"[^"\n]*"|//.*', "", script)
        self.assertEqual(re.findall(r"\b(?:let|const|class)\b|=>|`|,\s*[}\]]", code), [])

    def test_it_has_the_names_and_each_error_of_the_page_for_authors(self):
        authors = text("docs/page-authors.md")
        numbers = set(re.findall(r"\((-2\d+)\)", authors))
        self.assertGreater(len(numbers), 4)
        self.assertEqual({number for number in numbers if number not in SAMPLE}, set())
        for name in re.findall(r'"(FolivoDownloadPlugin\.\w+)"', SAMPLE):
            clsid = re.search(rf"^\t{name} = .*\n\t{{\n\t\tCLSID = s '{{({GUID})", SCRIPTS, re.M)[1]
            self.assertRegex(authors, rf"\| `{name}` \| `{clsid}` \|")


class LinkTest(unittest.TestCase):
    def test_links_between_pages_lead_to_files_and_headings(self):
        for page in (ROOT / "README.md", ROOT / "CONTRIBUTING.md", *(ROOT / "docs").glob("*.md")):
            for link in re.findall(r"\]\(([^)]+)\)", page.read_text(encoding="utf-8")):
                name, _, anchor = link.partition("#")
                target = page.parent / name if name else page
                self.assertTrue(target.exists(), (page.name, link))
                if anchor:
                    heads = re.findall(r"^#+ (.+)", target.read_text(encoding="utf-8"), re.M)
                    ids = {re.sub(r"[^\w -]", "", head.lower()).replace(" ", "-") for head in heads}
                    self.assertIn(anchor, ids, page.name)


if __name__ == "__main__":
    unittest.main()
