"""Runs unittest cases and leaves a report in GoogleTest's JSON format, which summary.py counts.

    if __name__ == "__main__":
        pyreport.main("host_cli", REPORT_FOLDER)

The report is NAME.json in REPORT_FOLDER. Further command line arguments choose tests by name as
unittest does (Class or Class.test).
"""
import json
import pathlib
import sys
import time
import unittest


class _Result(unittest.TextTestResult):
    """Keeps one record for each test. A skipped test counts as failed: there are no optional tests here."""

    def __init__(self, *args, **kwargs):
        super().__init__(*args, **kwargs)
        self.records = {}

    def startTest(self, test):
        super().startTest(test)
        self._record(test)

    def stopTest(self, test):
        record = self._record(test)
        record["time"] = f"{time.monotonic() - record.pop('started'):.3f}s"
        super().stopTest(test)

    def addError(self, test, err):
        super().addError(test, err)
        self._fail(test, self._exc_info_to_string(err, test))

    def addFailure(self, test, err):
        super().addFailure(test, err)
        self._fail(test, self._exc_info_to_string(err, test))

    def addSubTest(self, test, subtest, err):
        super().addSubTest(test, subtest, err)
        if err is not None:
            self._fail(test, f"{subtest}\n{self._exc_info_to_string(err, test)}")

    def addSkip(self, test, reason):
        super().addSkip(test, reason)
        self._fail(test, f"skipped: {reason}")

    def addUnexpectedSuccess(self, test):
        super().addUnexpectedSuccess(test)
        self._fail(test, "succeeded, but was expected to fail")

    def _fail(self, test, text):
        self._record(test).setdefault("failures", []).append({"failure": text})

    def _record(self, test):
        # setUpClass and setUpModule fail under a stand-in that has no test method of its own.
        suite, _, name = test.id().rpartition(".")
        name = getattr(test, "_testMethodName", name)
        suite = type(test).__name__ if hasattr(test, "_testMethodName") else suite or "setup"
        return self.records.setdefault((suite, name), {"name": name, "status": "RUN", "started": time.monotonic()})


def _report(records, seconds):
    suites = {}
    for (suite, _), record in records.items():
        record.pop("started", None)
        suites.setdefault(suite, []).append(record)
    return {
        "tests": len(records),
        "failures": sum("failures" in record for record in records.values()),
        "time": f"{seconds:.3f}s",
        "testsuites": [{"name": name, "testsuite": tests} for name, tests in suites.items()],
    }


def main(name, folder, module="__main__"):
    """Runs the module's tests, writes FOLDER/NAME.json and ends the process with 0 or 1."""
    arguments = sys.argv[1:]
    loader = unittest.defaultTestLoader
    main_module = sys.modules[module]
    suite = loader.loadTestsFromNames(arguments, main_module) if arguments else loader.loadTestsFromModule(main_module)
    started = time.monotonic()
    result = unittest.TextTestRunner(stream=sys.stderr, resultclass=_Result, verbosity=1).run(suite)
    report = _report(result.records, time.monotonic() - started)
    path = pathlib.Path(folder) / f"{name}.json"
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(json.dumps(report, indent=1), encoding="utf-8")
    sys.exit(1 if report["failures"] or not report["tests"] or not result.wasSuccessful() else 0)
