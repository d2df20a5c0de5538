#!/usr/bin/python3
"""Compiles every sample of the documentation, in C++ and Python: docs_test.py COMPILER INCLUDE_FOLDER PAGE..."""
import pathlib
import re
import subprocess
import sys

LIBRARIES = ["glib-2.0", "libuv", "Qt6Core"]


def samples(page):
    text = page.read_text()
    for fence in re.finditer(r"^```python\n(.*?)^```$", text, re.M | re.S):
        compile(fence[1], page, "exec")
    for fence in re.finditer(r"^```cpp\n(.*?)^```$", text, re.M | re.S):
        line = text.count("\n", 0, fence.start()) + 2
        yield f'#line {line} "{page}"\n', fence[1]


def compile_all(compiler, flags, code):
    subprocess.run([*compiler.split(), "-std=c++20", "-fsyntax-only", "-x", "c++", "-Wall", "-Wno-unused-variable",
                    *flags, "-"], input=code, text=True, check=True)


compiler, include = sys.argv[1:3]
flags = ["-I", include, "-I", pathlib.Path(include).parent, "-I", pathlib.Path(__file__).parent]
flags += subprocess.check_output(["pkg-config", "--cflags", *LIBRARIES], text=True).split()
fragments = '#include "docs_context.h"\n'
count = 0
for page in map(pathlib.Path, sys.argv[3:]):
    for place, sample in samples(page):
        count += 1
        if "#include" in sample:
            compile_all(compiler, flags, place + sample)
        elif "co_await" in sample:
            fragments += f"CTask F{count}() {{\n{place}{sample}}}\n"
        else:
            fragments += f"void F{count}() {{\n{place}{sample}}}\n"
compile_all(compiler, flags, fragments)
print(count, "samples")
