# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Copies of the tree in which mutants live one at a time, and the tests that they face there."""

import collections
import concurrent.futures
import contextlib
import json
import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
WORK = ROOT / "build" / "mutation"
BUILT = WORK / "built"  # where each copy finds itself
TREE = ["CMakeLists.txt", "baselines", "bench", "client", "cmake", "debian", "docs", "engine", "helper", "messages", "policies",
        "profiles", "scripts", "service", "tasks", "tests"]
SLOW = 2  # seconds; a test function above that is left to the last round
FAR_SLOW = 20  # seconds; a test function on the bus above that is left out
LIMIT = 30  # seconds for one test program, at least; above that the mutant counts as noticed
ENDLESS = 600  # seconds; no test program takes longer
TIMES = 5  # what a test takes by itself, for one that takes longer; there are other trials beside it
REMEMBERED = 6  # functions that noticed the last mutants of a source
REMEMBERED_SLOW = 5  # seconds; a function above that is not among them

PASSED, FAILED, TIMEOUT, COMPILER = "passed", "failed", "timeout", "compiler"

Round = collections.namedtuple("Round", "test command")


def build_tree():
    """Builds what the copies begin with. The sources are new files, so nothing of an earlier run passes for built."""
    shutil.rmtree(WORK, ignore_errors=True)
    source, build = BUILT / "source", BUILT / "build"
    source.mkdir(parents=True)
    for name in TREE:
        subprocess.run(["cp", "-R", "--preserve=mode,links", ROOT / name, source], check=True)
    run(["cmake", "-S", source, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None",
         "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold",
         "-DCMAKE_PROJECT_INCLUDE=" + str(ROOT / "tests" / "mutation" / "precompile.cmake")], check=True)
    run(["cmake", "--build", build], check=True)


def run(command, **options):
    return subprocess.run([str(c) for c in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="replace", **options)


class Copy:
    """A copy of the tree and of what was built of it, which sees itself where the first was built."""

    def __init__(self, name):
        self.folder = WORK / name
        subprocess.run(["cp", "-a", BUILT, self.folder], check=True)

    @contextlib.contextmanager
    def holding(self, mutant):
        """Has the mutant in its source."""
        target = self.folder / "source" / mutant.path
        before = target.read_bytes()
        target.write_bytes(before[:mutant.start] + mutant.text.encode("latin-1") + before[mutant.end:])
        try:
            yield
        finally:
            target.write_bytes(before)

    def build(self, test):
        """Whether what a test needs can be built."""
        targets = [test.name.split("/")[-1]] + (["accountpoliciesd", "accountpolicieshelper", "accountpolicyctl"] if test.installs else [])
        return run(self.inside(["cmake", "--build", BUILT / "build", "--target"] + targets)).returncode == 0

    def run_test(self, command, limit):
        """How a test ends within the limit in seconds, and the first function that fails, at which it is stopped."""
        late = threading.Event()
        with subprocess.Popen(self.inside(command), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, errors="replace", start_new_session=True) as test:
            timer = threading.Timer(limit, lambda: (late.set(), kill(test)))
            timer.start()
            try:
                for line in test.stdout:
                    if line.startswith("FAIL!"):
                        kill(test)
                        return FAILED, function_in(line)
                ended = test.wait()
                return (TIMEOUT if late.is_set() else PASSED if ended == 0 else FAILED), None
            finally:
                timer.cancel()

    def passes(self, command, limit):
        return self.run_test(command, limit)[0] == PASSED

    def inside(self, command):
        script = 'mount --bind "$1" "$2" && shift 2 && exec "$@"'
        # a crash is told by its signal; a debugger's view of it takes seconds
        own = ["env", "QTEST_DISABLE_STACK_DUMP=1", "unshare", "--mount", "--propagation", "private", "--", "sh", "-c",
               script, "sh", self.folder, BUILT]
        return [str(word) for word in own + command]


def function_in(line):
    found = re.match(r"FAIL!\s+: \w+::(\w+)\(", line)
    return found.group(1) if found else None


def kill(process):
    # the namespaces of a sandbox end with it, and all that runs in them
    with contextlib.suppress(ProcessLookupError):
        os.killpg(process.pid, signal.SIGKILL)


class Test:
    """A test program, with what is known of it: how long it takes, and which of its functions are quick."""

    def __init__(self, name, command):
        sandbox = [ROOT / "scripts" / "sandbox", "--"]
        self.name = name
        self.command = command if command[0].endswith("scripts/sandbox") else sandbox + command
        self.installs = "--install" in command
        self.takes = 0  # seconds
        self.quick = None  # the names of its quick functions if others are not

    def measure(self, copy):
        began = time.monotonic()
        passed = copy.passes(self.command, ENDLESS)
        self.takes = time.monotonic() - began
        if not passed and not copy.passes(self.command, ENDLESS):
            sys.exit("%s fails without any mutant" % self.name)
        slow = FAR_SLOW if self.installs else SLOW
        if self.takes > slow:
            listed = run(copy.inside(self.command[-1:] + ["-functions"])).stdout.split()
            names = [line[:-2] for line in listed if line.endswith("()")]
            quick = [n for n in names if copy.passes(self.of(n), slow)]
            self.quick = None if len(quick) == len(names) else quick

    def limit(self):
        return max(LIMIT, TIMES * self.takes)

    def of(self, *functions):
        return self.command + list(functions)

    def quick_part(self):
        return self.of(*(self.quick or []))


class Suite:
    """All test programs, and which of them a mutant faces, in which order."""

    def __init__(self):
        shown = run(["ctest", "--test-dir", BUILT / "build", "--show-only=json-v1"], check=True).stdout
        found = [Test(t["name"], t["command"]) for t in json.loads(shown)["tests"] if t["name"].endswith("Test")]
        self.tests = {test.name: test for test in found}
        self.untouched = Copy("untouched")
        self.alone = {}
        self.recent = collections.defaultdict(list)
        self.lock = threading.Lock()

    def measure(self, paths, copies):
        """Looks for what is slow among the tests of some sources; gives the names of those that have such functions."""
        wanted = {test.name: test for path in paths for test in self.near(path) + self.far(path)}

        def measure_one(test):
            with copies.one() as copy:
                test.measure(copy)

        with concurrent.futures.ThreadPoolExecutor(copies.count) as pool:
            list(pool.map(measure_one, wanted.values()))
        return sorted(name for name, test in wanted.items() if test.quick is not None)

    def near(self, path):
        """Those of the folders that can notice something in this file."""
        top = path.split("/")[0]
        folders = {"messages": ["messages", "engine", "tasks"], "tasks": ["tasks", "policies", "helper"],
                   "engine": ["engine", "policies"], "policies": ["policies"], "helper": ["helper"],
                   "client": ["client"]}[top]
        tests = [t for t in self.tests.values() if t.name.split("/")[0] in folders and not t.installs]
        return sorted(tests, key=lambda t: nearness(path, t.name))

    def far(self, path):
        """Those that see the system as a whole, the client's only what is installed; the quickest first."""
        folders = ["translations", "endtoend"] + (["client", "docs"] if path.startswith("client/") else [])
        near = self.near(path)
        tests = [t for t in self.tests.values() if t.name.split("/")[0] in folders and t not in near]
        tests = [t for t in tests if t.installs or t.name.startswith("translations/")]
        return sorted(tests, key=lambda t: (not shares_subject(path, t.name), t.takes))

    def rounds(self, path):
        near, far = self.near(path), self.far(path)
        first = [Round(t, t.quick_part()) for t in near if t.quick != []]
        last = [Round(t, t.command) for t in near if t.quick is not None]
        beyond = [Round(t, t.quick_part()) for t in far if t.quick != []]
        if not path.startswith("client/"):
            return first + last + beyond
        # most of the client shows in its commands only
        own = [r for r in first + last if os.path.dirname(r.test.name) == os.path.dirname(path)]
        return own + beyond + [r for r in first + last if r not in own]

    def recent_rounds(self, path):
        """The functions that noticed the last mutants of this source, or of its folder at least."""
        with self.lock:
            found = list(self.recent[path] or self.recent[os.path.dirname(path)])
        functions = collections.OrderedDict()
        for name, function in found:
            functions.setdefault(name, []).append(function)
        return [Round(self.tests[n], self.tests[n].of(*f)) for n, f in functions.items()]

    def remember(self, path, test, function):
        with self.lock:
            for key in (path, os.path.dirname(path)):
                others = [known for known in self.recent[key] if known != (test.name, function)]
                self.recent[key] = ([(test.name, function)] + others)[:REMEMBERED]

    def takes_alone(self, test, function):
        """The seconds of a function without the others of its program; None if it needs them to pass."""
        with self.lock:
            if (test.name, function) not in self.alone:
                began = time.monotonic()
                passed = self.untouched.passes(test.of(function), test.limit())
                self.alone[test.name, function] = time.monotonic() - began if passed else None
            return self.alone[test.name, function]

    def face(self, mutant, copy):
        """The name of the test that notices the mutant; COMPILER, TIMEOUT, or None if nothing does."""
        with copy.holding(mutant):
            for test, command in self.recent_rounds(mutant.path) + self.rounds(mutant.path):
                if not copy.build(test):
                    return COMPILER
                outcome, function = copy.run_test(command, test.limit())
                if outcome == TIMEOUT:
                    return TIMEOUT
                if outcome == FAILED and self.fails_again(mutant, copy, test, function, command):
                    return test.name
        return None

    def fails_again(self, mutant, copy, test, function, command):
        """Whether it was no accident: other trials load the machine meanwhile."""
        seconds = self.takes_alone(test, function) if function else None
        if seconds is None:
            return not copy.passes(command, test.limit())
        if copy.passes(test.of(function), test.limit()):
            return False
        if seconds < REMEMBERED_SLOW:
            self.remember(mutant.path, test, function)
        return True


def nearness(path, test):
    """Tests of the same name come first, then those of the folder, then the rest of the neighbourhood."""
    stem, folder = os.path.splitext(path)[0], os.path.dirname(path)
    return (test != stem + "Test", os.path.dirname(test) != folder, not shares_subject(path, test),
            test.split("/")[0] != path.split("/")[0], test)


def shares_subject(path, test):
    """As UndoTest and UndoCommand do, or AccountTest and AccountStore."""
    subject = re.match("[A-Z][a-z]+", os.path.basename(path))
    return bool(subject) and os.path.basename(test).startswith(subject.group())


class Copies:
    """As many as trials may run at a time."""

    def __init__(self, count):
        self.count = count
        self.free = queue.SimpleQueue()
        for number in range(count):
            self.free.put(Copy(str(number)))

    @contextlib.contextmanager
    def one(self):
        copy = self.free.get()
        try:
            yield copy
        finally:
            self.free.put(copy)
