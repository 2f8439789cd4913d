#!/usr/bin/env python3
"""Says for each path which functions its instructions are in, from callgrind's dumps.

usage: profile.py DUMP...
"""
import collections
import re
import sys

SHOWN = 8


def read_dump(path, names):
    """The dump's trigger, and the instructions of each function without those of its callees."""
    trigger, function, callee = None, None, False
    costs = collections.Counter()
    with open(path) as lines:
        for line in lines:
            if found := re.match(r"desc: Trigger: Client Request: (.*)", line):
                trigger = found[1]
            elif found := re.match(r"(c?)fn=\((\d+)\)(?: (.*))?", line):
                if found[3]:
                    names[found[2]] = found[3]
                if not found[1]:
                    function = names[found[2]]
            elif line.startswith("calls="):
                callee = True  # the next line is what the callee takes
            elif found := re.match(r"[+\-*\d]\S* (\d+)$", line):
                if not callee:
                    costs[function] += int(found[1])
                callee = False
    return trigger, costs


def main(dumps):
    for path in dumps:
        trigger, costs = read_dump(path, {})
        if trigger is None:
            continue
        name, operations = trigger.split()
        total = sum(costs.values())
        print(f"\n{name}: {total / int(operations):.0f} instructions per operation")
        for function, cost in costs.most_common(SHOWN):
            print(f"  {100 * cost / total:5.1f} %  {function[:100]}")


if __name__ == "__main__":
    main(sys.argv[1:])
