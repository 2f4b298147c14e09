// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zel/tessel2d/conversion.h"
#include "zel/tessel2d/curvatures.h"
#include "zel/tessel2d/disks.h"
#include "zel/tessel2d/extrusion.h"
#include "zel/tessel2d/generators.h"
#include "zel/tessel2d/location.h"
#include "zel/tessel2d/measures.h"
#include "zel/tessel2d/metrics.h"
#include "zel/tessel2d/normals.h"
#include "zel/tessel2d/orientation.h"
#include "zel/tessel2d/spheres.h"
#include "zel/tessel2d/version.h"
