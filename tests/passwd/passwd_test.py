#!/usr/bin/env python3
"""orvellis-passwd from outside: on a terminal, in a script, and where the machine fails.

    passwd_test.py ORVELLIS_PASSWD ORVELLIS [TEST...]
"""
import ctypes
import ctypes.util
import os
import pty
import random
import re
import resource
import select
import signal
import stat
import subprocess
import sys
import tempfile
import termios
import threading
import time
import unittest

PASSWD, ORVELLIS = map(os.path.abspath, sys.argv[1:3])
crypt = ctypes.CDLL(ctypes.util.find_library('crypt')).crypt
crypt.restype = ctypes.c_char_p


def is_hash_of(stored, password):
    """By the system's own crypt, whatever the program makes of it."""
    return crypt(password.encode(), stored.encode()).decode() == stored


class Case(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.file = self.folder + '/passwords'
        self.limits = self.folder + '/limits'
        self.config = self.write('orvellis.conf',
                                 f'UserPasswords={self.file}\nLoginLimits={self.limits}\n'
                                 'user=shop;logs=x;url=http://shop.example\n'
                                 'user=Own;logs=x;url=http://own.example;password=SECRETWORD\n')

    def write(self, name, content):
        path = self.folder + '/' + name
        with open(path, 'w', newline='') as file:
            file.write(content)
        return path

    def read(self, path=None):
        with open(path or self.file, newline='') as file:
            return file.read()

    def run_with(self, *words, typed='', **more):
        return subprocess.run([PASSWD, '--config', self.config, *words], input=typed, capture_output=True, text=True,
                              timeout=60, **more)

    def succeed(self, *words, **more):
        done = self.run_with(*words, **more)
        self.assertEqual((done.returncode, done.stderr), (0, ''))
        return done.stdout

    def fail_with(self, sentence, *words, status=1, **more):
        done = self.run_with(*words, **more)
        self.assertEqual((done.returncode, done.stdout), (status, ''), done.stderr)
        self.assertRegex(done.stderr, r'\Aorvellis-passwd: [^\n]*' + sentence + r'[^\n]*\n\Z')
        self.assertEqual([name for name in os.listdir(self.folder) if name.endswith('.new')], [])

    def password_of(self, name):
        return re.search('^' + name + ':(.*)$', self.read(), re.M).group(1)


class FromStandardInput(Case):
    def test_stores_a_hash_of_the_strongest_kind(self):
        self.assertIn('"shop" is set', self.succeed('shop', typed='Geheim-ä "$6$=;:'))
        self.assertRegex(self.read(), r'\Ashop:\$y\$[^\n:]+\n\Z')
        self.assertTrue(is_hash_of(self.password_of('shop'), 'Geheim-ä "$6$=;:'))
        self.assertFalse(is_hash_of(self.password_of('shop'), 'geheim-ä "$6$=;:'))

    def test_reads_one_line_and_leaves_the_rest(self):
        script = f'{PASSWD} --config {self.config} --stdin shop >/dev/null && cat'
        done = subprocess.run(['sh', '-c', script], input='first\nsecond\n', capture_output=True, text=True)
        self.assertEqual(done.stdout, 'second\n')
        self.assertTrue(is_hash_of(self.password_of('shop'), 'first'))

    def test_takes_243_bytes_and_no_more(self):
        self.succeed('shop', typed='x' * 243 + '\n')
        self.assertTrue(is_hash_of(self.password_of('shop'), 'x' * 243))
        before = self.read()
        self.fail_with('243 bytes', 'shop', typed='x' * 244)
        self.fail_with('243 bytes', 'shop', typed='x' * 100000)
        self.assertEqual(self.read(), before)

    def test_refuses_what_is_no_password(self):
        for typed, sentence in (('', 'no password'), ('\n', 'empty'), ('a\tb\n', 'control'), ('a\0b\n', 'control'),
                                ('a\r\n', 'control'), ('\x7f', 'control'), ('\x1b[A', 'control')):
            self.fail_with(sentence, 'shop', typed=typed)
        self.assertFalse(os.path.exists(self.file))

    def test_the_program_lets_in_who_knows_it(self):
        log = self.write('access.log', 'h - - [05/Mar/2000:10:00:00 +0000] "GET /a HTTP/1.0" 200 5\n')
        config = self.write('modern.conf', f'Edition=modern\nUserPasswords={self.file}\n'
                            f'user=shop;logs={log};url=http://shop.example\n')
        self.succeed('shop', typed='Geheim%=x')
        for password, refused in (('Geheim%=x', False), ('geheim%=x', True), ('', True)):
            page = subprocess.run([ORVELLIS, f'config={config}', 'username=shop', f'password={password}', 'subdirs=1',
                                   'date=03052000,03052000', 'find=/'], capture_output=True, text=True,
                                  cwd=self.folder, env={'TZ': 'UTC', 'PATH': '/usr/bin:/bin'}).stdout
            self.assertEqual('#error2' in page, refused, (password, page[:2000]))


class AccountNames(Case):
    def test_those_that_cannot_be_are_refused(self):
        for name in ('', 'a:b', 'a;b', 'a/b', 'a\nb', 'a\x7fb', '#shop', 'x' * 100):
            self.fail_with('no account can be called', '--', name, typed='x\n')
        self.assertFalse(os.path.exists(self.file))

    def test_unknown_to_the_configuration_is_a_warning(self):
        done = self.run_with('absent', typed='x\n')
        self.assertEqual(done.returncode, 0)
        self.assertRegex(done.stderr, r'\A[^\n]*warning[^\n]*no account "absent"\n\Z')
        self.assertTrue(is_hash_of(self.password_of('absent'), 'x'))

    def test_with_a_password_in_its_line_is_a_warning_that_does_not_show_it(self):
        done = self.run_with('own', typed='x\n')
        self.assertEqual(done.returncode, 0)
        self.assertRegex(done.stderr, r'\A[^\n]*warning[^\n]*comes first\n\Z')
        self.assertNotIn('SECRETWORD', done.stderr + done.stdout)

    def test_are_shown_without_what_a_terminal_obeys(self):
        self.assertNotIn('\x1b', self.run_with('a\x1b]b', typed='x\n').stderr)


class Lines(Case):
    def test_all_others_stay_byte_by_byte(self):
        before = ('# shop:comment\n;shop:x\n\nbob:Hidden:Bob:x\r\nSHOP:old:more\r\nshopkeeper:other\nshop \n'
                  'sHop:second\nlast:without end')
        self.write('passwords', before)
        self.succeed('shop', typed='new\n')
        self.assertRegex(self.read(), re.escape(before.split('SHOP')[0]) + r'shop:\$y\$[^:\r\n]+\r\n' +
                         re.escape('shopkeeper:other\nshop \nlast:without end') + r'\Z')

    def test_delete_takes_all_of_an_account(self):
        self.write('passwords', 'a:1\nshop:2\nb:3\nSHOP:4')
        self.succeed('--delete', 'shop')
        self.assertEqual(self.read(), 'a:1\nb:3\n')
        self.fail_with('has no password', '--delete', 'shop')
        self.assertEqual(self.read(), 'a:1\nb:3\n')

    def test_delete_without_a_file_makes_none(self):
        self.fail_with('has no password', '--delete', 'shop')
        self.assertFalse(os.path.exists(self.file))

    def test_any_content_is_changed_as_a_plain_reading_of_it_says(self):
        chance = random.Random(5)
        pieces = ['shop:', 'SHOP:', 'shop', ':', '#', ';', 'x', '\n', '\n', '\r\n', '\r', '']
        for _ in range(60):
            before = ''.join(chance.choice(pieces) for _ in range(chance.randrange(30)))
            self.write('passwords', before)
            lines = re.findall(r'[^\r\n]*(?:\r\n|\r|\n)|[^\r\n]+', before)
            kept = [line for line in lines if not line.lower().startswith('shop:')]
            deleted = self.run_with('--delete', 'shop')
            self.assertEqual(deleted.returncode, 0 if kept != lines else 1)
            self.assertEqual(self.read(), ''.join(kept))


class OnATerminal(Case):
    """The terminal is one of this test's own; what it shows comes out of the master."""

    def start(self, *words):
        self.child, self.master = pty.fork()
        if self.child == 0:
            os.execv(PASSWD, [PASSWD, '--config', self.config, *words])
        self.shown = ''
        self.addCleanup(os.close, self.master)
        self.before = None

    def until(self, text):
        end = time.time() + 20
        while text not in self.shown and time.time() < end:
            if select.select([self.master], [], [], 0.1)[0]:
                try:
                    piece = os.read(self.master, 4096)
                except OSError:
                    break
                self.shown += piece.decode()
        self.assertIn(text, self.shown)

    def echoes(self):
        return termios.tcgetattr(self.master)[3] & termios.ECHO != 0

    def answer(self, question, password):
        self.until(question)
        self.assertFalse(self.echoes())
        os.write(self.master, password.encode() + b'\n')
        self.shown = ''

    def status(self):
        return os.waitpid(self.child, 0)[1]

    def test_asks_twice_and_shows_nothing(self):
        self.start('shop')
        self.answer('New password of "shop": ', 'Teapot')
        self.answer('Again, the password of "shop": ', 'Teapot')
        self.until('is set')
        self.assertNotIn('Teapot', self.shown)
        self.assertEqual(self.status(), 0)
        self.assertTrue(self.echoes())
        self.assertTrue(is_hash_of(self.password_of('shop'), 'Teapot'))

    def test_two_different_ones_are_refused(self):
        self.write('passwords', 'shop:old\n')
        self.start('shop')
        self.answer('New', 'Teapot')
        self.answer('Again', 'Teapod')
        self.until('two different passwords')
        self.assertEqual(os.waitstatus_to_exitcode(self.status()), 1)
        self.assertEqual(self.read(), 'shop:old\n')
        self.assertTrue(self.echoes())

    def test_an_empty_one_is_not_asked_for_again(self):
        self.start('shop')
        self.answer('New', '')
        self.until('empty')
        self.assertEqual(os.waitstatus_to_exitcode(self.status()), 1)

    def test_signals_leave_a_terminal_that_shows_what_is_typed(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            self.start('shop')
            self.until('New password')
            self.assertFalse(self.echoes())
            if number == signal.SIGINT:
                os.write(self.master, b'\x03')
            else:
                os.kill(self.child, number)
            self.assertEqual(os.WTERMSIG(self.status()), number)
            self.assertTrue(self.echoes(), number)
        self.assertFalse(os.path.exists(self.file))

    def test_stdin_asks_nothing_on_a_terminal(self):
        self.start('--stdin', 'shop')
        os.write(self.master, b'Teapot\n')
        self.until('is set')
        self.assertNotIn('New password', self.shown)
        self.assertEqual(self.status(), 0)


class TheFile(Case):
    def test_keeps_mode_owner_and_group(self):
        self.write('passwords', 'a:1\n')
        os.chmod(self.file, 0o604)
        if os.geteuid() == 0:
            os.chown(self.file, 33, 42)
        before = os.stat(self.file)
        self.succeed('shop', typed='x\n')
        after = os.stat(self.file)
        self.assertEqual((after.st_mode, after.st_uid, after.st_gid), (before.st_mode, before.st_uid, before.st_gid))
        self.assertNotEqual(after.st_ino, before.st_ino)

    def test_made_new_is_for_the_server_to_read(self):
        self.succeed('shop', typed='x\n')
        made = os.stat(self.file)
        self.assertEqual(stat.S_IMODE(made.st_mode), 0o640)
        if os.geteuid() == 0:
            group = int(subprocess.run(['getent', 'group', 'www-data'], capture_output=True, text=True)
                        .stdout.split(':')[2])
            self.assertEqual((made.st_uid, made.st_gid), (0, group))

    def test_a_link_is_followed_and_stays(self):
        os.mkdir(self.folder + '/real')
        real = self.write('real/secrets', 'a:1\n')
        os.symlink('real/secrets', self.file)
        self.succeed('shop', typed='x\n')
        self.assertTrue(os.path.islink(self.file))
        self.assertRegex(self.read(real), r'\Aa:1\nshop:\$y')
        self.assertEqual(os.listdir(self.folder + '/real'), ['secrets'])

    def test_a_link_to_nothing_is_refused(self):
        os.symlink('absent', self.file)
        self.fail_with('at the end of', 'shop', typed='x\n')
        self.assertEqual(os.readlink(self.file), 'absent')

    def test_what_is_no_file_is_refused(self):
        os.mkdir(self.file)
        self.fail_with('is no file', 'shop', typed='x\n')
        os.rmdir(self.file)
        os.mkfifo(self.file)
        self.fail_with('is no file', 'shop', typed='x\n')

    def test_a_missing_folder_is_refused(self):
        self.fail_with('absent', '--file', self.folder + '/absent/passwords', 'shop', typed='x\n')

    def test_a_full_disk_leaves_the_old_one(self):
        content = ''.join(f'user{i}:{i}\n' for i in range(1000))
        self.write('passwords', content)
        for room in (0, 1, 4096, len(content)):
            def limit():
                resource.setrlimit(resource.RLIMIT_FSIZE, (room, room))
            self.fail_with('stays as it was', 'shop', typed='x\n', preexec_fn=limit)
            self.assertEqual(self.read(), content)

    @unittest.skipUnless(os.geteuid() == 0, 'only root has users to spare')
    def test_who_may_not_read_or_write_it_is_refused(self):
        os.chmod(self.folder, 0o755)
        self.write('passwords', 'a:1\n')
        os.chmod(self.file, 0o600)

        def become_nobody():
            os.setgroups([])
            os.setgid(65534)
            os.setuid(65534)
        self.fail_with('Permission denied', 'shop', typed='x\n', preexec_fn=become_nobody)
        os.chmod(self.folder, 0o777)
        self.fail_with('Permission denied', 'shop', typed='x\n', preexec_fn=become_nobody)
        os.chmod(self.file, 0o644)  # readable, but no owner could be kept
        self.fail_with('Operation not permitted', 'shop', typed='x\n', preexec_fn=become_nobody)
        self.assertEqual(self.read(), 'a:1\n')

    def test_what_a_killed_run_left_is_taken_over(self):
        self.write('passwords', 'a:1\n')
        self.write('passwords.new', 'rubbish' * 10000)
        self.succeed('shop', typed='x\n')
        self.assertRegex(self.read(), r'\Aa:1\nshop:[^\n]*\n\Z')
        self.assertFalse(os.path.exists(self.file + '.new'))

    def test_a_link_in_the_place_of_the_new_one_is_not_followed(self):
        victim = self.write('victim', 'precious')
        os.symlink(victim, self.file + '.new')
        done = self.run_with('shop', typed='x\n')
        self.assertEqual(done.returncode, 1)
        self.assertEqual(self.read(victim), 'precious')

    def test_many_at_once_lose_nothing(self):
        self.write('passwords', '# kept\n')
        names = [f'account{i}' for i in range(24)]
        threads = [threading.Thread(target=self.run_with, args=(name,), kwargs={'typed': name + '\n'}) for name in names]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        lines = self.read().splitlines()
        self.assertEqual(lines[0], '# kept')
        self.assertEqual(sorted(line.split(':')[0] for line in lines[1:]), sorted(names))
        for name in names[:3]:
            self.assertTrue(is_hash_of(self.password_of(name), name))
        self.assertEqual(sorted(os.listdir(self.folder)), ['orvellis.conf', 'passwords'])

    def test_option_replaces_that_of_the_configuration(self):
        other = self.folder + '/other'
        self.succeed('--file', other, 'shop', typed='x\n')
        self.assertIn('shop:$y$', self.read(other))
        self.assertFalse(os.path.exists(self.file))
        self.succeed('--file=' + self.file, 'shop', typed='x\n')
        self.assertIn('shop:$y$', self.read())

    def test_that_nobody_names_is_a_sentence(self):
        self.write('orvellis.conf', 'user=shop;logs=x;url=y\n')
        self.fail_with('UserPasswords', 'shop', typed='x\n')
        os.unlink(self.config)
        self.fail_with('No such file', 'shop', typed='x\n')


class List(Case):
    def test_tells_kinds_and_never_texts(self):
        hashed = subprocess.run(['openssl', 'passwd', '-6', 'x'], capture_output=True, text=True).stdout.strip()
        hashed = hashed or '$6$salt$' + 'x' * 86
        with open(self.config, 'a') as config:
            config.write('user=docs;password=*;logs=x;url=y\nuser=shop;find=/x\nUSER=Hashed;logs=x\nuser=plain;logs=x\n'
                         'user=absent;logs=x\nuser=empty;logs=x\nuser=star;logs=x\n#user=no;x\nuser=nosemicolon\n'
                         f'user=inline;password={hashed};logs=x\n')
        self.write('passwords', f'hashed:{hashed}\nPLAIN:PlainText\nempty:\nstar:*\nown:{hashed}\nforeign:x\n')
        told = self.succeed('--list')
        self.assertEqual([line.split(None, 1) for line in told.splitlines()], [
            ['"shop"', 'none'], ['"Own"', 'plain password, in its line'], ['"docs"', '*, in its line'],
            ['"Hashed"', 'hash'], ['"plain"', 'plain password'], ['"absent"', 'none'], ['"empty"', 'none'],
            ['"star"', '*'], ['"inline"', 'hash, in its line']])
        for secret in ('SECRETWORD', 'PlainText', hashed[:12]):
            self.assertNotIn(secret, told)

    def test_that_cannot_be_read_is_a_sentence(self):
        self.fail_with('password file', '--list')
        os.unlink(self.config)
        self.fail_with('cannot read the configuration', '--list')

    def test_full_output_is_a_sentence(self):
        self.write('passwords', '')
        with open('/dev/full', 'w') as full:
            done = subprocess.run([PASSWD, '--config', self.config, '--list'], stdout=full, stderr=subprocess.PIPE,
                                  text=True)
        self.assertEqual(done.returncode, 1)
        self.assertIn('No space left', done.stderr)


class Unlock(Case):
    """Refusals are made by the program itself, as a web server would run it."""

    def setUp(self):
        super().setUp()
        self.write('orvellis.conf', f'Edition=modern\nUserPasswords={self.file}\nLoginLimits={self.limits}\n'
                   f'ErrorLog={self.folder}/errors\nuser=shop;logs=x;url=http://shop.example\n')
        self.write('passwords', 'shop:*\n')

    def ask(self, address):
        form = 'username=shop&password=x&date=03052000,03052000&find=/'
        subprocess.run([ORVELLIS], input=form, text=True, capture_output=True, env={
            'REQUEST_METHOD': 'POST', 'CONTENT_LENGTH': str(len(form)), 'REMOTE_ADDR': address,
            'ORVELLIS_CONFIG': self.config, 'TZ': 'UTC'})

    def is_locked(self, address):
        self.ask(address)
        return 'too many' in self.read(self.folder + '/errors').splitlines()[-1]

    def lock(self, *addresses):
        threads = [threading.Thread(target=self.ask, args=(address,)) for address in addresses for _ in range(11)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for address in addresses:
            self.assertTrue(self.is_locked(address))

    def test_forgets_what_it_is_told(self):
        self.lock('192.0.2.1', '2001:db8::1')
        self.succeed('--unlock', 'other', '192.0.2.77')
        self.assertTrue(self.is_locked('192.0.2.1'))
        self.succeed('--unlock', '192.0.2.1')
        self.assertFalse(self.is_locked('192.0.2.1'))
        self.assertTrue(self.is_locked('2001:db8::1'))
        self.succeed('--unlock', 'SHOP')
        self.assertFalse(self.is_locked('2001:db8::1'))
        self.lock('192.0.2.1')
        self.succeed('--unlock')
        self.assertFalse(self.is_locked('192.0.2.1'))

    def test_makes_no_file_and_takes_no_other(self):
        self.succeed('--unlock')
        self.assertFalse(os.path.exists(self.limits))
        self.write('limits', 'something else')
        self.fail_with('File exists', '--unlock')
        self.assertEqual(self.read(self.limits), 'something else')
        self.fail_with('no account can be called', '--unlock', 'a:b')

    def test_without_the_key_is_a_sentence(self):
        self.write('orvellis.conf', 'user=shop;logs=x;url=y\n')
        self.fail_with('LoginLimits', '--unlock')


class Words(Case):
    def test_help_and_version(self):
        for word in ('-h', '--help'):
            self.assertIn('orvellis-passwd ACCOUNT', self.succeed(word))
        self.assertRegex(self.succeed('--version'), r'\Aorvellis-passwd \d+\.\d+\n\Z')

    def test_that_make_no_sense_are_usage(self):
        for words in ([], ['a', 'b'], ['--delete'], ['--list', 'a'], ['--frob'], ['--delete', '--list'], ['--file'],
                      ['-x', 'a'], ['--file=', 'a'], ['--config', '', 'a'], ['-']):
            self.fail_with('', *words, status=2, typed='x\n')
        self.assertFalse(os.path.exists(self.file))

    def test_account_may_begin_with_a_dash_behind_two(self):
        self.run_with('--', '-shop', typed='x\n')
        self.assertIn('-shop:$y$', self.read())


if __name__ == '__main__':
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
