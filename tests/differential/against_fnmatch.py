"""Wildcards of StringPattern against fnmatch. Tokens are written in both syntaxes."""

import fnmatch
import re

from differential import Case

COUNT = 15_000
CHARACTERS = "abcABZ01.-]![^*?\\ \u00e9\u00c9\u00df\u6f22\U0001f600k\u212as\u017f"
SPECIAL = "*?[\\"


def member(character):
    """A member of a class in our syntax."""
    return "\\" + character if character in "]\\-!^" else character


def token(random):
    """One token in our syntax and in fnmatch's, which has no escapes but accepts one-member classes."""
    form = random.randrange(8)
    if form == 0:
        return "*", "*"
    if form == 1:
        return "?", "?"
    if form == 2:
        return character_class(random)
    character = random.choice(CHARACTERS)
    escaped = character in SPECIAL or random.randrange(8) == 0
    return ("\\" + character if escaped else character), (f"[{character}]" if character in "*?[" else character)


def character_class(random):
    negated = random.randrange(3) == 0
    ours, theirs = "", ""
    for _ in range(random.randrange(1, 4)):
        low, high = sorted(random.sample("abcdABZ09\u00e9\u6f22k\u017f", 2))
        if random.randrange(2):
            ours += f"{low}-{high}"
            theirs += f"{low}-{high}"
        else:
            ours += member(low)
            theirs += low
    if random.randrange(4) == 0:
        character = random.choice("]-!^*?[")
        ours += member(character)
        # fnmatch reads these as members in one place each.
        theirs = character + theirs if character == "]" else theirs + character
    return f"[{random.choice('!^') if negated else ''}{ours}]", f"[{'!' if negated else ''}{theirs}]"


def case(random):
    tokens = [token(random) for _ in range(random.randrange(7))]
    ours = "".join(one for one, _ in tokens)
    theirs = "".join(one for _, one in tokens)
    ignore_case = random.randrange(2) == 0
    program = re.compile(fnmatch.translate(theirs), re.IGNORECASE if ignore_case else 0)
    subjects = []
    for _ in range(6):
        # Near the pattern: literal characters of it, stars filled at random.
        subject = "".join(
            random.choice(CHARACTERS) * random.randrange(3) if one == "*" else
            random.choice(CHARACTERS) if len(one) > 2 or one == "?" else one[-1]
            for one, _ in tokens)
        if random.randrange(3) == 0:
            subject = random.choice([subject.swapcase(), subject + "a", subject[1:], ""])
        subjects.append(subject)
    answer = "".join("1" if program.match(subject) else "0" for subject in subjects)
    return Case("wildcard", [ours, "i" if ignore_case else ""] + subjects, [answer])


def folds_into_ascii(case, ours):
    """A Kelvin sign, a long s, or a range that contains them."""
    look_alikes = re.search("[\u212a\u017f]|\u00e9-\u6f22", "".join(case.arguments))
    return ours is not None and case.arguments[1] == "i" and look_alikes


DELIBERATE = [
    ("no letter outside of ASCII equals one of ASCII in another case: a look-alike must not match an address",
     folds_into_ascii),
]
