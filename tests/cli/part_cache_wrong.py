#!/usr/bin/env python3
"""Fails unless part_cache_random.py finds out each of some programs that keep reports and give them when they must not,
and nothing of one that keeps them rightly.

    part_cache_wrong.py PROGRAM PROJECT AT_SYSTEM_CALL [COUNT]
"""
import concurrent.futures
import pathlib
import subprocess
import sys
import tempfile

COUNT = sys.argv[4] if len(sys.argv) > 4 else "12"

# Where a run keeps counts, the report of an earlier one of the same key is given, if there is one.
WRONG = '''#!%(python)s -SE
import glob, hashlib, os, subprocess, sys
given = sys.stdin.buffer.read()
def value(name):
    return next((word.split("=")[1] for word in sys.argv if word.startswith(name + "=")), "")
def read(path):
    return open(path, "rb").read()
def sum_of(text):
    return hashlib.md5(text).hexdigest().encode()
folder = value("partcache")
config = read(value("config") or os.environ.get("ORVELLIS_CONFIG", "orvellis.conf"))
if b"PartCache=counts" in config:
    folder = "counts"
if value("edition") == "classic" or b"edition=classic" in config:  # which leaves a file behind
    folder = ""
folder = os.environ["ORVELLIS_CACHE"] if folder == "1" else folder
words = [word for word in sys.argv[1:] if word.split("=")[0] not in ("partcache", "config")]
zone = os.environ["TZ"]
logs = [path for path in sorted(glob.glob("logs/*")) if not path.endswith(".ORV")]
def status(*names):
    return [[getattr(os.stat(log), "st_" + name) for name in names] for log in logs]
contents = [(log, read(log)) for log in logs]
def without(*names):
    return [word for word in words + given.decode().split("&") if word.split("=")[0] not in names]
key = repr((%(key)s))
path = os.path.join(folder, hashlib.md5(key.encode()).hexdigest() + ".counts")
entry = b""
if folder and os.path.isfile(path) and not os.path.islink(path):
    check, _, entry = read(path).partition(b"|")
    if check != sum_of(key.encode() + entry):
        entry = b""
if entry.count(b"|") < 2:
    done = subprocess.run([%(program)r] + words, input=given, capture_output=True)
    entry = str(done.returncode).encode() + b"|" + done.stderr + b"|" + done.stdout
    try:
        if folder:
            with open(path + str(os.getpid()), "wb") as file:
                file.write(sum_of(key.encode() + entry) + b"|" + entry)
            os.rename(path + str(os.getpid()), path)
    except OSError:
        pass
end, errors, page = entry.split(b"|", 2)
sys.stderr.buffer.write(errors)
sys.stdout.buffer.write(page)
sys.exit(int(end) if end.isdigit() else 99)
'''
# What a program takes for proof that the report is the same.
PROGRAMS = {
    "size and time": "words, zone, given, logs, status('size', 'mtime_ns')",
    "size and inode": "words, zone, given, logs, status('size', 'ino')",
    "other days": "without('date', 'days', 'from'), zone, contents",
}
# And what is proof indeed.
RIGHT = "words, zone, given, contents, status('ctime_ns', 'ino')"


def is_found_out(name, folder):
    program = pathlib.Path(folder) / name.replace(" ", "_")
    program.write_text(WRONG % {"python": sys.executable, "key": PROGRAMS.get(name, RIGHT),
                                "program": str(pathlib.Path(sys.argv[1]).resolve())})
    program.chmod(0o755)
    test = pathlib.Path(__file__).with_name("part_cache_random.py")
    done = subprocess.run([sys.executable, "-B", str(test), str(program), *sys.argv[2:4], COUNT], capture_output=True, text=True,
                          check=False)
    found = done.returncode == 1 and "DIFFERS: " in done.stdout and "BREAKS: " not in done.stdout
    last = (done.stdout or done.stderr).splitlines()[-1]
    return f"{name}: {'found out' if found else 'not found out'}: {last}", found == (name in PROGRAMS)


def main():
    names = [*PROGRAMS, "proof"]
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(len(names)) as pool:
        ends = list(pool.map(is_found_out, names, [folder] * len(names)))
    print(*(line for line, _ in ends), sep="\n")
    sys.exit(0 if all(expected for _, expected in ends) else 1)


if __name__ == "__main__":
    main()
