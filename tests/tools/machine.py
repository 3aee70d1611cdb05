"""A fake machine for tests of scripts: its programs are stand-ins."""

import os
import subprocess
import time

_ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
_REAL = ("basename", "bash", "cat", "comm", "cut", "date", "dirname", "flock", "getopt", "grep",
         "head", "mkdir", "mktemp", "mv", "ln", "paste", "rm", "sed", "sh", "sleep", "sort", "tail",
         "touch", "uname")


class Machine:
    """A folder with the only programs that a script finds, and a home folder for its caches."""

    def __init__(self, folder, **programs):
        self.folder = folder
        self.called = os.path.join(folder, "called")
        os.mkdir(os.path.join(folder, "bin"))
        os.mkdir(os.path.join(folder, "tmp"))
        for name in set(_REAL) - set(programs):
            path = "/usr/bin/" + name
            os.symlink(path if os.path.exists(path) else "/bin/" + name,
                       os.path.join(folder, "bin", name))
        for name, text in programs.items():
            path = os.path.join(folder, "bin", name.replace("_", "-"))
            with open(path, "w", encoding="utf-8") as file:
                file.write('#!/bin/bash\nset -- %s "$@"\necho "${*//$\'\\n\'/ }" >>%s\nshift\n' %
                           (os.path.basename(path), self.called) + text + "\n")
            os.chmod(path, 0o755)

    def start(self, *command, **options):
        environment = {"PATH": os.path.join(self.folder, "bin"), "HOME": self.folder,
                       "ZSTATS_START": str(int(time.time())), "TMPDIR": self.folder + "/tmp"}
        return subprocess.Popen(command, **{"cwd": _ROOT, "env": environment,
                                            "stderr": subprocess.PIPE, "stdout": subprocess.PIPE,
                                            "text": True, "start_new_session": True, **options})

    def run(self, *command):
        """The exit status, and the lines of standard error without progress."""
        return self.outcome(*command)[:2]

    def outcome(self, *command):
        """The same, and standard output."""
        process = self.start(*command)
        output, errors = process.communicate(timeout=60)
        lines = [line for line in errors.splitlines() if line[:1] != "["]
        return process.returncode, lines, output

    def calls(self):
        if not os.path.exists(self.called):
            return []
        with open(self.called, encoding="utf-8") as file:
            return file.read().splitlines()

    def await_calls(self, count):
        until = time.time() + 30
        while len(self.calls()) < count and time.time() < until:
            time.sleep(0.02)
