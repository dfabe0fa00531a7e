"""Packages of the npm registry, for the tools that take files out of them."""

import hashlib
import shutil
import subprocess


class Unreachable(Exception):
    """npm or the registry cannot be reached."""


class WrongContent(Exception):
    """A package does not hold what it should."""


def sha256(path):
    digest = hashlib.sha256()
    with open(path, "rb") as file:
        while block := file.read(1 << 20):
            digest.update(block)
    return digest.hexdigest()


def fetch(name, version, folder):
    """Path of the package's archive in `folder`, which npm has compared with the registry's checksum (SHA-512)."""
    if shutil.which("npm") is None:
        raise Unreachable("npm is not installed")
    command = ["npm", "pack", f"{name}@{version}", "--pack-destination", str(folder), "--ignore-scripts", "--silent",
               "--no-update-notifier", "--fetch-retries=1", "--fetch-retry-mintimeout=1000"]
    try:
        result = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=300,
                                cwd=folder, check=False)
    except subprocess.TimeoutExpired as error:
        raise Unreachable(f"npm took too long for {name}") from error
    archives = list(folder.glob("*.tgz"))
    if result.returncode != 0 or len(archives) != 1:
        raise Unreachable(f"npm cannot fetch {name} {version} {result.stderr.strip()}".rstrip())
    return archives[0]
