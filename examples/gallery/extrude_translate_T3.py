# SPDX-License-Identifier: Apache-2.0
"""A profile swept along a vector into triangles, with layers that grow."""

import tessel2d
from shapes import profile, print_checksum

# [program]
pos, edges = profile(10)
# Layers from 0.05 at the profile to 0.3 at the far end.
strip = tessel2d.extrude_translate_T3(pos, edges, (0.3, 1.2), h0=0.05, h1=0.3, pattern=2)
# [program]

print_checksum("extrude_translate_T3", strip.pos, strip.connect)
