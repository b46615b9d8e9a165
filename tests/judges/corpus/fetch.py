# SPDX-License-Identifier: MIT
"""Downloads Debian source packages and takes the TIFF, PNG and JPEG files out of their archives."""
import hashlib
import pathlib
import re
import subprocess
import tarfile

ENDINGS = (".tif", ".tiff", ".tf8", ".btf", ".png", ".jpg", ".jpeg", ".jpe")
KEYS = "/usr/share/keyrings/debian-archive-keyring.gpg"
# Without security updates, which replace each other; they add no samples.
SOURCES = f"deb-src [signed-by={KEYS}] http://deb.debian.org/debian bookworm main\n"


def packages():
    lines = (pathlib.Path(__file__).parent / "packages.txt").read_text().splitlines()
    return [line for line in lines if line and not line.startswith("#")]


def download(folder):
    """Fills folder/sources with the packages, by apt with a list of sources of its own."""
    apt, sources = folder / "apt", folder / "sources"
    for needed in (apt / "lists" / "partial", sources):
        needed.mkdir(parents=True, exist_ok=True)
    (apt / "sources.list").write_text(SOURCES)
    words = ["apt-get", "-q", "-o", f"Dir::Etc::sourcelist={apt}/sources.list", "-o", "Dir::Etc::sourceparts=/dev/null",
             "-o", f"Dir::State::lists={apt}/lists", "-o", "APT::Sandbox::User=root"]
    subprocess.run([*words, "update"], check=True, stdout=subprocess.DEVNULL)
    for package in packages():
        if not any(sources.glob(f"{package}_*.dsc")):
            subprocess.run([*words, "source", "--download-only", package], check=True, cwd=sources,
                           stdout=subprocess.DEVNULL)


def versions(folder):
    """What was downloaded: names of packages with their versions."""
    found = []
    for package in packages():
        for dsc in sorted((folder / "sources").glob(f"{package}_*.dsc")):
            found.append((package, re.search(r"^Version: (\S+)", dsc.read_text(), re.M).group(1)))
    return found


def unpack(folder):
    """Fills folder/samples with one copy of each sample, by contents, and returns their paths."""
    samples, seen = folder / "samples", set()
    for package in packages():
        for archive in sorted((folder / "sources").glob(f"{package}_*.tar.*")):
            if archive.suffix != ".asc" and not (samples / package / f".{archive.name}").exists():
                extract(archive, samples / package)
    kept = []
    for path in sorted(samples.rglob("*")):
        if path.is_file() and path.suffix.lower() in ENDINGS:
            digest = hashlib.sha256(path.read_bytes()).digest()
            if digest not in seen:
                kept.append(path)
            seen.add(digest)
    return kept


def extract(archive, folder):
    """The samples of an archive, under the last three parts of their paths; then a mark that it is done."""
    folder.mkdir(parents=True, exist_ok=True)
    with tarfile.open(archive) as members:
        for member in members:
            path = pathlib.PurePosixPath(member.name)
            if member.isfile() and path.suffix.lower() in ENDINGS and member.size > 0:
                target = folder / "_".join(path.parts[-3:])
                target.write_bytes(members.extractfile(member).read())
    (folder / f".{archive.name}").touch()
