#!/usr/bin/env python3
"""The include checker on small trees: it reports nothing in a good one, and each mistake."""
import pathlib
import tempfile
import unittest

from includes import Tree, check

PAGE = """
## Folders

| folder | contents | may include |
|---|---|---|
| `platform/common` | values | nothing of ours |
| `include2/Handle.h` | handles | `platform/common/Export.h` |
| `platform/store` | rows | `platform/common`, `include2/Handle.h` |
| `include2` | public | `platform` |
| `examples` | programs | `<kestrav/>` |
| `tests` | tests | everything |

## Outside libraries

| library | headers | included by |
|---|---|---|
| database | `base.h` | `platform/store` |
| pointers | `pointers/` | `include2/Policy.h`, in headers too |
| pointers | `pointers/` | `platform/store` |
"""

GOOD = {
    "docs/architecture.md": PAGE,
    "cmake/InstalledHeaders.txt":
        "[faces]\nplatform/store/Store.h\n[needed]\nplatform/common/Export.h\n",
    "platform/common/Export.h": "#include <string>\n",
    "platform/common/Export.cc": '#include "platform/common/Export.h"\n#include <sys/mman.h>\n',
    "platform/common/Inner.h": "",
    "platform/store/Store.h": '#include "include2/Handle.h"\n#include "platform/common/Export.h"\n',
    "platform/store/Store.cc": "#include <base.h>\n#include <pointers/shared.hpp>\n",
    "include2/Handle.h": '#include "platform/common/Export.h"\n',
    "include2/Policy.h": '#include <pointers/shared.hpp>\n#include "Handle.h"\n',
    "examples/daemon.cc": "#include <kestrav/Policy.h>\n#include <kestrav/platform/store/Store.h>\n",
    "tests/StoreTest.cc": '#include "platform/common/Inner.h"\n#include <gtest/gtest.h>\n',
}

# What is added to one of the files above, or a new file, and a part of the report that follows.
MISTAKES = [
    ("a lower folder includes a higher one", "platform/common/Export.cc",
     '#include "platform/store/Store.h"\n', "platform/common may not include platform/store/Store.h"),
    ("the platform includes a public header", "platform/store/Store.cc", '#include "Policy.h"\n',
     "platform/store may not include include2/Policy.h"),
    ("the handle mechanism includes more than it may", "include2/Handle.h", '#include "Policy.h"\n',
     "include2/Handle.h may not include include2/Policy.h"),
    ("blanks within the line", "platform/store/Store.cc", '  #  include  "Policy.h"\n',
     "platform/store may not include include2/Policy.h"),
    ("a header that could be two files", "include2/platform/common/Inner.h",
     "", "could be any of"),
    ("a header that does not exist", "tests/StoreTest.cc", '#include "Nowhere.h"\n',
     'there is no header "Nowhere.h"'),
    ("a public header includes one that is not installed", "include2/Policy.h",
     '#include "platform/common/Inner.h"\n', "which is not in cmake/InstalledHeaders.txt"),
    ("a listed header includes one that is not installed", "platform/store/Store.h",
     '#include "platform/common/Inner.h"\n', "which is not in cmake/InstalledHeaders.txt"),
    ("a needed header that nobody needs", "cmake/InstalledHeaders.txt", "platform/common/Inner.h\n",
     "no installed header includes platform/common/Inner.h"),
    ("a listed header that does not exist", "cmake/InstalledHeaders.txt", "platform/Gone.h\n",
     "there is no platform/Gone.h"),
    ("an example uses a header that is not installed", "examples/daemon.cc",
     "#include <kestrav/platform/common/Inner.h>\n", "there is no header"),
    ("an example includes from the tree", "examples/daemon.cc", '#include "Policy.h"\n',
     "examples may not include include2/Policy.h"),
    ("the library includes itself as installed", "platform/store/Store.cc",
     "#include <kestrav/platform/store/Store.h>\n", "does not include headers as <kestrav/...>"),
    ("an outside library in another folder", "platform/common/Export.cc", "#include <base.h>\n",
     "<base.h> may be included by platform/store only"),
    ("an outside library in a header", "platform/store/Rows.h", "#include <base.h>\n",
     "by sources only"),
    ("an outside library in a header, where sources may use it", "platform/store/Rows.h",
     "#include <pointers/shared.hpp>\n", "by sources only"),
    ("an outside library in an installed header", "platform/common/Export.h",
     "#include <pointers/shared.hpp>\n", "<pointers/shared.hpp> may be included by"),
    ("an outside library that the table does not know", "platform/store/Store.cc",
     "#include <new/library.h>\n", "<new/library.h> is not in the table"),
    ("an outside library in an installed header of its folder", "platform/store/Store.h",
     "#include <base.h>\n", "its row must name the header itself"),
    ("a folder that does not include its outside library", "docs/architecture.md",
     "| clocks | `clock.h` | `platform/store` |\n", "platform/store does not include clock.h"),
    ("a system header in an installed header", "platform/store/Store.h", "#include <unistd.h>\n",
     "<unistd.h> is not in the table"),
    ("a folder without a row", "gateway/main.cc", "", "gateway/ holds sources and has no row"),
]


class IncludesTest(unittest.TestCase):
    def report(self, changed_file=None, text=""):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            files = dict(GOOD)
            if changed_file is not None:
                files[changed_file] = files.get(changed_file, "") + text
            for name, content in files.items():
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).write_text(content, encoding="utf-8")
            return list(check(Tree(root)))

    def test_reports_nothing_in_a_good_tree(self):
        self.assertEqual(self.report(), [])

    def test_reports_each_mistake(self):
        for name, file, text, part in MISTAKES:
            with self.subTest(name):
                report = "\n".join(self.report(file, text))
                self.assertIn(part, report)


if __name__ == "__main__":
    unittest.main()
