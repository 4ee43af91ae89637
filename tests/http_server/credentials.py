"""HTTP Basic credentials that a scripted path asks for."""

import base64
import binascii
from dataclasses import dataclass

from answer import Answer, Fields, latin1
from body import Body, BytesSegment


@dataclass(frozen=True)
class Credentials:
    """Basic credentials that a path asks for."""

    user: bytes
    password: bytes
    realm: bytes

    def judge(self, authorization: str | None) -> str:
        """Says whether an Authorization value is "missing", "wrong" or "right"."""
        if authorization is None:
            return "missing"
        scheme, _, token = authorization.partition(" ")
        try:
            decoded = base64.b64decode(token.strip(), validate=True)
        except (binascii.Error, ValueError):
            return "wrong"
        right = scheme.lower() == "basic" and decoded == self.user + b":" + self.password
        return "right" if right else "wrong"

    def challenge(self) -> Answer:
        """The answer that asks for these credentials."""
        return Answer(
            status=401,
            reason=b"Unauthorized",
            headers=((b"WWW-Authenticate", b'Basic realm="' + self.realm + b'"'),),
            body=Body((BytesSegment(b"credentials needed\n"),)),
        )


def parse_credentials(value: dict | None) -> Credentials | None:
    """Makes credentials of the script's auth object. Raises ScriptError."""
    if value is None:
        return None
    fields = Fields(value, "auth")
    parts = [latin1(fields.take(name, str, ""), name) for name in ("user", "password", "realm")]
    fields.finish()
    return Credentials(*parts)
