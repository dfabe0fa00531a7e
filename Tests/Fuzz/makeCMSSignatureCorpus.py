#!/usr/bin/env python3
"""Writes the seeds of CMSSignatureFuzzer: signature messages and time-stamp tokens that verify.

Needs the openssl command. Every run makes new keys, which are thrown away: nobody can make another message that verifies.
The first byte of a seed says what follows: 0 a message over the content that the fuzz target holds, 1 a token over the
signature value that it holds.
"""

import pathlib
import subprocess
import tempfile

FOLDER = pathlib.Path(__file__).parent / "corpus" / "CMSSignatureFuzzer"
CONTENT = b"content that the messages sign"
SIGNATURE_VALUE = b"signature value that the tokens stamp"
TIMESTAMP_TOKEN = bytes.fromhex("060b2a864886f70d010910020e")  # object identifier 1.2.840.113549.1.9.16.2.14

AUTHORITY = """
[tsa]
default_policy = 1.2.3.4
digests = sha1, sha256, sha384, sha512
serial = {folder}/serial
accuracy = secs:1
ordering = yes
tsa_name = {has_name}
ess_cert_id_chain = no
ess_cert_id_alg = {digest}
signer_digest = {digest}
"""


# ---- DER -----------------------------------------------------------------------------------------------------------

def element(tag, content):
    length = len(content)
    if length < 0x80:
        return bytes([tag, length]) + content
    size = (length.bit_length() + 7) // 8
    return bytes([tag, 0x80 | size]) + length.to_bytes(size, "big") + content


def elements(content):
    """(tag, content) of the values that stand one after the other."""
    found = []
    while content:
        start, length = 2, content[1]
        if length >= 0x80:
            start += length & 0x7F
            length = int.from_bytes(content[2:start], "big")
        found.append((content[0], content[start:start + length]))
        content = content[start + length:]
    return found


def indefinite(tag, content):
    return bytes([tag, 0x80]) + content + b"\0\0"


def joined(parts):
    return b"".join(element(tag, content) for tag, content in parts)


def signed_data(message):
    """The values of the SignedData, and the content type before it."""
    content_type, wrapper = elements(elements(message)[0][1])
    return elements(elements(wrapper[1])[0][1]), element(*content_type)


def with_indefinite_lengths(message):
    """As platforms with a streaming encoder write the outer values."""
    parts, content_type = signed_data(message)
    inner = joined(parts[:2]) + indefinite(*parts[2]) + joined(parts[3:])
    return indefinite(0x30, content_type + indefinite(0xA0, indefinite(0x30, inner)))


def signature_value(message):
    return elements(elements(signed_data(message)[0][-1][1])[0][1])[5][1]


def with_token(message, token):
    parts, content_type = signed_data(message)
    signer = elements(parts[-1][1])[0][1]
    attribute = element(0x30, TIMESTAMP_TOKEN + element(0x31, token))
    parts[-1] = (0x31, element(0x30, signer + element(0xA1, attribute)))
    return element(0x30, content_type + element(0xA0, element(0x30, joined(parts))))


# ---- Keys, messages, tokens ----------------------------------------------------------------------------------------

class Maker:
    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        (self.folder / "serial").write_text("01\n")

    def run(self, *arguments):
        subprocess.run(["openssl", *arguments], cwd=self.folder, check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)

    def key_options(self, is_rsa):
        kind = ["rsa:2048"] if is_rsa else ["ec", "-pkeyopt", "ec_paramgen_curve:P-256"]
        return ["-newkey", *kind, "-nodes"]

    def make_identity(self, name, purpose, is_rsa):
        """A root and a certificate for `purpose`: NAME.key, NAME.pem, NAME-root.pem."""
        self.run("req", "-x509", *self.key_options(is_rsa), "-days", "3650", "-subj", f"/O={name}/CN={name} root",
                 "-keyout", "root.key", "-out", f"{name}-root.pem")
        self.run("req", *self.key_options(is_rsa), "-subj", f"/O={name}/CN={name}", "-keyout", f"{name}.key", "-out",
                 "request.pem")
        (self.folder / "extensions").write_text(f"keyUsage=critical,digitalSignature\n"
                                                f"extendedKeyUsage=critical,{purpose}\n")
        self.run("x509", "-req", "-in", "request.pem", "-CA", f"{name}-root.pem", "-CAkey", "root.key", "-days", "3650",
                 "-extfile", "extensions", "-out", f"{name}.pem")

    def message(self, name):
        (self.folder / "content").write_bytes(CONTENT)
        self.run("cms", "-sign", "-binary", "-nosmimecap", "-in", "content", "-signer", f"{name}.pem", "-inkey",
                 f"{name}.key", "-certfile", f"{name}-root.pem", "-md", "sha256", "-outform", "DER", "-out", "message")
        return (self.folder / "message").read_bytes()

    def token(self, name, value, imprint, digest, has_name):
        (self.folder / "value").write_bytes(value)
        (self.folder / "configuration").write_text(
            AUTHORITY.format(folder=self.folder, digest=digest, has_name="yes" if has_name else "no"))
        self.run("ts", "-query", "-data", "value", f"-{imprint}", "-cert", "-out", "query")
        self.run("ts", "-reply", "-config", "configuration", "-section", "tsa", "-queryfile", "query", "-signer",
                 f"{name}.pem", "-inkey", f"{name}.key", "-chain", f"{name}-root.pem", "-token_out", "-out", "token")
        return (self.folder / "token").read_bytes()


def make_seeds(maker):
    maker.make_identity("developer", "codeSigning", False)
    maker.make_identity("company", "codeSigning", True)
    maker.make_identity("clock", "timeStamping", False)
    maker.make_identity("tower", "timeStamping", True)
    message = maker.message("developer")
    stamped = with_token(message, maker.token("clock", signature_value(message), "sha256", "sha256", False))
    token = maker.token("clock", SIGNATURE_VALUE, "sha512", "sha256", False)
    return {
        "message": b"\0" + message,
        "message-rsa": b"\0" + maker.message("company"),
        "message-indefinite": b"\0" + with_indefinite_lengths(message),
        "message-stamped": b"\0" + stamped,
        "message-stamped-indefinite": b"\0" + with_indefinite_lengths(stamped),
        "token": b"\1" + token,
        "token-indefinite": b"\1" + with_indefinite_lengths(token),
        "token-named-sha1": b"\1" + maker.token("clock", SIGNATURE_VALUE, "sha1", "sha1", True),
        "token-rsa": b"\1" + maker.token("tower", SIGNATURE_VALUE, "sha256", "sha256", False),
    }


def main():
    FOLDER.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as folder:
        for name, content in make_seeds(Maker(folder)).items():
            (FOLDER / name).write_bytes(content)


if __name__ == "__main__":
    main()
