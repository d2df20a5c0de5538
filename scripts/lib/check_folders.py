#!/usr/bin/python3
"""What each folder may include: check_folders.py SOURCE"""
import pathlib
import re
import sys

BASE = "smtpclient/ platform/"
CURL = " <curl/curl.h>"
ONLY_CONVERSION = " compose/text_conversion.h"
LOG = BASE + ONLY_CONVERSION + CURL + " transport/result_catalogue.h"
MAY_INCLUDE = {  # Beside standard headers and the folder itself.
    "include/smtpclient": "smtpclient/",
    "platform": BASE,
    "platform/posix": BASE + " SYSTEM",
    "platform/win32": BASE + " SYSTEM",
    "compose": BASE,
    "message": BASE + ONLY_CONVERSION,
    "transport": BASE + ONLY_CONVERSION + CURL,
    "log": LOG,
    "async": LOG + " transport/curl_use.h client/prepare_send.h",
    "client": BASE + CURL + " compose/ message/ transport/ log/ async/",
}
ONE_PAIR = {("compose", "<curl/curl.h>"): "body_tree", ("platform", "<iconv.h>"): "iconv_descriptor"}
# What a host on Windows sees differs: marks, descriptor, the first place of the tables.
WINDOWS_DIFFERS = ["export.h", "host_platform.h", "mime_message.h", "smtp_client.h"]


def is_allowed(folder, file, bracketed, name):
    if bracketed and re.fullmatch(r"[a-z_]+", name):
        return True
    if (folder, f"<{name}>") in ONE_PAIR:
        return file.stem == ONE_PAIR[folder, f"<{name}>"]
    if name.startswith("openssl/"):
        return f"{folder}/{file.name}" == "transport/trust_store_openssl.cpp"
    allowed = MAY_INCLUDE[folder].split()
    if bracketed and not name.startswith("smtpclient/"):
        return f"<{name}>" in allowed or "SYSTEM" in allowed
    return name.split("/")[0] == folder or name in allowed or name.split("/")[0] + "/" in allowed


def layers(source):
    for folder in MAY_INCLUDE:
        for file in (pathlib.Path(source) / folder).glob("*.*"):
            text = file.read_text()
            for kind, name in re.findall(r'#\s*include\s*([<"])([^>"]+)', text):
                if not is_allowed(folder, file, kind == "<", name):
                    yield f"{file}: may not include {name}"
            if not folder.startswith("platform") and file.name not in WINDOWS_DIFFERS and re.search(r"^#\s*(if|elif|ifdef)\b", text, re.M):
                yield f"{file}: platform conditional"
            # The stored contract does not see into what only hosts implement.
            operations = re.findall(r"^    virtual [^~(]*?(\w+)\(", text, re.M)
            if file.name == "completion_sink.h" and operations != ["Reserved", "OnSendComplete"]:
                yield f"{file}: operations have changed places"


faults = list(layers(sys.argv[1]))
sys.exit("\n".join(faults) or 0)
