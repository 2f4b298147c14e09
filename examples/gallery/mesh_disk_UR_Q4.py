# SPDX-License-Identifier: Apache-2.0
"""A quarter of a disk in quadrilaterals."""

import tessel2d
from shapes import print_checksum

# [program]
disk = tessel2d.mesh_disk_UR_Q4(center=(0, 0), radius=1.0, n=6)
# [program]

print_checksum("mesh_disk_UR_Q4", disk.pos, disk.connect, disk.boundary)
