"""IPAddress and IPAddressMask against ipaddress."""

import ipaddress
import re
from ipaddress import IPv4Address, IPv4Network, IPv6Address, IPv6Network

from differential import Case

COUNT = 20_000

MAPPED = IPv6Network("::ffff:0:0/96")
MUTATIONS = ".:/-0123456789afx% "


def v4(random):
    return ".".join(str(random.choice([0, 1, 9, 10, 127, 128, 200, 255])) for _ in range(4))


def v6(random):
    groups = [random.choice(["0", "0", "1", "ffff", "db8", "00ab", "FFFF", "0:0"]) for _ in range(8)]
    text = ":".join(":".join(groups).split(":")[:8])
    form = random.randrange(6)
    if form == 0:
        return "::ffff:" + v4(random)
    if form == 1:
        return ":".join(text.split(":")[:6]) + ":" + v4(random)
    if form == 2:
        pieces = text.split(":")
        start = random.randrange(8)
        end = random.randrange(start, 9)
        return ":".join(pieces[:start]) + "::" + ":".join(pieces[end:])
    if form == 3:
        return str(IPv6Address(text))
    if form == 4:
        return "::" + ":".join(text.split(":")[: random.randrange(8)])
    return text


def mutated(random, text):
    if random.randrange(4):
        return text
    at = random.randrange(len(text) + 1)
    what = random.choice(MUTATIONS)
    return random.choice([text[:at] + what + text[at:], text[:at] + text[at + 1 :], text[:at] + what + text[at + 1 :]])


def our_address(address):
    """Mapped addresses are IPv4."""
    mapped = address.ipv4_mapped if address.version == 6 else None
    return mapped or address


def address(text):
    try:
        return our_address(ipaddress.ip_address(text))
    except ValueError:
        return None


def networks(text):
    """The addresses of a mask text as networks of one version; None when it is malformed."""
    if "/" not in text and "-" in text:
        ends = [address(end) for end in text.split("-", 1)]
        if None in ends:
            return None
        low, high = ends
        if low.version != high.version:
            # One end inside the mapped block and one outside: both must be written as IPv6.
            if any(":" not in end for end in text.split("-", 1)):
                return None
            low, high = [IPv6Address(end) for end in text.split("-", 1)]
        if high < low:
            return None
        return list(ipaddress.summarize_address_range(low, high))
    partial = re.fullmatch(r"(\d{1,3}(?:\.\d{1,3}){0,2})\.?", text)
    if partial:
        octets = partial[1].split(".")
        text = ".".join(octets + ["0"] * (4 - len(octets))) + f"/{8 * len(octets)}"
    try:
        network = ipaddress.ip_network(text, strict=False)
    except ValueError:
        return None
    if network.version == 6 and network.subnet_of(MAPPED):
        return [IPv4Network((our_address(network.network_address), network.prefixlen - 96))]
    return [network]


def text_of(parts):
    if len(parts) == 1:
        single = parts[0].prefixlen == parts[0].max_prefixlen
        return str(parts[0].network_address if single else parts[0])
    return f"{end_text(parts[0][0])}-{end_text(parts[-1][-1])}"


def end_text(end):
    """An end of an IPv6 range inside the mapped block keeps a form of IPv6."""
    mapped = our_address(end)
    return str(end) if mapped is end else f"::ffff:{mapped}"


def mask_text(random):
    form = random.randrange(8)
    if form == 0:
        return v4(random)
    if form == 1:
        return v6(random)
    if form == 2:
        return f"{v4(random)}/{random.randrange(34)}"
    if form == 3:
        return f"{v6(random)}/{random.choice([0, 1, 32, 63, 64, 65, 95, 96, 97, 104, 127, 128, 129])}"
    if form == 4:
        netmask = IPv4Network(f"0.0.0.0/{random.randrange(33)}").netmask
        return f"{v4(random)}/{netmask if random.randrange(4) else v4(random)}"
    if form == 5:
        return f"{v4(random)}-{v4(random)}"
    if form == 6:
        return f"{v6(random)}-{v6(random)}"
    return ".".join(v4(random).split(".")[: random.randrange(1, 4)]) + random.choice(["", "."])


def neighbours(parts):
    ends = [parts[0][0], parts[-1][-1]]
    for end in ends:
        for number in (int(end) - 1, int(end), int(end) + 1):
            if 0 <= number < 2**end.max_prefixlen:
                yield type(end)(number)


def case(random):
    if random.randrange(3) == 0:
        text = mutated(random, random.choice([v4, v6])(random))
        found = address(text)
        return Case("address", [text], None if found is None else [str(found)])
    text = mutated(random, mask_text(random))
    parts = networks(text)
    asked = [IPv4Address(v4(random)), address(v6(random)) or IPv6Address("::1")]
    if parts is not None:
        asked += neighbours(parts)
    inside = "".join(
        "1" if any(our_address(one).version == part.version and our_address(one) in part for part in parts or []) else "0"
        for one in asked)
    return Case("mask", [text] + [str(one) for one in asked], None if parts is None else [text_of(parts), inside])


DELIBERATE = [
    ("an address with a zone is refused: no zone reaches a rule",
     lambda case, ours: ours is None and "%" in case.arguments[0]),
    ("a netmask that is the inverse of one is refused: 0.0.0.255 for /24 is a mistake more often than meant",
     lambda case, ours: ours is None and re.search(r"/(0|1|3|7|15|31|63|127|255)\.", case.arguments[0])),
    ("a prefix with leading zeros is refused: it might be octal",
     lambda case, ours: ours is None and re.search(r"/0\d", case.arguments[0])),
]
