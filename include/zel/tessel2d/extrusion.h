// SPDX-License-Identifier: Apache-2.0
#pragma once

// All sweeps of a profile of edges into a strip of quadrilaterals or triangles.
//
//       d---c        Layer k = 1 ... N of a profile with n distinct nodes consists of new nodes behind
//       |   |        those that `pos` holds: node i of the profile, in the order in which the edges name
//   k+1 |   |  ->    their nodes first, gets the number nods0 + (k-1)*n + i, with nods0 the columns of
//       a---b        `pos` on entry. Layer 0 is the profile itself; its nodes are not copied. Edges that
//       profile      share a node share its layers, so that a chain gives a conforming strip and a closed
//                    loop a closed band.
//
// The elements of one edge stand behind one another, from the profile outward, and the edges follow in
// the order of the profile. Over the edge (a, b) of a layer lie c, behind b, and d, behind a:
//
//     Q4            (a, b, c, d)
//     T3  pattern 0 (a, b, d) and (b, c, d)
//         pattern 1 (a, b, c) and (a, c, d)
//         pattern 2 as 1 where the numbers of layer and edge, from 0, have an even sum, else as 0
//
// Every node is computed from the profile, never from another layer, so that errors do not add up.
#include "zel/tessel2d/extrude_normal.h"
#include "zel/tessel2d/extrude_rotate.h"
#include "zel/tessel2d/extrude_spiral.h"
#include "zel/tessel2d/extrude_translate.h"
