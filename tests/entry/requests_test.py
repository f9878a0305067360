"""Requests of the modern edition, as a web server makes them: what refusals tell a stranger.

The program's path stands in ORVELLIS.
"""

import os
import subprocess
import tempfile
import unittest
import urllib.parse

PROGRAM = os.environ["ORVELLIS"]
# "Right password"
HASH = "$5$rounds=1000$hHrFWepvJi/knQ/p$9F5/FWOhI1Hjcxg3s1uERv/S.Qvickp4rUxr/yv.Dv0"
ACCOUNTS = {
    "right": f"password={HASH}",
    "filed": "title=its password stands in the file",
    "ruleless": "title=no password anywhere",
    "plain": "password=SECRET",
    "filed-plain": "title=a plain text stands in the file",
    "locked": "title=a mark stands in the file",
    "signed": "signon=alice",
    "open": "password=*",
}
PASSWORDS = f"filed:{HASH}\nfiled-plain:SECRET\nlocked:!\n"


class Installation:
    def __init__(self, folder, keys=""):
        self.folder = folder
        self.write("access.log", '192.0.2.7 - - [05/Mar/2000:10:00:00 +0000] "GET /a.html HTTP/1.0" 200 10\n')
        self.write("passwords", PASSWORDS)
        lines = [f"user={name};logs=access.log;url=http://www.example.com;{rule}" for name, rule in ACCOUNTS.items()]
        self.write("orvellis.conf", f"Edition=modern\nErrorLog=log\n{keys}\n" + "\n".join(lines) + "\n")

    def write(self, name, text):
        with open(os.path.join(self.folder, name), "w", encoding="ascii") as file:
            file.write(text)

    def start(self, account, password, address="203.0.113.9", **variables):
        form = urllib.parse.urlencode({"username": account, "password": password, "date": "03052000,03052000"})
        environment = {"REQUEST_METHOD": "POST", "REMOTE_ADDR": address, "CONTENT_LENGTH": str(len(form)), "TZ": "UTC"}
        process = subprocess.Popen([PROGRAM], cwd=self.folder, env=environment | variables, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE)
        process.stdin.write(form.encode())
        process.stdin.close()
        return process

    def ask(self, *arguments, **variables):
        with self.start(*arguments, **variables) as process:
            answer = process.stdout.read()
        assert process.returncode == 0
        return answer

    def log(self):
        try:
            with open(os.path.join(self.folder, "log"), encoding="ascii") as file:
                # Behind the time.
                return [line.split("] ", 1)[1] for line in file.read().splitlines()]
        except FileNotFoundError:
            return []


def status(answer):
    """The status of an answer: 200 when it tells none."""
    first = answer.split(b"\n", 1)[0]
    return int(first.split()[1]) if first.startswith(b"Status: ") else 200


class Requests(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def install(self, keys="LoginLimits=limits\nUserPasswords=passwords"):
        return Installation(self.folder, keys)

    def test_the_right_password_enters(self):
        site = self.install()
        for account in ("right", "filed"):
            self.assertEqual(status(site.ask(account, "Right password")), 200)
        self.assertEqual(site.log(), [])

    def test_refusals_are_one_answer_byte_for_byte(self):
        site = self.install()
        guesses = [("nobody", "x"), ("", ""), ("right", "wrong"), ("right", HASH), ("filed", "wrong"), ("ruleless", ""),
                   ("plain", "SECRET"), ("filed-plain", "SECRET"), ("locked", "!"), ("signed", ""), ("a;b", "x"),
                   ("../right", "Right password"), ("right\nright", "x"), ("x" * 300, "y" * 300)]
        processes = []
        for number, (account, password) in enumerate(guesses):
            # Each with a file of its own, so that they need not wait for one another.
            folder = os.path.join(self.folder, str(number))
            os.mkdir(folder)
            own = Installation(folder, "LoginLimits=limits\nUserPasswords=passwords")
            processes.append(own.start(account, password))
        answers = []
        for process in processes:
            with process:
                answers.append(process.stdout.read())
        self.assertEqual(status(answers[0]), 403)
        for answer, guess in zip(answers, guesses):
            self.assertEqual(answer, answers[0], guess)
        self.assertEqual(site.log(), [])

    def test_an_unreadable_password_file_is_the_same_answer(self):
        site = self.install("LoginLimits=limits\nUserPasswords=missing")
        self.assertEqual(site.ask("filed", "Right password"), site.ask("nobody", "x"))
        self.assertEqual(site.log(), [
            '203.0.113.9 "filed" refused: password file cannot be read: "No such file or directory"',
            '203.0.113.9 "nobody" refused: no such account',
        ])
        self.assertEqual(status(site.ask("right", "Right password")), 200)
        self.assertEqual(status(site.ask("open", "")), 200)

    def test_guesses_side_by_side_are_sent_away_but_count(self):
        site = self.install()
        with site.start("right", "wrong") as first:
            # Both wait a second from their beginnings, one after the other.
            answers = [site.ask("right", "wrong"), first.stdout.read()]
        self.assertIn(sorted(map(status, answers)), ([403, 403], [403, 429]))
        for answer in answers:
            if status(answer) == 429:
                self.assertIn(b"\nRetry-After: 1\n", answer)
        self.assertEqual(site.log(), ['203.0.113.9 "right" refused: wrong password'] * 2)

    def test_limits_know_no_spelling_and_no_other_reason(self):
        site = self.install()
        spellings = ["right", "RIGHT", "Right", "rIGHT", "riGHT"]
        processes = [site.start(name, "wrong") for name in spellings * 2]
        for process in processes:
            with process:
                self.assertIn(status(process.stdout.read()), (403, 429))
        answer = site.ask("right", "Right password")
        self.assertEqual(status(answer), 429)
        self.assertRegex(answer, rb"\nRetry-After: [1-9][0-9]{0,2}\n")
        self.assertEqual(site.log()[-1], '203.0.113.9 "right" refused: too many refusals')
        # Nothing of it holds where no password is asked for, or for anybody else.
        self.assertEqual(status(site.ask("open", "")), 200)
        self.assertEqual(status(site.ask("signed", "", AUTH_TYPE="Basic", REMOTE_USER="alice")), 200)
        self.assertEqual(status(site.ask("right", "Right password", "198.51.100.7")), 200)

    def test_who_needs_no_password_leaves_the_limits_alone(self):
        site = self.install("LoginLimits=limits\nInternalIp=192.0.2.0/24")
        site.ask("open", "")
        site.ask("signed", "", AUTH_TYPE="Basic", REMOTE_USER="alice")
        site.ask("right", "", "192.0.2.1")
        self.assertFalse(os.path.exists(os.path.join(self.folder, "limits")))
        site.ask("right", "Right password")
        self.assertTrue(os.path.exists(os.path.join(self.folder, "limits")))

    def test_proxies_and_visitors(self):
        site = self.install("LoginLimits=limits\nInternalIp=192.0.2.0/24\nTrustedProxies=10.0.0.0/8")
        told = {"HTTP_X_FORWARDED_FOR": "192.0.2.1"}
        self.assertEqual(status(site.ask("right", "", "10.0.0.1", **told)), 200)
        self.assertEqual(status(site.ask("right", "", "203.0.113.9", **told)), 403)
        told = {"HTTP_X_FORWARDED_FOR": "192.0.2.1, " * 3000 + "203.0.113.8"}
        self.assertEqual(status(site.ask("right", "", "10.0.0.1", **told)), 403)
        self.assertEqual([line.split()[0] for line in site.log()], ["203.0.113.9", "203.0.113.8"])


if __name__ == "__main__":
    unittest.main()
