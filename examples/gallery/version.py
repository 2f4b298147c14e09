# SPDX-License-Identifier: Apache-2.0
"""The version of the library."""

import tessel2d
from shapes import print_checksum

# [program]
version = tessel2d.version()
# [program]

print_checksum("version")
