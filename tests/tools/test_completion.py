"""Tests of tools/completion.bash."""

import os
import subprocess
import tempfile
import unittest

_ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
_ASK = """
. tools/completion.bash
for call in "$@"; do
    read -ra COMP_WORDS <<<"$call"
    case $call in *" ") COMP_WORDS+=("") ;; esac
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    [[ $(complete -p "${COMP_WORDS[0]}") =~ -F\\ ([a-z_]+) ]]
    "${BASH_REMATCH[1]}" "${COMP_WORDS[0]}" "${COMP_WORDS[-1]}" "${COMP_WORDS[-2]}"
    echo "${COMPREPLY[*]}"
done
"""
# The command line, and the offered words.
_TABLE = (
    ("./run --pro", "--profile"),
    ("./run --profile q", "qcom"),
    ("./run --arch ", "amd64 arm64"),
    ("./run --json 15000", "150005 150006 150007 150008 150009"),
    ("./run --for 1", ""),
    ("./vdev ", "exec shell trace start push pull status stop"),
    ("./vdev --h", "--help"),
    ("./vdev exec --a", "--add --arch --attach"),
    ("./vdev start --na", "--name"),
    ("./vdev stop ", ""),
    ("./vdev shell --attach --l", "--log"),
    ("./vdev push CHANGE", "CHANGELOG.md"),
    ("./vdev trace --fo", "--for"),
    ("./vdev trace -o CHANGE", "CHANGELOG.md"),
    ("./vdev trace --for 3 1002", "100207"),
    ("./vdev shell --fo", ""),
    ("./vdev exec --scenario de", "default"),
    ("./test ", "unit system faults asan tsan libcxx"),
    ("./test --up", "--update-golden"),
    ("./test system golden/", "golden/qcom golden/mtk golden/bare"),
    ("./test system golden statsd_a", "statsd_absent"),
    ("./test faults ka", ""),
    ("./test faults cr", "crashes"),
    ("./fuzz gpu_q", "gpu_qcom"),
    ("./fuzz 60 --l", "--list"),
    ("./bench so", "soak"),
    ("./bench soak --s", "--short"),
    ("statsctl ex", "explain"),
    ("statsctl subscribe --st", "--stall"),
    ("statsctl explain --st", ""),
    ("statsctl watch 1002", "100207"),
)


class CompletionTest(unittest.TestCase):
    def test_offers_what_there_is(self):
        programs = os.path.join(_ROOT, "build", "device", "vdevice")
        with tempfile.TemporaryDirectory() as folder:
            script = os.path.join(folder, "ask")
            with open(script, "w", encoding="utf-8") as file:
                file.write(_ASK)
            ended = subprocess.run(
                ["bash", script, *(typed for typed, _ in _TABLE)], cwd=_ROOT, capture_output=True,
                text=True, check=False, env=dict(os.environ, PATH=programs + ":" + os.environ["PATH"]))
        self.assertEqual("", ended.stderr)
        self.assertEqual([list(row) for row in _TABLE],
                         [[typed, offer] for (typed, _), offer in
                          zip(_TABLE, ended.stdout.splitlines())])


if __name__ == "__main__":
    unittest.main()
