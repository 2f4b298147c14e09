#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the demonstration in an empty directory and checks what it leaves there.

    demo_files.py <demo program>

Every file is well-formed, every mesh is one that a viewer can open, every picture shows as many
elements as it should, and the page names only files that exist. A missing data file is a plain
message and status 1.
"""

import base64
import math
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as xml

# Nodes and elements of each mesh that the demonstration writes.
MESHES = {
    "patch_quads": (17 * 11, 16 * 10),
    "patch_falling": (17 * 11, 2 * 16 * 10),
    "patch_rising": (17 * 11, 2 * 16 * 10),
    "patch_alternating": (17 * 11, 2 * 16 * 10),
    "sweep_strip": (11 * 25, 10 * 24),
    "sweep_ring": (7 * 48, 2 * 6 * 48),
    "sweep_layer": (96 * 12, 96 * 11),
    "sweep_vase": (29 * 56, 28 * 56),
    "sweep_helix": (8 * 73, 7 * 72),
    "sweep_spring": (16 * 151, 2 * 16 * 150),
    "disk_quads": (12 * 36 + 4 * 6 + 1, 12 * 36),
    "disk_triangles": (12 * 36 + 4 * 6 + 1, 24 * 36),
    "sphere_quads": (24 * 36 + 2, 24 * 36),
    "sphere_triangles": (24 * 36 + 2, 48 * 36),
    "convert_linear": (7 * 5, 2 * 6 * 4),
    "convert_quadratic": (13 * 9, 2 * 6 * 4),
    "convert_pieces": (13 * 9, 4 * 2 * 6 * 4),
    "convert_quads": (13 * 9 + 48, 3 * 2 * 6 * 4),
    "convert_regular": (17 * 11, 160),
    "convert_mixed": (17 * 11, 160 + 32),
    "convert_blind": (17 * 11, 2 * 160),
    "convert_better": (17 * 11, 2 * 160),
    "surface": (1839, 3674),
    "surface_normals": (1839, 3674),
    "surface_and_copy": (2 * 1839, 2 * 3674),
    "surface_curvature": (1839, 3674),
    "surface_metric": (1839, 3674),
    "field_source": (6125, 11623),
    "field_grid": (229 * 439, 228 * 438),
    "metric_blended": (11 * 11, 10 * 10),
}

# Elements on each picture, where all of them are seen.
OPEN = ("patch_", "sweep_", "disk_", "convert_", "field_", "metric_")
PICTURES = {name: MESHES[name][1] for name in MESHES if name.startswith(OPEN)}
PICTURES["field_mesh"] = 11623
PICTURES["field_grid"] = 76 * 146  # a third of the cells each way
PICTURES["metric_sides"] = 10 * 10

# Pictures of closed surfaces, where those that look away are left out.
HALF_SEEN = {
    "sphere_quads": 24 * 36,
    "sphere_triangles": 48 * 36,
    "surface": 3674,
    "surface_angles": 3674,
    "surface_normals": 3674,
    "surface_and_copy": 2 * 3674,
    "surface_copy": 3674,
    "surface_curvature": 3674,
    "surface_curvature_back": 3674,
    "surface_directions": 3674,
}

# VTK's number of an element and the nodes that it has.
NODES_OF_TYPE = {3: 2, 5: 3, 9: 4, 22: 6, 23: 8, 28: 9}

FUNCTIONS = {file.stem for file in (pathlib.Path(__file__).parents[2] / "examples" / "gallery").glob("*.cpp")}
FUNCTIONS.remove("figure")

DATA = pathlib.Path(__file__).parents[2] / "examples" / "data"

SVG = "{http://www.w3.org/2000/svg}"


def run_demo(*arguments):
    return subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, text=True, check=False)


KINDS = {"Float64": "d", "Int32": "i", "UInt8": "B"}


def values_of(array):
    """The numbers of a binary array: how many bytes follow, and the bytes."""
    data = base64.b64decode(array.text)
    (size,) = struct.unpack_from("<Q", data)
    assert size == len(data) - 8, array.get("Name")
    kind = KINDS[array.get("type")]
    return list(struct.unpack_from(f"<{size // struct.calcsize(kind)}{kind}", data, 8))


def numbers(grid, name):
    return values_of(grid.find(f".//DataArray[@Name='{name}']"))


def cells(picture):
    root = xml.parse(picture).getroot()
    return [shape for group in root.iter(SVG + "g") if group.get("class") == "cell"
            for shape in group.iter(SVG + "path")]


def setUpModule():
    """One run, at which most of the tests look."""
    global FOLDER, OUTPUT, FINISHED
    FOLDER = tempfile.TemporaryDirectory()
    OUTPUT = pathlib.Path(FOLDER.name) / "made" / "here"
    FINISHED = run_demo(OUTPUT)


def tearDownModule():
    FOLDER.cleanup()


class Demonstration(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = FOLDER
        cls.output = OUTPUT
        cls.finished = FINISHED

    def test_it_ends_well_and_says_where_the_files_are(self):
        self.assertEqual(0, self.finished.returncode, self.finished.stderr)
        self.assertIn(str(self.output), self.finished.stdout)
        self.assertEqual("", self.finished.stderr)

    def test_no_number_on_the_console_is_undefined(self):
        words = self.finished.stdout.replace("-", " ").lower().split()
        self.assertNotIn("nan", words)
        self.assertNotIn("inf", words)

    def test_every_file_is_well_formed(self):
        files = [f for f in self.output.iterdir() if f.suffix in (".vtu", ".svg", ".html")]
        self.assertEqual(sorted(files), sorted(self.output.iterdir()))
        for file in files:
            with self.subTest(file.name):
                xml.parse(file)

    def test_the_meshes_are_those_that_are_known(self):
        self.assertEqual(sorted(MESHES), sorted(f.stem for f in self.output.glob("*.vtu")))

    def test_meshes_have_their_nodes_and_elements(self):
        for name, (nodes, elements) in MESHES.items():
            with self.subTest(name):
                grid = xml.parse(self.output / f"{name}.vtu").getroot()
                piece = grid.find(".//Piece")
                self.assertEqual(str(nodes), piece.get("NumberOfPoints"))
                self.assertEqual(str(elements), piece.get("NumberOfCells"))
                self.assertEqual(3 * nodes, len(numbers(grid, "Points")))

    def test_elements_are_complete_and_name_nodes_that_exist(self):
        for name, (nodes, elements) in MESHES.items():
            with self.subTest(name):
                grid = xml.parse(self.output / f"{name}.vtu").getroot()
                connect = numbers(grid, "connectivity")
                offsets = numbers(grid, "offsets")
                sizes = [NODES_OF_TYPE[kind] for kind in numbers(grid, "types")]
                self.assertEqual(elements, len(sizes))
                self.assertEqual(sizes, [b - a for a, b in zip([0] + offsets, offsets)])
                self.assertEqual(len(connect), offsets[-1])
                self.assertEqual(set(range(nodes)), set(connect), "nodes that elements use")

    def test_nodes_on_sides_follow_the_sides(self):
        grid = xml.parse(self.output / "convert_quadratic.vtu").getroot()
        flat = numbers(grid, "Points")
        points = [flat[k : k + 2] for k in range(0, len(flat), 3)]
        connect = numbers(grid, "connectivity")
        for cell in (connect[k : k + 6] for k in range(0, len(connect), 6)):
            corners = [points[n] for n in cell[:3]]
            middles = [[(x + y) / 2 for x, y in zip(corners[k], corners[(k + 1) % 3])] for k in range(3)]
            for side, node in enumerate(cell[3:]):
                away = [math.dist(points[node], middle) for middle in middles]
                self.assertEqual(side, away.index(min(away)), f"node {node} of element {cell}")

    def test_fields_fit_their_mesh(self):
        for name, (nodes, elements) in MESHES.items():
            grid = xml.parse(self.output / f"{name}.vtu").getroot()
            for place, count in (("PointData", nodes), ("CellData", elements)):
                for array in grid.iterfind(f".//{place}/DataArray"):
                    with self.subTest(name, field=array.get("Name")):
                        values = len(values_of(array))
                        self.assertEqual(count * int(array.get("NumberOfComponents")), values)

    def test_pictures_show_every_element(self):
        for name, count in PICTURES.items():
            with self.subTest(name):
                self.assertEqual(count, len(cells(self.output / f"{name}.svg")))

    def test_closed_surfaces_show_the_half_that_faces_the_eye(self):
        for name, count in HALF_SEEN.items():
            with self.subTest(name):
                seen = len(cells(self.output / f"{name}.svg"))
                self.assertGreater(seen, 0.4 * count)
                self.assertLess(seen, 0.6 * count)

    def test_the_page_names_every_file_and_none_else(self):
        page = xml.parse(self.output / "index.html").getroot()
        named = {image.get("src") for image in page.iter("img")}
        named |= {link.get("href") for link in page.iter("a")}
        files = {f.name for f in self.output.iterdir()} - {"index.html"}
        pages = {name for name in named if name.startswith("../manual/html/functions/")}
        self.assertEqual(43, len(FUNCTIONS))
        for page_of_function in pages:
            self.assertIn(pathlib.Path(page_of_function).stem, FUNCTIONS)
        self.assertGreaterEqual(len(pages), 25, "functions that the page names")
        self.assertEqual(files, {name for name in named if not name.startswith(("#", "../"))})
        sections = {"#" + part.get("id") for part in page.iter("section")}
        self.assertEqual(sections, {name for name in named if name.startswith("#")})

    def test_page_and_pictures_are_small(self):
        size = sum(f.stat().st_size for f in self.output.iterdir() if f.suffix in (".svg", ".html"))
        self.assertLess(size, 5_000_000)

    def test_the_page_needs_nothing_from_elsewhere(self):
        text = (self.output / "index.html").read_text(encoding="utf-8")
        for word in ("<script", "http://", "https://", "@import"):
            self.assertNotIn(word, text)

    def test_a_second_run_gives_the_same_bytes(self):
        again = pathlib.Path(self.folder.name) / "again"
        self.assertEqual(0, run_demo(again).returncode)
        for file in self.output.iterdir():
            with self.subTest(file.name):
                self.assertEqual(file.read_bytes(), (again / file.name).read_bytes())


class Fields(unittest.TestCase):
    """The nodes of the grid that lie ashore against the area of the land, computed here from the file."""

    def test_as_many_nodes_are_ashore_as_fit_the_area_of_the_land(self):
        words = (DATA / "coast.off").read_text(encoding="ascii").split()[1:]
        nodes, faces = int(words[0]), int(words[1])
        x, y = ([float(word) for word in words[k : 3 + 3 * nodes : 3]] for k in (3, 4))
        area = 0.0
        for f in range(faces):
            first = 3 + 3 * nodes + 4 * f + 1
            a, b, c = (int(word) for word in words[first : first + 3])
            area += ((x[b] - x[a]) * (y[c] - y[a]) - (x[c] - x[a]) * (y[b] - y[a])) / 2
        land = area / ((max(x) - min(x)) * (max(y) - min(y)))

        lines = FINISHED.stdout.splitlines()
        row = next(line for line in lines if line.startswith("  Grid over the island ")).split()[4:]
        self.assertEqual(229 * 439, int(row[0]))
        self.assertLess(abs(int(row[1]) / (228 * 438) - land), 0.001)  # one node to each cell
        for kept in row[2:4]:  # beside narrow inlets a few are not found
            self.assertLessEqual(int(kept), int(row[1]))
            self.assertGreater(int(kept), 0.999 * int(row[1]))
        self.assertLess(float(row[4]), 0.01)


class Measures(unittest.TestCase):
    """The printed measures of the surface against those computed here from the file."""

    def test_the_surface_is_measured_rightly(self):
        words = iter((DATA / "bunny.off").read_text(encoding="ascii").split()[1:])
        nodes, faces, _ = (int(next(words)) for _ in range(3))
        points = [[float(next(words)) for _ in range(3)] for _ in range(nodes)]
        triangles = [[points[int(next(words))] for _ in range(int(next(words)))] for _ in range(faces)]

        area, angles, radii = 0.0, [], []
        for triangle in triangles:
            a, b, c = (math.dist(triangle[k - 2], triangle[k - 1]) for k in range(3))
            half = (a + b + c) / 2
            size = math.sqrt(half * (half - a) * (half - b) * (half - c))
            area += size
            radii.append(a * b * c / (4 * size))
            for x, y, z in ((a, b, c), (b, c, a), (c, a, b)):
                angles.append(math.degrees(math.acos((y * y + z * z - x * x) / (2 * y * z))))

        lines = FINISHED.stdout.splitlines()
        row = next(line for line in lines if line.startswith("  Scanned surface "))
        self.assertEqual(
            f"{nodes} {faces} {area:.6f} {min(angles):.1f}° {max(angles):.1f}° {max(radii):.4f}".split(),
            row.split()[2:],
        )
        counts = [int(line.split()[4]) for line in lines if re.match(r" +\d+ to +\d+ ° ", line)]
        self.assertEqual([sum(k <= angle / 15 < k + 1 for angle in angles) for k in range(12)], counts)


class Trouble(unittest.TestCase):
    def test_a_missing_data_file_is_a_message_and_status_1(self):
        with tempfile.TemporaryDirectory() as folder:
            nowhere = pathlib.Path(folder) / "nowhere"
            run = run_demo(pathlib.Path(folder) / "out", nowhere)
        self.assertEqual(1, run.returncode)
        self.assertEqual(f"demo: cannot open {nowhere / 'bunny.off'}\n", run.stderr)

    def test_a_damaged_data_file_is_a_message_and_status_1(self):
        damaged = {
            "": "is no OFF file",
            "PLY\n3 1 0\n": "is no OFF file",
            "OFF\n3 1 0\n0 0 0\n1 0 0\n": "node 2 is cut short",
            "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 1\n3 0 1 3\n": "face 0 names a node that does not exist",
            "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 1\n2 0 1\n": "face 0 is no triangle and no quadrilateral",
            "OFF\n3 0 0\n0 0 0\n1 0 0\n0 1 1\n": "has no faces",
        }
        for text, message in damaged.items():
            with self.subTest(text), tempfile.TemporaryDirectory() as folder:
                (pathlib.Path(folder) / "bunny.off").write_text(text, encoding="ascii")
                run = run_demo(pathlib.Path(folder) / "out", folder)
                self.assertEqual(1, run.returncode)
                self.assertIn(message, run.stderr)

    def test_a_directory_that_cannot_be_made_is_a_message_and_status_1(self):
        with tempfile.NamedTemporaryFile() as file:
            run = run_demo(pathlib.Path(file.name) / "below")
        self.assertEqual(1, run.returncode)
        self.assertTrue(run.stderr.startswith("demo: cannot create "), run.stderr)


if __name__ == "__main__":
    PROGRAM = sys.argv.pop(1)
    unittest.main()
