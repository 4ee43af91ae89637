"""The scripted paths of the server and the log of all its requests."""

import threading
from collections import deque

from path_script import Key, PathScript
from record import RequestRecord

_LOG_LIMIT = 10000


class Registry:
    """Finds the script of a request. All methods may be called from any thread."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._scripts: dict[Key, PathScript] = {}
        self._log: deque[RequestRecord] = deque(maxlen=_LOG_LIMIT)

    def add(self, script: PathScript) -> None:
        """Adds a script; an older one of the same path is removed first."""
        with self._lock:
            old = self._scripts.get(script.key)
            self._scripts[script.key] = script
        if old:
            old.open()

    def remove(self, key: Key) -> bool:
        """Forgets a script and lets its running answers flow to their end."""
        with self._lock:
            script = self._scripts.pop(key, None)
        if script:
            script.open()
        return script is not None

    def get(self, key: Key) -> PathScript | None:
        with self._lock:
            return self._scripts.get(key)

    def keys(self) -> list[Key]:
        with self._lock:
            return list(self._scripts)

    def find(self, path: str, query: str) -> PathScript | None:
        """The script for a request: path and query, the path alone, then the longest prefix."""
        with self._lock:
            script = self._scripts.get((path, query)) or self._scripts.get((path, None))
            if script:
                return script
            end = len(path)
            while (end := path.rfind("/", 0, end)) >= 0:
                script = self._scripts.get((path[: end + 1], None))
                if script and script.match == "prefix":
                    return script
            return None

    def log(self, record: RequestRecord) -> None:
        with self._lock:
            self._log.append(record)

    def logged(self) -> list[RequestRecord]:
        """The latest requests of all paths, the unscripted ones included."""
        with self._lock:
            return list(self._log)
