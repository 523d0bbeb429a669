"""The library against a module of Python's standard library, on random cases.

differential.py SUITE PROGRAM [SEED]

SUITE is ipaddress, fnmatch, re or email. PROGRAM is built from Answers.cc. A case that differs
fails, unless a row of the suite's DELIBERATE describes it. A suite gives:

  COUNT                  the number of cases
  case(random)           one Case
  DELIBERATE             rows (reason, function(case, ours) that is true for such a difference)
  comparable(case, ours) optional: the library's answer in the form of Python's
"""

import importlib
import random
import subprocess
import sys
from collections import Counter, namedtuple

# A question: its kind and arguments (see Answers.cc), and Python's answer, a list of texts; None
# when Python refuses.
Case = namedtuple("Case", "kind arguments python")

DEFAULT_SEED = 1
MOST_SHOWN = 20


def to_hex(text):
    return "x" + (text if isinstance(text, bytes) else text.encode("utf-8")).hex()


def from_hex(word):
    return bytes.fromhex(word[1:]).decode("utf-8")


def ask(program, cases):
    """The library's answers in the order of the cases; None where it refuses."""
    questions = "".join(
        " ".join([case.kind] + [to_hex(argument) for argument in case.arguments]) + "\n" for case in cases)
    output = subprocess.run([program], input=questions, capture_output=True, text=True, check=True).stdout
    lines = output.split("\n")[:-1]
    assert len(lines) == len(cases), f"{len(lines)} answers to {len(cases)} questions"
    return [None if line == "refused" else [from_hex(word) for word in line.split()] for line in lines]


def main(name, program, seed):
    suite = importlib.import_module("against_" + name)
    source = random.Random(seed)
    cases = [suite.case(source) for _ in range(suite.COUNT)]
    deliberate = Counter()
    wrong = refused = 0
    comparable = getattr(suite, "comparable", lambda case, ours: ours)
    for case, ours in zip(cases, ask(program, cases)):
        refused += ours is None
        if ours is not None:
            ours = comparable(case, ours)
        if ours == case.python:
            continue
        reason = next((reason for reason, holds in suite.DELIBERATE if holds(case, ours)), None)
        if reason is not None:
            deliberate[reason] += 1
            continue
        wrong += 1
        if wrong <= MOST_SHOWN:
            print(f"{case.kind} {case.arguments!r}\n  Python:  {case.python!r}\n  library: {ours!r}")
    print(f"{name}, seed {seed}: {len(cases)} cases, {refused} refused, {wrong} wrong")
    for reason, count in deliberate.items():
        print(f"  {count:6} on purpose: {reason}")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2], int(sys.argv[3]) if len(sys.argv) > 3 else DEFAULT_SEED))
