#!/usr/bin/python3
"""An SMTP server on a loopback port of its own, for trying the library.

It offers STARTTLS with a certificate made on the spot, and the logins PLAIN, LOGIN and XOAUTH2.
What it receives goes to the folder that it is given: each mail to mail-1.eml, mail-2.eml ..., the
dialogue, without secrets, to dialogue.txt. The first line that it prints tells its port; SIGTERM or
the end of its standard input, if asked for, ends it once open connections have ended.
"""

import argparse
import asyncio
import base64
import logging
import pathlib
import signal
import ssl
import subprocess
import sys
import tempfile
import warnings

from aiosmtpd.smtp import SMTP, AuthResult, LoginPassword

USER = 'demo'
PASSWORD = 'open sesame'
TOKEN = 'a.bearer.token'
LONGEST_FAREWELL = 10  # Seconds that open connections get when the server has to end.


def make_tls_context():
    with tempfile.TemporaryDirectory() as folder:
        key, certificate = f'{folder}/key.pem', f'{folder}/certificate.pem'
        subprocess.run(
            ['openssl', 'req', '-x509', '-newkey', 'ec', '-pkeyopt', 'ec_paramgen_curve:prime256v1',
             '-nodes', '-days', '1', '-subj', '/CN=localhost', '-addext',
             'subjectAltName=DNS:localhost,IP:127.0.0.1', '-keyout', key, '-out', certificate],
            check=True, stderr=subprocess.DEVNULL)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        return context


class DialogueWriter(logging.Handler):
    """Writes down what aiosmtpd logs of both sides; it hides what stands behind AUTH itself."""

    def __init__(self, path):
        super().__init__(logging.DEBUG)
        self.file = path.open('w', buffering=1)

    def emit(self, record):
        if record.msg == '%r >> %r':
            print('C:', record.args[1].decode('utf-8', 'replace'), file=self.file)
        elif record.msg == '%r << %r':
            reply = record.args[1].decode('utf-8', 'replace')
            print('S:', reply, file=self.file)
            if reply.startswith('334'):  # The answer is not logged.
                print('C: ****', file=self.file)
            elif reply.startswith('354'):
                print('C: (the mail)', file=self.file)


class Mailbox:
    """Takes every mail, and the logins that aiosmtpd leaves to its handler."""

    def __init__(self, folder, checks_login):
        self.folder = folder
        self.checks_login = checks_login
        self.count = 0

    def authenticate(self, _server, _session, _envelope, _mechanism, data):
        accepted = not self.checks_login or data == (USER.encode(), PASSWORD.encode())
        return AuthResult(success=accepted, handled=False, auth_data=data)

    async def auth_XOAUTH2(self, server, args):
        response = (base64.b64decode(args[1]) if len(args) > 1 else await server.challenge_auth(''))
        accepted = not self.checks_login or response == (
            f'user={USER}\x01auth=Bearer {TOKEN}\x01\x01'.encode())
        return AuthResult(success=accepted, handled=False,
                          auth_data=LoginPassword(b'token', b'') if accepted else None)

    async def handle_DATA(self, _server, _session, envelope):
        self.count += 1
        (self.folder / f'mail-{self.count}.eml').write_bytes(envelope.content)
        return f'250 2.0.0 Ok: kept as mail {self.count}'


class Connection(SMTP):
    """One connection; `open` holds those that have not ended."""

    open = set()

    def connection_made(self, transport):
        self.open.add(self)
        super().connection_made(transport)

    def eof_received(self):
        # What came together with the end, a QUIT, is still to be handled.
        self.loop.call_later(0.1, self._handler_coroutine.cancel)
        return self.session.ssl is None

    def connection_lost(self, error):
        super().connection_lost(error)
        self.open.discard(self)


async def serve(arguments):
    loop = asyncio.get_running_loop()
    mailbox = Mailbox(arguments.folder, arguments.check_login)
    context = None if arguments.no_tls else make_tls_context()
    server = await loop.create_server(
        lambda: Connection(mailbox, hostname='localhost', ident='embedded server', loop=loop,
                           tls_context=context, authenticator=mailbox.authenticate,
                           auth_required=arguments.check_login, auth_require_tls=False),
        '127.0.0.1', arguments.port)
    ended = asyncio.Event()
    loop.add_signal_handler(signal.SIGTERM, ended.set)
    loop.add_signal_handler(signal.SIGINT, ended.set)
    if arguments.until_eof:
        loop.add_reader(sys.stdin, lambda: sys.stdin.buffer.read1() or ended.set())
    print(server.sockets[0].getsockname()[1], flush=True)
    await ended.wait()
    server.close()
    deadline = loop.time() + LONGEST_FAREWELL
    while Connection.open and loop.time() < deadline:
        await asyncio.sleep(0.01)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('folder', type=pathlib.Path, help='where mails and dialogue go')
    parser.add_argument('--port', type=int, default=0, help='default: any that is free')
    parser.add_argument('--no-tls', action='store_true', help='offer no STARTTLS')
    parser.add_argument('--check-login', action='store_true',
                        help=f'ask for a login: {USER} with "{PASSWORD}" or the token {TOKEN}')
    parser.add_argument('--until-eof', action='store_true', help='end with the standard input')
    arguments = parser.parse_args()
    arguments.folder.mkdir(parents=True, exist_ok=True)
    warnings.filterwarnings('ignore', message='Requiring AUTH while not requiring TLS')
    log = logging.getLogger('mail.log')
    log.setLevel(logging.DEBUG)
    log.propagate = False
    log.addHandler(DialogueWriter(arguments.folder / 'dialogue.txt'))
    asyncio.run(serve(arguments))


if __name__ == '__main__':
    main()
