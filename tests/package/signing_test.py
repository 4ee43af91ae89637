#!/usr/bin/env python3
"""Checks the signatures of ./run package --sign, by certificates of its own: signing_test.py
BUILD_DIR"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
import unittest.mock

BUILD = pathlib.Path(sys.argv.pop()).resolve()

import packages  # noqa: E402
from packages import ROOT  # noqa: E402

import package  # noqa: E402
from signing import Signer, SigningError  # noqa: E402

PASSWORD = "correct horse"
TOKEN_DRIVER = "/usr/lib/softhsm/libsofthsm2.so"


def run(*command, **options):
    subprocess.run(command, check=True, capture_output=True, **options)


def setUpModule():
    global work
    work = pathlib.Path(unittest.enterModuleContext(tempfile.TemporaryDirectory()))
    run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
        "-subj", "/CN=Folivo tests", "-addext", "extendedKeyUsage=codeSigning",
        "-addext", "keyUsage=digitalSignature", "-keyout", "plain.pem", "-out", "cert.pem", cwd=work)
    run("openssl", "pkcs8", "-topk8", "-in", "plain.pem", "-out", "key.pem", "-passout",
        f"pass:{PASSWORD}", cwd=work)
    run("openssl", "pkcs12", "-export", "-inkey", "plain.pem", "-in", "cert.pem", "-passout",
        f"pass:{PASSWORD}", "-out", "both.p12", cwd=work)
    (work / "tokens").mkdir()
    (work / "softhsm.conf").write_text(f"directories.tokendir = {work / 'tokens'}\n")
    os.environ["SOFTHSM2_CONF"] = str(work / "softhsm.conf")
    run("softhsm2-util", "--init-token", "--free", "--label", "folivo", "--so-pin", "12345678",
        "--pin", "1234")
    run("openssl", "pkcs8", "-topk8", "-nocrypt", "-in", "plain.pem", "-out", "token.pem", cwd=work)
    run("softhsm2-util", "--import", work / "token.pem", "--token", "folivo", "--label", "sign",
        "--id", "01", "--pin", "1234")


def settings(**changes):
    values = {"CERTIFICATE": work / "both.p12", "PASSWORD": PASSWORD, "CA_FILE": work / "cert.pem"}
    return {f"FOLIVO_SIGN_{key}": str(value) for key, value in (values | changes).items() if value}


def identities():
    return {
        "PKCS#12 file": settings(),
        "PEM files without password": settings(
            CERTIFICATE=work / "cert.pem", KEY=work / "plain.pem", PASSWORD=None),
        "PEM files": settings(CERTIFICATE=work / "cert.pem", KEY=work / "key.pem"),
        "token": settings(CERTIFICATE=work / "cert.pem", PKCS11_MODULE=TOKEN_DRIVER,
                          KEY="pkcs11:token=folivo;object=sign;type=private", PASSWORD="1234"),
    }


class SigningTest(unittest.TestCase):
    def copy(self):
        file = work / "UNZIP32.DLL"
        shutil.copyfile(BUILD / "UNZIP32.DLL", file)
        return file

    def assert_signed(self, file):
        run("osslsigncode", "verify", "-CAfile", work / "cert.pem", "-in", file)

    def test_each_kind_of_identity_signs(self):
        for name, environment in identities().items():
            with self.subTest(name):
                file = self.copy()
                Signer(environment).sign(file)
                self.assert_signed(file)

    def test_installer_is_signed_and_a_change_of_it_is_noticed(self):
        file = packages.make(BUILD, work)
        Signer(settings()).sign(file)
        self.assert_signed(file)
        data = bytearray(file.read_bytes())
        data[len(data) // 2] ^= 1
        file.write_bytes(data)
        self.assertRaises(subprocess.CalledProcessError, self.assert_signed, file)

    def test_package_signs_what_it_packs_and_the_installer(self):
        with unittest.mock.patch.dict(os.environ, settings()):
            steps = package.Package(BUILD, work / "whole", "1.0.0.0")
            for step in (steps.collect, steps.sign_dlls, steps.installer, steps.sign_installer,
                         steps.archive):
                step()
        self.assert_signed(*(work / "whole/dist").glob("*.msi"))
        run("msiextract", "-C", work / "installed", *(work / "whole/dist").glob("*.msi"))
        shutil.unpack_archive(*(work / "whole/dist").glob("*.zip"), work / "archive")
        for folder in ("installed", "archive"):
            libraries = [file for file in (work / folder).rglob("*") if file.suffix.lower() == ".dll"]
            self.assertEqual(len(libraries), 2)
            for library in libraries:
                self.assert_signed(library)

    def test_what_cannot_be_signed_or_verified_stays_as_it_was(self):
        run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=Other",
            "-keyout", "other.key", "-out", "other.pem", cwd=work)
        encrypted = {"CERTIFICATE": work / "cert.pem", "KEY": work / "key.pem", "PASSWORD": None}
        for changes, reason in [({"PASSWORD": "wrong"}, "signing failed"),
                                (encrypted, "signing failed"),
                                ({"CA_FILE": work / "other.pem"}, "verifying the signature failed")]:
            with self.subTest(reason):
                file = self.copy()
                with self.assertRaisesRegex(SigningError, reason):
                    Signer(settings(**changes)).sign(file)
                self.assertEqual(file.read_bytes(), (BUILD / "UNZIP32.DLL").read_bytes())
                self.assertEqual(list(work.glob("*.signed")), [])

    def test_missing_settings_are_named(self):
        for changes, reason in [
                ({"CERTIFICATE": None}, "There is no certificate: set FOLIVO_SIGN_CERTIFICATE"),
                ({"CERTIFICATE": work / "none.p12"}, "CERTIFICATE: there is no file"),
                ({"CERTIFICATE": work / "cert.pem"}, "FOLIVO_SIGN_KEY"),
                ({"PKCS11_MODULE": TOKEN_DRIVER}, "FOLIVO_SIGN_KEY"),
                ({"PKCS11_MODULE": TOKEN_DRIVER, "KEY": "x", "CERTIFICATE": None}, "Neither"),
                ({"PKCS11_MODULE": TOKEN_DRIVER, "KEY": "pkcs11:object=sign?PIN-value=1"}, "pin-value"),
                ({"CA_FILE": work / "none.pem"}, "CA_FILE: there is no file")]:
            with self.subTest(reason), self.assertRaisesRegex(SigningError, reason):
                Signer(settings(**changes))

    def test_command_line_has_no_secret_and_asks_a_time_stamp_server_only_if_told(self):
        for name, environment in identities().items():
            command = Signer(environment).command(work / "a", work / "b")
            secret = environment.get("FOLIVO_SIGN_PASSWORD", PASSWORD)
            self.assertFalse([word for word in command if word == secret or PASSWORD in word], name)
            self.assertNotIn("-ts", command)
        # SoftHSM's tools put no certificates into a token.
        inside = settings(CERTIFICATE=None, PKCS11_MODULE=TOKEN_DRIVER, KEY="pkcs11:object=sign",
                          PKCS11_CERTIFICATE="pkcs11:object=cert")
        command = Signer(inside).command(work / "a", work / "b")
        self.assertEqual(command[command.index("-pkcs11cert") + 1], "pkcs11:object=cert")
        stamping = Signer(settings(TIMESTAMP_URL="http://127.0.0.1:1"))
        self.assertIn("-TSA-CAfile", stamping.verification(work / "b"))
        command = stamping.command(work / "a", work / "b")
        self.assertEqual(command[command.index("-ts") + 1], "http://127.0.0.1:1")

    def test_package_without_certificate_fails_and_leaves_nothing_under_the_names(self):
        checkout = work / "checkout"
        for folder in ("tools/setup", "tools/package"):
            shutil.copytree(ROOT / folder, checkout / folder)
        dist = checkout / "build/dist"
        dist.mkdir(parents=True)
        (dist / "FolivoPlugin-1.0.0.0-x64.msi").write_text("not signed")
        environment = {key: value for key, value in os.environ.items()
                       if not key.startswith("FOLIVO_SIGN_")}
        for arguments in (["--only-check-arguments", "--sign"], ["--sign"]):
            done = subprocess.run(["/bin/bash", checkout / "tools/package/package.sh", *arguments],
                                  env=environment, capture_output=True, text=True, check=False)
            self.assertEqual(done.returncode, 1)
            self.assertIn("There is no certificate", done.stderr)
            self.assertFalse(dist.exists())


if __name__ == "__main__":
    unittest.main(buffer=True)
