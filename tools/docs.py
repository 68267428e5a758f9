# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
"""Prints a Markdown page as Doxygen wants it: headings with names, links to them by these names, and
links to files that are not on the site as plain text. Doxygen calls it for each page; the pages
themselves stay as other readers of Markdown want them.
Usage: docs.py PAGE.md"""
import os
import re
import sys

PAGES = ("README.md", "CONTRIBUTING.md", "CHANGELOG.md", "SECURITY.md", "examples/site/README.md")


def name_of(page, heading=""):
    slug = re.sub(r"[^\w\- ]", "", heading.lower()).strip().replace(" ", "-")
    page = re.sub(r"\W", "_", os.path.splitext(page)[0])
    return f"page_{page}" + (f"_{slug}".replace("-", "_") if slug else "")


def link(page, match):
    text, target = match.groups()
    if re.match(r"[a-z]+:", target):
        return match.group(0)
    path, _, heading = target.partition("#")
    path = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
    if not path.endswith(".md") or not (path in PAGES or path.startswith("docs/")):
        return text if text.startswith("`") else f"{text} (`{path}`)" if text != path else f"`{path}`"
    kind = "subpage" if page == "docs/index.md" else "ref"  # of which Doxygen makes the tree
    return f"@{kind} {name_of(path, heading)} \"{text.replace('`', '')}\""


def main(page):
    page = os.path.relpath(page)
    fence = None
    first = True
    for line in open(page, encoding="utf-8"):
        opened = re.match(r" *(```+)", line)
        if opened:
            fence = None if fence else opened.group(1)
        elif fence is None:
            heading = re.match(r"(#+) (.*)", line)
            if heading:
                name = name_of(page, "" if first else heading.group(2))
                title = heading.group(2).replace("`", "")  # the tree shows markup as it stands
                line = f"{heading.group(1)} {title} {{#{name}}}\n"
                first = False
            line = re.sub(r"\*\*(.+?)\*\*", r"<b>\1</b>", line)  # ** before code is not read
            line = re.sub(r"!\[([^\]]*)\]\(\S*?([\w-]+\.svg)\)", r"![\1](\2)", line)
            line = re.sub(r"(?<!!)\[([^\]]*)\]\(([^)\s]*)\)", lambda m: link(page, m), line)
        sys.stdout.write(line)


main(sys.argv[1])
