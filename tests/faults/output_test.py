"""Disks that are full, folders that take no files, and readers that go away."""

import os
import resource
import shutil
import signal
import subprocess
import tempfile

import faults

NOBODY = 65534


class OutputTest(faults.FaultTest):
    def setUp(self):
        super().setUp()
        self.make_logs()
        self.expected = self.undisturbed()

    def error_page(self, **options):
        result = self.run_once(["config=orvellis.conf", "username=nobody"], **options)
        self.assertEqual(result.status, 0, result)
        self.assertTrue(result.is_complete() and b"Error #2" in result.page, result)
        return result.page

    # The page itself.

    def test_page_that_finds_no_room(self):
        for parameters in (self.parameters(), [], ["about"], ["credits"], self.parameters("flushtoserver=1"),
                           ["config=orvellis.conf", "username=nobody"]):
            with open("/dev/full", "wb") as full:
                result = self.run_once(parameters, stdout=full)
            self.assertEqual(result.status, 2, result)
            self.assertEqual(result.errors, b"orvellis: the page could not be written: No space left on device\n")
        # The run is as good as any for later ones.
        self.expect_same(self.expected, self.run_once())

    def test_page_cut_by_a_file_size_limit(self):
        for limit in 0, 1, 4096, 20000:
            with tempfile.TemporaryFile() as page:
                result = self.run_once(stdout=page, limits={resource.RLIMIT_FSIZE: limit})
                self.assertEqual(result.status, 2, (limit, result))
                self.assertEqual(os.fstat(page.fileno()).st_size, limit)
            self.expect_same(self.expected, self.run_once(), limit)

    def test_closed_standard_output(self):
        result = self.run_once(under=["/bin/sh", "-c", 'exec "$@" >&-', "sh"])
        self.assertEqual(result.status, 2, result)

    def test_reader_that_goes_away(self):
        # Before the first byte, and after the first of many, with and without the signal.
        self.write("logs/access9.log", "".join(
            faults.log_line(9 * faults.DAY + i, url=f"/{i}/" + "x" * 60) for i in range(3000)))
        many = self.parameters("requests=1,3000", "flushtoserver=1")
        for read_first in 0, 1, 5000:
            for handler, statuses in (signal.SIG_DFL, (-signal.SIGPIPE,)), (signal.SIG_IGN, (2,)):
                self.forget_summaries()
                process = subprocess.Popen(
                    [faults.PROGRAM, *many], cwd=self.folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                    stderr=subprocess.PIPE, env={"TZ": "UTC"}, restore_signals=False,
                    preexec_fn=lambda handler=handler: signal.signal(signal.SIGPIPE, handler))
                process.stdout.read(read_first)
                process.stdout.close()
                errors = process.stderr.read()
                process.stderr.close()
                self.assertIn(process.wait(faults.HANG), statuses, errors)
                self.assertEqual([name for name in os.listdir(self.path("logs")) if name.startswith(".")], [])
        os.remove(self.path("logs/access9.log"))
        self.expect_same(self.expected, self.run_once(), "after readers that went away")

    # The summary file and the error log.

    def mount(self, options):
        """A small file system of memory in which the site lives from now on."""
        place = self.path("disk")
        os.mkdir(place)
        done = subprocess.run(["mount", "-t", "tmpfs", "-o", options, "none", place], capture_output=True,
                              check=False)
        if done.returncode != 0:
            self.skipTest("file systems may not be mounted: " + done.stderr.decode())
        self.addCleanup(subprocess.run, ["umount", place], check=False)
        return place

    def fill(self, place):
        with open(os.path.join(place, "filler"), "wb", buffering=0) as file:
            try:
                while True:
                    file.write(b"x" * 4096)
            except OSError:
                pass

    def test_full_disk(self):
        # The logs' folder and the error log are on the disk.
        place = self.mount("size=1m")
        shutil.move(self.path("logs"), os.path.join(place, "logs"))
        os.symlink(os.path.join(place, "logs"), self.path("logs"))
        os.symlink(os.path.join(place, "errors.log"), self.path("errors.log"))
        message = self.error_page()
        os.remove(os.path.join(place, "errors.log"))
        known = None
        for round_number in range(3):
            self.fill(place)
            self.expect_same(self.expected, self.run_once(), f"full, round {round_number}")
            self.assertEqual(self.error_page(), message)
            left = sorted(name for name in os.listdir(self.path("logs")) if "ORV" in name)
            if known is None:
                self.assertEqual(left, [])
            else:
                # Without room for the new content the old one stays.
                self.assertEqual(left, ["accesss_log.ORV"])
                self.assertEqual(self.read("logs/accesss_log.ORV"), known)
            os.remove(os.path.join(place, "filler"))
            self.expect_same(self.expected, self.run_once(), f"room again, round {round_number}")
            known = self.read("logs/accesss_log.ORV")
            self.write("logs/access5.log", faults.made_up_lines(9, 5 * faults.DAY, faults.DAY, 10 + round_number))
            self.expected = self.expect_report(self.run_once(self.parameters("summary=other")))
            os.remove(self.path("logs/other.ORV"))

    def test_full_disk_under_a_summary_written_in_place(self):
        place = self.mount("size=1m")
        summary = os.path.join(place, "summary")
        os.symlink(summary, self.path("logs/accesss_log.ORV"))
        for _ in range(2):
            self.expect_same(self.expected, self.run_once())
            self.assertGreater(os.path.getsize(summary), 0)
            with open(summary, "ab") as file:
                file.write(b"1,1,1,gone.log\n")  # makes the next run write
            self.fill(place)
            self.expect_same(self.expected, self.run_once(), "full")
            self.expect_same(self.expected, self.run_once(), "full again")
            os.remove(os.path.join(place, "filler"))

    def test_summary_and_error_log_cut_by_a_file_size_limit(self):
        page = self.error_page()
        for limit in 0, 1, 60, 200, 400:
            self.forget_summaries()
            for in_place in False, True:
                if in_place:
                    self.write("elsewhere", "")
                    os.symlink("../elsewhere", self.path("logs/accesss_log.ORV"))
                # Standard output is a pipe here, which has no size.
                result = self.run_once(limits={resource.RLIMIT_FSIZE: limit})
                self.expect_same(self.expected, result, limit)
                self.expect_same(self.expected, self.run_once(limits={resource.RLIMIT_FSIZE: 0}), limit)
                self.assertEqual(self.error_page(limits={resource.RLIMIT_FSIZE: limit}), page)
        self.expect_same(self.expected, self.run_once())

    def test_read_only_file_system(self):
        place = self.mount("size=1m")
        shutil.move(self.path("logs"), os.path.join(place, "logs"))
        os.symlink(os.path.join(place, "logs"), self.path("logs"))
        os.symlink(os.path.join(place, "errors.log"), self.path("errors.log"))
        page = self.error_page()
        for name in "errors.log", "logs/accesss_log.ORV":
            self.assertEqual(os.path.exists(os.path.join(place, name)), name == "errors.log")
        if subprocess.run(["mount", "-o", "remount,ro", place], capture_output=True, check=False).returncode != 0:
            self.skipTest("file systems may not be made read-only")
        before = self.read("errors.log")
        for _ in range(2):
            self.expect_same(self.expected, self.run_once())
            self.assertEqual(self.error_page(), page)
        self.assertEqual(self.read("errors.log"), before)
        self.assertNotIn("accesss_log.ORV", os.listdir(os.path.join(place, "logs")))

    def test_folder_that_takes_no_files(self):
        if os.geteuid() == 0:
            user = {"user": NOBODY, "group": NOBODY, "extra_groups": []}
        else:
            user = {}
            os.chmod(self.path("logs"), 0o555)
            self.addCleanup(os.chmod, self.path("logs"), 0o755)
        self.write("errors.log", "before\n")
        os.chmod(self.path("errors.log"), 0o444)
        for _ in range(2):
            done = subprocess.run([faults.PROGRAM, *self.parameters()], cwd=self.folder, env={"TZ": "UTC"},
                                  capture_output=True, timeout=faults.HANG, check=False, **user)
            self.expect_same(self.expected, faults.Result(done.returncode, done.stdout, done.stderr))
            done = subprocess.run([faults.PROGRAM, "username=nobody"], cwd=self.folder, env={"TZ": "UTC"},
                                  capture_output=True, timeout=faults.HANG, check=False, **user)
            self.assertIn(b"Error #2", done.stdout)
            self.assertEqual(done.returncode, 0)
        self.assertEqual(self.read("errors.log"), b"before\n")
        self.assertEqual([name for name in os.listdir(self.path("logs")) if "ORV" in name], [])

    # Counts that are written down.

    def expect_no_part(self, result, sentence):
        self.assertEqual((result.status, result.page), (4, b""), result)
        self.assertRegex(result.errors, rb"\Aorvellis: [^\n]*" + sentence + rb"\n\Z")

    def test_part_that_finds_no_room_leaves_the_old_one(self):
        for edition in "edition=classic", "edition=modern":
            parameters = self.parameters(edition, "part=counts")
            self.assertEqual(self.run_once(parameters).status, 0)
            old = self.read("counts")
            for in_place in False, True:
                for limit in 0, 1, 16, 100, 1000:
                    # A summary file finds no room either.
                    result = self.run_once(parameters, limits={resource.RLIMIT_FSIZE: limit})
                    self.expect_no_part(result, rb"counts: File too large")
                    merged = self.run_once(self.parameters(edition, "merge=counts"))
                    if in_place:
                        self.expect_no_part(merged, rb"counts is (cut|no part)")
                    else:
                        self.assertEqual(self.read("counts"), old)
                        self.assertEqual(merged.status, 0)
                # What has two names keeps both, and says in its first line that it is not whole.
                if not in_place:
                    os.link(self.path("counts"), self.path("other"))
            self.assertEqual(sorted(name for name in os.listdir(self.folder) if "counts" in name), ["counts"])
            os.unlink(self.path("other"))
            os.unlink(self.path("counts"))

    def test_parts_without_rights(self):
        user = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}
        self.assertEqual(self.run_once(self.parameters("part=counts")).status, 0)
        os.mkdir(self.path("closed"), 0o555 if not user else 0o755)
        for mode, words, sentence in ((0o000, ["merge=counts"], rb"counts could not be opened: Permission denied"),
                                      (0o644, ["part=closed/counts"], rb"closed/counts: Permission denied")):
            os.chmod(self.path("counts"), mode)
            for edition in "edition=classic", "edition=modern":
                done = subprocess.run([faults.PROGRAM, *self.parameters(edition, *words)], cwd=self.folder,
                                      env={"TZ": "UTC"}, capture_output=True, timeout=faults.HANG, check=False, **user)
                self.expect_no_part(faults.Result(done.returncode, done.stdout, done.stderr), sentence)

    def test_error_lines_of_many_runs_stay_whole(self):
        name = "x" * 90
        runs = [self.start(["config=orvellis.conf", f"username={name}"]) for _ in range(64)]
        for run in runs:
            self.assertIn(b"Error #2", self.finish(run).page)
        lines = self.read("errors.log").decode().splitlines()
        self.assertEqual(len(lines), 64)
        for line in lines:
            self.assertRegex(line, r"^\[../.../....:..:..:..\] Unauthorized access from '' with username='x{90}'$")


if __name__ == "__main__":
    faults.main()
