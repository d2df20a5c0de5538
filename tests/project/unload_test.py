#!/usr/bin/python3
"""A client goes on, and its sink is told, when the library has been unloaded under it: unload_test.py LIBRARY"""
import _ctypes
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "examples/python"))
from smtpclient import Library, Sink

library = Library(sys.argv[1])
told = []
sink = Sink(lambda *report: told.append(report))
client = library.client()
client.SetCompletionSink(sink)
client.SendAsync()
wait = library.exports.SmtpClientWaitEvents
_ctypes.dlclose(library.exports._handle)
client.Release()
wait(60000)
assert told == [(1, -6, "Host using bad/illegal format or missing host.")], told
