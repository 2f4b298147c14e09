# SPDX-License-Identifier: Apache-2.0
"""The element of a mesh that contains a point."""

import numpy as np
import tessel2d
from shapes import print_checksum

# [program]
disk = tessel2d.mesh_disk_T3(center=(0, 0), radius=1.0, n=4, pattern=2)
element = tessel2d.get_element_containing_point(disk.pos, disk.connect, (0.35, 0.42))
# [program]

print_checksum("get_element_containing_point", np.float64(element))
