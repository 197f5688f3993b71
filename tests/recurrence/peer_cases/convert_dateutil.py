#!/usr/bin/env python3
"""Converts python-dateutil's rrule tests into this project's occurrence case format.

Usage: convert_dateutil.py test_rrule.py COMMIT > dateutil_rrule.txt  (a summary goes to stderr)

Every `self.assertEqual(list(R), [...])` whose R is an `rrule(...)` call (directly or through a
local name) or an `rrulestr("DTSTART...RRULE...")` call becomes one case: the keyword arguments
are written as RRULE text, and the text is checked to expand, through dateutil's own rrulestr, to
exactly the expected list before it is written. Cases that RRULE text cannot express are counted
by reason and left out.
"""
import ast
import collections
import datetime as dt
import sys

from dateutil import rrule as R
from dateutil import tz

NAMESPACE = {
    "datetime": dt.datetime, "date": dt.date, "tz": tz, "rrule": R.rrule, "rrulestr": R.rrulestr,
    "YEARLY": R.YEARLY, "MONTHLY": R.MONTHLY, "WEEKLY": R.WEEKLY, "DAILY": R.DAILY,
    "HOURLY": R.HOURLY, "MINUTELY": R.MINUTELY, "SECONDLY": R.SECONDLY,
    "long": int, "MO": R.MO, "TU": R.TU, "WE": R.WE, "TH": R.TH, "FR": R.FR, "SA": R.SA, "SU": R.SU,
}
FREQ = ["YEARLY", "MONTHLY", "WEEKLY", "DAILY", "HOURLY", "MINUTELY", "SECONDLY"]
DAYS = ["MO", "TU", "WE", "TH", "FR", "SA", "SU"]
PLAIN = ["bysetpos", "bymonth", "bymonthday", "byyearday", "byweekno", "byhour", "byminute",
         "bysecond"]


class Skip(Exception):
    pass


def as_list(v):
    return list(v) if isinstance(v, (list, tuple, set)) else [v]


def weekday_text(w):
    if isinstance(w, int):
        return DAYS[w]
    n = getattr(w, "n", None)
    return ("%d" % n if n else "") + DAYS[w.weekday]


def stamp(value, zone):
    """Basic ISO 8601 text of a wall-clock time (in `zone` for an aware value)."""
    if isinstance(value, dt.datetime):
        if value.tzinfo is not None:
            value = value.astimezone(zone) if zone else value
        return value.strftime("%Y%m%dT%H%M%S")
    return value.strftime("%Y%m%dT000000")


def zone_name(start):
    info = getattr(start, "tzinfo", None)
    if info is None:
        return None
    if info is tz.UTC or info.utcoffset(start) == dt.timedelta(0) and "UTC" in repr(info):
        return "UTC"
    name = getattr(info, "_filename", None)
    if not name:
        raise Skip("time zone without an Olson name")
    return name.split("zoneinfo/")[-1]


def rule_text(args, kwargs):
    if "byeaster" in kwargs:
        raise Skip("byeaster (no RRULE part)")
    if kwargs.get("cache"):
        raise Skip("cache argument (API option)")
    freq = args[0] if args else kwargs.pop("freq")
    parts = ["FREQ=" + FREQ[freq]]
    start = kwargs.get("dtstart")
    if kwargs.get("interval", 1) != 1:
        parts.append("INTERVAL=%d" % kwargs["interval"])
    if kwargs.get("count") is not None:
        parts.append("COUNT=%d" % kwargs["count"])
    until = kwargs.get("until")
    if until is not None:
        if isinstance(until, dt.datetime) and until.tzinfo is not None:
            parts.append("UNTIL=" + until.astimezone(tz.UTC).strftime("%Y%m%dT%H%M%SZ"))
        elif isinstance(until, dt.datetime):
            parts.append("UNTIL=" + until.strftime("%Y%m%dT%H%M%S"))
        else:
            parts.append("UNTIL=" + until.strftime("%Y%m%d"))
    for key in ["bysecond", "byminute", "byhour"]:
        if kwargs.get(key) is not None:
            parts.append("%s=%s" % (key.upper(), ",".join(str(v) for v in as_list(kwargs[key]))))
    if kwargs.get("byweekday") is not None:
        parts.append("BYDAY=" + ",".join(weekday_text(w) for w in as_list(kwargs["byweekday"])))
    for key in ["bymonthday", "byyearday", "byweekno", "bymonth", "bysetpos"]:
        if kwargs.get(key) is not None:
            parts.append("%s=%s" % (key.upper(), ",".join(str(v) for v in as_list(kwargs[key]))))
    if kwargs.get("wkst") is not None:
        w = kwargs["wkst"]
        parts.append("WKST=" + DAYS[w if isinstance(w, int) else w.weekday])
    known = set(PLAIN) | {"dtstart", "interval", "count", "until", "byweekday", "wkst", "cache"}
    extra = set(kwargs) - known
    if extra:
        raise Skip("argument " + ",".join(sorted(extra)))
    return ";".join(parts), start


def from_rrulestr(call):
    if len(call.args) != 1 or call.keywords:
        raise Skip("rrulestr options (API option)")
    text = ast.literal_eval(call.args[0])
    lines = [l.strip() for l in text.strip().splitlines()]
    start, rule = None, None
    for line in lines:
        if line.startswith("DTSTART:"):
            start = dt.datetime.strptime(line[8:], "%Y%m%dT%H%M%S")
        elif line.startswith("RRULE:"):
            if rule:
                raise Skip("several rules in one text (rule set)")
            rule = line[6:]
        else:
            raise Skip("rrulestr text with other properties (rule set or options)")
    if not start or not rule:
        raise Skip("rrulestr text without DTSTART or RRULE")
    return rule, start


def main():
    source_path, commit = sys.argv[1], sys.argv[2]
    tree = ast.parse(open(source_path).read())
    cases, skipped = [], collections.Counter()
    for cls in tree.body:
        if not isinstance(cls, ast.ClassDef) or cls.name != "RRuleTest":
            if isinstance(cls, ast.ClassDef):
                skipped["class %s (rule sets and parser tests)" % cls.name] += sum(
                    isinstance(f, ast.FunctionDef) for f in cls.body)
            continue
        for fn in cls.body:
            if not isinstance(fn, ast.FunctionDef) or not fn.name.startswith("test"):
                continue
            names = {}
            index = 0
            for node in ast.walk(fn):
                if isinstance(node, ast.Assign) and len(node.targets) == 1 and isinstance(
                        node.targets[0], ast.Name) and isinstance(node.value, ast.Call):
                    names[node.targets[0].id] = node.value
            for node in ast.walk(fn):
                if not (isinstance(node, ast.Call) and isinstance(node.func, ast.Attribute)
                        and node.func.attr == "assertEqual" and len(node.args) == 2):
                    continue
                got, want = node.args
                if not (isinstance(got, ast.Call) and isinstance(got.func, ast.Name)
                        and got.func.id == "list" and len(got.args) == 1):
                    continue
                inner = got.args[0]
                if isinstance(inner, ast.Name):
                    inner = names.get(inner.id)
                    if inner is None:
                        skipped["list of a value not built by rrule() here"] += 1
                        continue
                if not (isinstance(inner, ast.Call) and isinstance(inner.func, ast.Name)):
                    skipped["list of a derived rule (replace, slicing, rule set)"] += 1
                    continue
                try:
                    if inner.func.id == "rrule":
                        args = [eval(compile(ast.Expression(a), "<a>", "eval"), NAMESPACE)
                                for a in inner.args]
                        kwargs = {k.arg: eval(compile(ast.Expression(k.value), "<k>", "eval"),
                                              NAMESPACE) for k in inner.keywords}
                        rule, start = rule_text(args, dict(kwargs))
                        direct = list(R.rrule(*args, **kwargs))
                    elif inner.func.id == "rrulestr":
                        rule, start = from_rrulestr(inner)
                        direct = None
                    else:
                        skipped["list of %s()" % inner.func.id] += 1
                        continue
                    expected = eval(compile(ast.Expression(want), "<w>", "eval"), NAMESPACE)
                    if start is None:
                        raise Skip("no dtstart (depends on the clock)")
                    zone = zone_name(start)
                    # The RRULE text must give exactly what the test expects.
                    again = list(R.rrulestr("RRULE:" + rule, dtstart=start))
                    if again != expected or (direct is not None and direct != expected):
                        raise Skip("conversion did not reproduce the expected list")
                except Skip as why:
                    skipped[str(why)] += 1
                    continue
                except (NameError, AttributeError, TypeError, ValueError) as why:
                    skipped["values local to the test (%s)" % type(why).__name__] += 1
                    print("  %s: %s" % (fn.name, why), file=sys.stderr)
                    continue
                index += 1
                name = fn.name + ("" if index == 1 else "#%d" % index)
                tzobj = tz.gettz(zone) if zone and zone != "UTC" else None
                cases.append((name, rule, stamp(start, tzobj), zone,
                              [stamp(e, tzobj) for e in expected]))
    print("# Converted from python-dateutil tests/test_rrule.py at commit %s" % commit)
    print("# by convert_dateutil.py; see README.md. %d cases." % len(cases))
    for name, rule, start, zone, expected in cases:
        print()
        print("NAME:" + name)
        print("RRULE:" + rule)
        print("DTSTART:" + start)
        if zone and zone != "UTC":
            print("TZID:" + zone)
        if "COUNT=" not in rule and "UNTIL=" not in rule:
            print("LIMIT:%d" % len(expected))
        print("INSTANCES:" + ",".join(expected))
    print("converted %d" % len(cases), file=sys.stderr)
    for why, n in skipped.most_common():
        print("skipped %d: %s" % (n, why), file=sys.stderr)


if __name__ == "__main__":
    main()
