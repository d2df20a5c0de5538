#!/usr/bin/python3
"""Shows a mail of the demo as Python's own email parser reads it, and whether all arrived unharmed.

Usage: read_mail.py MAIL FOLDER SUBJECT ATTACHMENT...
FOLDER holds letter.txt, letter.html, sunrise.png and the attachments as they were sent.
"""

import email
import email.policy
import pathlib
import sys


def with_mail_line_ends(path):
    return path.read_text('utf-8').replace('\n', '\r\n').encode()


def expected_parts(folder, attachments):
    """What each leaf of the mail has to be, in the order of travel: type, name, content."""
    html = with_mail_line_ends(folder / 'letter.html').replace(b'"sunrise.png"', b'"cid:sunrise.png"')
    yield 'text/html', None, html
    yield 'text/plain', None, with_mail_line_ends(folder / 'letter.txt')
    yield 'image/png', '<sunrise.png>', (folder / 'sunrise.png').read_bytes()
    for name in attachments:
        yield None, name, (folder / name).read_bytes()


def is_same(part, expected):
    wanted_type, wanted_name, content = expected
    name = part.get('Content-ID') or part.get_filename()
    return (wanted_type in (None, part.get_content_type()) and name == wanted_name
            and part.get_payload(decode=True) == content)


def show(part, expected, verdicts, branch='  ', indent='  '):
    if part.is_multipart():
        print(branch + part.get_content_type())
        children = part.get_payload()
        for child in children:
            fork, below = ('└─ ', '   ') if child is children[-1] else ('├─ ', '│  ')
            show(child, expected, verdicts, indent + fork, indent + below)
        return
    verdicts.append(is_same(part, next(expected, (None, None, None))))
    name = part.get('Content-ID') or part.get_filename() or part.get_content_charset()
    size = f'{len(part.get_payload(decode=True)):,} bytes'
    print(f'{branch}{part.get_content_type()}  {name}  {size}  '
          + ('unharmed' if verdicts[-1] else 'DAMAGED'))


def main(mail_path, folder, subject, *attachments):
    mail = email.message_from_bytes(pathlib.Path(mail_path).read_bytes(),
                                    policy=email.policy.default)
    for name in ('From', 'To', 'Cc', 'Subject'):
        print(f'  {name}: {mail[name]}')
    print()
    expected = list(expected_parts(pathlib.Path(folder), attachments))
    verdicts = [mail['Subject'] == subject]
    show(mail, iter(expected), verdicts)
    complete = len(verdicts) == 1 + len(expected)
    return 0 if complete and all(verdicts) else 1


if __name__ == '__main__':
    sys.exit(main(*sys.argv[1:]))
