# SPDX-License-Identifier: Apache-2.0
"""The area of a mesh, element by element and in all."""

import numpy as np
import tessel2d
from shapes import print_checksum

# [program]
disk = tessel2d.mesh_disk_T3(center=(0, 0), radius=1.0, n=4, pattern=2)
total = tessel2d.area(disk.pos, disk.connect)  # pi, less what the chords cut off
# [program]

print_checksum("area", np.float64(total))
