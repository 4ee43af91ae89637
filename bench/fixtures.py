"""What the measurements work on: bodies on the server, files, archives, manifests."""

import base64
import shutil
import zipfile
from pathlib import Path
from typing import Any

import wine
from lesson_server import LessonServer
from programs import MeasurementError

_HEAD = b"PK\x03\x04"  # by which a lesson is known
_COLLECTION = b"\x78\x9c" + bytes(998)


class Bodies:
    """Lessons of any size, on the server."""

    def __init__(self, server: LessonServer, folder: Path):
        self._server = server
        self._folder = folder
        self._served: dict[tuple[int, int | None], str] = {}
        self._asked = 0

    def url(self, size: int, sent: int | None = None) -> str:
        """The address of a lesson of so many bytes, of which the server sends only so many until
        the client goes; no two addresses are the same, so that none is cached."""
        key = (size, sent)
        if key not in self._served:
            # The file has a length and no content: reading it costs the server next to nothing.
            file = self._folder / f"body-{size}"
            with file.open("wb") as body:
                body.truncate(size - len(_HEAD))
            answer: dict[str, Any] = {
                "body": [{"bytes": base64.b64encode(_HEAD).decode()}, {"file": str(file)}],
            }
            if sent is not None:
                answer["hold"] = [f"body:{sent}"]
            self._served[key] = self._server.serve(f"/{size}/{sent}/Lesson.folivo", **answer)
        self._asked += 1
        return f"{self._served[key]}?n={self._asked}"


class Scratch:
    """A folder on drive C:, for what the programs write."""

    windows = r"C:\bench"

    def __init__(self) -> None:
        self.path = wine.unix_path(self.windows)
        self.remove()  # what a run that was killed has left
        self.path.mkdir()

    def name(self, file: str) -> str:
        """How programs under Wine name a file of the folder."""
        return f"{self.windows}\\{file}"

    def take(self, file: str, size: int) -> None:
        """Deletes a file that was downloaded, which must be there as a whole."""
        path = self.path / file
        found = path.stat().st_size if path.exists() else -1
        if found != size:
            raise MeasurementError(f"{file} has {found} bytes instead of {size}")
        path.unlink()

    def folder_of_lessons(self, count: int) -> str:
        """A folder in which so many downloads named Lesson.folivo have been put, under the names
        that the product gives them."""
        folder = self.path / f"lessons-{count}"
        folder.mkdir()
        seed, taken = 1, {"Lesson.folivo"} if count else set()
        while len(taken) < count:
            # rand() of the C library, as every new thread begins it
            seed = (seed * 214013 + 2531011) & 0xFFFFFFFF
            taken.add(f"Lesson({seed >> 16 & 0x7FFF}).folivo")
        for name in taken:
            (folder / name).touch()
        return self.name(folder.name)

    def archive(self, count: int) -> str:
        """An archive of so many collections."""
        file = f"collections-{count}.zip"
        with zipfile.ZipFile(self.path / file, "w") as archive:
            for number in range(count):
                archive.writestr(_collection(number), _COLLECTION)
        return self.name(file)

    def manifest(self, count: int, per_folder: int) -> str:
        """A manifest that names the first collections of an archive, so many for each folder."""
        file = f"manifest-{count}-{per_folder}.xml"
        elements = "".join(
            f'<DownloadedFile Filename="{_collection(number)}"'
            f' Destination="Folder{number // per_folder}"/>'
            for number in range(count)
        )
        (self.path / file).write_text(f"<Collections>{elements}</Collections>", encoding="ascii")
        return self.name(file)

    def empty_folder(self, name: str) -> str:
        shutil.rmtree(self.path / name, ignore_errors=True)
        (self.path / name).mkdir()
        return self.name(name)

    def remove(self) -> None:
        shutil.rmtree(self.path, ignore_errors=True)


def _collection(number: int) -> str:
    return f"Collection{number:05}.qdc"
