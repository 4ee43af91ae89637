"""Serves the plain files below one folder, for demonstrations by hand."""

import mimetypes
import os
from pathlib import Path
from urllib.parse import unquote

from answer import Answer
from body import Body, FileSegment
from connection import not_found
from request_reader import Request


class StaticFiles:
    """Answers GET and HEAD with files of `root`, at most `rate` bytes per second each (0: free)."""

    def __init__(self, root: Path, rate: int):
        self._root = root.resolve()
        self._rate = rate

    def __call__(self, request: Request) -> Answer:
        if request.method not in ("GET", "HEAD"):
            allow = ((b"Allow", b"GET, HEAD"),)
            return Answer(status=405, reason=b"Method Not Allowed", headers=allow)
        path = unquote(request.path, errors="surrogateescape").lstrip("/")
        if "\0" in path:
            return not_found(request)
        file = (self._root / path).resolve()
        if not file.is_relative_to(self._root) or not file.is_file():
            return not_found(request)
        try:
            segment = FileSegment(os.fspath(file))
        except OSError:
            return not_found(request)
        kind = mimetypes.guess_type(file.name)[0] or "application/octet-stream"
        return Answer(
            headers=((b"Content-Type", kind.encode("ascii")),),
            body=Body((segment,)),
            rate=self._rate,
        )
