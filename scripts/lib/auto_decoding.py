"""Counts how many Chinese texts fwlog reads otherwise than they were written in GBK.

usage: auto_decoding.py FWLOG SOURCES... [-- CATALOGUE.mo...]

The texts are the literals of C++ sources and the translations of message catalogues. Each is the
message of a record; what fwlog gives for it is compared with the text.
"""
import gettext
import json
import re
import subprocess
import sys
import tempfile


def is_chinese(text):
    return any("\u4e00" <= c <= "\u9fff" for c in text)


def literals(path):
    """The Chinese string literals of a source."""
    with open(path, encoding="utf-8") as source:
        for line in source:
            for literal in re.findall(r'"((?:[^"\\]|\\.)*)"', line):
                if is_chinese(literal):
                    yield literal


def translations(path):
    """The Chinese texts of a catalogue."""
    with open(path, "rb") as catalogue:
        for text in gettext.GNUTranslations(catalogue)._catalog.values():
            if isinstance(text, str) and is_chinese(text):
                yield text


def in_gbk(texts):
    """Those that GBK has codes for, each once, on one line."""
    found = set()
    for text in texts:
        text = " ".join(text.split())
        try:
            text.encode("gbk")
            found.add(text)
        except UnicodeEncodeError:
            pass
    return sorted(found)


def count(fwlog, title, texts):
    """Prints how many texts are read otherwise, and which."""
    texts = in_gbk(texts)
    with tempfile.NamedTemporaryFile() as log:
        for text in texts:
            log.write(b"[WARN ]: \r\n >" + text.encode("gbk") + b"\n")
        log.flush()
        out = subprocess.run([fwlog, "--only", "--output", "json", log.name],
                             capture_output=True, check=True).stdout
    shown = [json.loads(line)["message"] for line in out.decode().splitlines()]
    assert len(shown) == len(texts), (len(shown), len(texts))
    wrong = [(text, other) for text, other in zip(texts, shown) if text != other]
    characters = sum(len(text) for text in texts)
    print(f"{title}: {len(texts)} texts, {characters} characters, {len(wrong)} read otherwise")
    for text, other in wrong[:20]:
        print(f"  {text[:60]}\n  {other[:60]}")


def main():
    fwlog, arguments = sys.argv[1], sys.argv[2:]
    split = arguments.index("--") if "--" in arguments else len(arguments)
    count(fwlog, "texts of sources",
          (text for path in arguments[:split] for text in literals(path)))
    count(fwlog, "texts of catalogues",
          (text for path in arguments[split + 1:] for text in translations(path)))


main()
