# SPDX-License-Identifier: Apache-2.0
"""The circumcentres of triangles: the corners of the dual mesh."""

import tessel2d
from shapes import print_checksum

# [program]
disk = tessel2d.mesh_disk_UR_T3(center=(0, 0), radius=1.0, n=4, pattern=1)
centers = tessel2d.circumcenters(disk.pos, disk.connect)
# [program]

print_checksum("circumcenters", centers)
