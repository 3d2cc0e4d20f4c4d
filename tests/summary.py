#!/usr/bin/env python3
"""summary.py BUILD STATUS: what a test run came to, from the reports that the test programs left.

Each test program writes NAME.json (the format of GoogleTest). STATUS is ctest's exit status: a program
that crashed, hung or never started leaves no report, and must not pass for that, whatever it ended with.
"""
import json
import pathlib
import re
import sys

# A look at a file, which ctest judges by the exit status alone.
WITHOUT_REPORT = {"log_statement_is_inlined"}


def tests_of(report):
    for suite in report.get("testsuites", []):
        for test in suite.get("testsuite", []):
            if test.get("status", "RUN") == "RUN":
                yield suite["name"], test


def unreported(build):
    """Tests that ctest takes for passed, and that left no report."""
    log = (build / "tests.log").read_text(encoding="utf-8", errors="replace")
    passed = set(re.findall(r"Test +#\d+: (\S+) \.+ +Passed", log)) - WITHOUT_REPORT
    return sorted(name for name in passed if not (build / "tests" / f"{name}.json").exists())


def main():
    build, status = pathlib.Path(sys.argv[1]), int(sys.argv[2])
    passed, failed = 0, []
    for path in sorted((build / "tests").glob("*.json")):
        report = json.loads(path.read_text(encoding="utf-8", errors="replace"))
        count = 0
        for suite, test in tests_of(report):
            if test.get("failures"):
                failed.append((f"{path.stem}: {suite}.{test['name']}", test["failures"]))
            else:
                count += 1
        passed += count
        print(f"{path.stem:24} {count:5} passed  {report.get('time', '')}")
    failed += [(f"{name}: it left no report", []) for name in unreported(build)]
    for name, failures in failed:
        print(f"\nFAILED {name}")
        for failure in failures:
            print("  " + failure["failure"].replace("\n", "\n  "))
    if status != 0 and not failed:
        print((build / "tests.log").read_text(encoding="utf-8", errors="replace")[-6000:])
        failed.append(("a test program did not end as it should", []))
    print(f"\n{passed} passed, {len(failed)} failed")
    return 1 if failed or passed == 0 or status != 0 else 0


sys.exit(main())
