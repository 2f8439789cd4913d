#!/usr/bin/env python3
"""Prepares a public header for Doxygen: header_filter.py HEADER, to standard output.

The headers' comments are written for readers of the headers: plain text, with entries whose
descriptions stand in a column

    DB_OK         made
    DB_NO_MEMORY  no memory for the block; logged
                  at ERROR

and examples that are indented. Here these become lists and blocks of code, and everything that
Doxygen would take for a command or for markup is escaped. Lines keep their numbers, so that
warnings name the right ones.
"""

import re
import sys

COMMENT = re.compile(r"^(\s*)///(?!<)(?: (.*))?$")
MEMBER_COMMENT = re.compile(r"^(.*)///<(.*)$")
# "name, val   both required": the column is at least two blanks away, three outside of lists.
ENTRY = re.compile(r"^( *)(\S(?:.*?\S)?)( {2,})(\S.*)$")
# "Threads: every operation may be called from any thread."
NOTE = re.compile(r"^([A-Z][a-z]+(?: [a-z]+)?):( +)(\S.*)$")
LIST_ITEM = re.compile(r"^ *(?:-|\d+\.) ")
EC_LINE = re.compile(r'X\((\w+), (0x[0-9a-f]+u),\s*\\?\s*((?:"[^"]*"[\s\\]*)+)\)')


def escaped(text):
    """A text in which Doxygen finds nothing but words; code spans are left to it."""
    parts = re.split(r"(`[^`]*`)", text)
    for i in range(0, len(parts), 2):
        part = re.sub(r"([\\<>%#@$&*])", r"\\\1", parts[i])
        part = re.sub(r"\b__(\w+?)__\b", r"\\_\\_\1\\_\\_", part)
        parts[i] = part.replace('"', "&quot;")  # between quotes, escapes would stay
    return "".join(parts)


def indent_of(line):
    return len(line) - len(line.lstrip(" "))


class Comment:
    """The lines of one comment, rewritten one by one."""

    def __init__(self, lines):
        self.lines = lines
        self.out = []
        self.list = None  # the class of the list that is open
        self.column = 0  # of its descriptions

    def rewritten(self):
        at = 0
        while at < len(self.lines):
            at = self.rewrite(at)
        self.close()
        return self.out

    def rewrite(self, at):
        line = self.lines[at]
        if not line:
            self.close()
            self.out.append("")
        elif self.is_example(at):
            return self.example(at)
        elif self.list and indent_of(line) >= self.column:
            self.out.append(escaped(line.strip()))
        else:
            self.text(at, line)
        return at + 1

    def text(self, at, line):
        if line == "@file":
            self.out.append(line)
            return
        after = self.lines[at + 1] if at + 1 < len(self.lines) else ""
        entry, note = ENTRY.match(line), at > 0 and NOTE.match(line)
        if LIST_ITEM.match(line):
            self.close()
            self.out.append(escaped(line))
        elif note and after and indent_of(after) == 0 and not NOTE.match(after):
            self.close()  # a paragraph that is not in a column
            self.out.append(f"<strong>{note[1]}:</strong> {escaped(note[3])}")
        elif note:
            self.column = len(line) - len(note[3]) if indent_of(after) > 2 else 2
            self.item("notes", note[1], note[3])
        elif entry:
            self.column = entry.start(4)
            notes = entry[2][0].isupper() and entry[2][1:].islower()
            self.item("notes" if notes else "entries", entry[2], entry[4])
        elif indent_of(after) > indent_of(line) + 4:
            self.column = indent_of(after)
            self.item("entries", line.strip(), "")
        elif line == "Returns":
            self.close()
            self.out.append("<strong>Returns</strong>")
        else:
            self.close()
            self.out.append(escaped(line))

    def item(self, kind, label, description):
        if self.list != kind:
            self.close()
            start = f'<dl class="{kind}">'
        else:
            start = "</dd>"
        self.list = kind
        self.out.append(f"{start}<dt>{escaped(label)}</dt><dd>{escaped(description)}")

    def close(self):
        if self.list:
            self.out[-1] += "</dd></dl>"
            self.list = None

    def is_example(self, at):
        """Indented behind an empty line, and neither an entry nor an item of a list."""
        line = self.lines[at]
        return (
            indent_of(line) >= 2
            and self.out[-1:] == [""]
            and not ENTRY.match(line)
            and not LIST_ITEM.match(line)
        )

    def example(self, at):
        """Begins and ends in the empty lines around it."""
        self.out[-1] = "@verbatim"
        while at < len(self.lines) and self.lines[at]:
            self.out.append(self.lines[at])
            at += 1
        self.out.append("@endverbatim")
        return at + 1


def without_guard(source):
    """The comment in front of the include guard becomes that of the file."""
    about, rest = re.match(r"((?://[^\n]*\n)+)#ifndef \w+_H\n#define \w+_H\n(.*)\n#endif\n", source, re.S).groups()
    return "/// @file\n" + re.sub(r"(?m)^//", "///", about) + "\n" + rest


def with_result_codes(source):
    """ec.h with the constants that its table makes, without the macros that make them."""
    constants = []
    for name, value, literals in EC_LINE.findall(source):
        text = "".join(re.findall('"([^"]*)"', literals))
        constants.append(f"constexpr EC {name} = {value}; /**< {escaped(text)} */")
    source = source.replace("\nFWBASE_EC_TABLE(FWBASE_EC_CONSTANT)\n", f"\n{' '.join(constants)}\n")
    source = source.replace("\nnamespace ec = ::ec;\n", "\n\n")  # Doxygen would go round in circles
    helper = re.compile(r"^ *#define FWBASE_EC_(?:CONSTANT|NAME|TEXT)\(.*(?:\\\n.*)*", re.M)
    return helper.sub(lambda found: "\n" * found[0].count("\n"), source)


def without_internals(source):
    """Without the namespace of templates that find out what the body of a Function takes: hosts
    have no use for it, and Doxygen takes its recursive templates for an endless inheritance."""
    internal = re.compile(
        r"(?:///[^\n]*\n)+namespace function_body \{.*?\n\}  // namespace function_body", re.S
    )
    return internal.sub(lambda found: "\n" * found[0].count("\n"), source)


def filtered(source):
    lines = without_internals(with_result_codes(without_guard(source))).split("\n")
    at = 0
    while at < len(lines):
        comment = COMMENT.match(lines[at])
        member = MEMBER_COMMENT.match(lines[at])
        if not comment:
            yield f"{member[1]}///<{escaped(member[2])}" if member else lines[at]
            at += 1
            continue
        texts = []
        while at < len(lines) and (found := COMMENT.match(lines[at])):
            texts.append(found[2] or "")
            at += 1
        texts = Comment(texts).rewritten()
        texts[0] = f"{comment[1]}/** {texts[0]}"
        texts[-1] += " */"
        yield from texts


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as header:
        sys.stdout.reconfigure(encoding="utf-8")
        print("\n".join(filtered(header.read())), end="")
