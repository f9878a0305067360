#!/usr/bin/env python3
"""How long a refusal takes, for an account that exists and for one that does not.

    bench/refusal_times.py PROGRAM [ROUNDS]

Each round asks once for each kind of account, each with a file of refusals of its own, and all
at once: they differ in nothing but the account. Prints the medians over the rounds: processor time,
which is the hash above all, and time until the answer, which is the second that it waits. An account
whose hash is not of the kind that orvellis-passwd makes stands beside them, for comparison.
"""

import os
import statistics
import subprocess
import sys
import tempfile
import threading
import time

PROGRAM = os.path.abspath(sys.argv[1])
ROUNDS = int(sys.argv[2]) if len(sys.argv) > 2 else 30
# What crypt makes by itself, and a quick kind.
STRONG = "$y$j9T$6Zrh8hQy6hISk0CfZuyVx.$H3NwQJxvaRHRe45YzNjBbps9pMJBXeyshNUPMO5DblB"
QUICK = "$1$jIH7ZGax$mukK8wex97aEUUAhlzFql0"
KINDS = {"exists": STRONG, "exists, no rule": "", "exists, plain text": "SECRET", "exists, a quick hash": QUICK,
         "does not exist": None}


def ask(folder, hash_text):
    """Seconds of the processor and of the clock."""
    rule = "" if hash_text is None else f"user=shop;logs=x;url=http://www.example.com;password={hash_text}\n"
    with open(os.path.join(folder, "orvellis.conf"), "w", encoding="ascii") as file:
        file.write(f"Edition=modern\nLoginLimits=limits\nErrorLog=log\nuser=other;logs=x;password={STRONG}\n{rule}")
    limits = os.path.join(folder, "limits")
    if os.path.exists(limits):
        os.unlink(limits)
    form = b"username=shop&password=guess&date=03052000,03052000"
    environment = {"REQUEST_METHOD": "POST", "REMOTE_ADDR": "192.0.2.7", "CONTENT_LENGTH": str(len(form))}
    begun = time.monotonic()
    process = subprocess.Popen([PROGRAM], cwd=folder, env=environment, stdin=subprocess.PIPE,
                               stdout=subprocess.DEVNULL)
    process.stdin.write(form)
    process.stdin.close()
    _, process.returncode, usage = os.wait4(process.pid, 0)
    return usage.ru_utime + usage.ru_stime, time.monotonic() - begun


def main():
    times = {kind: [] for kind in KINDS}
    with tempfile.TemporaryDirectory() as folder:
        for number, kind in enumerate(KINDS):
            os.mkdir(os.path.join(folder, str(number)))
        for _ in range(ROUNDS):
            def measure(number, kind):
                times[kind].append(ask(os.path.join(folder, str(number)), KINDS[kind]))
            threads = [threading.Thread(target=measure, args=item) for item in enumerate(KINDS)]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
    print(f"{'account':22} {'processor ms':>12} {'answer s':>9}")
    for kind, pairs in times.items():
        processor, answer = (statistics.median(column) for column in zip(*pairs))
        print(f"{kind:22} {1000 * processor:12.1f} {answer:9.3f}")


main()
