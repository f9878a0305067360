#!/usr/bin/env python3
"""Counts the pieces of logs whose bytes come by standard input, in places where there are no logs, and expects the
page of one run over the files; counts some as missing, and expects that every output says so.

    given_bytes.py PROGRAM
"""
import bz2
import gzip
import json
import lzma
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
from piece_bytes import BEFORE, FIRST, field, path_of, stretch  # pylint: disable=wrong-import-position

PROGRAM = str(pathlib.Path(sys.argv.pop(1)).resolve())
NO_PART = 4
ARGUMENTS = ["edition=modern", "username=all", "days=all", "requests=1,1000", "referrers=1", "badurls=1",
             "dailytotals=1", "hitsperhour=1"]
ENVIRONMENT = {"TZ": "UTC", "LC_ALL": "C", "PATH": os.environ["PATH"]}
MADE = re.compile(rb"<time[^>]*>[^<]*</time>")


def line(number: int, day: int = 5) -> bytes:
    return (f'10.0.{number % 7}.{number % 251} - - [{day:02}/Mar/2001:{number % 24:02}:00:00 +0000] '
            f'"GET /{number % 97}.html HTTP/1.0" 200 {number} "http://www.example.net/{number % 5}" "A/1"\n').encode()


def named(piece: bytes) -> str:
    return "piece=" + piece.decode()


class GivenBytes(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "logs").mkdir()
        (self.folder / "elsewhere").mkdir()
        for place in (self.folder, self.folder / "elsewhere"):
            (place / "orvellis.conf").write_text("user=all;logs=logs/*;url=http://www.example.com;password=*\n")

    def write(self, name: str, content: bytes) -> None:
        (self.folder / "logs" / name).write_bytes(content)

    def run_in(self, place: str, *words: str, given: bytes = b"",
               env: dict[str, str] | None = None) -> tuple[int, bytes, bytes]:
        done = subprocess.run([PROGRAM, *ARGUMENTS, *words], cwd=self.folder / place, env=ENVIRONMENT | (env or {}),
                              input=given, capture_output=True, timeout=60, check=False)
        return done.returncode, MADE.sub(b"NOW", done.stdout), done.stderr

    def plan(self, size: str) -> list[bytes]:
        status, out, said = self.run_in(".", f"plan={size}")
        self.assertEqual((status, said), (0, b""))
        return out.splitlines()

    def content(self, piece: bytes) -> bytes:
        return (self.folder / os.fsdecode(path_of(piece))).read_bytes()

    def given(self, piece: bytes) -> tuple[int, bytes, bytes]:
        return self.run_in("elsewhere", "piece=-", "stream=-", "part=-",
                           given=piece + b"\n" + stretch(piece, self.content(piece)))

    def parts(self, pieces: list[bytes]) -> list[bytes]:
        parts = []
        for piece in pieces:
            status, part, said = self.given(piece)
            self.assertEqual((status, said), (0, b""), piece)
            parts.append(part)
        return parts

    def merged(self, parts: list[bytes], *words: str) -> tuple[int, bytes, bytes]:
        return self.run_in("elsewhere", "merge=-", *words, given=b"".join(parts))

    def expect_same(self, size: str, *words: str) -> list[bytes]:
        """The page of pieces whose bytes were given is that of one run; also of sums, and of two kinds of pieces."""
        pieces = self.plan(size)
        plain = self.run_in(".", *words)
        parts = self.parts(pieces)
        self.assertEqual(self.merged(parts, *words), plain)
        half = len(parts) // 2
        sums = []
        for some in (parts[:half], parts[half:]):
            if some:
                status, part, said = self.merged(some, "part=-")
                self.assertEqual((status, said), (0, b""))
                sums.append(part)
        self.assertEqual(self.merged(sums, *words), plain)
        return pieces

    # ---- Bytes that come ----

    def test_make_the_page_of_the_files(self) -> None:
        self.write("a.log", b"".join(line(i) for i in range(60000)))
        self.write("b.log", b"".join(line(i, 6) for i in range(10)))
        self.write("c.log", b"")
        pieces = self.expect_same("700K")
        self.assertGreater(len(pieces), 10)
        self.assertEqual(len(self.expect_same("1G")), 3)

    def test_number_lines_that_are_not_understood_within_the_log(self) -> None:
        lines = [line(i) for i in range(60000)]
        lines[40000] = b"not understood\n"
        lines[50001] = b"nor this\n"
        for end in (b"\n", b"\r\n", b"\n\n"):
            self.write("a.log", b"".join(lines).replace(b"\n", end))
            self.expect_same("700K")
            self.assertRegex(self.run_in(".", "output=text")[1], rb"the first in\s+line (40,001|80,001)")

    def test_number_the_first_line_of_each_reason(self) -> None:
        lines = [line(i) for i in range(60000)]
        for i in (20000, 40000, 45000):
            lines[i] = b"not understood\n"
        for i in (30000, 50001):
            lines[i] = lines[i].replace(b"/Mar/", b"/Foo/")
        self.write("a.log", b"".join(lines))
        self.expect_same("700K", "unknown=1,0", "output=csv", "section=unknown")
        rows = self.run_in(".", "unknown=1,0", "output=csv", "section=unknown")[1].decode().splitlines()[1:]
        self.assertEqual([(row.split(",")[2], row.split(",")[-1]) for row in rows], [("3", "20001"), ("2", "30001")])

    def test_leave_out_a_number_that_nobody_knows(self) -> None:
        lines = [line(i) for i in range(60000)]
        lines[40000] = b"not understood\n"
        self.write("a.log", b"".join(lines))
        pieces = self.plan("700K")
        parts = self.parts(pieces)
        for lacking in ("file", "missing"):
            words = ["missing=1"] if lacking == "missing" else []
            status, parts[0], said = self.run_in(".", named(pieces[0]), "part=-", *words)
            self.assertEqual((status, said), (0, b""))
            status, out, said = self.merged(parts, "output=json")
            self.assertEqual((status, said), (0, b""))
            texts = [note["text"] for note in json.loads(out)["notes"] if note["code"] == "lines_not_understood"]
            self.assertEqual(len(texts), 1)
            self.assertRegex(texts[0], r"^a\.log: 1 line of [0-9,]* not understood\.$")

    def test_may_be_of_logs_whose_layout_other_lines_tell(self) -> None:
        self.write("a.log", b"".join(line(i) for i in range(20000)) +
                   b"".join(b'{"time":"2001-03-05T10:00:00Z","remote_addr":"192.0.2.1","request":"GET /%d HTTP/1.1",'
                            b'"status":200,"bytes_sent":5}\n' % i for i in range(20000)))
        self.write("b.log", b"#Fields: date time c-ip cs-uri-stem sc-status\n" +
                   b"".join(b"2001-03-05 10:00:00 192.0.2.1 /%d 200\n" % (i % 50) for i in range(60000)))
        self.expect_same("300K")

    def test_may_be_compressed(self) -> None:
        log = b"".join(line(i) for i in range(5000))
        self.write("a.log.gz", gzip.compress(log))
        self.write("b.xz", lzma.compress(log[:-1000]))
        self.write("c.bz2", bz2.compress(log[:-2000]))
        self.write("d.gz", gzip.compress(log[:-3000])[:-100])
        plain = self.run_in(".")
        self.assertEqual(self.merged(self.parts(self.plan("64K"))), plain)

    def test_are_those_of_a_log_that_grows(self) -> None:
        self.write("a.log", b"".join(line(i) for i in range(20000)))
        pieces = self.plan("700K")
        self.write("a.log", b"".join(line(i) for i in range(20100)))
        self.assertEqual(self.merged(self.parts(pieces)), self.run_in("."))

    def test_of_another_length_are_refused(self) -> None:
        self.write("a.log", b"".join(line(i) for i in range(60000)))
        log = (self.folder / "logs/a.log").read_bytes()
        pieces = self.plan("700K")
        for piece in (pieces[0], pieces[1], pieces[5], pieces[-1]):
            whole = stretch(piece, log)
            for wrong, word in ((whole[:-1], b"fewer"), (b"", b"fewer"), (whole[:1000], b"fewer"),
                                (whole[:len(whole) // 2], b"fewer"), (whole + b"x", b"more"), (whole + log, b"more")):
                if word == b"more" and field(piece, "to", 0) == 0:
                    continue  # the log may have grown
                done = self.run_in("elsewhere", named(piece), "stream=-", "part=x", given=wrong)
                self.assertEqual(done, (NO_PART, b"", b"orvellis: logs/a.log came with " + word +
                                        b" bytes than its piece wants\n"))

    def test_of_another_log_are_refused(self) -> None:
        self.write("a.log", b"".join(line(i) for i in range(60000)))
        log = (self.folder / "logs/a.log").read_bytes()
        for piece in self.plan("700K"):
            whole = stretch(piece, log)
            begin = max(field(piece, "lead", 0) - BEFORE, 0)
            place = min(FIRST, begin) + field(piece, "from", 0) - begin - 1
            for at in {0, 4095, max(place, 0)}:
                wrong = bytearray(whole)
                wrong[at] ^= 1
                done = self.run_in("elsewhere", named(piece), "stream=-", "part=x", given=bytes(wrong))
                self.assertEqual(done, (NO_PART, b"", b"orvellis: logs/a.log is no longer the log of which the plan "
                                                      b"was made\n"))

    def test_are_kept_where_there_is_room(self) -> None:
        self.write("a.log", b"".join(line(i) for i in range(100)))
        piece, = self.plan("1G")
        plain = self.given(piece)
        for folder in ("/nowhere", "", str(self.folder)):
            done = self.run_in("elsewhere", named(piece), "stream=-", "part=-", given=self.content(piece),
                               env={"TMPDIR": folder})
            self.assertEqual(done, plain)
        self.assertEqual(sorted(os.listdir(self.folder)), ["elsewhere", "logs", "orvellis.conf"])

    def test_stand_for_nothing_of_their_path(self) -> None:
        self.write("a.log", b"".join(line(i) for i in range(100)))
        piece, = self.plan("1G")
        plain = self.given(piece)
        other = self.folder / "elsewhere/logs"
        other.mkdir()
        (other / "a.log").write_bytes(b"".join(line(i, 7) for i in range(200)))
        self.assertEqual(self.given(piece), plain)

    # ---- Pieces that are missing ----

    def test_missing_pieces_are_told_by_every_output(self) -> None:
        self.write("a.log", b"".join(line(i) for i in range(20000)))
        self.write("b.log", b"".join(line(i, 6) for i in range(10)))
        self.write("c.log", b"".join(line(i, 7) for i in range(10)))
        log = (self.folder / "logs/a.log").read_bytes()
        pieces = self.plan("700K")
        self.assertEqual(len(pieces), 5)
        for lacking in ({0}, {1}, {2}, {0, 1}, {0, 1, 2}, {3}, {1, 3, 4}, set(range(5))):
            parts = []
            lines = bytes_missing = 0
            for number, piece in enumerate(pieces):
                words = ["missing=1"] if number in lacking else []
                status, part, said = self.run_in("elsewhere" if words else ".", named(piece), "part=-", *words)
                self.assertEqual((status, said), (0, b""))
                parts.append(part)
                if number < 3:
                    own = log[field(piece, "from", 0):field(piece, "to", len(log))]
                    bytes_missing += len(own) if words else 0
                    lines += 0 if words else own.count(b"\n")
                else:
                    lines += 0 if words else 10
            wanted = []
            if lacking & {0, 1, 2}:
                wanted.append("a.log is missing." if lacking >= {0, 1, 2} else
                              f"a.log: {bytes_missing:,} bytes of it are missing.")
            wanted += [f"{name}.log is missing." for number, name in ((3, "b"), (4, "c")) if number in lacking]
            status, sums, said = self.merged(parts[1:], "part=-")
            self.assertEqual((status, said), (0, b""))
            for given in (parts, [parts[0], sums]):
                status, out, said = self.merged(given, "output=json", "totals=1")
                self.assertEqual(status, 0)
                report = json.loads(out)
                self.assertEqual([note["text"] for note in report["notes"] if note["code"] == "logs_missing"], wanted)
                self.assertEqual(report["totals"]["requests"], lines)
                for text in wanted:
                    self.assertIn(text[:-1].encode() + b"\n", said)
                for output in ("modern", "text"):
                    shown = self.merged(given, f"output={output}")[1]
                    told = re.sub(r"\s+", " ", re.sub(r"<[^>]*>", "", shown.decode()))
                    for text in wanted:
                        self.assertIn(text, told)

    def test_missing_pieces_need_no_state_that_fits(self) -> None:
        self.write("a.log", b"".join(line(i) for i in range(5000)) +
                   b"#Fields: date time c-ip cs-uri-stem sc-status\n" +
                   b"".join(b"2001-03-05 10:00:00 192.0.2.1 /%d 200\n" % (i % 50) for i in range(20000)))
        status, out, said = self.run_in(".", "plan=200K,quick")
        self.assertEqual((status, said), (0, b""))
        pieces = out.splitlines()
        parts = self.parts(pieces)
        status, _, said = self.merged(parts)
        self.assertEqual(status, NO_PART)
        found = re.search(rb"part (\d+) does not go on as the piece before", said)
        assert found is not None
        for number in (int(found.group(1)) - 1, int(found.group(1)) - 2):
            status, missing, said = self.run_in("elsewhere", named(pieces[number]), "missing=1", "part=-")
            self.assertEqual((status, said), (0, b""))
            self.assertEqual(self.merged(parts[:number] + [missing] + parts[number + 1:number + 2], "part=-")[0], 0)

    def test_many_missing_logs_are_one_note(self) -> None:
        for number in range(14):
            self.write(f"{number:02}.log", line(number))
        parts = [self.run_in("elsewhere", named(piece), "missing=1", "part=-")[1] for piece in self.plan("1G")]
        status, out, _ = self.merged(parts, "output=json")
        self.assertEqual(status, 0)
        texts = [note["text"] for note in json.loads(out)["notes"] if note["code"] == "logs_missing"]
        self.assertEqual(texts[11:], ["11.log is missing.", "2 more logs, missing too, as a whole or in part."])

    # ---- Arguments ----

    def test_are_for_pieces_of_the_modern_edition(self) -> None:
        self.write("a.log", line(1))
        piece, = self.plan("1G")
        classic = [named(piece), "edition=classic", "date=03012001,03312001", "find=/"]
        for words in (["missing=1"], ["stream=-"], [named(piece), "stream=file"],
                      [named(piece), "stream=-", "missing=1"], classic + ["missing=1"],
                      classic + ["stream=-"]):
            done = self.run_in(".", *words, "part=x", given=line(1))
            self.assertEqual(done, (NO_PART, b"", b"orvellis: missing=1 or stream=- are for a piece= that the modern "
                                                  b"edition counts\n"), words)
        self.assertEqual(self.run_in(".", named(piece), "stream=-", "plan=1K", given=line(1))[0], NO_PART)
        self.assertEqual(self.run_in(".", named(piece), "missing=0", "part=-"),
                         self.run_in(".", named(piece), "part=-"))
        self.assertEqual(self.run_in(".", "piece=x", "missing=1", "part=x"),
                         (NO_PART, b"", b"orvellis: piece= is no piece that plan= has named\n"))


if __name__ == "__main__":
    unittest.main()
