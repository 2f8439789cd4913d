#!/usr/bin/env python3
"""Writes fwbase/runlog/gbk_table.inc, the table from Unicode to GBK that log texts are encoded with.

Usage: tools/gen_gbk_table.py > fwbase/runlog/gbk_table.inc
"""

FIRST_IDEOGRAPH, LAST_IDEOGRAPH = 0x4E00, 0x9FA5


def gbk_code(code_point):
    """The two-byte GBK code of a character, or None."""
    try:
        encoded = chr(code_point).encode("gbk")
    except UnicodeEncodeError:
        return None
    return int.from_bytes(encoded, "big") if len(encoded) == 2 else None


def ideographs():
    return [gbk_code(c) for c in range(FIRST_IDEOGRAPH, LAST_IDEOGRAPH + 1)]


def others():
    outside = [*range(0x80, FIRST_IDEOGRAPH), *range(LAST_IDEOGRAPH + 1, 0x10000)]
    return [(c, gbk_code(c)) for c in outside if gbk_code(c) is not None]


def main():
    print("// Written by tools/gen_gbk_table.py; do not edit.")
    print("inline constexpr char16_t kIdeographs[] =")
    print('    u"' + "".join(f"\\x{code:04X}" for code in ideographs()) + '";')
    print("inline constexpr CodePair kOthers[] = {")
    for code_point, code in others():
        print(f"    {{0x{code_point:04X}, 0x{code:04X}}},")
    print("};")


if __name__ == "__main__":
    main()
