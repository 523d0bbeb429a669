"""Expressions of StringPattern against re, in the syntax that both have.

Possessive repeats and atomic groups are left out: Python 3.11 has errors in them. tests/regex compares them
with PCRE2's interpreter.
"""

import re

from differential import Case

COUNT = 20_000
SUBJECT = ["a", "b", "c", "A", "1", " ", "_", "\n", ".", "\u00e9", "\u00c9", "\u6f22", "\U0001f600"]

# In our syntax and in Python's, where "\\d", "\\w" and "\\s" are of Unicode.
ATOMS = [
    ("a", "a"), ("b", "b"), ("c", "c"), ("1", "1"), (".", "."), ("\\.", "\\."), ("\u00e9", "\u00e9"),
    ("\u6f22", "\u6f22"), ("[ab]", "[ab]"), ("[^a]", "[^a]"), ("[a-c1]", "[a-c1]"), ("[^\u00e9\\n]", "[^\u00e9\\n]"),
    ("\\d", "[0-9]"), ("\\w", "[A-Za-z0-9_]"), ("\\s", "[ \\t-\\r]"), ("\\D", "[^0-9]"), ("\\W", "[^A-Za-z0-9_]"),
    ("\\S", "[^ \\t-\\r]"), ("\\x61", "\\x61"), ("\\n", "\\n"), ("(?i:b)", "(?i:b)"), ("(?s:.)", "(?s:.)"),
]
ASSERTIONS = [
    ("^", "^"), ("$", "$"), ("\\b", "(?a:\\b)"), ("\\B", "(?a:\\B)"), ("\\A", "\\A"), ("\\z", "\\Z"), ("(?=a)", "(?=a)"),
    ("(?!b)", "(?!b)"), ("(?<=a)", "(?<=a)"), ("(?<!b1)", "(?<!b1)"), ("(?m:^)", "(?m:^)"), ("(?m:$)", "(?m:$)"),
]
REPEATS = ["*", "+", "?", "*?", "+?", "??", "{2}", "{1,2}", "{2,}", "{0,3}?"]


def sequence(random, depth):
    ours, theirs = "", ""
    for _ in range(random.randrange(4)):
        one, other = item(random, depth)
        ours += one
        theirs += other
    return ours, theirs


def item(random, depth):
    form = random.randrange(8)
    if form == 0:
        return random.choice(ASSERTIONS)
    if form < 3 and depth:
        return group(random, depth - 1)
    one, other = random.choice(ATOMS)
    if random.randrange(3) == 0:
        repeat = random.choice(REPEATS)
        return one + repeat, other + repeat
    return one, other


def group(random, depth):
    branches = [sequence(random, depth) for _ in range(random.choice([1, 2, 2, 3]))]
    start = random.choice(["(", "(?:"])
    end = ")" + (random.choice(REPEATS) if random.randrange(3) == 0 else "")
    return tuple(start + "|".join(branch[i] for branch in branches) + end for i in (0, 1))


def case(random):
    ours, theirs = sequence(random, 2)
    more = sequence(random, 2)
    ours, theirs = ours + more[0], theirs + more[1]
    ignore_case = random.randrange(3) == 0
    program = re.compile(theirs, re.IGNORECASE if ignore_case else 0)
    subjects = ["".join(random.choice(SUBJECT) for _ in range(random.randrange(8))) for _ in range(8)]
    answer = "".join("1" if program.search(subject) else "0" for subject in subjects)
    return Case("expression", [ours, "i" if ignore_case else ""] + subjects, [answer])


def only_where(condition):
    """A row's function: all subjects with different answers are of this kind."""
    def holds(case, ours):
        return ours is not None and all(
            letter == expected or condition(case.arguments[0], subject, letter)
            for letter, expected, subject in zip(ours[0], case.python[0], case.arguments[2:]))
    return holds


DELIBERATE = [
    ("\"\\B\" matches in the empty subject, as in PCRE2 and Perl; not in Python before 3.14",
     only_where(lambda text, subject, letter: "\\B" in text and subject == "")),
    ("\"(?m:^)\" does not match after a line feed at the end, as in PCRE2 and Perl",
     only_where(lambda text, subject, letter: "(?m:^)" in text and subject.endswith("\n"))),
    ("a search of too many steps is given up",
     only_where(lambda text, subject, letter: letter == "l")),
]
