"""Registering and unregistering the plug-in, judged by dumps of the whole registry."""

import wine
from report import Scene
from stage import Stage
from wine import Registry

_HELPERS_KEY = (
    r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Explorer"
    r"\Browser Helper Objects"
)
_PROGID = r"HKEY_LOCAL_MACHINE\Software\Classes\FolivoDownloadPlugin.IEDownload"


class Registration:
    """Remembers what registering has changed, for the comparison at the end."""

    def __init__(self) -> None:
        self._added: Registry = {}

    def register(self, stage: Stage, scene: Scene) -> None:
        with stage.browser() as browser:
            scene.check("helper objects before", [], browser.helpers)
        before = stage.registry()
        scene.check("exit code of regsvr32", 0, stage.register())
        after = stage.registry()
        self._added = _difference(after, before)
        scene.check("keys that it has taken from", {}, _difference(before, after))
        scene.check("its program identifier is there", True, _PROGID in after)
        with stage.browser() as browser:
            loaded = [helper.partition(" ")[2] for helper in browser.helpers]
        scene.check("helper objects in the browser", ["hr=0x00000000"], loaded)

    def unregister(self, stage: Stage, scene: Scene) -> None:
        before = stage.registry()
        scene.check("exit code of regsvr32 /u", 0, stage.register("/u"))
        after = stage.registry()
        removed = _difference(before, after)
        stays = {key for key in self._added if key in after}
        may_stay = {_HELPERS_KEY} & self._added.keys()
        to_go = {key: values for key, values in self._added.items() if key not in may_stay}
        differing = _difference(to_go, removed) | _difference(removed, to_go)
        scene.check_that(
            "keys that were added, and go",
            f"{len(to_go)}, the same",
            f"{len(removed)}, {_list(differing) if differing else 'the same'}",
            bool(to_go) and not differing,
        )
        scene.check("keys that it has added to", {}, _difference(after, before))
        scene.check("keys that were added, and stay", may_stay, stays)
        rest = {key for key in after for text in (key, *after[key]) if "FolivoPlugin" in text}
        scene.check("keys that still name the plug-in", set(), rest)
        with stage.browser() as browser:
            scene.check("helper objects in the browser", [], browser.helpers)


def _difference(left: Registry, right: Registry) -> Registry:
    """The keys, each with the values, that are in `left` and not, or not the same, in `right`."""
    return {
        key: values - right.get(key, frozenset())
        for key, values in left.items()
        if key not in right or values - right[key]
    }


def _list(registry: Registry) -> str:
    return "other: " + ", ".join(sorted(registry))
