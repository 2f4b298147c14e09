# SPDX-License-Identifier: Apache-2.0
"""Any linear mesh made all-quadrilateral."""

import tessel2d
from shapes import print_checksum

# [program]
disk = tessel2d.mesh_disk_UR_T3(center=(0, 0), radius=1.0, n=3, pattern=0)
quads = tessel2d.split_into_Q4(disk.pos, disk.connect)
# [program]

print_checksum("split_into_Q4", quads.pos, quads.connect)
