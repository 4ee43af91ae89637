"""Signs DLLs and the installer by osslsigncode, and verifies what it signed.

The settings are environment variables, which ./run package --help lists: no secret is part of a
command line.
"""

import os
import subprocess
from collections.abc import Mapping
from pathlib import Path

_PREFIX = "FOLIVO_SIGN_"
_ROOTS = "/etc/ssl/certs/ca-certificates.crt"
_PKCS12 = (".p12", ".pfx")
_DESCRIPTION = "MERLO Folivo Download Utility"


class SigningError(Exception):
    """Nothing can be signed; the text says why."""


class Signer:
    """What the environment says about signing, checked."""

    def __init__(self, environment: Mapping[str, str]):
        def setting(name: str, default: str = "") -> str:
            return environment.get(_PREFIX + name) or default

        self._password = setting("PASSWORD")
        self._roots = setting("CA_FILE", _ROOTS)
        self._timestamp = setting("TIMESTAMP_URL")
        certificate, key = setting("CERTIFICATE"), setting("KEY")
        if module := setting("PKCS11_MODULE"):
            self._identity = self._token(
                module, setting("PKCS11_ENGINE"), setting("PKCS11_CERTIFICATE"),
                certificate, key
            )
        elif not certificate:
            raise SigningError(
                f"There is no certificate: set {_PREFIX}CERTIFICATE, or {_PREFIX}PKCS11_MODULE for "
                "a token. docs/release.md explains both."
            )
        elif certificate.lower().endswith(_PKCS12):
            self._identity = ["-pkcs12", _file("CERTIFICATE", certificate)]
        elif not key:
            raise SigningError(f"{_PREFIX}KEY, the certificate's key, is not set.")
        else:
            self._identity = ["-certs", _file("CERTIFICATE", certificate), "-key", _file("KEY", key)]
        _file("CA_FILE", self._roots)

    @staticmethod
    def _token(module: str, engine: str, inside: str, certificate: str, key: str) -> list[str]:
        if not key:
            raise SigningError(f"{_PREFIX}KEY, the PKCS#11 URI of the key, is not set.")
        if "pin-value=" in f"{key} {inside}".lower():
            raise SigningError(
                f"A URI has the PIN in it (pin-value), which would be part of a command line: put "
                f"it into {_PREFIX}PASSWORD."
            )
        if not inside and not certificate:
            raise SigningError(
                f"Neither {_PREFIX}PKCS11_CERTIFICATE nor {_PREFIX}CERTIFICATE is set."
            )
        named = ["-pkcs11cert", inside] if inside else ["-certs", _file("CERTIFICATE", certificate)]
        # OpenSSL finds Debian's engine by itself.
        loaded = ["-pkcs11engine", _file("PKCS11_ENGINE", engine)] if engine else []
        return [
            *loaded, "-pkcs11module", _file("PKCS11_MODULE", module),
            *named, "-key", key,
        ]  # fmt: skip

    def command(self, source: Path, target: Path) -> list[str]:
        """The command that signs; the password is its standard input."""
        password = ["-readpass", "/dev/stdin"] if self._password else []
        stamp = ["-ts", self._timestamp] if self._timestamp else []
        return [
            "osslsigncode", "sign", *self._identity, *password,
            "-h", "sha256", "-n", _DESCRIPTION, *stamp, "-in", str(source), "-out", str(target),
        ]  # fmt: skip

    def verification(self, file: Path) -> list[str]:
        """The command that verifies a signature, and its time stamp if one was asked for."""
        stamp = ["-TSA-CAfile", self._roots] if self._timestamp else []
        return ["osslsigncode", "verify", "-CAfile", self._roots, *stamp, "-in", str(file)]

    def sign(self, file: Path) -> None:
        """Puts the signed file into the place of the unsigned one, once it is verified."""
        signed = file.with_name(file.name + ".signed")
        signed.unlink(missing_ok=True)
        try:
            self._run("signing", file, self.command(file, signed), self._password)
            self._run(
                "verifying the signature", file,
                self.verification(signed), ""
            )
            os.replace(signed, file)
        finally:
            signed.unlink(missing_ok=True)

    @staticmethod
    def _run(what: str, file: Path, command: list[str], answer: str) -> None:
        # Its own environment holds the password no longer than ours does.
        inherited = {key: value for key, value in os.environ.items() if key != _PREFIX + "PASSWORD"}
        done = subprocess.run(
            command,
            input=answer,
            capture_output=True,
            text=True,
            check=False,
            env=inherited,
            start_new_session=True,  # away from the terminal, where OpenSSL would ask
        )
        output = done.stdout + done.stderr
        print(output)
        if done.returncode != 0:
            reason = output.strip().replace("\n", "\n  ")
            raise SigningError(f"{file.name}: {what} failed.\n  {reason}")


def _file(name: str, path: str) -> str:
    if not Path(path).is_file():
        raise SigningError(f"{_PREFIX}{name}: there is no file {path}")
    return path
