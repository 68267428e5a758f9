# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
"""Types the commands of a script in a folder, one after the other, and draws the terminal as an SVG.
Usage: recording.py SCRIPT FOLDER PICTURE.svg"""
import html
import subprocess
import sys

WIDTH = 100  # characters
LINE, CHARACTER, MARGIN = 17, 7.83, 14  # pixels, at 13 pixels of a monospaced font
STYLE = """
  rect { fill: #f6f8fa; stroke: #d0d7de }
  text { font: 13px 'Liberation Mono', Menlo, Consolas, monospace; fill: #1f2328; white-space: pre }
  .typed { fill: #0550ae; font-weight: bold }
  .line { animation: show 0.01s backwards }
  @keyframes show { from { opacity: 0 } }
  @media (prefers-reduced-motion: reduce) { .line { animation: none } }
  @media (prefers-color-scheme: dark) {
    rect { fill: #161b22; stroke: #30363d }
    text { fill: #e6edf3 }
    .typed { fill: #79c0ff }
  }
"""


def record(script, folder):
    """Yields (typed, text) for each line of the terminal."""
    shell = subprocess.Popen(["bash"], cwd=folder, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, text=True)
    for command in open(script, encoding="utf-8"):
        command = command.rstrip()
        if not command or command.startswith("#"):
            continue
        yield True, "$ " + command
        is_server = command.endswith("&")
        shell.stdin.write(command + "\n" + ("" if is_server else "echo END-OF-COMMAND\n"))
        shell.stdin.flush()
        for line in iter(shell.stdout.readline, "END-OF-COMMAND\n"):
            yield False, line.rstrip()
            if is_server or not line:  # it listens when it says so, and goes on
                break
    shell.stdin.write("kill %1\n")
    shell.stdin.close()
    shell.wait()


def wrapped(lines):
    for typed, text in lines:
        while len(text) > WIDTH:
            cut = text.rfind(" ", 0, WIDTH)
            cut = cut if cut > 20 else WIDTH
            yield typed, text[:cut] + (" \\" if typed else "")
            text = "    " + text[cut:].lstrip()
        yield typed, text


def draw(lines):
    height = len(lines) * LINE + 2 * MARGIN
    width = WIDTH * CHARACTER + 2 * MARGIN
    yield f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:.0f} {height}" width="{width:.0f}">'
    yield f"<title>A package made, checked and served</title><style>{STYLE}</style>"
    yield f'<rect x="0.5" y="0.5" width="{width - 1:.0f}" height="{height - 1}" rx="6"/>'
    delay = 0.0
    for number, (typed, text) in enumerate(lines):
        delay += 0.9 if typed else 0.12
        yield (f'<text class="line{" typed" if typed else ""}" style="animation-delay: {delay:.2f}s" '
               f'x="{MARGIN}" y="{MARGIN + (number + 1) * LINE - 4}" xml:space="preserve">'
               f"{html.escape(text)}</text>")
    yield "</svg>"


script, folder, picture = sys.argv[1:]
with open(picture, "w", encoding="utf-8") as out:
    out.write("\n".join(draw(list(wrapped(record(script, folder))))) + "\n")
