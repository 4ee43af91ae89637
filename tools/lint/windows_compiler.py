#!/usr/bin/env python3
"""Checks what can be checked here of the build with the Windows compiler.

Usage: windows_compiler.py BUILD_DIR [SOURCE...]    (BUILD_DIR built; without SOURCE, all)

With clang in the Windows compiler's mode, LLVM's resource compiler, and stand-ins for the libraries,
MIDL and the Windows SDK (mingw-w64's headers, atl/, libstdc++; what widl made in BUILD_DIR):
- each preset is offered on the system that it works on;
- the variables of the preset windows-msvc configure and generate, without an option of GCC's, for
  Release and Debug; 32 bits are refused;
- FolivoPlugin.dll is linked with each configuration's options and its build of TinyXML;
- the resource script compiles by the rule that this makes;
- the sources of the product and of windows_tests compile by the commands that this makes.
"""

import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
STAND_INS = ROOT / "tools/lint/windows_stand_ins"
WORK = ROOT / "build/lint/windows"
BUILD = WORK / "build"
CLANG = "/usr/bin/clang-cl-19"
TOOLCHAIN = {
    "CMAKE_SYSTEM_NAME": "Windows",
    "CMAKE_SYSTEM_PROCESSOR": "AMD64",
    "CMAKE_C_COMPILER": CLANG,
    "CMAKE_CXX_COMPILER": CLANG,
    "CMAKE_AR": "/usr/bin/llvm-lib-19",
    "CMAKE_LINKER": "/bin/false",  # there is nothing to link with
    "CMAKE_RC_COMPILER": "/usr/bin/llvm-rc-19",
    "CMAKE_RC_FLAGS": "/I/usr/x86_64-w64-mingw32/include",
    "CMAKE_MT": "/bin/true",
    "CMAKE_TRY_COMPILE_TARGET_TYPE": "STATIC_LIBRARY",
}
# Given by the machine: where the compiler is, and how vcpkg is found.
OF_THE_MACHINE = {"CMAKE_C_COMPILER", "CMAKE_CXX_COMPILER", "VCPKG_TARGET_TRIPLET"}
# As in cmake/Testing.cmake: libstdc++ has no std::mutex here.
GTEST_OPTIONS = f"""
target_include_directories(GTest::gmock_main INTERFACE /usr/src/googletest/googletest/include)
target_compile_definitions(GTest::gmock_main INTERFACE GTEST_HAS_NOTIFICATION_=1)
target_compile_options(GTest::gmock_main INTERFACE "/FI{ROOT}/tests/support/gtest_notification.h")
"""
GCC_OPTION = re.compile(r"(?<=\s)(-W(l,|all|extra|pedantic|error)|-static|-g(dwarf|$)|-f[a-z-]+|-O[0-3])"
                        r"[^\s]*")


def inherited_presets(kind, name):
    """Yields a preset and those that it inherits."""
    presets = {preset["name"]: preset for preset in
               json.loads((ROOT / "CMakePresets.json").read_text())[kind]}
    while name:
        yield presets[name]
        name = presets[name].get("inherits")


def preset_variables(name):
    """The cache variables of a configure preset."""
    variables = {}
    for preset in inherited_presets("configurePresets", name):
        variables = preset.get("cacheVariables", {}) | variables
    return variables


def presets_for_the_wrong_system():
    """Yields the presets that are not offered on one system only: the one that they work on."""
    for kind in ("configurePresets", "buildPresets"):
        for preset in json.loads((ROOT / "CMakePresets.json").read_text())[kind]:
            name = preset["name"]
            condition = {"type": "equals", "lhs": "${hostSystemName}",
                         "rhs": "Windows" if name.startswith("windows") else "Linux"}
            if condition not in (other.get("condition") for other in inherited_presets(kind, name)):
                yield f"CMakePresets.json: {kind}: {name} is not for {condition['rhs']} alone"


def run(*command, cwd=ROOT):
    """Runs a program; its output becomes this one's when it fails, and this one ends."""
    done = subprocess.run([str(part) for part in command], cwd=cwd, capture_output=True, text=True)
    if done.returncode != 0:
        print(shlex.join(str(part) for part in command))
        sys.exit(done.stdout + done.stderr)
    return done.stdout


def make_libraries(product):
    """Makes stand-ins for what vcpkg and MIDL would bring."""
    for name, target, more in (("boost_thread", "Boost::thread", ""),
                               ("GTest", "GTest::gmock_main", GTEST_OPTIONS)):
        folder = WORK / "libraries/share" / name
        folder.mkdir(parents=True)
        (folder / f"{name}Config.cmake").write_text(
            f"add_library({target} INTERFACE IMPORTED)\n{more}")
    make_tinyxml()
    midl = WORK / "midl"
    midl.write_text('#!/bin/sh\ncd "%s/interfaces" && cp folivo_plugin.tlb folivo_plugin_h.h '
                    'folivo_plugin_i.c "$OLDPWD"\n' % product)
    midl.chmod(0o755)


def cmake(source, build, variables):
    return ["/usr/bin/cmake", "-G", "Ninja", "-S", source, "-B", build, "--warn-uninitialized",
            "-Werror=dev", *(f"-D{name}={value}" for name, value in variables.items())]


def make_tinyxml():
    """Installs what the port of TinyXML does, with empty files, as vcpkg lays it out."""
    port = WORK / "tinyxml"
    shutil.copytree(ROOT / "cmake/vcpkg-ports/tinyxml", port)
    for name in ("tinystr", "tinyxml", "tinyxmlerror", "tinyxmlparser"):
        (port / f"{name}.cpp").touch()
        (port / f"{name}.h").touch()
    share = WORK / "libraries/share/tinyxml"
    for configuration, folder in (("Debug", "debug"), ("Release", ".")):
        build = port / configuration
        run(*cmake(port, build, TOOLCHAIN | {"CMAKE_BUILD_TYPE": configuration}))
        (build / "tinyxml.lib").touch()
        run("/usr/bin/cmake", "--install", build, "--prefix", WORK / "libraries" / folder)
    for file in (WORK / "libraries/debug/share/tinyxml").glob("*-debug.cmake"):
        text = file.read_text().replace("${_IMPORT_PREFIX}/", "${_IMPORT_PREFIX}/debug/")
        (share / file.name).write_text(text)


def product_variables(**more):
    variables = {name: value for name, value in preset_variables("windows-msvc").items()
                 if name not in OF_THE_MACHINE}
    return variables | TOOLCHAIN | {
        "CMAKE_PREFIX_PATH": WORK / "libraries", "FOLIVO_MIDL": WORK / "midl"} | more


def configure_findings():
    """Configures BUILD, and yields what is wrong with it or with other configurations."""
    debug = WORK / "debug"
    x86 = {"CMAKE_C_FLAGS": "-m32", "CMAKE_CXX_FLAGS": "-m32"}
    run(*cmake(ROOT, BUILD, product_variables()))
    run(*cmake(ROOT, debug, product_variables(CMAKE_BUILD_TYPE="Debug")))
    done = subprocess.run(cmake(ROOT, WORK / "x86", product_variables(**x86)), capture_output=True,
                          text=True)
    if "developer command prompt for x64" not in done.stderr:
        yield f"32 bits are not refused:\n{done.stderr}"
    for build, wanted, unwanted in (
            (BUILD, ["/PDBALTPATH:%_PDB%", "/OPT:REF /OPT:ICF", "libraries/lib/tinyxml.lib"],
             ["debug/lib"]),
            (debug, ["/PDBALTPATH:%_PDB%", "libraries/debug/lib/tinyxml.lib"],
             ["/OPT:", "libraries/lib/tinyxml.lib"])):
        rule = re.search(r"^build FolivoPlugin\.dll.*?\n\n", (build / "build.ninja").read_text(),
                         re.MULTILINE | re.DOTALL).group()
        yield from (f"{build.name}: no {text} in:\n{rule}" for text in wanted if text not in rule)
        yield from (f"{build.name}: {text} in:\n{rule}" for text in unwanted if text in rule)


def percent_signs():
    """Yields link options that a solution for Visual Studio would get with two percent signs."""
    for file in [ROOT / "CMakeLists.txt", *ROOT.glob("cmake/*.cmake"), *ROOT.glob("*/CMakeLists.txt")]:
        for match in re.finditer(r"link_options\([^)]*%[^)]*", file.read_text()):
            yield f"{file.relative_to(ROOT)}: {match.group()})"


def gcc_options():
    """Yields what the build's rules contain that only GCC and its linker know."""
    text = (BUILD / "build.ninja").read_text()
    for match in GCC_OPTION.finditer(text):
        yield f"build.ninja:{text.count(chr(10), 0, match.start()) + 1}: {match.group()}"


def stand_in_options():
    """What lets clang read mingw-w64's headers and libstdc++ in the Windows compiler's mode."""
    gcc = pathlib.Path(run("/usr/bin/x86_64-w64-mingw32-g++-win32", "-print-file-name=include").strip())
    folders = [gcc / "c++", gcc / "c++/x86_64-w64-mingw32", "/usr/lib/llvm-19/lib/clang/19/include",
               "/usr/x86_64-w64-mingw32/include", ROOT / "build/deps/include"]
    return ["-fgnuc-version=12.2.0", "-D__STRICT_ANSI__", "-D__INTRINSIC_DEFINED___cpuidex", "/X",
            *(part for folder in folders for part in ("-imsvc", str(folder))),
            f"-I{ROOT / 'atl'}", "-Wno-unused-command-line-argument",
            "-Wno-enum-constexpr-conversion"]  # an error to clang in what Boost 1.74 defines


def compile_sources(wanted):
    """Returns how many sources were compiled, and what the compiler says about them: those `wanted`,
    all when that is empty."""
    commands = []
    for entry in json.loads((BUILD / "compile_commands.json").read_text()):
        folder = os.path.relpath(entry["file"], ROOT).split("/")[0]
        if entry["file"] in wanted or (not wanted and entry["file"].endswith(".cpp")
                                       and folder != "build"):
            commands.append((entry["file"], shlex.split(entry["command"])))
    options = ["-fsyntax-only", "-Werror", *stand_in_options()]
    # The options of all sources are the same but for definitions.
    file, command = commands[0]
    pch = WORK / "precompiled.pch"
    command = [part for part in command if part not in ("-c", "/c", "--", file)
               and not part.startswith(("/Fo", "/Fd", "-Fo", "/Yc"))]
    run(*command, *stand_in_options(), f"/I{ROOT}", "-Xclang", "-emit-pch", "/c",
        f"/Fo{pch}", "--", STAND_INS / "precompiled.h", cwd=BUILD)

    def compile_one(source):
        file, command = source
        done = subprocess.run([*command[:1], *options, "-Xclang", "-include-pch", "-Xclang", str(pch),
                               *command[1:]], cwd=BUILD, capture_output=True, text=True)
        return (done.stdout + done.stderr) if done.returncode != 0 else ""

    with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        return len(commands), [output for output in pool.map(compile_one, commands) if output]


def main():
    product = pathlib.Path(sys.argv[1]).resolve()
    shutil.rmtree(WORK, ignore_errors=True)
    WORK.mkdir(parents=True)
    make_libraries(product)
    findings = [*presets_for_the_wrong_system(), *configure_findings(), *percent_signs(),
                *gcc_options()]
    run("/usr/bin/ninja", "-C", BUILD, "plugin_resources")
    if not list(BUILD.glob("plugin/CMakeFiles/plugin_resources.dir/**/*.res")):
        findings.append("the resource compiler made nothing")
    count, outputs = compile_sources({os.path.abspath(path) for path in sys.argv[2:]})
    print(*findings, *outputs, sep="\n")
    print(f"{count} sources, {len(findings) + len(outputs)} findings")
    return 1 if findings or outputs else 0


if __name__ == "__main__":
    sys.exit(main())
