// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Host tools: what a program around the library needs besides the functions on meshes. They stand in a
/// library of their own, `zel::tessel2d_host`, which uses the other one and is unknown to it. Two more headers are
/// included by themselves, since they need other libraries: `zel/host/eigen.h` and `zel/host/vtk.h`.
#include "zel/host/adjacency.h"
#include "zel/host/locator.h"
#include "zel/host/messages.h"
#include "zel/host/node_orders.h"
#include "zel/host/outlines.h"
#include "zel/host/views.h"
#include "zel/host/volume.h"
