#!/usr/bin/python3
"""Drives the sample tool against the embedded server: send_mail_test.py SEND_MAIL SERVER"""

import contextlib
import email.policy
import os
import pathlib
import pty
import re
import subprocess
import sys
import tempfile
import unittest

SEND_MAIL, SERVER = sys.argv[1:]
LOGIN = ['--user=demo', '--password-file=password']
TOKEN = ['--user=demo', '--token-file=token']
PLAIN, TLS = '--no-tls', '--insecure'
KEPT = 'Email sent successfully! (250 2.0.0 Ok: kept as mail'


class Tool(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        for name, content in {'password': b'open sesame\r\n', 'token': b'a.bearer.token', 'wrong': b'x',
                              'lines': b'\xef\xbb\xbfa\nb\r\nc\r\r\n.\n', 'two': b'a\nb'}.items():
            (self.folder / name).write_bytes(content)
        server = self.enterContext(subprocess.Popen(
            [SERVER, self.folder / 'received', '--check-login', '--until-eof'],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE))
        self.command = [SEND_MAIL, '--host=127.0.0.1', f'--port={int(server.stdout.readline())}',
                        '--from=A <a@example.org>', '--to=b@example.org']
        self.environment = {**os.environ, 'LC_ALL': 'C.UTF-8'}

    def send(self, status, message, *arguments, standard_input=b''):
        done = subprocess.run(self.command + [*arguments], cwd=self.folder, env=self.environment,
                              input=standard_input, capture_output=True, timeout=120)
        self.assertIn(message, (done.stderr if status else done.stdout).decode())
        self.assertEqual((done.returncode, done.stdout if status else done.stderr), (status, b''))

    def test_statuses_and_messages(self):
        for status, message, *arguments in [
                (0, KEPT, *LOGIN, PLAIN),
                (0, KEPT, *LOGIN, TLS, '--tls-version=1.2'),
                (0, KEPT, *TOKEN, TLS),
                (0, 'Email sent successfully!\n', *TOKEN, PLAIN, '--background'),
                (1, 'Failed to connect', *LOGIN, PLAIN, '--proxy=socks5h://127.0.0.1:1',
                 '--proxy-user=socks', '--proxy-password-file=password'),
                (1, 'self-signed certificate', *LOGIN),
                (1, '(535 5.7.8 ', *LOGIN, PLAIN, '--password-file=wrong'),
                (1, 'denied', *TOKEN, PLAIN, '--token-file=wrong', '--background'),
                (2, '--subject: a line break', *LOGIN, '--subject=a\nBcc: x@example.org'),
                (2, '--to: a line break', *LOGIN, '--to=x\r <x@example.org>'),
                (2, 'not one mail address', *LOGIN, '--to=x@example.org> SIZE=1'),
                (2, 'not a text in UTF-8', *LOGIN, b'--subject=\xff'),
                (2, 'Password: exactly one line', *LOGIN, '--password-file=two'),
                (2, 'no such charset', *LOGIN, '--charset=x'),
                (2, "none: no such file\nTry 'send_mail --help'.\n", *LOGIN, '--attach=none')]:
            with self.subTest(arguments):
                self.send(status, message, *arguments)

    def test_text_from_files_and_locales(self):
        subprocess.run(['localedef', '-ide_DE', '-fISO-8859-1', self.folder / 'de_DE.ISO-8859-1'])
        self.send(0, KEPT, *LOGIN, PLAIN, '--text-file=lines', '--from="Doe, J." <a@example.org>')
        # Under LOCPATH, setlocale itself loses a few bytes.
        self.environment |= {'LC_ALL': 'de_DE.ISO-8859-1', 'LOCPATH': str(self.folder),
                             'ASAN_OPTIONS': 'detect_leaks=0'}
        self.send(0, KEPT, *LOGIN, PLAIN, '--text-file=lines', b'--from=Zo\xeb <a@example.org>')
        self.send(0, KEPT, *LOGIN, PLAIN, '--text-file=-', b'--from=Zo\xeb <a@example.org>',
                  standard_input=(self.folder / 'lines').read_bytes())
        for number, name in (1, 'Doe, J.'), (2, 'Zoë'), (3, 'Zoë'):
            content = (self.folder / f'received/mail-{number}.eml').read_bytes()
            mail = email.message_from_bytes(content, policy=email.policy.default)
            self.assertEqual(mail['From'].addresses[0].display_name, name)
            self.assertIn(b'\r\n\r\na\r\nb\r\nc\r\n\r\n.\r\n\r\n--', content)

    def test_manual_page_names_every_option(self):
        manual = (pathlib.Path(SERVER).parent / 'send_mail/send_mail.1').read_text()
        told = subprocess.run([SEND_MAIL, '--help'], capture_output=True, text=True).stdout
        for option in re.findall(r'^  --([a-z-]+)', told, re.M):
            self.assertIn(r'\-\-' + option.replace('-', r'\-'), manual)

    def test_prompt_shows_no_secret(self):
        try:
            process, terminal = pty.fork()
        except OSError as fault:  # In a chroot without /dev/ptmx and /dev/pts.
            self.skipTest(f'no pseudo-terminal: {fault}')
        if process == 0:
            os.execve(SEND_MAIL, [*self.command, '--user=demo', TLS], self.environment)
        shown = b''
        with contextlib.suppress(OSError):  # Reading fails once the program has ended.
            while True:
                shown += os.read(terminal, 4096)
                if shown == b'Password: ':
                    os.write(terminal, b'open sesame\n')
        self.assertEqual(os.waitpid(process, 0)[1], 0)
        self.assertIn(KEPT.encode(), shown)
        self.assertNotIn(b'sesame', shown)


unittest.main(argv=sys.argv[:1], verbosity=2)
