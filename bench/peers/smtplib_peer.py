#!/usr/bin/python3
"""Sends the mail of the benchmark with Python's smtplib and email; arguments as sender.cpp's."""
import email.message
import json
import mimetypes
import pathlib
import resource
import smtplib
import ssl
import sys
import time


def compose(options, files):
    message = email.message.EmailMessage()
    message["From"] = "sender@example.org"
    message["To"] = ", ".join(f"recipient{n}@example.org" for n in range(int(options.get("recipients", 1))))
    message["Subject"] = "Measured"
    lines = -(-int(options.get("body", 16)) // 64)
    message.set_content(("x" * 62 + "\n") * lines)
    if "html" in options:
        message.add_alternative(options["html"], subtype="html")
    for kind, path in files:
        main, sub = (mimetypes.guess_type(path)[0] or "application/octet-stream").split("/")
        disposition = {"picture": "inline", "attach": "attachment"}[kind]
        message.add_attachment(pathlib.Path(path).read_bytes(), maintype=main, subtype=sub, disposition=disposition,
                               filename=pathlib.Path(path).name, cid=f"<{path}>" if kind == "picture" else None)
    return message


def send(options, files):
    with smtplib.SMTP("127.0.0.1", int(options["port"])) as server:
        if options.get("tls") == "1":
            context = ssl.create_default_context()
            if options.get("verify") != "1":
                context.check_hostname = False
                context.verify_mode = ssl.CERT_NONE
            server.starttls(context=context)
        server.login("user", "password")
        server.send_message(compose(options, files))


arguments = [argument.split("=", 1) for argument in sys.argv[3:]]
options = dict(arguments)
files = [(name, value) for name, value in arguments if name in ("picture", "attach")]
times = int(sys.argv[2])
if times > 1:
    send(options, files)
before = resource.getrusage(resource.RUSAGE_SELF)
begin = time.monotonic()
for _ in range(times):
    send(options, files)
seconds = time.monotonic() - begin
after = resource.getrusage(resource.RUSAGE_SELF)
print(json.dumps({
    "seconds": seconds,
    "cpu": after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime,
    "peak_kib": after.ru_maxrss - before.ru_maxrss,
}))
