#!/usr/bin/env python3
"""The container image: a report is made with its files and nothing else, as docs/beyond-one-machine.md shows it.

    container_test.py files BUILD_FOLDER    the files that Containerfile puts together, taken from the package where it
                                            is installed in a copy of this machine (tests/site/in_copy.sh)
    container_test.py build BUILD_FOLDER    the image itself, from a base that debootstrap makes; only where
                                            ORVELLIS_SYSTEM_TESTS=1

Exit status 77 where a tool, a right or the packages of Debian cannot be had.
"""
import bz2
import json
import lzma
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
from collections.abc import Callable

from document import ENVIRONMENT, PROJECT, STAND_INS, blocks, in_copy, install_package, log_of, need, need_rights, requests_of, shell, skip, write_logs

HELD = {"orvellis", "networks.txt", "libc.so.6", "libcrypt.so.1", "libisal.so.2", "libz.so.1", "libzstd.so.1", "liblzma.so.5", "libbz2.so.1.0"}
SLIM = ["var/cache/apt", "var/lib/apt/lists", "usr/share/doc", "usr/share/man", "usr/share/locale"]


def stages() -> dict[str, list[tuple[str, str]]]:
    """The instructions of Containerfile and what stands behind them, by the names of the stages."""
    found: dict[str, list[tuple[str, str]]] = {}
    name = ""
    text = re.sub(r"\\\n", " ", re.sub(r"^#.*\n", "", (PROJECT / "Containerfile").read_text(), flags=re.M))
    for line in filter(None, text.splitlines()):
        instruction, _, rest = line.partition(" ")
        if instruction == "FROM":
            name = rest.partition(" AS ")[2]
        found.setdefault(name, []).append((instruction, rest))
    return found


def settings_of(stage: list[tuple[str, str]]) -> dict[str, object]:
    said = dict(stage)
    return {"Entrypoint": json.loads(said["ENTRYPOINT"]), "User": said["USER"], "WorkingDir": said["WORKDIR"], "Env": [said["ENV"]]}


def check_files(root: pathlib.Path) -> None:
    files = {path.name for path in root.rglob("*") if not path.is_dir() and root / "usr/share/zoneinfo" not in path.parents}
    others = {name for name in files - HELD if not name.startswith("ld-linux")}
    assert not others and HELD <= files, f"the image holds {others}, and lacks {HELD - files}"


def write_packed_logs(logs: pathlib.Path) -> int:
    """Of each way to compress, one."""
    requests = write_logs(logs, 1)
    packed: dict[str, Callable[[bytes], bytes]] = {"bz2": bz2.compress, "xz": lzma.compress}
    if shutil.which("zstd"):
        packed["zst"] = lambda log: subprocess.run(["zstd", "-qc"], input=log, stdout=subprocess.PIPE, check=True).stdout
    for seed, (ending, pack) in enumerate(packed.items()):
        (logs / f"access.log.{seed + 3}.{ending}").write_bytes(pack(log_of(seed + 4, 500)))
        requests += 500
    return requests


def check_report(work: pathlib.Path, build: str, files: pathlib.Path) -> None:
    """The report of the document's command, over /srv that lies in a folder."""
    work.chmod(0o755)
    report = work / "srv" / "report"
    report.mkdir(parents=True)
    requests = write_packed_logs(work / "srv" / "logs")
    configuration = blocks("Without Dask")[0]
    (report / "orvellis.conf").write_text(configuration)
    here = configuration.replace("/srv", str(work / "srv")).replace("/usr/share/orvellis", str(PROJECT / "site"))
    (work / "here.conf").write_text(here)
    plain = shell(f"{os.path.abspath(build)}/orvellis config=here.conf username=site", work)
    assert plain.returncode == 0 and requests_of(plain.stdout) == requests, plain.stderr.decode()

    command = blocks("The container image")[1]
    mounted = command.replace("--volume /srv:", f"--volume {work}/srv:")
    assert mounted != command
    done = shell(mounted, work, PATH=f"{STAND_INS}:{ENVIRONMENT['PATH']}", FILES=str(files))
    assert done.returncode == 0, done.stderr.decode()
    assert (work / "report.html").read_bytes() == plain.stdout, "the image makes another page"


def check_put_together(build: str) -> None:
    need("ldd", "unshare")
    in_copy(build)
    work = pathlib.Path(tempfile.mkdtemp())
    install_package(build, work / "package")
    parts = stages()
    for script in (rest for instruction, rest in parts["files"] if instruction == "RUN"):
        done = shell(script, work)
        assert done.returncode == 0, done.stderr.decode()
    files = pathlib.Path("/image")
    files.with_suffix(".json").write_text(json.dumps(settings_of(parts[""])))
    check_files(files)
    check_report(work, build, files)


def make_base(work: pathlib.Path, buildah: list[str]) -> None:
    made = subprocess.run(["debootstrap", "--variant=minbase", "bookworm", work / "base"], stdout=subprocess.PIPE, check=False)
    if made.returncode != 0:
        skip(f"debootstrap: {made.stdout.decode().splitlines()[-1:]}")
    for part in SLIM:  # as Debian's own slim image
        shutil.rmtree(work / "base" / part)
    for words in (["from", "--name", "base", "scratch"], ["copy", "base", f"{work}/base", "/"], ["commit", "--rm", "base", "localhost/base"]):
        subprocess.run([*buildah, *words], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    shutil.rmtree(work / "base")


def files_of(image: str, buildah: list[str]) -> pathlib.Path:
    """Where the image's files lie, and its settings beside them."""
    def ask(*words: str) -> str:
        return subprocess.run([*buildah, *words], check=True, stdout=subprocess.PIPE, text=True).stdout

    container = ask("from", image).strip()
    files = pathlib.Path(ask("mount", container).strip())
    image_settings = json.loads(ask("inspect", "--type", "image", image))["OCIv1"]["config"]
    files.with_suffix(".json").write_text(json.dumps(image_settings))
    return files


def check_built(build: str) -> None:
    if os.environ.get("ORVELLIS_SYSTEM_TESTS") != "1":
        skip("ORVELLIS_SYSTEM_TESTS is not 1")
    if os.geteuid() != 0:
        skip("not root")
    need("buildah", "debootstrap", "unshare", "cpack", "cmark-gfm")
    # What is mounted and started in there ends with it.
    own = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
    need_rights([*own, "true"])
    with tempfile.TemporaryDirectory() as work:
        status = subprocess.run([*own, sys.executable, "-B", __file__, "built", build, work], check=False).returncode
    sys.exit(status)


def storage_in(work: pathlib.Path) -> str:
    """Options of buildah for a storage of its own; without copies of all files where the kernel lets it."""
    for driver in ("overlay", "vfs"):
        options = f"--storage-driver {driver} --root {work}/{driver} --runroot {work}/running-{driver}"
        if subprocess.run(["buildah", *options.split(), "info"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode == 0:
            return options
    skip("buildah has no place to store images")
    return ""


def check_built_in(work: pathlib.Path, build: str) -> None:
    storage = storage_in(work)
    buildah = ["buildah", *storage.split()]
    make_base(work, buildah)
    source = work / "source"
    (source / "build").mkdir(parents=True)
    (source / "build" / "release").symlink_to(os.path.abspath(build))
    for name in ("Containerfile", ".dockerignore"):
        shutil.copy(PROJECT / name, source)
    own, _, command = blocks("The container image")
    for commands in (own, command):
        done = shell(commands, source, 250, PATH=f"{STAND_INS}:{ENVIRONMENT['PATH']}", STORAGE=storage, BASE="localhost/base")
        assert done.returncode == 0, done.stderr.decode()
    files = files_of("localhost/orvellis", buildah)
    check_files(files)
    check_report(work, build, files)
    with_shell = files_of("registry.example.com/orvellis-command", buildah)
    for words in ("orvellis about", "orvellis-report --version"):
        done = subprocess.run(["chroot", "--userspec=65532:65532", with_shell, "sh", "-c", words], env=ENVIRONMENT, capture_output=True, check=False)
        assert done.returncode == 0 and b"1.5" in done.stdout, f"{words}: {done.stderr.decode()}"


if sys.argv[1] == "files":
    check_put_together(sys.argv[2])
elif sys.argv[1] == "build":
    check_built(sys.argv[2])
else:
    check_built_in(pathlib.Path(sys.argv[3]), sys.argv[2])
