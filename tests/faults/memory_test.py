"""Memory refused: a correct report, a report with the memory warning, or status 1 and nothing else."""

import itertools
import os
import re
import resource

import faults

# How the names end that the warning has for the tables of a page's sections.
TABLES = {
    b"urls": b"Top URLs", b"referrers": b"Top Referrers", b"search": b"Search Phrases", b"browsers": b"Browsers",
    b"badurls": b"Bad URLs", b"badreferrers": b"Bad Referrers", b"domains": b"Domains", b"networks": b"Domain Types",
}
# What a run is worth; "rejected" is of one whose password could not be checked.
WORTH = {"refused": 0, "rejected": 0, "warned": 1, "correct": 2}
WARNING_ROW = re.compile(
    rb"<tr><td colspan=2><hr></td></tr><tr>\n.*?" + faults.WARNING + rb".*?</td>\n</tr>\n", re.DOTALL)


def sections_of(page):
    """[(name, text)]; what stands before the first section has no name."""
    pieces = re.split(rb'<a name="([a-z]*)">', page)
    return list(zip([b"", *pieces[1::2]], pieces[0::2]))


class MemoryTest(faults.FaultTest):
    def expect_safe(self, expected, result, what):
        """Returns which of the three outcomes it was; or, where passwords have hashes, that one was rejected."""
        self.assertIn(result.status, (0, 1), f"{what}: {result}")
        if result.status == 1:
            self.assertEqual(result.page, b"", f"{what}: {result}")
            return "refused"
        if b"Error #2" in result.page:
            self.assertIn(b"UserPasswords", self.read("orvellis.conf"), what)
            return "rejected"
        self.assertTrue(result.is_complete(), f"{what}: {result}")
        if result.page == expected:
            return "correct"
        self.expect_warning(expected, result.page, what)
        return "warned"

    def expect_warning(self, expected, page, what):
        """The page is the expected one but for a warning and for sections that the warning names."""
        rows = WARNING_ROW.findall(page)
        self.assertLessEqual(len(rows), 1, what)
        named = re.findall(rb"([^<>\n]+)<br>\n", rows[0]) if rows else []
        seen_sections, right_sections = (sections_of(WARNING_ROW.sub(b"", text)) for text in (page, expected))
        self.assertEqual([name for name, _ in seen_sections], [name for name, _ in right_sections], what)
        for (name, seen), (_, right) in zip(seen_sections, right_sections):
            if seen != right and not any(table.endswith(TABLES.get(name, b"\n")) for table in named):
                self.fail(f"{what}: section {name} differs, the warning names {named}:\n"
                          + faults.difference(right, seen))

    def requests(self, parameters, environment):
        count = self.path("count")
        self.expect_report(self.run_once(parameters, environment={
            "LD_PRELOAD": faults.FAILING_MALLOC, "COUNT_TO": count, **environment}))
        return int(self.read("count"))

    def outcomes_of(self, variable, expected, requests, parameters, known_logs, environment):
        """What becomes of the run when the n-th request is refused (or it and all later ones), by n."""
        outcomes = []
        for n in range(1, requests + 1):
            if not known_logs:
                self.forget_summaries()
            result = self.run_once(parameters, environment={
                "LD_PRELOAD": faults.FAILING_MALLOC, variable: str(n), **environment})
            outcomes.append(self.expect_safe(expected, result, f"{variable}={n}"))
        print(variable, *(f"{len(list(alike))} {outcome}" for outcome, alike in itertools.groupby(outcomes)), sep=", ")
        return outcomes

    def refuse_each(self, parameters=None, known_logs=False, environment=None):
        """Refuses the n-th request for every n, alone and with all later ones; returns both lists of outcomes."""
        environment = environment or {}
        self.forget_summaries()
        expected = self.expect_report(self.run_once(parameters, environment=environment))
        if not known_logs:
            self.forget_summaries()
        requests = self.requests(parameters, environment)
        alone, with_later = (self.outcomes_of(variable, expected, requests, parameters, known_logs, environment)
                             for variable in ("FAIL_AT", "FAIL_FROM"))
        self.expect_sensible(alone, with_later)
        return alone, with_later

    def expect_sensible(self, alone, with_later):
        """The more memory there is, the more comes of the run: a run that got further before all was refused makes
        no worse a page, and one request that is refused costs no more than this and all later ones."""
        worth = [WORTH[outcome] for outcome in with_later]
        self.assertEqual(worth, sorted(worth))
        for n, outcomes in enumerate(zip(alone, with_later), 1):
            self.assertGreaterEqual(WORTH[outcomes[0]], WORTH[outcomes[1]], n)
        self.assertEqual(with_later[0], "refused", "nothing can be counted without any memory")
        self.assertEqual({"correct", "refused"} - set(alone), set())

    def write_small_logs(self, lines=12):
        for day in range(2):
            self.write(f"logs/access{day}.log", faults.made_up_lines(day, day * faults.DAY, faults.DAY, lines))

    @faults.release_only
    def test_each_request_of_a_first_run(self):
        # So few records are counted in the memory that a table begins with.
        self.write_small_logs()
        alone, with_later = self.refuse_each()
        self.assertNotIn("warned", alone + with_later)
        self.assertEqual(with_later[-1], "correct")

    @faults.release_only
    def test_each_request_of_a_run_that_may_throw_away(self):
        self.write("orvellis.conf", self.configuration(
            keys="SmartMemoryKeepEntries=2\nSmartMemoryReclaimSize=1\n"))
        self.write_small_logs()
        self.expect_report(self.run_once())
        few = self.requests(None, {})
        self.forget_summaries()
        self.write_small_logs(lines=4000)
        alone, with_later = self.refuse_each(known_logs=True)
        # What more records ask for comes behind what a table begins with: without it, others are given up.
        more = len(alone) - few
        self.assertGreater(more, 0)
        self.assertNotIn("refused", alone[-more:])
        self.assertEqual(set(with_later[-more:]), {"warned"})

    @faults.release_only
    def test_each_request_without_smart_memory(self):
        self.write_small_logs(lines=4000)
        alone, with_later = self.refuse_each(self.parameters("smartmemorydisabled=1"), known_logs=True)
        self.assertNotIn("warned", alone + with_later)
        self.assertEqual(with_later[-1], "refused", "records ask last, and none can be given up for them")

    @faults.release_only
    def test_each_request_around_the_counting(self):
        # Everything else that takes memory: engines, extra texts, a password's hash, a long names
        # file, a folder by wildcard, a time zone from the system's files.
        self.write("logs/access0.log", faults.made_up_lines(0, 0, faults.DAY, 3))
        self.write("names", "".join(f"X{i} Name {i}\n" for i in range(600)) + "COM Commercial\n")
        self.write("users.pwd", "demo:" + HASH_OF_LETMEIN + "\n")
        self.write("orvellis.conf",
                   "Networks=names\nUserPasswords=users.pwd\nExtraHeader=Above\nExtraFooter=Below\n"
                   "search=Yahoo;domain=yahoo.com;vars=p,q;domain=yahoo.test;vars=p;\n"
                   "user=demo;url=http://www.example.com;logs=logs/access*.log;AccessLog=lo?s/access*.log\n")
        alone, with_later = self.refuse_each(self.parameters("password=letmein", "debug=1"),
                                             environment={"TZ": "Europe/Berlin"})
        # A hash that could not be made is no password's: what it asks for ends in error 2, alone and with all later.
        rejected = [n for n, outcome in enumerate(alone) if outcome == "rejected"]
        self.assertEqual(rejected, [n for n, outcome in enumerate(with_later) if outcome == "rejected"])
        self.assertEqual(rejected, list(range(rejected[0], rejected[0] + len(rejected))))

    @faults.release_only
    def test_each_request_of_a_posted_form(self):
        self.write("logs/access0.log", faults.made_up_lines(0, 0, faults.DAY, 3))
        form = "&".join(self.parameters())
        expected = self.expect_report(self.post(form, {}))
        refused = 0
        for n in range(1, 40):
            result = self.post(form, {"LD_PRELOAD": faults.FAILING_MALLOC, "FAIL_FROM": str(n)})
            if result.status == 1:
                refused += 1
                self.assertIn(result.page, (b"", b"Content-type: text/html\n\n"), n)
            else:
                self.expect_same(expected, result, n)
        self.assertGreater(refused, 20)

    @faults.release_only
    def test_each_request_of_visits(self):
        self.write_small_logs(lines=60)
        words = self.parameters("edition=modern", "output=csv", "visitors=1,0", "entrypages=1,0", "exitpages=1,0")
        expected = self.run_once(words)
        self.assertEqual(expected.status, 0)
        self.assertIn(b"visitors_totals,1,visitors,", expected.page)
        outcomes = []
        for n in itertools.count(1):
            result = self.run_once(words, environment={"LD_PRELOAD": faults.FAILING_MALLOC, "FAIL_FROM": str(n)})
            self.assertIn(result.status, (0, 1), n)
            self.assertEqual(result.page, b"" if result.status == 1 else expected.page, n)
            outcomes.append(result.status)
            if result.status == 0:
                break
        self.assertGreater(len(outcomes), 40)

    def post(self, form, environment):
        path = self.write("form", form)
        with open(path, "rb") as stream:
            return self.run_once([], stdin=stream, environment={
                "REQUEST_METHOD": "POST", "CONTENT_LENGTH": str(len(form)), **environment})

    @faults.release_only
    def test_address_space(self):
        # Many keys: tables of some 20 MB, so that limits bite at every point of the run.
        for part in range(3):
            self.write(f"logs/access{part}.log", "".join(
                faults.log_line(i, url=f"/{i * 7919 % 50021:05}/" + "x" * (i % 3 * 50),
                                status=404 if i % 5 == 0 else 200,
                                host=f"h{i}.example{i % 20000}.com", agent=f"Agent/{i % 5000}",
                                referrer=f"http://www.example.org/{i % 30000}")
                for i in range(part * 20000, part * 20000 + 20000)))
        for keys in "", "SmartMemoryMaxMemoryToAllocate=2000\n", "SmartMemoryMaxMemoryToAllocate=20000\n":
            outcomes = self.limit_address_space(keys)
            self.assertLessEqual(max(outcomes.get("refused", [0])), 8, "with smart memory, that is enough")
            self.assertIn("correct", outcomes)
            if not keys:
                self.assertIn("warned", outcomes)
        outcomes = self.limit_address_space("SmartMemoryEnabled=0\n")
        self.assertIn("correct", outcomes)
        self.assertIn("refused", outcomes)
        self.assertNotIn("warned", outcomes)

    def limit_address_space(self, keys):
        self.write("orvellis.conf", self.configuration(keys=keys))
        self.forget_summaries()
        expected = self.expect_report(self.run_once())
        outcomes = {}
        for mib in [*range(1, 8), *range(8, 48, 2)]:
            self.forget_summaries()
            result = self.run_once(limits={resource.RLIMIT_AS: mib << 20})
            if mib < 8 and result.status in (-6, -11, 127):
                continue  # too little for the system to load a program at all
            outcome = self.expect_safe(expected, result, f"{mib} MiB {keys}")
            outcomes.setdefault(outcome, []).append(mib)
        print(f"{keys!r}: {outcomes}")
        return outcomes


# crypt("letmein"), by a method that takes memory of its own
HASH_OF_LETMEIN = "$y$j75$abcdefghijkl$WGRORqxFBWcvPLgJKgJO6xyhc5SZNclrotqli5QG2A2"

if __name__ == "__main__":
    faults.main()
