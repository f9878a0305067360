#!/usr/bin/env python3
"""Three machines with a server of ssh each, in network namespaces, count logs as docs/beyond-one-machine.md shows it with
GNU parallel; the pages must be the bytes of one run.

    parallel_test.py BUILD_FOLDER

All happens in a copy of the machine that is thrown away (tests/site/in_copy.sh): keys, configurations and the package
are nobody else's. Exit status 77 where a tool or a right is missing.
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import time

from document import ENVIRONMENT, blocks, in_copy, install_package, need, need_rights, requests_of, shell, write_logs

HOSTS = ["web1", "web2", "web3"]
REPORT = pathlib.Path("/srv/report")
PLAIN = "orvellis username=site"
OLD = b"the page of yesterday"
PATIENCE = 30  # seconds
SERVER = """
HostKey {work}/host_key
AuthorizedKeysFile {work}/key.pub
StrictModes no
UsePAM no
PasswordAuthentication no
PidFile none
"""


def run(*command: object) -> None:
    subprocess.run([str(word) for word in command], check=True, stdout=subprocess.DEVNULL)


def address(host: str) -> str:
    return f"192.0.2.{4 * HOSTS.index(host) + 2}"


def connect(host: str) -> None:
    """A namespace and a cable to it."""
    run("ip", "netns", "add", host)
    run("ip", "link", "add", f"to-{host}", "type", "veth", "peer", "name", "eth0", "netns", host)
    run("ip", "address", "add", f"192.0.2.{4 * HOSTS.index(host) + 1}/30", "dev", f"to-{host}")
    run("ip", "link", "set", f"to-{host}", "up")
    for words in (["address", "add", f"{address(host)}/30", "dev", "eth0"], ["link", "set", "eth0", "up"], ["link", "set", "lo", "up"]):
        run("ip", "-netns", host, *words)


def make_keys(work: pathlib.Path) -> None:
    """The home's own folders of ssh and parallel are not to be seen in here."""
    home = pathlib.Path(ENVIRONMENT["HOME"])
    for folder in (home / ".ssh", home / ".parallel"):
        folder.mkdir(mode=0o700, parents=True, exist_ok=True)
        run("mount", "-t", "tmpfs", "-o", "mode=700", "orvellis", folder)
    for key in (work / "host_key", work / "key"):
        run("ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", key)
    of_hosts = (work / "host_key.pub").read_text()
    (home / ".ssh" / "known_hosts").write_text("".join(f"{host},{address(host)} {of_hosts}" for host in HOSTS))
    (home / ".ssh" / "id_ed25519").write_text((work / "key").read_text())
    (home / ".ssh" / "id_ed25519").chmod(0o600)
    with open("/etc/hosts", "a", encoding="ascii") as names:
        names.writelines(f"{address(host)} {host}\n" for host in HOSTS)
    run("usermod", "--password", "*", "root")  # a locked account may not come in by a key


def start(host: str, work: pathlib.Path) -> subprocess.Popen[bytes]:
    """The host's own folders lie over the common ones."""
    for name in ("nginx", "bin"):
        (work / host / name).mkdir(parents=True, exist_ok=True)
    over = f"mount --bind {work}/{host}/nginx /var/log/nginx && mount --bind {work}/{host}/bin /usr/local/bin"
    command = f"hostname {host} && {over} && exec /usr/sbin/sshd -D -e -f {work}/sshd_config"
    with open(work / f"{host}.log", "ab") as log:
        return subprocess.Popen(["nsenter", f"--net=/run/netns/{host}", "unshare", "--mount", "--uts", "sh", "-c", command],
                                env=ENVIRONMENT, stdin=subprocess.DEVNULL, stdout=log, stderr=log)


def wait_for(host: str) -> None:
    end = time.monotonic() + PATIENCE
    while subprocess.run(["ssh", "-o", "BatchMode=yes", host, "true"], env=ENVIRONMENT, stderr=subprocess.DEVNULL, check=False).returncode != 0:
        assert time.monotonic() < end, f"{host} lets nobody in"
        time.sleep(0.05)


def page() -> bytes:
    return (REPORT / "report.html").read_bytes()


def expect_page(commands: str, wanted: bytes, what: str) -> None:
    (REPORT / "report.html").write_bytes(OLD)
    done = shell(commands, REPORT)
    assert done.returncode == 0, f"{what}: status {done.returncode}: {done.stderr.decode()}"
    assert page() == wanted, f"{what}: another page: {done.stderr.decode()}"


def expect_none(commands: str, reason: bytes, what: str) -> None:
    """The page of before stays."""
    (REPORT / "report.html").write_bytes(OLD)
    done = shell(commands, REPORT)
    assert done.returncode != 0 and page() == OLD, f"{what}: status {done.returncode}: a page"
    assert reason in done.stderr, f"{what}: {done.stderr.decode()}"


def break_program(work: pathlib.Path, host: str) -> pathlib.Path:
    """On this host, another program comes before the one that is installed; returns the file of its calls."""
    calls = work / f"{host}.calls"
    calls.unlink(missing_ok=True)
    program = work / host / "bin" / "orvellis"
    program.write_text(f"#!/bin/sh\necho >> {calls}\necho orvellis of {host} fails >&2\nexit 3\n")
    program.chmod(0o755)
    return calls


def shared_logs(work: pathlib.Path, servers: dict[str, subprocess.Popen[bytes]]) -> None:
    commands = blocks("GNU parallel, over ssh")[0]
    configuration = blocks("Without Dask")[0]
    (REPORT / "orvellis.conf").write_text(configuration)
    requests = write_logs(pathlib.Path("/srv/logs"), 1)
    plain = shell(PLAIN, REPORT)
    assert plain.returncode == 0 and requests_of(plain.stdout) == requests, plain.stderr.decode()
    expect_page(commands, plain.stdout, "three machines")

    small = commands.replace("plan=64M", "plan=80K")
    assert small != commands
    expect_page(small, plain.stdout, "many pieces")
    pieces = len((REPORT / "plan").read_text().splitlines())
    assert pieces > 6, f"{pieces} pieces"

    calls = break_program(work, "web2")
    expect_page(small, plain.stdout, "a machine whose program fails")
    assert calls.exists(), "web2 was not asked"
    for host in ("web1", "web3"):
        break_program(work, host)
    expect_none(commands, b"orvellis of web", "machines whose program fails")
    for host in HOSTS:
        (work / host / "bin" / "orvellis").unlink()

    servers["web3"].terminate()
    servers["web3"].wait()
    expect_page(small, plain.stdout, "a machine that does not answer")
    servers["web3"] = start("web3", work)
    wait_for("web3")

    with open("/srv/logs/access.log.1", "r+b") as log:
        log.truncate(1000)
    between = commands.replace("&&\n  parallel", "&&\n  truncate --size=500 /srv/logs/access.log.1 &&\n  parallel")
    assert between != commands
    expect_none(between, b"is no longer the log of which the plan was made", "a log that is cut between plan and pieces")


def own_logs(work: pathlib.Path) -> None:
    configuration, commands = blocks("Logs that lie on the web servers")
    together = work / "together"
    requests = 0
    for at, host in enumerate(HOSTS):
        requests += write_logs(work / host / "nginx", 10 * (at + 1))
        for log in sorted((work / host / "nginx").iterdir()):
            (together / "logs").mkdir(parents=True, exist_ok=True)
            (together / "logs" / f"access.log-{host}-{log.name}").symlink_to(log)
    (together / "orvellis.conf").write_text(configuration.replace("HOST", "logs").replace(";password", ";linked_names=1;password"))
    plain = shell(PLAIN, together)
    assert plain.returncode == 0 and requests_of(plain.stdout) == requests, plain.stderr.decode()
    (REPORT / "fleet.conf").write_text(configuration)
    expect_page(commands, plain.stdout, "logs of three machines")

    calls = break_program(work, "web2")
    expect_none(commands, b"orvellis of web2", "a web server whose program fails")
    assert len(calls.read_bytes()) == 3, "it was not tried three times"


def main() -> None:
    build = sys.argv[1]
    need("parallel", "sshd", "ssh", "ssh-keygen", "ip", "nsenter", "unshare", "usermod")
    in_copy(build)
    need_rights(["ip", "link", "add", "probe", "type", "veth", "peer", "name", "probed"])
    work = pathlib.Path(tempfile.mkdtemp())
    for folder in (REPORT, pathlib.Path("/var/log/nginx"), pathlib.Path("/run/sshd")):
        folder.mkdir(mode=0o755, parents=True, exist_ok=True)
    install_package(build, work / "package")
    make_keys(work)
    (work / "sshd_config").write_text(SERVER.format(work=work))
    for host in HOSTS:
        connect(host)
    servers = {host: start(host, work) for host in HOSTS}
    for host in HOSTS:
        wait_for(host)
    shared_logs(work, servers)
    own_logs(work)


if __name__ == "__main__":
    main()
