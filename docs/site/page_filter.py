#!/usr/bin/env python3
"""Prepares a page for Doxygen: page_filter.py FILE.md, to standard output.

Links between pages become links between the site's pages, and headings get the names that these
links use. What is in the source tree but not in the site is named without a link.
"""

import os
import re
import sys

LINK = re.compile(r"(?<!!)\[((?:`[^`]*`|[^\]`])+)\]\(([^)\s]+)\)")
CODE_SPAN = re.compile(r"`([^`]+)`")
HEADING = re.compile(r"^(#+) (.*)$")
FENCE = re.compile(r"^```(\w*)$")
HEADERS = ("fwbase/include/", "utility/include/")


def label_of(page):
    """The name of a page in the site: docs/threads.md is docs_threads."""
    if page == "README.md":
        return "index"  # as Doxygen calls the main page
    return re.sub(r"\W", "_", page.removesuffix(".md").removesuffix("/README")).lower()


def anchor_of(heading):
    """As forges make it."""
    return re.sub(r"[^\w-]", "", heading.replace(" ", "-")).lower()


def heading_label(page, heading):
    return f"{label_of(page)}_{anchor_of(heading).replace('-', '_')}"


def site_target(page, target):
    """What Doxygen calls the target of a link, or None for what is not in the site."""
    file, _, anchor = target.partition("#")
    path = os.path.normpath(os.path.join(os.path.dirname(page), file)) if file else page
    if os.path.isfile(os.path.join(path, "README.md")):
        path = os.path.join(path, "README.md")
    if path.startswith(HEADERS) and path.endswith(".h"):
        return path.split("/include/")[1]
    if not path.endswith(".md"):
        return None
    return heading_label(path, anchor.replace("-", " ")) if anchor else label_of(path)


def site_link(page, text, target):
    if "://" in target:
        return f"[{text}]({target})"
    label = site_target(page, target)
    return f"[{text.replace('`', '')}](@ref {label})" if label else text


def site_code(code):
    """As HTML: between backticks Doxygen takes quotes, entities and percent signs for its own."""
    code = re.sub(r"[\\@#%$*_\[\]()]", r"\\\g<0>", code)
    code = re.sub(r"--+", lambda dashes: "\\-" * len(dashes[0]), code)
    for character, entity in (("&", "amp"), ("<", "lt"), (">", "gt"), ('"', "quot")):
        code = code.replace(character, f"&{entity};")
    # `write()` is IRunLog's in one guide and a module's in another: Doxygen would link to any.
    code = re.sub(r"(?<![\w:])([a-z]\w*)(?=\\\()", r"%\1", code)
    return f"<code>{code}</code>"


def prose(page, text):
    text = LINK.sub(lambda link: site_link(page, link[1], link[2]), text)
    return CODE_SPAN.sub(lambda span: site_code(span[1]), text)


def filtered(page, source):
    """Code blocks pass unchanged; what is between them may have links that span lines."""
    out, paragraph, in_code = [], [], False

    def end_paragraph():
        if paragraph:
            out.append(prose(page, "\n".join(paragraph)))
            paragraph.clear()

    for line in source.split("\n"):
        fence, heading = FENCE.match(line), HEADING.match(line)
        if fence:
            end_paragraph()
            in_code = not in_code
            out.append("```" + (f"{{.{fence[1]}}}" if fence[1] in ("cpp", "xml") else ""))
        elif in_code or line.startswith("    "):
            end_paragraph()
            out.append(line)
        elif heading:
            end_paragraph()
            label = heading_label(page, heading[2])
            if heading[1] == "#":
                label = "mainpage" if page == "README.md" else label_of(page)
            out.append(f"{line} {{#{label}}}")
        else:
            paragraph.append(line)
    end_paragraph()
    return "\n".join(out)


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as file:
        sys.stdout.reconfigure(encoding="utf-8")
        print(filtered(os.path.relpath(sys.argv[1]), file.read()), end="")
