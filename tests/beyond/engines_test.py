#!/usr/bin/env python3
"""What docs/beyond-one-machine.md shows for Slurm and for Kubernetes, run here in their stead (stand_ins/): the pages
must be the bytes of one run, and a piece that fails must leave none.

    engines_test.py slurm|kubernetes PROGRAM

Exit status 77 where Python cannot read YAML.
"""
import os
import pathlib
import subprocess
import sys
import tempfile

from document import ENVIRONMENT, STAND_INS, blocks, requests_of, shell, skip, write_logs

OLD = b"the page of yesterday"
ENGINES = {"slurm": ("Slurm", "count.sh"), "kubernetes": ("Kubernetes", "count.yaml")}


def main() -> None:
    heading, file = ENGINES[sys.argv[1]]
    reads_yaml = subprocess.run(["python3", "-c", "import yaml"], env=ENVIRONMENT, stderr=subprocess.DEVNULL, check=False).returncode == 0
    if sys.argv[1] == "kubernetes" and not reads_yaml:
        skip("python3-yaml is not installed")
    with tempfile.TemporaryDirectory() as work:
        folder = pathlib.Path(work)

        def here(text: str) -> str:
            return text.replace("/srv", work)

        report, page = folder / "report", folder / "report" / "report.html"
        for name in ("report", "bin", "jobs"):
            (folder / name).mkdir()
        (folder / "bin" / "orvellis").symlink_to(os.path.abspath(sys.argv[2]))
        path = f"{folder / 'bin'}:{STAND_INS}:{ENVIRONMENT['PATH']}"
        requests = write_logs(folder / "logs", 1)
        (report / "orvellis.conf").write_text(here(blocks("Without Dask")[0]))
        plain = shell("orvellis username=site", report, PATH=path)
        assert plain.returncode == 0 and requests_of(plain.stdout) == requests, plain.stderr.decode()

        script, commands = map(here, blocks(heading))
        (report / file).write_text(script)
        small = commands.replace("plan=256M", "plan=20K")
        assert small != commands
        for chain in (commands, small, commands):  # of the pieces of before, none is left
            page.write_bytes(OLD)
            done = shell(chain, report, PATH=path, JOBS=str(folder / "jobs"))
            assert done.returncode == 0 and page.read_bytes() == plain.stdout, f"another page: {done.stderr.decode()}"
            pieces = len((report / "plan").read_text().splitlines())
            assert pieces > 20 or chain == commands, f"{pieces} pieces"

        page.write_bytes(OLD)
        between = small.replace("> plan &&", f"> plan && truncate --size=9 {folder}/logs/access.log &&")
        assert between != small
        done = shell(between, report, PATH=path, JOBS=str(folder / "jobs"))
        assert done.returncode != 0 and page.read_bytes() == OLD, "a page of logs that were cut between plan and pieces"
        assert b"is no longer the log of which the plan was made" in done.stderr, done.stderr.decode()


if __name__ == "__main__":
    main()
