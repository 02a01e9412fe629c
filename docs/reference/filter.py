#!/usr/bin/env python3
"""Turns a public header into what Doxygen reads.

The headers are written to be read as they are: a plain comment stands before the declarations that it
describes, often a block of them, and a comment with a blank line below it speaks of all that follows. Here the
header becomes a topic, `---- Title ----` a topic inside it, a remark a part of the topic's text, and
every declaration of a block gets the block's comment.

usage: filter.py HEADER
"""
import html
import pathlib
import re
import sys

SECTION = re.compile(r"\A---- (.*?) ----\s*(.*)\Z", re.S)
TRAILING = re.compile(r"^(\s*\S.*?)\s*/\* (.*?) \*/$")
# Openings, guards and directives that are no part of the interface.
NOISE = re.compile(r"\s*(UVEK_BEGIN|UVEK_END|#ifndef UVEK_\w+_H|#define UVEK_\w+_H|#include .*|#endif|#ifdef .*|#else|#define UVEK_\w+.*)?\s*\Z")


def escape(text):
    text = re.sub(r"`([^`]*)`", lambda m: f"\0{m[1]}\1", text)
    text = html.escape(text, quote=False).replace("\\", "\\\\").replace("@", "\\@").replace("#", "\\#").replace("%", "\\%").replace("..", "&hellip;")
    return text.replace("\0", "<tt>").replace("\1", "</tt>")


def paragraphs(text):
    """The text of a comment: tables stay as they are, and statuses have a paragraph of their own."""
    out, verbatim = [], False
    for line in text.splitlines():
        table = line.startswith("    ")
        if table != verbatim:
            out.append("@verbatim" if table else "@endverbatim")
            verbatim = table
        if table:
            out.append(line)
            continue
        line = re.sub(r"(?<=[.;] )(?=Returns? )", "\n\n", escape(line.strip()))
        out.append(("\n" if re.match(r"Returns? ", line) else "") + line)
    if verbatim:
        out.append("@endverbatim")
    return "\n".join(out)


def brief(text):
    """A title from a header's first sentence."""
    return text.split(".")[0].replace("\n", " ").strip()


def read(source):
    """Comments at the left margin with the block of lines after each: (text, lines)."""
    lines, at = source.splitlines(), 0
    while at < len(lines):
        if not lines[at].startswith("/*"):
            if not NOISE.match(lines[at]):
                yield None, [lines[at]]
            at += 1
            continue
        begin = at
        while not lines[at].rstrip().endswith("*/"):
            at += 1
        at += 1
        text = "\n".join(re.sub(r"^(/\*|  ) ?", "", line) for line in lines[begin:at]).rstrip()[:-2].rstrip()
        block = []
        depth = 0
        while at < len(lines) and (depth or (lines[at].strip() and not lines[at].startswith("/*"))):
            depth += lines[at].count("{") - lines[at].count("}")
            if not NOISE.match(lines[at]):
                block.append(lines[at])
            at += 1
        yield text, block


def declarations(block):
    """A block's lines, cut behind each declaration."""
    part, depth = [], 0
    for line in block:
        part.append(TRAILING.sub(lambda m: f"{m[1]} /**< {escape(m[2])} */", line))
        code = line.split("/*")[0].rstrip()
        depth += code.count("{") - code.count("}")
        if depth == 0 and (code.endswith(";") or code.startswith("#")):
            yield "\n".join(part)
            part = []
    if part:
        yield "\n".join(part)


class Topic:
    def __init__(self, name, title, text):
        self.name, self.title, self.texts, self.members = name, title, [text], []

    def show(self, inner=""):
        text = "\n\n".join(paragraphs(text) for text in self.texts if text)
        return f"/** @defgroup {self.name} {escape(self.title)}\n{text}\n@{{ */\n" + "\n".join(self.members) + f"\n{inner}/** @}} */\n"


def translate(name, source):
    stem, topics = pathlib.Path(name).stem, []
    for text, block in read(source):
        section = SECTION.match(text or "")
        if text and not topics:
            topics.append(Topic(stem, f"{stem}.h: {brief(text)}", text))
            text = None
        elif section:
            heading, _, more = section[1].partition(":")
            topics.append(Topic(f"{stem}_{len(topics)}", heading, f"{more.strip().capitalize() + '.' if more else ''}\n\n{section[2]}".strip()))
            text = None
        elif text and not block:
            topics[-1].texts.append(text)
        # Each declaration of a block gets the block's comment: whoever looks one up finds all that is said of it.
        for declaration in declarations(block):
            topics[-1].members.append((f"/** {paragraphs(text)} */\n" if text else "") + declaration)
    file = f"/** @file {stem}.h\n{paragraphs(topics[0].texts[0])} */\n"
    if stem == "uvek":  # includes the others
        return file
    return file + topics[0].show("".join(topic.show() for topic in topics[1:]))


if __name__ == "__main__":
    sys.stdout.write(translate(sys.argv[1], pathlib.Path(sys.argv[1]).read_text()))
