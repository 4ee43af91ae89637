"""Starts ninja in the copy's build folder."""

import os
import signal
import subprocess


class BuildError(Exception):
    """The text is the end of ninja's output."""


class Ninja:
    def __init__(self, build_dir, log):
        self.build_dir = build_dir
        self.log = log
        # Compilers need no host names of the tests'.
        self.environment = {name: value for name, value in os.environ.items()
                            if name not in ("LD_PRELOAD", "NSS_WRAPPER_HOSTS")}

    def build(self, targets, seconds=None, options=()):
        """Builds outputs; raises BuildError when that fails or takes longer than `seconds`. What was
        printed is in the log."""
        with open(self.log, "w+", encoding="utf-8", errors="replace") as log:
            process = subprocess.Popen(
                ["/usr/bin/ninja", "-C", str(self.build_dir), *options, *sorted(targets)],
                stdin=subprocess.DEVNULL, stdout=log, stderr=log, env=self.environment,
                start_new_session=True)
            try:
                code = process.wait(seconds)
            except subprocess.TimeoutExpired:
                code = None
            finally:
                if process.poll() is None:
                    # Ninja removes what its compilers have written half.
                    os.killpg(process.pid, signal.SIGTERM)
                    process.wait()
            if code != 0:
                log.seek(0)
                lines = log.read().splitlines()
                raise BuildError("\n".join(lines[-25:]) or "no output")
