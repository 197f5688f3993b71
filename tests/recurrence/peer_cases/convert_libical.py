#!/usr/bin/env python3
"""Converts libical's recurrence test files into this project's occurrence case format.

Usage: convert_libical.py COMMIT FILE... > out.txt  (a summary goes to stderr)

libical's blocks (comment, RRULE, DTSTART, optional START-AT, INSTANCES) keep their fields. Its
test driver compares only the instances at or after START-AT, so those are the ones written. An
expected error ("INSTANCES: *** ...") becomes an ERROR line: no occurrences.
"""
import os
import sys


def blocks(path):
    block, comment = {}, []
    for raw in open(path):
        line = raw.rstrip("\n")
        if line.startswith("#"):
            comment.append(line[1:].strip())
        elif not line.strip():
            if block:
                yield block
            block, comment = {}, []
        else:
            key, _, value = line.partition(":")
            block[key] = value
            if comment and "NAME" not in block:
                block["NAME"] = " ".join(comment)
    if block:
        yield block


def stamp_key(text):
    # Date-only values sort as midnight.
    return text if "T" in text else text + "T000000"


def main():
    commit, paths = sys.argv[1], sys.argv[2:]
    out = ["# Converted from libical src/test/%s at commit %s" %
           (", ".join(os.path.basename(p) for p in paths), commit),
           "# by convert_libical.py; see README.md."]
    total = 0
    for path in paths:
        base = os.path.basename(path)
        n = 0
        for block in blocks(path):
            if "RRULE" not in block:
                continue
            n += 1
            out.append("")
            out.append("NAME:%s %d: %s" % (base, n, block.get("NAME", "")))
            out.append("RRULE:" + block["RRULE"])
            out.append("DTSTART:" + block["DTSTART"])
            instances = block.get("INSTANCES", "").strip()
            if "START-AT" in block:
                out.append("FROM:" + block["START-AT"])
            if instances.startswith("***"):
                out.append("ERROR:" + instances[3:].strip())
                continue
            values = [v for v in instances.split(",") if v]
            if "START-AT" in block:
                start = stamp_key(block["START-AT"].rstrip("Z"))
                values = [v for v in values if stamp_key(v.rstrip("Z")) >= start]
            out.append("INSTANCES:" + ",".join(values))
        print("%s: %d cases" % (base, n), file=sys.stderr)
        total += n
    out.insert(2, "# %d cases." % total)
    print("\n".join(out))


if __name__ == "__main__":
    main()
