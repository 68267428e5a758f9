# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
"""Does what the pages say: writes the files that they show and types the commands.

A comment in front of a code block says what becomes of it, and readers don't see it:
    <!-- file: fans/FanProviders.cpp -->   the block is this file, below the working folder
    <!-- append: fans/FanProviders.cpp --> this file goes on with the block
    <!-- program: folder/Program.cpp -->   a program, which is compiled and run
    <!-- mof: fans/Fans.mof -->            a file that compiles by itself
    <!-- run: fans -->                     its commands are typed in this folder
    <!-- prints -->                        the last commands have printed these lines, in order; "..." in
                                           a line stands for any text, a line "..." for any lines
    <!-- fails: fans 1 -->                 like run, and the last command ends with this status
    <!-- serve: fans -->                   like run, and goes on until the page ends, then ends with 0
    <!-- real server -->                   typed on a real server only
    <!-- in a clone -->                    what the build of this repository does anyway
Every other block of C++, MOF, CMake or shell is an error: code that nothing tries rots.

Usage: run.py WORKING_FOLDER [NAME=VALUE ...] PAGE.md ...   (variables for the commands)
"""
import os
import pathlib
import re
import signal
import socket
import subprocess
import sys

TRIED = {"cpp", "mof", "cmake", "sh"}
COMPILE = """
export PKG_CONFIG_PATH=$(dirname "$(find "$CMAKE_PREFIX_PATH" -name velmar_remote_embedded.pc)")
${{CXX:-c++}} -std=c++17 {0} -o program $(pkg-config --cflags --libs velmar_remote_embedded) \\
    -Wl,-rpath,"$(pkg-config --variable=libdir velmar_remote_embedded)"
./program
"""
ELSEWHERE = ("real server", "in a clone")


class Fault(Exception):
    pass


def blocks(page):
    """Yields (line, directive, language, text) for each fenced block."""
    directive, fence, language, text, start = "", None, "", [], 0
    for number, line in enumerate(page.read_text().splitlines(), 1):
        opened = re.match(r"( *)(```+)\s*(\w*)", line)
        if fence is None and opened:
            fence, language, text, start = opened.group(2), opened.group(3), [], number
            indent = len(opened.group(1))
        elif fence is not None and line.strip() == fence:
            yield start, directive, language, "\n".join(text) + "\n"
            directive, fence = "", None
        elif fence is not None:
            text.append(line[indent:] if not line[:indent].strip() else line)
        elif comment := re.fullmatch(r" *<!-- (.*) -->", line):
            directive = comment.group(1)
        elif line.strip():
            directive = ""
    if fence is not None:
        raise Fault(f"{page}:{start}: the block does not end")


def type_commands(commands, folder, environment, expected):
    # A page's commands are typed one after the other, and each must succeed.
    done = subprocess.run(["bash", "-euo", "pipefail", "-c", commands], cwd=folder, env=environment,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if done.returncode != expected:
        raise Fault(f"ended with {done.returncode}, not {expected}:\n{commands}\n{done.stdout}")
    return done.stdout


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return str(one.getsockname()[1])


def compare(shown, printed):
    lines = iter(printed.splitlines())
    skipping = False
    for wanted in shown.splitlines():
        if wanted.strip() == "...":
            skipping = True
            continue
        pattern = ".*".join(re.escape(part) for part in wanted.rstrip().split("..."))
        for line in lines:
            if re.fullmatch(pattern, line.rstrip()):
                break
            if not skipping:
                raise Fault(f"prints\n{line}\nwhere the page shows\n{wanted}\nWhole output:\n{printed}")
        else:
            raise Fault(f"does not print\n{wanted}\nWhole output:\n{printed}")
        skipping = False


class Reader:
    """Who has nothing but the pages."""

    def __init__(self, folder, environment):
        self.folder, self.environment = folder, environment
        self.printed = ""
        self.server = None
        # In place of the pages' ports, which may be taken: the server's and a listener's.
        self.ports = {"5988": free_port(), "6990": free_port()}

    def in_folder(self, name):
        folder = self.folder / name
        folder.mkdir(parents=True, exist_ok=True)
        return folder

    def serve(self, command, folder):
        self.server = subprocess.Popen(["bash", "-c", "exec " + command], cwd=folder, text=True,
                                       env=self.environment, stdout=subprocess.PIPE)
        if not self.server.stdout.readline().startswith("listening on "):
            raise Fault(f"does not listen: {command}")

    def end_page(self):
        if self.server:
            self.server.send_signal(signal.SIGTERM)
            self.server.communicate(timeout=60)
            if self.server.returncode != 0:
                raise Fault(f"the server ends with {self.server.returncode}")
            self.server = None

    def do(self, directive, language, text):
        what, _, argument = directive.partition(": ")
        for shown, port in self.ports.items():
            text = text.replace(shown, port)
        if what in ("file", "append", "mof", "program"):
            folder = self.in_folder(os.path.dirname(argument))
            with open(self.folder / argument, "a" if what == "append" else "w") as target:
                target.write(text)
            if what == "mof":
                nothing = self.folder / "nothing.mof"
                nothing.touch()
                type_commands(f"velmar check --registration {nothing} --modules . --schema "
                              f"{os.path.basename(argument)}", folder, self.environment, 0)
            if what == "program":
                self.printed = type_commands(COMPILE.format(os.path.basename(argument)), folder,
                                             self.environment, 0)
        elif what in ("run", "fails"):
            folder, _, status = argument.partition(" ")
            self.printed = type_commands(text, self.in_folder(folder), self.environment,
                                         int(status or 0))
        elif what == "serve":
            self.serve(text, self.in_folder(argument))
        elif what == "prints":
            compare(text, self.printed)
        elif what not in ELSEWHERE and language in TRIED:
            raise Fault(f"a block of {language} that nothing tries; say above it what it is")


def main(folder, *rest):
    environment = dict(os.environ)
    environment.update(word.split("=", 1) for word in rest if not word.endswith(".md"))
    reader = Reader(pathlib.Path(folder).resolve(), environment)
    for name in (word for word in rest if word.endswith(".md")):
        count = 0
        for line, directive, language, text in blocks(pathlib.Path(name)):
            try:
                reader.do(directive, language, text)
            except Fault as fault:
                if reader.server:
                    reader.server.kill()
                sys.exit(f"{name}:{line}: {fault}")
            count += directive not in ("", *ELSEWHERE)
        reader.end_page()
        print(f"{name}: {count} blocks tried")


try:
    main(*sys.argv[1:])
except Fault as fault:
    sys.exit(str(fault))
