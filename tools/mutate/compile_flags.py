"""The flags that clang reads a file with: those that the build compiles it with."""

import pathlib
import shlex
import subprocess

CLANG = "/usr/bin/clang-19"
# The flags are GCC's, and so are the warnings that they ask for.
TARGET = ["--target=x86_64-w64-mingw32", "-w", "-Wno-ignored-gch",
          # Errors to clang in what Boost 1.74 and <commdlg.h> define.
          "-Wno-enum-constexpr-conversion", "-Wno-c++11-narrowing",
          # mingw-w64's <intrin.h> would define what clang's own headers define.
          "-D__INTRINSIC_DEFINED___cpuidex"]
WITH_VALUE = {"-o", "-c", "-MF", "-MT", "-MQ"}
LEFT_OUT = ("-Werror", "-Winvalid-pch", "-gdwarf", "-ffile-prefix-map", "-MD", "-MMD")


def resource_flags():
    """Where clang's own headers are: the library does not find them by itself."""
    folder = subprocess.run([CLANG, "-print-resource-dir"], check=True, capture_output=True,
                            text=True).stdout.strip()
    return ["-resource-dir", folder]


def clang_flags(command):
    """A compile command of GCC without what decides about output only."""
    result, words = [], iter(shlex.split(command)[1:])
    for word in words:
        if word in WITH_VALUE:
            next(words, None)
        elif not word.startswith(LEFT_OUT):
            result.append(word)
    return result + TARGET


def language_flags(path):
    """A header's name does not tell its language."""
    return ["-x", "c" if path.endswith(".c") else "c++"]


def nearest_entry(entries, path):
    """The compile command of a file or, as headers have none, of the file that is most like it:
    of the same name, else in the same folder, else the first. A source that several targets compile
    is taken from its own folder's."""
    path = pathlib.PurePath(path)

    def distance(entry):
        file = pathlib.PurePath(entry["file"])
        output = entry["command"].split(" -o ")[1]
        return (file != path, file.parent != path.parent, file.stem != path.stem,
                not output.startswith(f"{file.parent.name}/"))

    # Resources are compiled too, by a program with other options.
    return min((entry for entry in entries if " -o " in entry["command"]), key=distance)
