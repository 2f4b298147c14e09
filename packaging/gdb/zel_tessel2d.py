# SPDX-License-Identifier: Apache-2.0
"""How gdb prints the containers of the library: shape first, then the elements.

    (gdb) print pos
    $1 = dense2D<double> 2 x 4 (ld 2) = {{0, 0}, {1, 0}, {1, 1}, {0, 1}}

Each inner pair of braces is one column: a node or an element. gdb reads this file by itself when it loads
the shared library it is installed for. Who links the archive reads it with "source <this file>".

Nothing here trusts the object: one that is not constructed yet prints its shape as found, and gdb marks
the elements that cannot be read. `print elements` and `print repeats` limit what is shown, as ever.
"""

import gdb
import gdb.printing


class Words:
    """A storage block as it lies in memory: virtual table, number of owners, first element, capacity and
    kind of memory, each in a word of its own. Programs carry no description of the block's fields: the
    compiler leaves it to the library, which is built without."""

    def __init__(self, address, element):
        word = gdb.lookup_type("unsigned long")
        self.first = address.cast(element.pointer().pointer())[2]
        self.words = address.cast(word.pointer())

    def owners(self):
        return int(self.words[1]) & 0xFFFFFFFF

    def capacity(self):
        return int(self.words[3])

    def borrowed(self):
        return int(self.words[4]) & 0xFFFF == 0xFFFF


def first_of(view):
    """Pointer to the first element of a view, or None where there is no memory yet."""
    block = view["storage"]["__object"]
    if int(block) == 0:
        return None
    first = Words(block, view.type.template_argument(0)).first
    return first + int(view["start"]) if int(first) != 0 else None


def columns(first, count, rows, leading):
    """The columns from pointer `first` on, each as an array of `rows` elements."""
    for j in range(count):
        column = (first + j * leading).dereference()
        yield "[%d]" % j, column.cast(column.type.array(rows - 1))


class List:
    """dense1D<double> 3 = {0.1, 0.2, 0.4}"""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "dense1D<%s> %d" % (self.value.type.template_argument(0), int(self.value["size"]))

    def children(self):
        first = first_of(self.value)
        for i in range(int(self.value["size"]) if first is not None else 0):
            yield "[%d]" % i, (first + i).dereference()

    def display_hint(self):
        return "array"


class Matrix:
    """dense2D<unsigned int> 4 x 2 (ld 4) = {{0, 1, 2, 3}, {0, 1, 2, 4294967295}}"""

    def __init__(self, value):
        self.value = value

    def shape(self):
        return [int(self.value[name]) for name in ("rows", "cols", "ld")]

    def to_string(self):
        return "dense2D<%s> %d x %d (ld %d)" % (self.value.type.template_argument(0), *self.shape())

    def children(self):
        rows, cols, leading = self.shape()
        first = first_of(self.value)
        return columns(first, cols, rows, leading) if first is not None and rows else iter(())

    def display_hint(self):
        return "array"


class Fixed:
    """vector_fixed<double, 2> = {1, 0}, symmetric_fixed<double, 2> = {1, 0, 1}"""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return self.value.type.strip_typedefs().unqualified().name.replace("zel::", "")

    def children(self):
        elements = self.value["elements"]
        for i in range(elements.type.range()[1] + 1):
            yield "[%d]" % i, elements[i]

    def display_hint(self):
        return "array"


class Block:
    """8 double in memory of the block's own at 0x..., held by 2"""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        element = self.value.type.template_argument(0)
        block = Words(self.value.address, element)
        memory = "the caller's memory" if block.borrowed() else "memory of the block's own"
        return "%d %s in %s at %#x, held by %d" % (
            block.capacity(), element, memory, int(block.first), block.owners())


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("zel_tessel2d")
    collection.add_printer("dense1D", "^zel::dense1D<.*>$", List)
    collection.add_printer("dense2D", "^zel::dense2D<.*>$", Matrix)
    collection.add_printer("vector_fixed", "^zel::(vector|symmetric)_fixed<.*>$", Fixed)
    collection.add_printer("vector_num", "^zel::vector_num<.*>$", Block)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
