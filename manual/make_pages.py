#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the source of the manual: a page for each function, the gallery and the guides.

    make_pages.py <root> <doxygen xml> <gallery output> <where to>

A page holds the picture that the gallery's program drew, the program with its twin in Python, and, from the
comment of the header, signature, arguments, statuses and remarks of each overload.
"""

import re
import shutil
import sys
import textwrap
import xml.etree.ElementTree as ET
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
from names import families, functions, things  # noqa: E402


# --------------------------------------------------------------------------- comments of the headers


def escape(text):
    return re.sub(r"([\\*`|_])", r"\\\1", text)


def inline(node):
    """The text of an element of the XML as reStructuredText of one paragraph."""
    parts = [escape(node.text or "")]
    for child in node:
        tail = escape(child.tail or "")
        if child.tag == "computeroutput":
            # A literal must not touch a word: an escaped blank parts them without a gap.
            before = "\\ " if re.search(r"\w$", parts[-1]) else ""
            after = "\\ " if re.match(r"\w", tail) else ""
            parts.append(f"{before}``{''.join(child.itertext())}``{after}")
        elif child.tag == "ref":
            parts.append(escape("".join(child.itertext())))
        elif child.tag in ("emphasis", "bold"):
            parts.append(f"*{escape(''.join(child.itertext()))}*")
        elif child.tag in ("sp", "linebreak"):
            parts.append(" ")
        else:
            parts.append(inline(child))
        parts.append(tail)
    return re.sub(r"\s+", " ", "".join(parts)).strip()


def indented(text, by):
    return "\n".join(" " * by + line if line else "" for line in text.split("\n"))


def table(headings, rows, widths):
    lines = [".. list-table::", "   :header-rows: 1", f"   :widths: {widths}", ""]
    for row in [headings, *rows]:
        for k, cell in enumerate(row):
            first, *rest = cell.split("\n")
            lines.append(("   * - " if k == 0 else "     - ") + first)
            lines += ["       " + line for line in rest]
    return "\n".join(lines) + "\n"


def direction(name):
    return {"out": "out", "inout": "in, out"}.get(name.get("direction", ""), "in")


def parameters(node):
    rows = []
    for item in node.findall("parameteritem"):
        names = item.findall("parameternamelist/parametername")
        text = " ".join(inline(p) for p in item.findall("parameterdescription/para"))
        for name in names:
            rows.append([f"``{''.join(name.itertext())}``", direction(name), text])
    return rows


def statuses(node):
    return [[f"``{''.join(n.itertext())}``", " ".join(inline(p) for p in item.findall("parameterdescription/para"))]
            for item in node.findall("parameteritem") for n in item.findall("parameternamelist/parametername")]


blocks_of_text = ("parameterlist", "simplesect", "verbatim", "programlisting", "itemizedlist", "preformatted",
                  "xrefsect")


def code(language, text):
    return f".. code-block:: {language}\n\n" + indented(text, 3)


def line_of_code(node):
    """A line of a listing, whose blanks are elements of their own."""
    parts = [node.text or ""]
    for child in node:
        parts.append(" " if child.tag == "sp" else line_of_code(child))
        parts.append(child.tail or "")
    return "".join(parts)


class comment:
    """The parts of the comment over a declaration."""

    def __init__(self, member):
        self.text = []  # blocks of reStructuredText in front of the arguments
        self.remarks = []  # and behind them
        self.arguments = []
        self.statuses = []
        for part in ("briefdescription", "detaileddescription"):
            for para in member.findall(f"{part}/para"):
                self.add(para)

    def add(self, para):
        """Takes a paragraph apart in its order: runs of words, and the blocks between them."""
        run = ET.Element("para")
        run.text = para.text
        for child in para:
            if child.tag in blocks_of_text:
                self.put(inline(run))
                self.add_block(child)
                run = ET.Element("para")
                run.text = child.tail
            else:
                run.append(child)
        self.put(inline(run))

    def put(self, block):
        if block:
            (self.remarks if self.arguments or self.statuses else self.text).append(block)

    def add_block(self, node):
        if node.tag in ("verbatim", "preformatted"):
            self.put(code("none", node.text.strip("\n")))
        elif node.tag == "programlisting":
            text = textwrap.dedent("\n".join(line_of_code(line) for line in node.findall("codeline"))).strip("\n")
            self.put(code("cpp" if self.arguments or self.statuses else "none", text))
        elif node.tag == "itemizedlist":
            self.put("\n".join("- " + " ".join(inline(p) for p in item.findall("para"))
                               for item in node.findall("listitem")))
        elif node.tag == "parameterlist" and node.get("kind") == "param":
            self.arguments += parameters(node)
        elif node.tag == "parameterlist":
            self.statuses += statuses(node)
        elif node.tag == "simplesect" and node.get("kind") == "return":
            self.statuses.append(["", " ".join(inline(p) for p in node.findall("para"))])


def signature(member):
    name = member.findtext("name")
    result = "".join(member.find("type").itertext())
    params = []
    for param in member.findall("param"):
        kind = re.sub(r"\s+([&*])", r"\1", "".join(param.find("type").itertext()))
        kind = kind.replace("< ", "<").replace(" >", ">")
        params.append(f"{kind} {param.findtext('declname') or ''}".strip())
    one_line = f"{result} {name}({', '.join(params)});"
    if len(one_line) <= 90:
        return one_line
    return f"{result} {name}(\n    " + ",\n    ".join(params) + ");"


def members(xml, namespace):
    """The functions of a namespace, in the order of the headers, by name."""
    found = {}
    root = ET.parse(xml / f"namespace{namespace}.xml").getroot()
    for member in root.iter("memberdef"):
        if member.get("kind") == "function":
            found.setdefault(member.findtext("name"), []).append(member)
    for overloads in found.values():
        overloads.sort(key=lambda m: (m.find("location").get("declfile", m.find("location").get("file")),
                                      int(m.find("location").get("declline", m.find("location").get("line")))))
    return found


# ------------------------------------------------------------------------------------------ pages


def heading(text, mark):
    return f"{text}\n{mark * len(text)}\n"


def measured(root, name):
    """The rows of the tables of measured times that speak of the function."""
    rows = []
    for line in (root / "docs/performance.md").read_text().split("\n"):
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if line.startswith("| ") and len(cells) == 4 and re.search(rf"`{name}`", cells[0]):
            rows.append([escape(cell.replace("`", "")) for cell in cells])
    return rows


def program(path, language):
    """The part of a program between its marks, without common blanks."""
    lines = path.read_text().split("\n")
    mark = "[program]"
    ends = [k for k, line in enumerate(lines) if mark in line]
    assert len(ends) == 2, path
    body = lines[ends[0] + 1:ends[1]]
    common = min(len(line) - len(line.lstrip()) for line in body if line.strip())
    return f".. code-block:: {language}\n\n" + indented("\n".join(line[common:] for line in body), 3) + "\n"


def picture(name, seen, turns):
    still = f'<img src="../_static/pictures/{name}.svg" alt="{seen}" width="480" height="360">'
    if not turns:
        return f'<figure class="picture">{still}</figure>'
    return (f'<figure class="picture" data-mesh="{name}">{still}</figure>'
            f'<script src="../_static/meshes/list.js"></script>'
            f'<script src="../_static/meshes/{name}.mesh.js"></script><script src="../_static/viewer.js"></script>')


def function_page(root, gallery, name, overloads):
    family, purpose, _, following = functions[name]
    seen = (gallery / f"{name}.txt").read_text().strip().replace('"', "&quot;")
    out = [heading(name, "="), purpose + "\n"]
    out.append(".. raw:: html\n\n   " + picture(name, seen, (gallery / f"{name}.mesh.js").exists()) + "\n")
    twin = root / f"examples/gallery/{name}.py"
    out.append(".. container:: twins\n")
    out.append(indented(".. container:: twin\n\n   **C++**\n\n"
                        + indented(program(root / f"examples/gallery/{name}.cpp", "cpp"), 3), 3))
    if twin.exists():
        out.append(indented(".. container:: twin\n\n   **Python**\n\n" + indented(program(twin, "python"), 3), 3))
    for k, member in enumerate(overloads):
        said = comment(member)
        if len(overloads) > 1:
            out.append(heading(f"Form {k + 1} of {len(overloads)}", "-"))
        else:
            out.append(heading("Signature", "-"))
        out.append(".. code-block:: cpp\n\n" + indented(signature(member), 3) + "\n")
        out += [block + "\n" for block in said.text]
        if said.arguments:
            out.append(table(["Argument", "", "What it is"], said.arguments, "15 10 75"))
        if said.statuses:
            out.append(table(["Status", "Cause"], said.statuses, "12 88"))
        out += [block + "\n" for block in said.remarks]
    rows = measured(root, name)
    if rows:
        out.append(heading("Measured", "-"))
        out.append("Times beside a reference in the same run; `how they were taken <../docs/performance.html>`_.\n")
        out.append(table(["Work", "Size", "Reference", "Ratio"], rows, "40 20 25 15"))
    out.append(heading("What to read next", "-"))
    out.append("\n".join(f"- :doc:`{other}`: {functions[other][1]}" for other in following) + "\n")
    out.append(f"Declared in ``zel/tessel2d/{header_of(overloads[0])}``, family "
               f"*{families[family]}*.\n")
    return "\n".join(out)


def header_of(member):
    place = member.find("location")
    return Path(place.get("declfile", place.get("file"))).name


def gallery_page(gallery):
    buttons = ['<button type="button" data-filter="" aria-pressed="true">All</button>']
    buttons += [f'<button type="button" data-filter="have-{key}" aria-pressed="false">{words}</button>'
                for key, words in things.items()]
    families_used = [f for f in families if any(v[0] == f for v in functions.values())]
    choices = [f'<button type="button" data-filter="family-{key}" aria-pressed="false">{families[key]}</button>'
               for key in families_used]
    cards = []
    for name, (family, purpose, have, _) in functions.items():
        kinds = " ".join([f"family-{family}", *[f"have-{key}" for key in have]])
        seen = (gallery / f"{name}.txt").read_text().strip().replace('"', "&quot;")
        cards.append(f'<a class="card" href="functions/{name}.html" data-kinds="{kinds}">'
                     f'<img src="_static/pictures/{name}.svg" alt="{seen}" width="480" height="360" loading="lazy">'
                     f'<strong>{name}</strong><span>{purpose}</span></a>')
    html = ('<div class="filters" role="group" aria-label="What you have">' + "".join(buttons) + "</div>"
            '<div class="filters" role="group" aria-label="Families">' + "".join(choices) + "</div>"
            '<p class="found" aria-live="polite"></p><div class="gallery">' + "\n".join(cards) + "</div>")
    return (heading("tessel2d", "=")
            + "\nMesh tools for planar and surface meshes of triangles and quadrilaterals. Every picture is made by "
            "the library and leads to the page of its function.\n\n.. raw:: html\n\n" + indented(html, 3)
            + "\n\n.. toctree::\n   :hidden:\n   :caption: Guides\n   :glob:\n\n   guides/*\n"
            + "".join(f"\n.. toctree::\n   :hidden:\n   :caption: {families[f]}\n\n"
                      + "".join(f"   functions/{n}\n" for n, v in functions.items() if v[0] == f)
                      for f in families_used)
            + "\n.. toctree::\n   :hidden:\n   :caption: How fast, how sure\n\n"
            "   docs/performance\n   docs/reliability\n   docs/curvatures\n   docs/glossary\n   reference\n")


reference_page = """Containers and services
=======================

What hosts and the library share beside the functions of the gallery.

Containers
----------

.. doxygenclass:: zel::dense1D
   :members:

.. doxygenclass:: zel::dense2D
   :members:

.. doxygenstruct:: zel::vector_fixed
   :members:

.. doxygenstruct:: zel::symmetric_fixed
   :members:

Services
--------

.. doxygennamespace:: zel::tessel
   :content-only:

.. doxygennamespace:: zel::tessel1d
   :content-only:
"""


def main():
    root, xml, gallery, where = (Path(argument) for argument in sys.argv[1:5])
    shutil.rmtree(where, ignore_errors=True)
    for folder in ("functions", "guides", "docs", "_static/pictures", "_static/meshes"):
        (where / folder).mkdir(parents=True)
    known = members(xml, "zel_1_1tessel2d")
    missing = sorted(set(known) - set(functions)) + sorted(set(functions) - set(known))
    if missing:
        sys.exit(f"manual/names.py and the headers differ: {', '.join(missing)}")
    for name in functions:
        (where / f"functions/{name}.rst").write_text(function_page(root, gallery, name, known[name]))
        shutil.copy(gallery / f"{name}.svg", where / "_static/pictures")
    shutil.copy(gallery / "curvature_bias.svg", where / "_static/pictures")
    (where / "_static/meshes/list.js").write_text("window.tessel2dMeshes = window.tessel2dMeshes || {};\n")
    for mesh in gallery.glob("*.mesh.js"):
        shutil.copy(mesh, where / "_static/meshes")
    (where / "index.rst").write_text(gallery_page(gallery))
    (where / "reference.rst").write_text(reference_page)
    for guide in (root / "manual/guides").glob("*.md"):
        shutil.copy(guide, where / "guides")
    for page in ("performance", "reliability", "curvatures", "glossary"):
        # What leads out of the manual into the source tree is named, not linked.
        words = (root / f"docs/{page}.md").read_text()
        (where / f"docs/{page}.md").write_text(re.sub(r"\[([^]]+)\]\(\.\./[^)]*\)", r"\1", words))
    for static in (root / "manual/static").iterdir():
        shutil.copy(static, where / "_static")
    shutil.copy(root / "manual/conf.py", where)
    print(f"{len(functions)} pages, {sum(len(known[n]) for n in functions)} overloads")


if __name__ == "__main__":
    main()
