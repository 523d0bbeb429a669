"""Encoded words and addresses against email."""

import base64
import email.utils
import re
from email.errors import HeaderParseError
from email.header import decode_header
from email.headerregistry import Address

from differential import Case

COUNT = 12_000

TEXTS = ["a", "b", "Z", "0", " ", "=", "?", "_", "\"", ".", "(", "\u00e9", "\u00df", "\u0436", "\u6f22", "\U0001f600", "\u20ac"]
CHARSETS = {
    "utf-8": TEXTS,
    "iso-8859-1": [c for c in TEXTS if ord(c) < 0x100],
    "iso-8859-15": [c for c in TEXTS if ord(c) < 0x80] + ["\u20ac", "\u00e9"],
    "windows-1251": [c for c in TEXTS if ord(c) < 0x80] + ["\u0436", "\u20ac"],
    "koi8-r": [c for c in TEXTS if ord(c) < 0x80] + ["\u0436"],
    "us-ascii": [c for c in TEXTS if ord(c) < 0x80],
}
ATOMS = ["a", "bc", "x-1", "o'neil", "a+b", "A.B", "x_y", "{z}", "7"]
DOMAINS = ["example.com", "EXAMPLE.org", "a-b.example", "x.y.z.example", "[192.0.2.1]", "[IPv6:2001:db8::1]", "localhost"]


def text_of(random, charset, most=24):
    return "".join(random.choice(CHARSETS[charset]) for _ in range(random.randrange(1, most)))


def python_text(value):
    """Not make_header: it adds blanks between words of different charsets."""
    return "".join(
        part if isinstance(part, str) else part.decode(charset or "ascii") for part, charset in decode_header(value))


def word(random, text, charset):
    octets = text.encode(charset)
    if random.randrange(2):
        encoded = base64.b64encode(octets).decode()
        return f"=?{random.choice([charset, charset.upper()])}?{random.choice('Bb')}?{encoded}?="
    encoded = "".join(
        chr(o) if chr(o).isalnum() and o < 0x80 else "_" if o == 0x20 else f"={o:02X}" for o in octets)
    return f"=?{charset}?{random.choice('Qq')}?{encoded}?="


def decoding(random):
    """Words of any charsets with plain words between them, separated by one blank as Python shows it."""
    pieces = []
    for _ in range(random.randrange(1, 6)):
        if random.randrange(4) == 0:
            pieces.append(random.choice(["plain", "[TAG]", "x=y", "a?=b", "=?"]))
        else:
            charset = random.choice(list(CHARSETS))
            pieces.append(word(random, text_of(random, charset), charset))
    value = random.choice([" ", " ", "\t", "  "]).join(pieces) if all(p.startswith("=?") and len(p) > 2 for p in pieces) \
        else " ".join(pieces)
    return Case("decode", [value], [python_text(value)])


def encoding(random):
    charset = random.choice(list(CHARSETS))
    text = text_of(random, charset, 60)
    return Case("encode", [text, charset], [text])


def local(random):
    """The text and what it means."""
    if random.randrange(4):
        return (random.choice(ATOMS),) * 2
    inside, meaning = "", ""
    for _ in range(random.randrange(1, 5)):
        piece = random.choice(["a", " ", ".", "@", ",", "\\\\", "\\\"", "\\x", "(", "<"])
        inside += piece
        meaning += piece[-1]
    return f'"{inside}"', meaning


def mailbox(random):
    """Valid ones, and some with a mistake."""
    text = f"{local(random)[0]}@{random.choice(DOMAINS)}"
    if random.randrange(2) == 0:
        at = random.randrange(len(text) + 1)
        text = text[:at] + random.choice(".@ \"\\<>[](),;:-\u00e9") + text[at + random.randrange(2) :]
    try:
        parsed = Address(addr_spec=text)
        return Case("mailbox", [text], [parsed.username, parsed.domain])
    except (HeaderParseError, ValueError, IndexError):
        return Case("mailbox", [text], None)
    except AttributeError:  # a mistake of Python 3.11: it has no answer
        return mailbox(random)


def display_name(random):
    form = random.randrange(5)
    if form == 0:
        return ""
    if form == 1:
        return " ".join(random.choice(["John", "Q", "Smith-X", "a.b"]) for _ in range(random.randrange(1, 3)))
    if form == 2:
        return '"' + "".join(random.choice(["J", " ", ",", ".", "\\\"", "\\\\", "@", "<", "("]) for _ in range(5)) + 'x"'
    charset = random.choice(list(CHARSETS))
    return word(random, text_of(random, charset).strip(" \"") or "n", charset)


def unquoted(spec):
    """Without quotes that the local part does not need."""
    return re.sub(r'^"([\w.{}\'+-]+)"(?=@)', lambda m: m[0] if ".." in f".{m[1]}." else m[1], spec)


def addresses(random):
    entries = []
    for number in range(random.randrange(1, 4)):
        spec = f"{local(random)[0]}@{number}.{random.choice(DOMAINS[:4])}"
        name = display_name(random)
        entries.append(f"{name} <{spec}>" if name else random.choice([spec, f"<{spec}>"]))
    text = random.choice([", ", ",", " , ", ",,"]).join(entries)
    expected = []
    for name, spec in email.utils.getaddresses([text]):
        if spec:
            expected.append((spec.rpartition("@")[2].lower(), python_text(name) if name else "", unquoted(spec)))
    answer = []
    for _, name, spec in sorted(expected):
        answer += [name, spec]
    return Case("addresses", [text], answer)


def case(random):
    return random.choice([decoding, encoding, mailbox, addresses])(random)


def comparable(case, ours):
    """Words as Python decodes them, when they are short enough."""
    if case.kind == "encode" and all(len(one) <= 75 for one in ours[0].split(" ")):
        return [python_text(ours[0])]
    return ours


def differs_in_blanks_around_names(case, ours):
    return (case.kind == "addresses" and ours is not None
            and ours == [part.strip() if i % 2 == 0 else part for i, part in enumerate(case.python)])


def stray_start(case):
    return case.kind == "decode" and "=? " in case.arguments[0]


DELIBERATE = [
    ("blanks at the ends of a quoted name are not shown", differs_in_blanks_around_names),
    ("an address literal must be one of RFC 5321; Python accepts what RFC 5322 has between brackets",
     lambda case, ours: case.kind == "mailbox" and ours is None and "@[" in case.arguments[0]),
    ("a label of a domain begins and ends with a letter or digit in RFC 5321",
     lambda case, ours: case.kind == "mailbox" and ours is None and re.search("[@.]-|-[.]|-$", case.arguments[0])),
    ("blanks around the @ are not accepted; RFC 5322 has them as obsolete, RFC 5321 does not have them",
     lambda case, ours: case.kind == "mailbox" and ours is None and re.search(" @|@ ", case.arguments[0])),
    ("UTF-8 in addresses is accepted as in RFC 6531",
     lambda case, ours: case.kind == "mailbox" and case.python is None and not case.arguments[0].isascii()),
    ("GMime takes \"=?\" and a blank for the start of a word and shows the next word as it is",
     lambda case, ours: stray_start(case)),
]
