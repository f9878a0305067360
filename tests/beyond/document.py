"""What docs/beyond-one-machine.md shows, and what its tests share: logs, the package, and how a test is skipped."""
import gzip
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys

PROJECT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENT = PROJECT / "docs" / "beyond-one-machine.md"
STAND_INS = PROJECT / "tests" / "beyond" / "stand_ins"
# The moment that every page tells.
ENVIRONMENT = {"PATH": "/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin", "LC_ALL": "C", "TZ": "UTC", "SOURCE_DATE_EPOCH": "954547200",
               "HOME": str(pathlib.Path("~root").expanduser()), "ORVELLIS_CACHE": ""}
SKIPPED = 77


def skip(reason: str) -> None:
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def need(*tools: str) -> None:
    for tool in tools:
        if shutil.which(tool, path=ENVIRONMENT["PATH"]) is None:
            skip(f"{tool} is not installed")


def need_rights(words: list[str]) -> None:
    if subprocess.run(words, stderr=subprocess.DEVNULL, check=False).returncode != 0:
        skip(f"{' '.join(words)} is not permitted")


def blocks(heading: str) -> list[str]:
    """The fenced blocks below a heading of the document, up to the next heading."""
    section = re.search(rf"^##+ {re.escape(heading)}\n(.*?)(?=^##+ |\Z)", DOCUMENT.read_text(), re.M | re.S)
    assert section, f"the document has no heading {heading!r}"
    return re.findall(r"^```\w+\n(.*?)^```$", section[1], re.M | re.S)


def shell(commands: str, folder: pathlib.Path, seconds: int = 120, **more: str) -> subprocess.CompletedProcess[bytes]:
    return subprocess.run(["sh", "-c", commands], cwd=folder, env={**ENVIRONMENT, **more}, stdin=subprocess.DEVNULL, capture_output=True,
                          timeout=seconds, check=False)


def log_of(seed: int, requests: int) -> bytes:
    """A log of so many requests of March 2000, no two logs alike."""
    any_of = random.Random(seed)
    lines = []
    for request in range(requests):
        lines.append(f"192.0.2.{any_of.randrange(1, 255)} - - [{1 + request * 28 // requests:02}/Mar/2000:{any_of.randrange(24):02}:00:{seed % 60:02} +0000] "
                     f"\"GET /page{any_of.randrange(300)}.html HTTP/1.0\" {any_of.choice([200, 200, 304, 404])} {any_of.randrange(9999)} "
                     f"\"http://www.example.net/{any_of.randrange(40)}\" \"Browser/{any_of.randrange(9)}\"\n")
    return "".join(lines).encode()


def write_logs(folder: pathlib.Path, seed: int) -> int:
    """A log of a server and what it was before; returns the number of their requests."""
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "access.log").write_bytes(log_of(seed, 3000))
    (folder / "access.log.1").write_bytes(log_of(seed + 1, 2000))
    (folder / "access.log.2.gz").write_bytes(gzip.compress(log_of(seed + 2, 1000), mtime=0))
    return 6000


def requests_of(page: bytes) -> int:
    told = re.search(rb'<meta name="orvellis-report" content="[^"]* requests=(\d+) ', page)
    return int(told[1]) if told else -1


def in_copy(build: str) -> None:
    """Starts the test once more, in a copy of this machine with a network of its own; returns in there."""
    if os.environ.get("ORVELLIS_COPY") != "1":
        if os.geteuid() != 0:
            skip("not root")
        need_rights(["unshare", "--net", "true"])
        script = str(PROJECT / "tests/site/in_copy.sh")
        arguments = [str(PROJECT), build, "--", "unshare", "--net", sys.executable, "-B", os.path.abspath(sys.argv[0]), *sys.argv[1:]]
        os.execve(script, [script, *arguments], {**os.environ, "ORVELLIS_COPY": "1"})
    first = pathlib.Path("/proc/self/mounts").read_text().splitlines()
    assert any(line.startswith("orvellis / overlay ") for line in first), "this is no copy"


def make_package(build: str, folder: pathlib.Path) -> pathlib.Path:
    need("cpack", "cmark-gfm", "dpkg")
    subprocess.run(["cpack", "--config", f"{build}/CPackConfig.cmake", "-B", folder], check=True, stdout=subprocess.DEVNULL)
    package, = folder.glob("orvellis_*.deb")
    return package


def install_package(build: str, folder: pathlib.Path) -> None:
    """Only in a copy of the machine."""
    subprocess.run(["dpkg", "--install", make_package(build, folder)], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
