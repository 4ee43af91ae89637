#!/usr/bin/env python3
"""Checks what the steps of ./run print and how they end: tools/setup/common.sh and setup.sh."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PURPOSES = ["build", "wine", "test", "lint", "bench", "package", "ubsan"]


class SetupTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        # A path as people have them.
        self.checkout = pathlib.Path(folder.name, "Schöne Übung")
        shutil.copytree(ROOT / "tools/setup", self.checkout / "tools/setup")
        shutil.copy(ROOT / "dependencies.lock", self.checkout)

    def command(self, script):
        return ["/bin/bash", "-c", "set -euo pipefail; source tools/setup/common.sh;"
                f" source tools/setup/setup.sh; {script}"]

    def bash(self, script, **environment):
        """Returns (exit code, standard output, standard error) of a script that sources both."""
        run = subprocess.run(self.command(script), cwd=self.checkout, capture_output=True,
                             encoding="utf-8", timeout=60, env=os.environ | environment)
        return run.returncode, run.stdout, run.stderr

    def step(self, command, advice="Do this."):
        return self.bash(f"step log 'Making it' '{advice}' /bin/bash -c '{command}'; echo next")

    def test_a_step_is_one_line_with_its_time(self):
        code, out, err = self.step("echo hidden")
        self.assertEqual((code, err), (0, ""))
        self.assertRegex(out, r"\AMaking it +\d+\.\d s\nnext\n\Z")
        self.assertEqual((self.checkout / "build/logs/log.log").read_text(), "hidden\n")

    def test_a_failed_step_shows_the_end_of_its_log_and_what_to_do(self):
        code, out, err = self.step("echo pmstatus:x:3.1:Unpacking x; echo reason; exit 7")
        self.assertEqual(code, 1)
        self.assertRegex(out, r"FAILED after \d+\.\d s \(exit code 7\)\n")
        self.assertIn("\nreason\n", out)
        self.assertNotIn("pmstatus", out)
        self.assertNotIn("next", out)
        self.assertEqual(err, "run: Do this.\nrun: The whole log: build/logs/log.log\n")

    def test_causes_outside_of_the_step_are_named_instead(self):
        for line, told in [
                ("ld: write failed: No space left on device", "is full. Free 3 GB there"),
                ("Temporary failure resolving x", "Debian.s servers are out of reach")]:
            with self.subTest(line):
                _, _, err = self.step(f"echo {line}; exit 1")
                self.assertRegex(err, told)
                self.assertIn("Then run the same command again.", err)
                self.assertNotIn("Do this.", err)

    def test_a_second_run_waits_for_the_first(self):
        first = subprocess.Popen(
            self.command("lock_checkout; echo locked; read -r; unlock_checkout; read -r"),
            cwd=self.checkout, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.addCleanup(first.communicate)
        self.assertEqual(first.stdout.readline(), "locked\n")
        second = subprocess.Popen(self.command("lock_checkout; echo mine"), cwd=self.checkout,
                                  stdout=subprocess.PIPE, text=True)
        self.addCleanup(second.communicate)
        self.assertIn("Another ./run is building in this checkout", second.stdout.readline())
        self.assertIsNone(second.poll())
        first.stdin.write("\n")
        first.stdin.flush()
        self.assertEqual(second.communicate(timeout=30)[0], "mine\n")

    def test_a_killed_run_holds_nobody_up(self):
        first = subprocess.Popen(
            self.command("lock_checkout; step log Making Advice"
                         " /bin/bash -c 'echo $$ > pid; exec sleep 600'"),
            cwd=self.checkout, stdout=subprocess.PIPE, text=True)
        pid = self.checkout / "pid"
        while not (pid.exists() and pid.read_text().strip()):
            self.assertIsNone(first.poll())
        first.kill()
        first.wait()
        os.kill(int(pid.read_text()), 9)  # its program ends; what shows progress has to end by itself
        self.addCleanup(first.communicate)
        self.assertEqual(self.bash("lock_checkout; echo mine")[1].splitlines()[-1], "mine")

    def start(self, script):
        """Starts a script that prints "ready" and then waits; returns its process."""
        process = subprocess.Popen(self.command(script), cwd=self.checkout, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.addCleanup(process.communicate)
        self.assertEqual(process.stdout.readline(), "ready\n")
        return process

    def test_a_second_test_run_and_a_clean_leave_the_first_alone(self):
        (self.checkout / "tests").mkdir()
        shutil.copy(ROOT / "run", self.checkout)
        results = self.checkout / "build/release/test-results/expected.json"
        results.parent.mkdir(parents=True)
        results.touch()
        tests = "source tools/setup/test.sh; preset=release; build() { echo ready; read -r; }; run_tests"
        self.start(f"{tests} -L unit")
        for what, again in [("test", f"{tests} --lint"), ("clean", "./run clean --all")]:
            with self.subTest(what):
                code, out, err = self.bash(again)
                self.assertEqual((code, out), (1, ""))
                self.assertIn("Another ./run test is at work in this checkout.", err)
                self.assertTrue(results.exists())

    def test_what_outlives_a_killed_run_holds_no_lock(self):
        (self.checkout / "tests/http_server").mkdir(parents=True)
        (self.checkout / "build/wine").mkdir(parents=True)
        (self.checkout / "build/logs").mkdir()
        service = self.checkout / "service.sh"
        service.write_text("#!/bin/bash\ncase $1 in -p) sleep 600 & echo $! >> pids ;; esac\n")
        service.chmod(0o755)
        (self.checkout / "tests/http_server/server.py").write_text(
            "import os, time\nprint(os.getpid(), file=open('pids', 'a'))\n"
            "print('PORT 1', flush=True)\ntime.sleep(600)\n")
        locks = ("exec {wine_env_lock}> build/wine/test.lock; flock -n $wine_env_lock || exit 9;"
                 " lock_tests; lock_checkout")
        wine = f"source tools/setup/test.sh; wine_env_name=test; {locks}"
        for what in ("wine_env_start_display; cat build/wine/test.display-pid >> pids",
                     "wineserver=./service.sh; WINE=/bin/true; wine_env_warm_up",
                     "start_test_server"):
            with self.subTest(what):
                first = self.start(f"{wine}; {what}; echo ready; read -r")
                first.kill()
                first.wait()
                pids = [int(line) for line in (self.checkout / "pids").read_text().split()]
                try:
                    self.assertEqual(self.bash(f"{locks}; echo mine")[:2], (0, "mine\n"))
                finally:
                    for pid in pids:
                        os.kill(pid, 9)
                    (self.checkout / "pids").unlink()

    def test_unknown_arguments_are_refused_before_anything_is_done(self):
        (self.checkout / "tests").mkdir()
        shutil.copy(ROOT / "run", self.checkout)
        shutil.copytree(ROOT / "tools/mutate", self.checkout / "tools/mutate")
        shutil.copytree(ROOT / "bench", self.checkout / "bench")
        self.start("lock_checkout; echo ready; read -r")
        for command, told in [("setup foo", "./run setup does not know foo."),
                              ("clean foo", "./run clean does not know foo."),
                              ("test foo", "./run test does not know foo."),
                              ("test --lint --full", "--lint and --full exclude each other."),
                              ("test --lint -L unit", "exclude each other."),
                              ("bench --only", "run: --only wants the name of a measurement"),
                              ("mutate --foo", "unrecognized arguments: --foo"),
                              ("mutate --count x", "invalid int value: 'x'"),
                              ("mutate --files", "--files: expected one argument")]:
            with self.subTest(command):
                code, out, err = self.bash(f"./run {command}")
                self.assertIn(code, (1, 2))
                self.assertEqual(out, "")
                self.assertIn(told, err)

    def test_a_program_that_is_missing_is_told_with_its_package(self):
        programs = "programs=(build:no-such-program:its-package lint:nor-this:other)"
        code, _, err = self.bash(f"{programs}; check_programs build wine")
        self.assertEqual(code, 1)
        self.assertIn("no-such-program is missing", err)
        self.assertIn("apt-get install --reinstall its-package", err)
        self.assertEqual(self.bash(f"{programs}; check_programs bench")[0], 0)

    def test_each_purpose_needs_its_own_packages(self):
        def packages(*purposes):
            return set(self.bash(f"wanted_packages {' '.join(purposes)}")[1].split())
        self.assertIn("cmake", packages("build"))
        self.assertFalse(packages("build") & {"googletest", "xvfb", "clang-19", "clang-tidy-19"})
        self.assertIn("xvfb", packages("build", "wine"))
        self.assertFalse(packages("build", "wine") & {"googletest", "clang-19", "shellcheck"})
        # A package may stand once for each purpose.
        everything = {line.split()[0] for line in self.bash("locked package")[1].splitlines()}
        self.assertEqual(packages(*PURPOSES), everything)
        self.assertEqual(self.bash("all_purposes")[1].split(), sorted(PURPOSES))


if __name__ == "__main__":
    unittest.main()
