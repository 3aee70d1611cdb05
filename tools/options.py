"""Options of the project's Python programs."""

import argparse
import sys

STATUS_USAGE = 2


class Parser(argparse.ArgumentParser):
    """Reports a wrong call in one line."""

    def error(self, message):
        sys.stderr.write("%s: %s\n" % (self.prog, message))
        sys.exit(STATUS_USAGE)


def parser_of(doc, **more):
    """A parser whose description is the first paragraph of the program's documentation."""
    return Parser(description=doc.split("\n\n")[0], allow_abbrev=False, **more)
