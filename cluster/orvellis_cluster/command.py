"""The command: takes its own options, and becomes orvellis-report with the others."""

from __future__ import annotations

import importlib.util
import os
import re
import shutil
import sys
from typing import NoReturn

from . import VERSION, settings
from .settings import Settings
from .told import Failure, harmless

NAME = "orvellis-cluster"

USAGE = """\
Usage: orvellis-cluster [OPTION]... [OPTION OF orvellis-report]... LOG... [NAME=VALUE]...

Writes one report over the LOGs, which the workers of a Dask cluster count: paths
that all of them see, addresses such as http://logs.example.com/access.log.gz, and
with --on-workers logs that lie on their hosts. The page is the one that
orvellis-report writes over the same logs.

      --scheduler ADDRESS   of the cluster, such as tcp://10.0.0.1:8786. Without it, this
                            machine's processors count
      --on-workers PATTERN  logs that lie on the hosts of the workers, such as
                            '/var/log/nginx/access.log*'; may be given several times
      --piece-size SIZE     logs are cut into pieces of about so many bytes, such as 128M
                            (64M to 256M, by what there is)
      --workers N           without --scheduler: so many count at once
      --allow-missing       make a page, too, when logs or parts of them cannot be
                            counted; it says what is missing
      --dry-run             show what would be counted where, and count nothing
      --tls-ca FILE, --tls-cert FILE, --tls-key FILE
                            for a scheduler with a tls:// address
  -h, --help, --version

All other options are those of orvellis-report, but for --classic, --cache, --clear-cache,
--keep-config and --init-site, which are of one machine.

Exit status: 0 a report was written, 1 there was nothing to report, 2 wrong usage
or another failure.
"""

# Options of orvellis-report that a value follows.
VALUED = frozenset(
    "-o --output --index --from --to --path --match --exclude-hosts --exclude-types --top --min --order --directory-depth --compare --only --exclude --reports"
    " --title --url --log-format --date-format --timezone --search-engines --agent-rules --country-database --memory".split()
)
OF_ONE_MACHINE = frozenset("--classic --cache --clear-cache --keep-config --init-site".split())
STEPS = ("plan", "piece", "part", "merge", "stream", "missing")  # parameters of the program
TEXTS = {"--scheduler": "scheduler", "--tls-ca": "tls_ca", "--tls-cert": "tls_cert", "--tls-key": "tls_key"}
FLAGS = {"--allow-missing": "allow_missing", "--dry-run": "dry_run"}
OWN_VALUED = (*TEXTS, "--on-workers", "--piece-size", "--workers")

# Where the other programs stand, from the folder of this one: in a source tree, and installed.
BESIDE = ("../bin", "../../bin")

LEAST_PIECE = 64 * 1024
MOST_WORKERS = 256


def usage_error(sentence: str) -> Failure:
    return Failure(f"{sentence} (see {NAME} --help)")


def size_of(text: str) -> int:
    """The bytes of "64K", "128M" or "1G"."""
    found = re.fullmatch(r"([0-9]{1,15})([KkMmGg]?)", text)
    size = int(found[1]) << {"": 0, "k": 10, "m": 20, "g": 30}[found[2].lower()] if found else 0
    if not LEAST_PIECE <= size < 1 << 40:
        raise usage_error(f'--piece-size takes a size such as 128M, from 64K on, not "{text}"')
    return size


def workers_of(text: str) -> int:
    if not re.fullmatch("[0-9]{1,3}", text) or not 1 <= int(text) <= MOST_WORKERS:
        raise usage_error(f'--workers takes 1 to {MOST_WORKERS}, not "{text}"')
    return int(text)


def take_value(taken: Settings, option: str, value: str) -> list[str]:
    """Takes an own option; what it puts in its place for orvellis-report."""
    if not value:
        raise usage_error(f"{option} needs a value")
    if option == "--piece-size":
        taken.piece_size = size_of(value)
    elif option == "--workers":
        taken.processes = workers_of(value)
    elif option == "--on-workers":
        if not value.startswith("/"):
            raise usage_error(f'--on-workers takes a pattern that begins with "/", not "{value}"')
        return ["workers://" + value]
    else:
        setattr(taken, TEXTS[option], value)
    return []


def take_options(arguments: list[str]) -> tuple[Settings, list[str]]:
    """The own options, and the arguments for orvellis-report."""
    taken, others, at = Settings(), [], 0
    while at < len(arguments):
        word = arguments[at]
        at += 1
        option, attached, value = word.partition("=")
        if word == "--":
            others += [word, *arguments[at:]] if at < len(arguments) else []
            break
        if option in OF_ONE_MACHINE:
            raise usage_error(f"{option} is of one machine: orvellis-report takes it")
        if option in FLAGS:
            if attached:
                raise usage_error(f"{option} takes no value")
            setattr(taken, FLAGS[option], True)
        elif option in OWN_VALUED:
            if not attached:
                value = arguments[at] if at < len(arguments) else ""
                at += 1
            others += take_value(taken, option, value)
        elif attached and option.lower() in STEPS:
            raise usage_error(f"{option}= is set by {NAME} itself")
        else:
            others.append(word)
            if option in VALUED and not attached and at < len(arguments):
                others.append(arguments[at])
                at += 1
    check(taken)
    return taken, others


def check(taken: Settings) -> None:
    if taken.scheduler and not re.fullmatch(r"[a-z]+://[^\s/]+", taken.scheduler):
        raise usage_error(f'--scheduler takes an address such as tcp://10.0.0.1:8786, not "{taken.scheduler}"')
    if taken.scheduler and taken.processes:
        raise usage_error("--workers is for a run without --scheduler: a cluster has the workers that it has")
    files = [taken.tls_ca, taken.tls_cert, taken.tls_key]
    if any(files) and not (all(files) and taken.scheduler.startswith("tls://")):
        raise usage_error("--tls-ca, --tls-cert and --tls-key go together, with a tls:// address of --scheduler")
    for file in filter(None, files):
        if not os.access(file, os.R_OK):
            raise Failure(f"cannot read {file}: check the name and the permissions")


def beside(name: str, *folders: str) -> str:
    """The path of a program: in one of the folders, or where commands are; empty when there is none."""
    here = os.path.dirname(os.path.realpath(sys.argv[0]))
    for folder in folders:
        path = os.path.join(here, folder, name)
        if os.access(path, os.X_OK) and os.path.isfile(path):
            return os.path.normpath(path)
    return shutil.which(name) or ""


def find_programs(taken: Settings) -> str:
    """Finds the program and orvellis-report, which is given back."""
    report = beside("orvellis-report", *BESIDE)
    if not report:
        raise Failure("orvellis-report is not installed: install Orvellis")
    taken.program = os.path.abspath(os.environ.get("ORVELLIS") or beside("orvellis", *BESIDE))
    if not (os.path.isfile(taken.program) and os.access(taken.program, os.X_OK)):
        raise Failure("the program orvellis is not installed: install it, or name it in ORVELLIS")
    return report


def open_descriptor(number: int) -> int:
    """A copy that what is started keeps; -1: it is closed."""
    try:
        copy = os.dup(number)
    except OSError:
        return -1
    os.set_inheritable(copy, True)
    return copy


def become_report(arguments: list[str]) -> NoReturn:
    taken, others = take_options(arguments)
    if importlib.util.find_spec("distributed") is None:
        raise Failure("Dask is not installed: install python3-distributed")
    report = find_programs(taken)
    taken.output = open_descriptor(1)
    quiet = "--quiet" in others or not os.isatty(2) or os.environ.get("TERM", "dumb") == "dumb"
    taken.terminal = -1 if quiet else open_descriptor(2)
    for name in ("tls_ca", "tls_cert", "tls_key"):
        if getattr(taken, name):
            setattr(taken, name, os.path.abspath(getattr(taken, name)))
    settings.put(taken)
    os.environ["ORVELLIS"] = os.path.realpath(sys.argv[0])
    os.execv(report, [report, *others])


def main(argv: list[str]) -> int:
    if settings.VARIABLE in os.environ:
        # Started by orvellis-report in place of orvellis.
        from .engine import run

        return run(argv[1:])
    try:
        if "-h" in argv[1:2] or "--help" in argv[1:2]:
            sys.stdout.write(USAGE)
            sys.stdout.flush()
            return 0
        if argv[1:2] == ["--version"]:
            print(NAME, VERSION, flush=True)
            return 0
        become_report(argv[1:])
    except Failure as failure:
        print(f"{NAME}: {harmless(str(failure))}", file=sys.stderr)
    except BrokenPipeError:
        return 141
    except OSError as error:
        print(f"{NAME}: {harmless(str(error))}", file=sys.stderr)
    return 2
