#!/usr/bin/env python3
"""Checks every #include of the tree against the tables in docs/architecture.md and the list of
installed headers.

usage: includes.py SOURCE_FOLDER
"""
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^">]+)[">]')
STANDARD = re.compile(r"^[a-z_]+$")  # the C++ standard library's names have neither dot nor slash
SYSTEM = re.compile(
    r"^((arpa|linux|net|netinet|sys)/\w+|cxxabi|dirent|dlfcn|errno|fcntl|grp|netdb|poll|pthread|pty"
    r"|pwd|sched|signal|spawn|stdlib|syslog|termios|time|unistd)\.h$"
)
INSTALLED_PREFIX = "kestrav/"


def rows(markdown, heading):
    """The cells of the table under `heading`."""
    section = markdown.split(f"## {heading}\n", 1)[1].split("\n## ", 1)[0]
    table = [line.strip("|").split("|") for line in section.splitlines() if line.startswith("|")]
    return [[cell.strip() for cell in row] for row in table[2:]]


def quoted(cell):
    return re.findall(r"`([^`]+)`", cell)


def within(path, folder):
    return path == folder or path.startswith(folder.rstrip("/") + "/")


def innermost(path, folders):
    """The longest of `folders` that holds `path`; None when none does."""
    return max((folder for folder in folders if within(path, folder)), key=len, default=None)


class Tree:
    def __init__(self, root):
        self.root = root
        page = (root / "docs/architecture.md").read_text(encoding="utf-8")
        # Folder or file -> what it may include; None stands for everything.
        self.allowed = {}
        for names, _, may in rows(page, "Folders"):
            for name in quoted(names):
                self.allowed[name] = None if may == "everything" else quoted(may)
        # (start of a header's name, folders whose sources may include it, headers as well)
        self.outside = []
        for _, headers, users in rows(page, "Outside libraries"):
            for header in quoted(headers):
                self.outside.append((header, quoted(users), "in headers too" in users))
        sources = {name.split("/")[0] for name in self.allowed}
        self.files = sorted(
            str(path.relative_to(root))
            for folder in self.top_folders()
            for path in (root / folder).rglob("*")
            if path.suffix in (".h", ".cc")
        )
        self.unlisted_folders = sorted(
            {file.split("/")[0] for file in self.files if file.split("/")[0] not in sources}
        )
        self.faces, self.needed = self.installed_list()
        public = {file for file in self.files if within(file, "include2") and file.endswith(".h")}
        self.installed = public | self.faces | self.needed

    def top_folders(self):
        return [
            path.name
            for path in self.root.iterdir()
            if path.is_dir() and path.name != "build" and not path.name.startswith(".")
        ]

    def installed_list(self):
        parts = {"faces": set(), "needed": set()}
        part = None
        for line in (self.root / "cmake/InstalledHeaders.txt").read_text().splitlines():
            if line.startswith("["):
                part = parts[line.strip("[]")]
            elif line and not line.startswith("#"):
                part.add(line)
        return parts["faces"], parts["needed"]

    def includes(self, file):
        text = (self.root / file).read_text(encoding="utf-8", errors="replace")
        for number, line in enumerate(text.splitlines(), 1):
            if found := INCLUDE.match(line):
                yield number, found[1] == '"', found[2]

    def candidates(self, file, is_quoted, name):
        """The files of the tree that the compiler could take."""
        if name.startswith(INSTALLED_PREFIX):
            bare = name.removeprefix(INSTALLED_PREFIX)
            return {path for path in (f"include2/{bare}", bare) if path in self.installed}
        folders = ["include2", "."]
        if is_quoted:
            folders.append(str(pathlib.PurePosixPath(file).parent))
        paths = [pathlib.PurePosixPath(folder) / name for folder in folders]
        return {str(path) for path in paths if (self.root / path).is_file()}


def check(tree):
    """Yields a line for each mistake."""
    for folder in tree.unlisted_folders:
        yield f"docs/architecture.md: {folder}/ holds sources and has no row in the table"
    for header in sorted(tree.faces | tree.needed):
        if not (tree.root / header).is_file():
            yield f"cmake/InstalledHeaders.txt: there is no {header}"

    used_rights = set()  # (header, folder) of the table of outside libraries
    needed = set()
    for file in tree.files:
        room = innermost(file, tree.allowed)
        for number, is_quoted, name in tree.includes(file):
            place = f"{file}:{number}"
            found = tree.candidates(file, is_quoted, name)
            if len(found) > 1:
                yield f'{place}: "{name}" could be any of {", ".join(sorted(found))}'
            elif found:
                target = found.pop()
                by_installed_name = name.startswith(INSTALLED_PREFIX)
                yield from check_inside(tree, place, room, target, by_installed_name)
                if file in tree.installed:
                    needed.add(target)
                    if target not in tree.installed:
                        yield (f"{place}: an installed header includes {target}, which is not in "
                               "cmake/InstalledHeaders.txt")
            elif is_quoted or name.startswith(INSTALLED_PREFIX):
                yield f'{place}: there is no header "{name}"'
            else:
                yield from check_outside(tree, place, file, room, name, used_rights)

    for header in sorted(tree.needed - needed):
        yield (f"cmake/InstalledHeaders.txt: no installed header includes {header}; remove it from "
               "the part [needed]")
    for header, users, _ in tree.outside:
        for user in users:
            if (header, user) not in used_rights:
                yield f"docs/architecture.md: {user} does not include {header}; mend its row"


def check_inside(tree, place, room, target, by_installed_name):
    if room is None:
        return  # reported as a folder without a row
    may = tree.allowed[room]
    if may is None:
        return
    if by_installed_name:
        if f"<{INSTALLED_PREFIX}>" not in may:
            yield f"{place}: {room} does not include headers as <{INSTALLED_PREFIX}...>"
        return
    if not any(within(target, folder) for folder in (room, *may)):
        yield f"{place}: {room} may not include {target}"


def check_outside(tree, place, file, room, name, used_rights):
    if STANDARD.match(name):
        return
    if file not in tree.installed:
        if SYSTEM.match(name) or (room is not None and tree.allowed[room] is None):
            return
    rules = [rule for rule in tree.outside
             if name == rule[0] or (rule[0].endswith("/") and name.startswith(rule[0]))]
    users = [user for _, users, _ in rules for user in users]
    mine = [(header, user, in_headers) for header, users, in_headers in rules for user in users
            if within(file, user)]
    used_rights.update((header, user) for header, user, _ in mine)
    if not rules:
        yield f"{place}: <{name}> is not in the table of outside libraries"
    elif not mine:
        yield f"{place}: <{name}> may be included by {', '.join(users)} only"
    elif file in tree.installed and all(user != file for _, user, _ in mine):
        yield f"{place}: an installed header includes <{name}>; its row must name the header itself"
    elif file.endswith(".h") and not any(in_headers for _, _, in_headers in mine):
        yield f"{place}: <{name}> may be included by sources only, not by headers"


def main():
    tree = Tree(pathlib.Path(sys.argv[1]).resolve())
    mistakes = list(check(tree))
    for mistake in mistakes:
        print(mistake)
    print(f"{len(tree.files)} files, {len(tree.installed)} installed headers, "
          f"{len(mistakes)} mistakes")
    return 1 if mistakes else 0


if __name__ == "__main__":
    sys.exit(main())
