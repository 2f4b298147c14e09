// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zel/dense.h"

/// The sum of all coordinates.
double second_file_sum(const zel::dense2D<double>& pos);
