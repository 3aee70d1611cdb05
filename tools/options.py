"""How the project's Python programs read their options."""

import argparse
import sys

STATUS_USAGE = 2


class Parser(argparse.ArgumentParser):
    """Says in one line what is wrong with a call."""

    def error(self, message):
        sys.stderr.write("%s: %s\n" % (self.prog, message))
        sys.exit(STATUS_USAGE)


def parser_of(doc, **more):
    """A parser that describes the program by its documentation's first paragraph."""
    return Parser(description=doc.split("\n\n")[0], allow_abbrev=False, **more)
