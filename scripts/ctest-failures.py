#!/usr/bin/env python3
"""Reads a ctest LastTest.log and tells about the tests that failed.

  ctest-failures.py LOG recap            each failed test, why, and the end of its output
  ctest-failures.py LOG without-verdict  the failed tests whose program never gave a
                                         test verdict (it crashed, hung or did not
                                         start), one ctest -R pattern a line

A GoogleTest program that ran its case to the end prints "[  PASSED  ]" or
"[  FAILED  ]"; one that failed an assertion prints "...: Failure". A failed
test with neither in its output ended for a reason outside the test's own
checks.
"""
import re
import sys

START = re.compile(r"^\d+/\d+ Testing: (.+)$")
FAILED_ASSERTION = re.compile(r"(^\[  FAILED  \])|(: Failure$)", re.M)
TAIL_LINES = 40


def tests(log_text):
    """Yields (name, passed, output, status line) per test of the log."""
    blocks = re.split(r"^(?=\d+/\d+ Testing: )", log_text, flags=re.M)
    for block in blocks:
        lines = block.splitlines()
        if not lines:
            continue
        m = START.match(lines[0])
        if not m:
            continue
        name = m.group(1).strip()
        out = re.search(r"^Output:\n-+\n(.*?)^<end of output>", block, flags=re.M | re.S)
        output = out.group(1) if out else ""
        # "Test Passed.", "Test Pass Reason:" (skipped), "Test Failed.", ...
        status = next((l for l in lines[1:] if l.startswith("Test ") and not l.startswith("Test time")), "no status")
        yield name, status.startswith("Test Pass"), output, status


def has_verdict(output):
    return "[  PASSED  ]" in output or FAILED_ASSERTION.search(output) is not None


def main():
    if len(sys.argv) != 3 or sys.argv[2] not in ("recap", "without-verdict"):
        print(__doc__, file=sys.stderr)
        return 2
    with open(sys.argv[1], encoding="utf-8", errors="replace") as f:
        text = f.read()
    failed = [(n, o, s) for n, ok, o, s in tests(text) if not ok]
    if sys.argv[2] == "without-verdict":
        for name, output, _ in failed:
            if not has_verdict(output):
                print("^" + re.escape(name) + "$")
        return 0
    for name, output, status in failed:
        kind = "a test verdict" if has_verdict(output) else "no test verdict"
        print(f"--- {name}: {status.strip()} ({kind})")
        tail = output.rstrip("\n").splitlines()[-TAIL_LINES:]
        for line in tail:
            print("    " + line)
    return 0


if __name__ == "__main__":
    sys.exit(main())
