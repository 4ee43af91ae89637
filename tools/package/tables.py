"""The installer's tables that wixl does not make, each as columns, types, keys and rows.

Column types are those of the installer's archive files (.idt): s for text, l for localizable text,
i for a number, with a size; in capitals where the cell may be empty.
"""

import hashlib
from dataclasses import dataclass, field
from pathlib import Path

import registration
from registration import EmptyKey, LOCAL_MACHINE, OwnKey, Value

# Names that administrators write into command lines; docs/administrators.md explains them.
LAUNCHER = "LaunchFolivo.exe"
_POLICY_KEY = (
    r"SOFTWARE\Microsoft\Internet Explorer\Low Rights\ElevationPolicy"
    r"\{8E0C5C1B-9C55-4C3C-9C0B-5A5E3D0B6B47}"
)
# Medium integrity, without a question of the browser: docs/administrators.md warns of it.
_POLICY_SILENT = "#3"

_REGISTRY_KEY_PATH = 4
_64_BIT = 256
_SET_PROPERTY = 51
_ONLY_DETECT, _MIGRATE_FEATURES, _MIN_INCLUSIVE = 2, 1, 256
_RAW_VALUE, _FILE_VALUE, _64_BIT_VIEW = 2, 1, 16
_AT_REMOVAL = 2
_DISALLOW_ADVERTISE, _DISALLOW_ABSENT = 8, 16

_SHORT_NAMES = {
    "Directory.DefaultDir.Directory": {
        "MakerFolder": "MERLOT~1|MERLO Technologies",
        "INSTALLFOLDER": "FOLIVO~1|Folivo Plugin",
        "UnzipFolder": "COLLEC~1|Collections",
    },
    "File.FileName.File": {
        "FolivoPlugin.dll": "FOLIVO~1.DLL|FolivoPlugin.dll",
        "THIRD_PARTY_NOTICES.md": "THIRDP~1.MD|THIRD_PARTY_NOTICES.md",
        "UNZIP32_LICENSE.txt": "UNZIP3~1.TXT|UNZIP32-LICENSE.txt",
    },
}


@dataclass
class Table:
    """One table. `columns` are pairs of name and type; the first `keys` of them are the key."""

    name: str
    columns: list[tuple[str, str]]
    keys: int
    rows: list[tuple[object, ...]] = field(default_factory=list)

    def text(self) -> str:
        """The table as an archive file."""
        names = [name for name, _ in self.columns]
        lines = [names, [kind for _, kind in self.columns], [self.name, *names[: self.keys]]]
        lines += [["" if cell is None else str(cell) for cell in row] for row in self.rows]
        return "".join("\t".join(line) + "\r\n" for line in lines)


def _key(*parts: object) -> str:
    return "r" + hashlib.sha256("\0".join(map(str, parts)).encode()).hexdigest()[:24]


def _registry(root: Path) -> tuple[Table, Table, str]:
    """What is written, what is removed before, and the key path of the 32-bit component."""
    written = Table(
        "Registry",
        [("Registry", "s72"), ("Root", "i2"), ("Key", "l255"), ("Name", "L255"), ("Value", "L0"),
         ("Component_", "s72")],
        1,
    )
    removed = Table(
        "RemoveRegistry",
        [("RemoveRegistry", "s72"), ("Root", "i2"), ("Key", "l255"), ("Name", "L255"),
         ("Component_", "s72")],
        1,
    )
    key_path = ""
    for row in registration.rows(root):
        component = "AddOn32" if isinstance(row, Value | OwnKey) and row.bits == 32 else "AddOn"
        if isinstance(row, OwnKey):
            cells = (_key("remove", row.root, row.key, row.bits), row.root, row.key, "-")
            written.rows.append((*cells, None, component))
            if row.before_install:
                removed.rows.append((*cells, component))
        elif isinstance(row, EmptyKey):
            name = _key("empty", row.root, row.key)
            written.rows.append((name, row.root, row.key, "+", None, component))
        else:
            name = _key("value", row.root, row.key, row.name, row.bits)
            text = "#" + row.text if row.text.startswith("#") else row.text
            written.rows.append((name, row.root, row.key, row.name, text, component))
            if component == "AddOn32":
                key_path = key_path or name
    written.rows += [
        (name, LOCAL_MACHINE, _POLICY_KEY, value, text, "ElevationPolicy")
        for name, value, text in (
            ("PolicyKey", "-", None),
            ("PolicyAppName", "AppName", LAUNCHER),
            ("PolicyAppPath", "AppPath", "[LAUNCHERFOLDER]"),
            ("Policy", "Policy", _POLICY_SILENT),
        )
    ]
    return written, removed, key_path


# Searches: property, key, name, type. The application is a 32-bit program.
_SEARCHES = (
    # The machine's key, not HKCR: there a user's own registration would come first.
    ("FORMERFOLDER", "FormerFolder", LOCAL_MACHINE,
     r"SOFTWARE\Classes\CLSID\{69402495-68F6-4342-B726-0659FADD1883}\InprocServer32", None,
     _FILE_VALUE | _64_BIT_VIEW),
    ("FOLIVOFOLDER", "FolivoFolder", LOCAL_MACHINE,
     r"Software\MERLO Technologies\Folivo Software\Install Information", "FolivoExePath",
     _RAW_VALUE),
    ("DRIVERSFOLDER", "DriversFolder", LOCAL_MACHINE,
     r"Software\MERLO Technologies\MERLO Panel Drivers\Install Information", "FolivoExePath",
     _RAW_VALUE),
    ("POLICYFOLDER", "PolicyFolder", LOCAL_MACHINE, _POLICY_KEY, "AppPath",
     _RAW_VALUE | _64_BIT_VIEW),
)

def _launcher(name: str, source: str) -> tuple[str, str, str, str]:
    # "#" begins what is no plain text, such as "#%" an expandable one.
    return (name, "LAUNCHERFOLDER", f"[{source}]",
            f'{source} AND NOT ({source}<<"#") AND NOT LAUNCHERFOLDER')


# Actions that give a property another's value: name, property, value, condition. What an
# administrator has chosen, the policy of an earlier installation holds.
_ASSIGNMENTS = (
    ("KeepFormerFolder", "INSTALLFOLDER", "[FORMERFOLDER]",
     "OLDERFOUND AND FORMERFOLDER AND NOT INSTALLFOLDER"),
    _launcher("LauncherOfPolicy", "POLICYFOLDER"),
    _launcher("LauncherOfFolivo", "FOLIVOFOLDER"),
    _launcher("LauncherOfDrivers", "DRIVERSFOLDER"),
)
_TELL_FOLDER = ("TellInstallFolder", "ARPINSTALLLOCATION", "[INSTALLFOLDER]")

_NAMES_POLICY = 'ADDLOCAL><"ElevationPolicy" OR ADDLOCAL~="ALL"'
_CONDITIONS = (
    ("VersionNT64", "[ProductName] needs a 64-bit Windows."),
    ("ALLUSERS=1", "[ProductName] is installed for all users of the machine only: leave ALLUSERS "
     "and MSIINSTALLPERUSER as they are."),
    ("Installed OR NOT NEWERFOUND", "A newer version of [ProductName] is installed. To go back to "
     "version [ProductVersion], remove that one first."),
    # The installer does not look at conditions of features then.
    (f'NOT ELEVATIONPOLICY="1" OR NOT (Installed OR ADDLOCAL) OR POLICYFOLDER OR REMOVE OR REINSTALL '
     f"OR {_NAMES_POLICY}",
     "ELEVATIONPOLICY=1 has no effect where this version is installed, or beside ADDLOCAL: name "
     "ElevationPolicy in ADDLOCAL."),
    (f'LAUNCHERFOLDER OR REMOVE OR NOT (ELEVATIONPOLICY="1" OR {_NAMES_POLICY})',
     "The elevation policy needs the desktop application: install it first, or name its folder "
     "with LAUNCHERFOLDER."),
)

_BEFORE_COSTS = (
    ("FindRelatedProducts", None),
    ("AppSearch", None),
    *((name, condition) for name, _, _, condition in _ASSIGNMENTS),
    ("LaunchConditions", None),
    ("ValidateProductID", None),
    ("CostInitialize", None),
    ("FileCost", None),
    ("CostFinalize", None),
)
# With the policy asked for, not the features of the older version, which may lack it.
_MIGRATE = ("MigrateFeatureStates", "NOT ELEVATIONPOLICY")
_UI_SEQUENCE = (*_BEFORE_COSTS, _MIGRATE, ("ExecuteAction", None))
_EXECUTE_SEQUENCE = (
    *_BEFORE_COSTS,
    _MIGRATE,
    (_TELL_FOLDER[0], None),
    ("InstallValidate", None),
    ("InstallInitialize", None),
    # Within the transaction: when the rest fails, the older version comes back.
    ("RemoveExistingProducts", None),
    ("ProcessComponents", None),
    ("UnpublishFeatures", None),
    ("RemoveRegistryValues", None),
    ("RemoveEnvironmentStrings", None),
    ("RemoveFiles", None),
    ("InstallFiles", None),
    ("WriteRegistryValues", None),
    ("WriteEnvironmentStrings", None),
    ("RegisterUser", None),
    ("RegisterProduct", None),
    ("PublishFeatures", None),
    ("PublishProduct", None),
    ("InstallFinalize", None),
)


def _sequence(name: str, actions: tuple[tuple[str, str | None], ...]) -> Table:
    columns = [("Action", "s72"), ("Condition", "S255"), ("Sequence", "I2")]
    rows = [(*action, 100 * number) for number, action in enumerate(actions, 1)]
    return Table(name, columns, 1, rows)


def make(root: Path, version: str, upgrade_code: str) -> tuple[list[Table], list[str]]:
    """The tables, and what is changed in those of wixl, as statements of the installer's SQL."""
    registry, remove_registry, key_path = _registry(root)
    tables = [
        registry,
        remove_registry,
        # "=-*": set at installation, removed with the component, the machine's. "[~];" is what the
        # path holds, before ours.
        Table("Environment",
              [("Environment", "s72"), ("Name", "l255"), ("Value", "L255"), ("Component_", "s72")],
              1, [("SearchPath", "=-*PATH", "[~];[UnzipFolder]", "Unzip")]),
        # The maker's folder goes, too, unless another product is in there.
        Table("RemoveFile",
              [("FileKey", "s72"), ("Component_", "s72"), ("FileName", "L255"),
               ("DirProperty", "s72"), ("InstallMode", "i2")],
              1,
              [("RemoveInstallFolder", "AddOn", None, "INSTALLFOLDER", _AT_REMOVAL),
               ("RemoveMakerFolder", "AddOn", None, "MakerFolder", _AT_REMOVAL)]),
        Table("Upgrade",
              [("UpgradeCode", "s38"), ("VersionMin", "S20"), ("VersionMax", "S20"),
               ("Language", "S255"), ("Attributes", "i4"), ("Remove", "S255"),
               ("ActionProperty", "s72")],
              5,
              [(upgrade_code, "0.0.0", version, None, _MIN_INCLUSIVE | _MIGRATE_FEATURES, None,
                "OLDERFOUND"),
               (upgrade_code, version, None, None, _ONLY_DETECT, None, "NEWERFOUND")]),
        Table("LaunchCondition", [("Condition", "s255"), ("Description", "l255")], 1,
              list(_CONDITIONS)),
        Table("Condition", [("Feature_", "s38"), ("Level", "i2"), ("Condition", "S255")], 2,
              [("ElevationPolicy", 1, 'ELEVATIONPOLICY="1"')]),
        Table("AppSearch", [("Property", "s72"), ("Signature_", "s72")], 2,
              [search[:2] for search in _SEARCHES]),
        Table("RegLocator",
              [("Signature_", "s72"), ("Root", "i2"), ("Key", "s255"), ("Name", "S255"),
               ("Type", "I2")],
              1, [search[1:] for search in _SEARCHES]),
        Table("CustomAction",
              [("Action", "s72"), ("Type", "i2"), ("Source", "S72"), ("Target", "S255"),
               ("ExtendedType", "I4")],
              1,
              [(name, _SET_PROPERTY, target, value, None)
               for name, target, value in (*(row[:3] for row in _ASSIGNMENTS), _TELL_FOLDER)]),
        _sequence("InstallUISequence", _UI_SEQUENCE),
        _sequence("InstallExecuteSequence", _EXECUTE_SEQUENCE),
    ]
    changes = [
        "INSERT INTO `Property` (`Property`, `Value`) VALUES ('SecureCustomProperties', "
        "'ELEVATIONPOLICY;INSTALLFOLDER;LAUNCHERFOLDER;NEWERFOUND;OLDERFOUND')",
        f"UPDATE `Feature` SET `Attributes` = {_DISALLOW_ADVERTISE}",
        f"UPDATE `Feature` SET `Attributes` = {_DISALLOW_ADVERTISE | _DISALLOW_ABSENT} "
        "WHERE `Feature` = 'AddOn'",
    ]
    for component, attributes, path in (
        ("AddOn32", _REGISTRY_KEY_PATH, key_path),
        ("ElevationPolicy", _REGISTRY_KEY_PATH | _64_BIT, "Policy"),
    ):
        changes.append(f"UPDATE `Component` SET `Attributes` = {attributes}, `KeyPath` = '{path}' "
                       f"WHERE `Component` = '{component}'")
    # Never a policy without a folder, whichever way the feature was chosen.
    changes.append("UPDATE `Component` SET `Condition` = 'LAUNCHERFOLDER' "
                   "WHERE `Component` = 'ElevationPolicy'")
    for place, names in _SHORT_NAMES.items():
        table, column, key = place.split(".")
        changes += [f"UPDATE `{table}` SET `{column}` = '{text}' WHERE `{key}` = '{name}'"
                    for name, text in names.items()]
    return tables, changes
