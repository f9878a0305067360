#!/usr/bin/env python3
"""Random folders of logs and random questions: several processes must give the bytes that one gives.

    workers_random.py PROGRAM PROJECT [COUNT [SEED [KEEP]]]

random_logs.py makes both. KEEP is a folder in which whatever differs is left.
"""
import concurrent.futures
import datetime
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
import divided_runs  # pylint: disable=wrong-import-position
import random_logs  # pylint: disable=wrong-import-position
import workers_check  # pylint: disable=wrong-import-position

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
COUNT = int(sys.argv[3]) if len(sys.argv) > 3 else 700
SEED = sys.argv[4] if len(sys.argv) > 4 else "20250330"
KEEP = pathlib.Path(sys.argv[5]) if len(sys.argv) > 5 else None
LEAST_DIVIDED = 0.3  # of the runs


def outcome(folder, words, workers, env, by_form, run):
    """What a run came to, in a folder of logs that is as it was."""
    config = folder / "orvellis.conf"
    text = config.read_text()
    for path in folder.glob("logs/*.ORV"):
        path.unlink()
    before = workers_check.files_in(folder)
    if by_form:
        edition = [word for word in words if word.startswith("edition=")][-1]
        config.write_text(f"{edition}\nWorkers={workers}\n{text}")
        given = "&".join(["username=all"] + [word for word in words if not word.startswith("edition=")]).encode()
        env = dict(env, REQUEST_METHOD="POST", CONTENT_LENGTH=str(len(given)))
        done, division = run([PROGRAM], env, cwd=folder, input=given, timeout=120)
        config.write_text(text)
    else:
        command = [PROGRAM, "username=all"] + words + [f"workers={workers}"]
        done, division = run(command, env, cwd=folder, input=b"", timeout=120)
        if "part=-" in words and done.returncode == 0:  # in which items stand in any order
            merge = [word for word in command if word != "part=-"] + ["merge=-"]
            done, _ = divided_runs.unwatched(merge, env, cwd=folder, input=done.stdout, timeout=120)
    files = {name: content for name, content in workers_check.files_in(folder).items()
             if before.get(name) != content and not name.startswith("store/")}
    hide = workers_check.without_moments
    return (done.returncode, hide(done.stdout), hide(done.stderr), files), division


def trial(number):
    """What became of two divisions, and what differs."""
    chance = random.Random(f"{SEED} {number}")
    with tempfile.TemporaryDirectory() as made:
        folder = pathlib.Path(made)
        logs = random_logs.Logs(chance)
        logs.write(folder / "logs")
        (folder / "orvellis.conf").write_text(random_logs.configuration(chance))
        env = {"TZ": logs.zone, "LC_ALL": "C", "PATH": "/usr/bin:/bin", "SOURCE_DATE_EPOCH": "954547200",
               "COLUMNS": "100", "ORVELLIS_CACHE": ""}
        words, by_form = random_logs.question(chance, logs), chance.random() < 0.25
        if chance.random() < 0.2:
            (folder / "store").mkdir(mode=0o700)
            env["ORVELLIS_CACHE"] = str(folder / "store")
            return with_store(chance, logs, folder, words, env, by_form, number)
        plain, _ = outcome(folder, words, "1", env, by_form, divided_runs.unwatched)
        divisions = []
        for _ in range(2):
            workers = f"{chance.randrange(2, 9)},{chance.choice([64, 300, 1000, 4000, 8192])}"
            done, division = outcome(folder, words, workers, env, by_form, divided_runs.watched)
            if done != plain:
                return [told(number, folder, words, by_form, workers, env, plain, done)]
            divisions.append(division or "same")
        return divisions


def told(number, folder, words, by_form, workers, env, plain, done):
    """What differs, and how it was asked for; the folder is kept."""
    if KEEP is not None:
        shutil.copytree(folder, KEEP / str(number), symlinks=True, dirs_exist_ok=True, ignore_dangling_symlinks=True)
    way = "form" if by_form else "shell"
    return (f"{way} TZ={env['TZ']} ORVELLIS_CACHE={env['ORVELLIS_CACHE']} {' '.join(words)} workers={workers}: "
            f"{workers_check.difference(plain, done)}")


def with_store(chance, logs, folder, words, env, by_form, number):
    """Several questions, by one process and by several, which know what those before have kept; logs grow meanwhile."""
    divisions = []
    for _ in range(3):
        days = [logs.change + datetime.timedelta(days=chance.choice([-1, 0, 1, 2])) for _ in range(2)]
        words = [f"date={min(days):%m%d%Y},{max(days):%m%d%Y}"] + words[1:]
        plain, _ = outcome(folder, words, "1", dict(env, ORVELLIS_CACHE=""), by_form, divided_runs.unwatched)
        for workers in (f"{chance.randrange(2, 9)},{chance.choice([64, 1000, 4000])}", "1"):
            run = divided_runs.unwatched if workers == "1" else divided_runs.watched
            done, division = outcome(folder, words, workers, env, by_form, run)
            if done != plain:
                return [told(number, folder, words, by_form, workers, env, plain, done)]
            divisions += [] if workers == "1" else [division or "same"]
        if chance.random() < 0.5:
            grow(chance, logs, folder)
    return divisions


def grow(chance, logs, folder):
    """Or a line is another one; the times of the file tell, or tell nothing."""
    paths = [path for path in sorted(folder.glob("logs/*")) if not path.is_symlink()]
    if not paths:
        return
    path = chance.choice(paths)
    if path.suffix != ".log" or not path.stat().st_mode & 0o400:
        return
    content = path.read_bytes()
    if chance.random() < 0.7:
        content += logs.log(2000)
    else:
        content = content.replace(b"192.0.2.7", b"192.0.2.9", 1)
    path.write_bytes(content)
    if chance.random() < 0.5:
        os.utime(path, (954547200, 954547200))


def end_of(number):
    try:
        return trial(number)
    except Exception as problem:  # pylint: disable=broad-except
        return [f"{type(problem).__name__}: {problem}"]


def main():
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        found = [(number, end) for number, divisions in enumerate(pool.map(end_of, range(COUNT))) for end in divisions]
    sys.exit(divided_runs.tell(found, LEAST_DIVIDED * 2 * COUNT))


if __name__ == "__main__":
    main()
