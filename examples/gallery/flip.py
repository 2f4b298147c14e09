# SPDX-License-Identifier: Apache-2.0
"""All elements turned over: the order of their corners is reversed."""

import tessel2d
from shapes import print_checksum

# [program]
elements = [[0, 1, 2, 3], [1, 4, 2, -1]]  # a quadrilateral and a triangle
turned = tessel2d.flip(elements)
# [program]

print_checksum("flip", turned)
