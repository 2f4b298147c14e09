# SPDX-License-Identifier: Apache-2.0
"""A disk in triangles, without a pole."""

import tessel2d
from shapes import print_checksum

# [program]
disk = tessel2d.mesh_disk_T3(center=(0, 0), radius=1.0, n=5, pattern=2)
# [program]

print_checksum("mesh_disk_T3", disk.pos, disk.connect, disk.boundary)
