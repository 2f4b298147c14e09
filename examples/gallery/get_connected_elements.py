# SPDX-License-Identifier: Apache-2.0
"""The star of each node, in the order of a turn."""

import tessel2d
from shapes import grid_of_triangles, print_checksum

# [program]
mesh = grid_of_triangles(4)
stars = tessel2d.get_connected_elements(mesh.connect)
first = stars.of(0)  # the elements around node 0
# [program]

print_checksum("get_connected_elements", stars.starts, stars.elements)
