#!/usr/bin/env python3
"""Fails unless part_cache_random.py finds out each of some programs that keep reports and give them when they must not.

    part_cache_wrong.py PROGRAM PROJECT AT_SYSTEM_CALL [COUNT]
"""
import concurrent.futures
import pathlib
import subprocess
import sys
import tempfile

COUNT = sys.argv[4] if len(sys.argv) > 4 else "12"

# Where a run keeps counts, the report of an earlier one of the same key is given, if there is one.
WRONG = '''#!/usr/bin/env python3
import glob, hashlib, os, subprocess, sys
given = sys.stdin.buffer.read()
folder = next((word.split("=")[1] for word in sys.argv if word.startswith("partcache=")), "")
folder = os.environ["ORVELLIS_CACHE"] if folder == "1" else folder
words = [word for word in sys.argv[1:] if not word.startswith("partcache=")]
logs = [path for path in sorted(glob.glob("logs/*")) if not path.endswith(".ORV")]
key = repr((%s))
path = os.path.join(folder, hashlib.md5(key.encode()).hexdigest() + ".counts")
if folder and os.path.isfile(path):
    status, errors, page = open(path, "rb").read().split(b"|", 2)
else:
    done = subprocess.run([%r] + words, input=given, capture_output=True)
    status, errors, page = str(done.returncode).encode(), done.stderr, done.stdout
    try:
        open(path if folder else "/dev/null", "wb").write(b"|".join((status, errors, page)))
    except OSError:
        pass
sys.stderr.buffer.write(errors)
sys.stdout.buffer.write(page)
sys.exit(int(status or b"0"))
'''
SAME = "words, os.environ['TZ'], given"
STATUS = "[os.stat(log).st_%s for log in logs]"
# What a program takes for proof that nothing has changed.
PROGRAMS = {
    "damaged counts are believed": f"{SAME}, [(log, open(log, 'rb').read()) for log in logs]",
    "size and time": f"{SAME}, logs, {STATUS % 'size'}, {STATUS % 'mtime_ns'}",
    "size and inode": f"{SAME}, logs, {STATUS % 'size'}, {STATUS % 'ino'}",
    "names": f"{SAME}, logs",
    "seconds": f"{SAME}, logs, {STATUS % 'size'}, {STATUS % 'ino'}, [os.stat(log).st_ctime_ns // 10**10 for log in logs]",
    "other days": "[word for word in words if '=' in word and word.split('=')[0] not in ('date', 'days', 'from')], os.environ['TZ'],"
                  " given, [open(log, 'rb').read() for log in logs]",
    "other zones": "words, given, [(log, open(log, 'rb').read()) for log in logs]",
}


def is_found_out(name, folder):
    program = pathlib.Path(folder) / name.replace(" ", "_")
    program.write_text(WRONG % (PROGRAMS[name], str(pathlib.Path(sys.argv[1]).resolve())))
    program.chmod(0o755)
    test = pathlib.Path(__file__).with_name("part_cache_random.py")
    done = subprocess.run([sys.executable, "-B", str(test), str(program), *sys.argv[2:4], COUNT], capture_output=True, text=True,
                          check=False)
    found = done.returncode == 1 and "DIFFERS: " in done.stdout and "BREAKS: " not in done.stdout
    return f"{name}: {'found out' if found else 'not found out'}: {(done.stdout or done.stderr).splitlines()[-1]}", found


def main():
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(len(PROGRAMS)) as pool:
        ends = list(pool.map(is_found_out, PROGRAMS, [folder] * len(PROGRAMS)))
    print(*(line for line, _ in ends), sep="\n")
    sys.exit(0 if all(found for _, found in ends) else 1)


if __name__ == "__main__":
    main()
