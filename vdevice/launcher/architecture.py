"""The table of processors, tools/architectures."""

import os
import platform
import shlex

from .progress import Failure

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def read_table(path=os.path.join(ROOT, "tools", "architectures")):
    """The values by key, for each architecture."""
    table = {}
    with open(path, encoding="utf-8") as file:
        for line in file:
            if line.strip() and not line.startswith("#"):
                name, key, *value = line.strip().split(None, 2)
                table.setdefault(name, {})[key] = "".join(value)
    return table


class Architecture:
    """A row of the table."""

    def __init__(self, name="", table=None):
        """The architecture `name`, or this machine's. Raises Failure for an unknown one."""
        table = table or read_table()
        own = [row for row in table if table[row]["machine"] == platform.machine()]
        self.name = name or "".join(own) or platform.machine()
        if self.name not in table:
            raise Failure("unknown architecture '%s'; there are: %s" %
                          (self.name, ", ".join(sorted(table))))
        self.is_own = self.name in own
        self._values = table[self.name]
        self.slowness = float(self._values["slowness"])

    def emulator(self):
        """The emulator's command: the first words, and those for the second serial port."""
        return ([self._values["emulator"], *shlex.split(self._values["board"])],
                shlex.split(self._values["port"]))

    def kernel_options(self):
        """The kernel's command line. The kernel passes names in capitals to init, as variables of the
        environment."""
        return "console=%s VDEV_PORT=/dev/%s %s" % (
            self._values["console"], self._values["port_device"], self._values["kernel_options"])
