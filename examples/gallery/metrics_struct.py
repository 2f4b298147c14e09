# SPDX-License-Identifier: Apache-2.0
"""Sizes inside a patch, from the sizes at the nodes of its outline."""

import tessel2d
from shapes import outline, print_checksum

# [program]
pos, loop = outline(20, 14)
quads = tessel2d.mesh_struct_Q4(pos, loop, 14)
sizes = 0.1 + pos[:, 0]  # small at the left, large at the right
sizes = tessel2d.metrics_struct(loop, 14, sizes)
# [program]

print_checksum("metrics_struct", sizes)
