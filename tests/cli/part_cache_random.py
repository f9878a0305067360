#!/usr/bin/env python3
"""Random histories of a folder of logs, of the counts that are kept of them, and of questions: a report with kept
counts must be the bytes of one without.

    part_cache_random.py PROGRAM PROJECT AT_SYSTEM_CALL [COUNT [SEED [KEEP]]]

Between rounds, in which every history goes on, all wait until logs count as settled; within one they do not. KEEP is
a folder in which that of a history is left whose reports differ.
"""
import collections
import concurrent.futures
import datetime
import os
import pathlib
import random
import resource
import shutil
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
import divided_runs  # pylint: disable=wrong-import-position
import parts_check  # pylint: disable=wrong-import-position
import random_logs  # pylint: disable=wrong-import-position
import workers_check  # pylint: disable=wrong-import-position

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
AT_SYSTEM_CALL = str(pathlib.Path(sys.argv[3]).resolve())
COUNT = int(sys.argv[4]) if len(sys.argv) > 4 else 100
SEED = sys.argv[5] if len(sys.argv) > 5 else "20000326"
KEEP = pathlib.Path(sys.argv[6]) if len(sys.argv) > 6 else None
ROUNDS = 7
SETTLED = 3.1  # seconds, in which nobody changes a log
FOREIGN = b"nothing of the program's\n"
LEAST_KEPT = 0.25  # of the reports with counts, where there were any at all
HANG = 120
ROOT = os.geteuid() == 0
LAYOUTS = [["combined"]] * 5 + [["common"], ["json"], ["w3c"], ["letters"], ["tabs"], ["w3c", "w3c other"], ["tabs", "tabs other"],
                                ["common", "combined"], ["combined", "json", "w3c", "tabs"]]
# A disk for the counts that has room for almost nothing: the first run fills it, the second one reports.
SMALL_DISK = ["unshare", "-m", "sh", "-c", 'c=$1 && shift && cp -a "$c" "$c.all" && mount -t tmpfs -o size=$1k,mode=700 none "$c" && '
              'shift && { cp -a "$c.all/." "$c" 2>/dev/null; "$@" >/dev/null 2>&1 </dev/null; exec "$@"; }', "sh"]


def small_disks():
    with tempfile.TemporaryDirectory() as folder:
        command = SMALL_DISK + [f"{folder}/c", "64", "true"]
        os.mkdir(f"{folder}/c")
        return subprocess.run(command, capture_output=True, check=False).returncode == 0


def remove(path):
    if path.is_dir() and not path.is_symlink():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


class Stream(random_logs.Logs):
    """Lines whose times go on from one to the next, over some days around a change of clocks."""

    def __init__(self, chance):
        super().__init__(chance)
        self.now = self.change - datetime.timedelta(days=chance.choice([0, 1, 3]), hours=chance.randrange(24))
        self.pace = chance.choice([30, 300, 1200, 3600])
        self.layouts = chance.choice(LAYOUTS)
        self.layout = self.layouts[0]
        self.end = chance.choice(random_logs.LINE_ENDS)
        self.first = self.now

    def lines(self, count, begins=False):
        chance, self.step = self.chance, self.pace
        text = [random_logs.HEADS[self.layout]] if begins and self.layout in random_logs.HEADS else []
        for _ in range(count):
            if len(self.layouts) > 1 and chance.random() < 0.05:
                self.layout = chance.choice(self.layouts)
                text.append(random_logs.HEADS.get(self.layout, b""))
            text.append(self.odd_line() if chance.random() < self.odd else self.line(self.layout))
        return b"".join(line + self.end for line in text)

    def many(self):
        """More than the program takes at once."""
        if self.layout not in ("common", "combined"):
            self.layout = "combined"
        self.pace = 0.2
        some = [self.lines(20000, begins=True)]
        while sum(map(len, some)) < 36 << 20:
            self.now += datetime.timedelta(hours=1)
            here = f"[{self.now.day:02}/{random_logs.MONTHS[self.now.month - 1]}/{self.now:%Y:%H}:".encode()
            some.append(b"".join(here.join((line[:line.find(b"[")], line[line.find(b":", line.find(b"[") + 13) + 1:])) + b"\n"
                                 for line in some[0].split(b"\n") if line.find(b"[") > 0))
        return b"".join(some)


class History:
    """A folder with logs, kept counts and what is known of logs."""

    def __init__(self, number, folder):
        self.number, self.folder = number, pathlib.Path(folder)
        self.chance = random.Random(f"{SEED} {number}")
        self.told, self.ends, self.failed = [], collections.Counter(), False
        for name in ("logs", "backup", "counts", "store"):
            (self.folder / name).mkdir(mode=0o700)
        chance = self.chance
        self.stream = Stream(chance)
        text = random_logs.configuration(chance)
        (self.folder / "orvellis.conf").write_text(text)
        (self.folder / "kept.conf").write_text(f"PartCache=counts\nPartCacheSize={chance.choice(['1G', '1G', '1G', '20K', '0'])}\n{text}")
        self.store = chance.choice(["", "store", "store", "counts"])
        self.keeps_summaries = chance.random() < 0.3
        self.questions = [self.question() for _ in range(3)]
        self.asked = []  # the last reports: their parameters and environment
        self.serial = 0
        for _ in range(chance.randrange(1, 5)):
            self.rotate_by_date()
            self.append()
        if number % 40 == 7:
            (self.folder / "logs/large.log").write_bytes(self.stream.many())
            self.told.append("large")

    def question(self):
        words = random_logs.question(self.chance, self.stream)[1:]
        unknown = "logformat=x4hurc" if "edition=modern" in words else ""
        return [word for word in words if word not in ("days=all", "from=first", "part=-", unknown)]

    # ---- Logs ----

    def logs(self):
        return [path for path in sorted((self.folder / "logs").iterdir()) if path.suffix != ".ORV" and path.is_file()]

    def current(self):
        return self.folder / "logs/access.log"

    def some(self):
        return self.chance.choice(self.logs() or [self.append()])

    def append(self):
        """Or the end of a line that was begun."""
        path, chance = self.current(), self.chance
        begins = not path.exists() or path.stat().st_size == 0
        more = self.stream.lines(chance.choice([1, 1, 3, 20, 60]), begins)
        if chance.random() < 0.15:
            more = more[:-chance.choice([1, 1, 30, 200])]
        with path.open("ab") as log:
            log.write(more)
        return path

    def append_without_an_end(self):
        with self.current().open("ab") as log:
            log.write(self.stream.lines(2).rstrip(b"\r\n"))

    def grow_another(self):
        """Which had come to its end."""
        with self.some().open("ab") as log:
            log.write(self.stream.lines(self.chance.choice([1, 5])))

    def rotate_by_number(self):
        logs = self.folder / "logs"
        for n in range(8, 0, -1):
            for path in list(logs.glob(f"access.log.{n}*")):
                ending = path.name[len(f"access.log.{n}"):]
                if ending == "" or ending[0] == ".":
                    path.rename(logs / f"access.log.{n + 1}{ending}")
        self.leave_behind(logs / "access.log.1")

    def rotate_by_date(self):
        day = f"{self.stream.now:%Y%m%d}"
        path = self.folder / f"logs/access.log-{day}"
        while path.exists() or list(path.parent.glob(path.name + ".*")):
            path = path.with_name(path.name + "a")
        self.leave_behind(path)

    def leave_behind(self, path):
        if not self.current().exists():
            return
        if self.chance.random() < 0.2:  # what cannot be told to open another one
            shutil.copy2(self.current(), path)
            os.truncate(self.current(), 0)
        else:
            self.current().rename(path)
            if self.chance.random() < 0.5:
                self.current().touch()

    def compress(self):
        plain = [path for path in self.logs() if path != self.current() and path.suffix not in random_logs.PACKERS]
        if not plain:
            return
        path, packing = self.chance.choice(plain), self.chance.choice(list(random_logs.PACKERS))
        if path.stat().st_size > 1 << 20:
            return
        packed = path.with_name(path.name + packing)
        packed.write_bytes(random_logs.PACKERS[packing](path.read_bytes()))
        shutil.copystat(path, packed)
        path.unlink()

    def truncate(self):
        path = self.some()
        size = path.stat().st_size
        os.truncate(path, self.chance.choice([0, size // 2, max(size - 1, 0), self.chance.randrange(size + 1)]))

    def truncate_and_regrow(self):
        """To the size that it had."""
        path = self.some()
        size = path.stat().st_size
        content = path.read_bytes()[:size // 2] + self.stream.lines(30)
        if len(content) >= size:
            path.write_bytes(content[:size])

    def other_content(self, content):
        """Of the same size: some figures are others."""
        places = [place for place in range(len(content)) if content[place:place + 1].isdigit()] if len(content) < 100000 else []
        other = bytearray(content)
        for place in self.chance.sample(places, min(len(places), self.chance.choice([1, 4, 20]))):
            other[place] = 48 + (other[place] - 47) % 10
        return bytes(other)

    def rewrite_in_place(self):
        path = self.some()
        before = path.stat()
        with path.open("r+b") as log:
            content = log.read()
            log.seek(0)
            log.write(self.other_content(content))
        if self.chance.random() < 0.7:
            os.utime(path, ns=(before.st_atime_ns, before.st_mtime_ns))

    def replace(self):
        """By a file of the same size and time, which may even get the same inode."""
        path = self.some()
        before, content = path.stat(), path.read_bytes()
        new = path if self.chance.random() < 0.5 else self.folder / "new"
        if new == path:
            path.unlink()
        new.write_bytes(self.other_content(content))
        os.utime(new, ns=(before.st_atime_ns, before.st_mtime_ns))
        if new != path:
            new.rename(path)

    def touch(self):
        os.utime(self.some(), self.chance.choice([None, (954547200, 954547200)]))

    def delete(self):
        if len(self.logs()) > 1:
            self.some().unlink()

    def back_up(self):
        shutil.copy2(self.some(), self.folder / "backup")

    def restore(self):
        saved = sorted((self.folder / "backup").iterdir())
        if saved:
            path = self.chance.choice(saved)
            target = self.folder / "logs" / path.name
            if self.chance.random() < 0.3:
                target.unlink(missing_ok=True)
            shutil.copy2(path, target)

    def copy_beside(self):
        path = self.some()
        self.serial += 1
        target = path.with_name(f"access.log.copy{self.serial}")
        if self.chance.random() < 0.2:
            os.link(path, target)
        else:
            shutil.copy2(path, target)

    def swap_names(self):
        one, other = self.some(), self.some()
        if one != other:
            one.rename(self.folder / "new")
            other.rename(one)
            (self.folder / "new").rename(other)

    CHANGES = [append, append, append, append, append_without_an_end, grow_another, rotate_by_number, rotate_by_date, rotate_by_date,
               compress, truncate, truncate_and_regrow, *[rewrite_in_place] * 4, *[replace] * 4, touch, delete, back_up, back_up,
               restore, restore, copy_beside, swap_names]

    # ---- What is kept ----

    def kept_files(self):
        """Counts most of all."""
        files = [path for name in ("counts", "store") for path in sorted((self.folder / name).glob("*")) if path.is_file()]
        counts = [path for path in files if path.suffix == ".counts"]
        return counts if counts and self.chance.random() < 0.7 else files

    def foreign(self):
        """A file that is none of the program's."""
        path = self.folder / "foreign"
        path.write_bytes(FOREIGN)
        return path

    def damage(self):
        files = self.kept_files()
        files = [path for path in files if not path.is_symlink()]
        if not files:
            return
        path, other, chance = self.chance.choice(files), self.chance.choice(files), self.chance
        content = path.read_bytes()
        place = chance.randrange(len(content)) if content else 0

        def put(new):
            path.unlink()
            path.write_bytes(new)
            path.chmod(0o600)

        def link(to):
            path.unlink()
            path.symlink_to(to)

        def folder():
            path.unlink()
            path.mkdir()

        actions = {
            "bit": lambda: put(content[:place] + bytes([content[place] ^ 1 << chance.randrange(8)]) + content[place + 1:]
                               if content else b"x"),
            "bit in place": lambda: path.write_bytes(content[:place] + b"\x55" + content[place + 1:]),
            "cut": lambda: put(content[:place]),
            "longer": lambda: put(content + b"\x00" * chance.choice([1, 8, 4096])),
            "empty": lambda: put(b""),
            "folder": folder,
            "link": lambda: link(chance.choice([other.resolve(), "nowhere", self.foreign()])),
            "another's": lambda: put(other.read_bytes()),
            "swapped": lambda: (put(other.read_bytes()), other != path and other.write_bytes(content)),
            "hard link": lambda: (self.folder / "other").unlink(missing_ok=True) or os.link(path, self.folder / "other"),
            "mode": lambda: path.chmod(chance.choice([0, 0o400, 0o644, 0o666])),
            "owner": lambda: os.chown(path, 65534 if ROOT else -1, -1),
            "gone": path.unlink,
            "pipe": lambda: (path.unlink(), os.mkfifo(path)),
        }
        what = chance.choice(list(actions))
        actions[what]()
        self.told.append(f"damage {path.parent.name}: {what}")

    def replace_folder(self):
        """Of the counts, or what is in it."""
        counts, chance = self.folder / "counts", self.chance
        what = chance.choice(["mode", "mode", "own again", "gone", "file", "link", "old", "old", "without what is known"])
        if what == "mode":
            counts.chmod(chance.choice([0o777, 0o770, 0o755, 0o500, 0]))
        elif what == "own again":
            counts.chmod(0o700)
        elif what in ("gone", "file", "link"):
            remove(counts)
            if what == "file":
                counts.touch()
            elif what == "link":
                counts.symlink_to("store")
        elif what == "old":  # of another moment than what is known of logs, perhaps
            for name in ("counts", "store"):
                if chance.random() < 0.7:
                    self.go_back(name)
        else:
            remove(self.folder / "store")
            (self.folder / "store").mkdir(mode=0o700)
        self.told.append(f"folder of counts: {what}")

    def go_back(self, name):
        saved, here = self.folder / f"old.{name}", self.folder / name
        if saved.exists():
            remove(here)
            saved.rename(here)
        elif here.is_dir():
            shutil.copytree(here, saved, symlinks=True, ignore=lambda folder, names: [
                one for one in names if not (pathlib.Path(folder) / one).is_file()])

    def mend_folder(self):
        counts = self.folder / "counts"
        if counts.is_symlink() or not counts.is_dir():
            remove(counts)
            counts.mkdir()
        counts.chmod(0o700)

    # ---- Reports ----

    def days(self, modern):
        first, last, chance = self.stream.first, self.stream.now, self.chance
        if modern and chance.random() < 0.3:
            return chance.choice(["days=all", "days=all", "from=first"])
        length = max((last - first).days, 1)
        begin, end = chance.choice([(-40, length + 40)] * 3 + [(0, length), (0, length + 1), (chance.randrange(length + 1),) * 2,
                                    (1, length), (0, length // 2), (length // 2, length), (-3, 0), (length, length + 9), (-30, -20)])
        one, other = (first + datetime.timedelta(days=day) for day in (begin, max(begin, end)))
        return f"date={one:%m%d%Y},{other:%m%d%Y}"

    def words(self):
        """Of a new question, or of one of other days."""
        chance = self.chance
        if chance.random() < 0.1:
            self.questions[chance.randrange(3)] = self.question()
        words = list(chance.choice(self.questions))
        if chance.random() < 0.3:
            words = [word for word in words if not word.startswith("output=")]
            words.append("output=" + chance.choice(["modern", "json", "csv", "text"]))
        if chance.random() < 0.1:
            words.append(f"requests=1,{chance.choice([0, 1, 7])}")
        return [self.days("edition=modern" in words)] + words

    def varied(self, words):
        """In one parameter, which may decide what is counted."""
        chance = self.chance
        place = chance.randrange(1, len(words))
        name, value = words[place].split("=", 1)
        if name == "find" or chance.random() < 0.4:
            return [word for word in words if not word.startswith("find=")] + ["find=" + chance.choice(random_logs.FINDS)]
        if value in ("0", "1"):
            return words[:place] + [f"{name}={1 - int(value)}"] + words[place + 1:]
        return words[:place] + words[place + 1:] if name not in ("edition", "output") else words

    def environment(self):
        zone = self.stream.zone if self.chance.random() < 0.9 else "Asia/Kolkata"
        return {"TZ": zone, "LC_ALL": "C", "PATH": "/usr/bin:/bin", "SOURCE_DATE_EPOCH": "954547200", "COLUMNS": "100",
                "ORVELLIS_CACHE": ""}

    def next_question(self):
        """Mostly the last one, or one of the last, over logs that have changed since or have not."""
        chance = self.chance
        if not self.asked or chance.random() < 0.3:
            some = self.asked and chance.random() < 0.5
            words = self.varied(self.asked[0][0]) if some else self.words()
            self.asked = [(words, self.asked[0][1] if some else self.environment())] + self.asked[:2]
        elif chance.random() < 0.3:
            self.asked.insert(0, self.asked.pop(chance.randrange(len(self.asked))))
        return self.asked[0]

    def summaries(self):
        """In the classic edition, what runs note of logs."""
        return {path: (path.read_bytes(), path.stat().st_mtime_ns) for path in self.folder.glob("logs/*.ORV")}

    def put_summaries(self, saved):
        for path in self.folder.glob("logs/*.ORV"):
            path.unlink()
        for path, (content, when) in saved.items() if self.keeps_summaries else ():
            path.write_bytes(content)
            os.utime(path, ns=(when, when))

    def start(self, words, env, kept, by_form=False, under=(), limit=None):
        """A run, and what its standard input is."""
        given, env = b"", dict(env)
        if kept:
            env["ORVELLIS_CACHE"] = self.store and str(self.folder / self.store)
        if by_form:
            edition = [word for word in words if word.startswith("edition=")][-1]
            config = self.folder / "of_form.conf"
            config.write_text(f"{edition}\n" + (self.folder / ("kept.conf" if kept else "orvellis.conf")).read_text())
            given = "&".join(["username=all"] + [word for word in words if not word.startswith("edition=")]).encode()
            env.update(REQUEST_METHOD="POST", CONTENT_LENGTH=str(len(given)), ORVELLIS_CONFIG=str(config))
            words = []
        else:
            words = ["username=all"] + words
            if kept and self.chance.random() < 0.7:
                words += ["partcache=" + ("1" if self.store == "counts" else str(self.folder / "counts"))]
            elif kept:
                words += ["config=kept.conf"]

        def before():
            if limit is not None:
                resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))

        return subprocess.Popen([*under, PROGRAM, *words], cwd=self.folder, env=env, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, preexec_fn=before if limit is not None else None), given

    def finish(self, started):
        run, given = started
        try:
            out, errors = run.communicate(given, timeout=HANG)
        except subprocess.TimeoutExpired:
            run.kill()
            run.communicate()
            return "hangs", b"", b""
        hide = workers_check.without_moments
        return run.returncode, hide(out), hide(errors)

    def plain(self, words, env, by_form):
        saved = self.summaries()
        self.put_summaries(saved)
        done = self.finish(self.start(words + ["workers=1"] * (not by_form), env, False, by_form))
        noted = {path: workers_check.without_moments(content) for path, (content, _) in self.summaries().items()}
        return done, saved, noted

    def ask(self):
        """The same with counts and without; False when it is not."""
        chance, (words, env) = self.chance, self.next_question()
        by_form = chance.random() < 0.2
        plain, saved, noted = self.plain(words, env, by_form)
        way = "form" if by_form else chance.choice(["usual"] * 7 + ["workers", "workers", "killed", "killed", "two", "two", "size", "disk"])
        self.told.append(f"{way}: TZ={env['TZ']} {' '.join(words)}")
        self.put_summaries(saved)
        if way == "killed":
            self.kill(words, env)
            self.put_summaries(saved)
        more = {"workers": [f"workers={chance.choice(['3,4096', '2,300', '3,64'])}"]}.get(way, [])
        started = [self.start(words + more, env, True, by_form, **self.hindrance(way))]
        if way == "two" and "edition=classic" not in words:  # there, the second one may find the summary of the first
            started.append(self.start(words, env, True))
        ends = [self.finish(run) for run in started]
        for end in ends:
            if end != plain:
                return self.fail(f"DIFFERS: {parts_check.difference(plain, end)}")
        foreign = self.folder / "foreign"
        if foreign.exists() and foreign.read_bytes() != FOREIGN:
            return self.fail("DIFFERS: a file that a link among the counts leads to")
        after = {path: workers_check.without_moments(content) for path, (content, _) in self.summaries().items()}
        if way in ("usual", "form", "killed", "workers") and after != noted:
            return self.fail("DIFFERS: summary files")
        self.ends["kept" if list(self.folder.glob("counts/*.counts")) else "none kept"] += 1
        return True

    def hindrance(self, way):
        if way == "size":
            return {"limit": self.chance.choice([0, 100, 3000])}
        if way == "disk" and SMALL_DISKS:
            self.mend_folder()
            shutil.rmtree(self.folder / "counts.all", ignore_errors=True)
            return {"under": SMALL_DISK + [str(self.folder / "counts"), str(self.chance.choice([4, 8, 16, 32]))]}
        return {}

    def kill(self, words, env):
        call = str(self.chance.randrange(1, 400)) + self.chance.choice(["", "", ":0", ":7"])
        self.finish(self.start(words, env, True, under=[AT_SYSTEM_CALL, "-k", call]))

    def fail(self, what):
        self.failed = True
        self.told.append(what)
        if KEEP is not None:
            shutil.copytree(self.folder, KEEP / str(self.number), symlinks=True, dirs_exist_ok=True,
                            ignore_dangling_symlinks=True)
        return False

    # ---- The whole ----

    def go_on(self):
        """A round: questions over what has settled, changes, and at times questions over what has just changed."""
        chance = self.chance
        if not all(self.ask() for _ in range(chance.choice([1, 2, 2, 3]))):
            return
        for _ in range(chance.choice([0, 1, 1, 2, 3])):
            change = chance.choice(self.CHANGES)
            self.told.append(change.__name__)
            change(self)
            if chance.random() < 0.25 and not self.ask():
                return
        if chance.random() < 0.3:
            for _ in range(chance.choice([1, 3, 9])):
                self.damage()
        if chance.random() < 0.12:
            self.replace_folder()
        elif chance.random() < 0.5:
            self.mend_folder()

    def try_round(self):
        try:
            if not self.failed:
                self.go_on()
        except Exception as problem:  # pylint: disable=broad-except
            self.fail(f"BREAKS: {type(problem).__name__}: {problem}")


SMALL_DISKS = small_disks()


def main():
    with tempfile.TemporaryDirectory() as made, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        folders = [pathlib.Path(made, str(number)) for number in range(COUNT)]
        for folder in folders:
            folder.mkdir()
        histories = list(pool.map(History, range(COUNT), folders))
        for _ in range(ROUNDS):
            time.sleep(SETTLED)
            list(pool.map(History.try_round, histories))
            if any(history.failed for history in histories):
                break
        for folder in folders:  # which may be nobody's to list
            subprocess.run(["chmod", "-R", "u+rwX", str(folder)], capture_output=True, check=False)
    ends = sum((history.ends for history in histories), collections.Counter())
    failed = [history for history in histories if history.failed]
    for history in failed:
        print(f"---- history {history.number}, what is known of logs in \"{history.store}\"", *history.told, sep="\n")
    print(f"{COUNT} histories, {len(failed)} failed; reports: {dict(ends)}; small disks: {SMALL_DISKS}")
    enough = ends["kept"] == 0 or ends["kept"] >= LEAST_KEPT * sum(ends.values())
    sys.exit(1 if failed or not enough else 0)


if __name__ == "__main__":
    main()
