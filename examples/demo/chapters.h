// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "demo/book.h"

/// The demonstration, one function per chapter. Each writes its meshes and pictures, prints its
/// figures and adds a section to the page; what goes wrong ends the work with a message.
namespace zel::demo {

/// A curved patch in quadrilaterals and in the three patterns of triangles.
void patch_chapter(book& b);
/// Strips, rings and screws swept by a line.
void sweep_chapter(book& b);
/// A scanned surface and its measures.
void surface_chapter(book& b);
/// The scanned surface's normals and a copy of it outwards.
void offset_chapter(book& b);
/// The scanned surface's curvatures.
void curvature_chapter(book& b);
/// A field carried from an island's triangles to a grid.
void field_chapter(book& b);
/// Sizes by direction, drawn as ellipses.
void metric_chapter(book& b);
/// The sizes of the scanned surface's mesh.
void surface_metric_chapter(book& b);
/// Disks and spheres.
void round_chapter(book& b);
/// Elements of higher order, pieces of elements, triangles out of quadrilaterals.
void conversion_chapter(book& b);

} // namespace zel::demo
