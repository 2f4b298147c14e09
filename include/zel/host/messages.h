// SPDX-License-Identifier: Apache-2.0
// Statuses in words.
#pragma once

#include "zel/host/export.h"

namespace zel::host {

/// The sentence that the header of a function has for a status. Statuses are not always the number of an
/// argument, so a message is not to be derived from the number.
///
/// @param function  the name of a function of `zel::tessel2d`, `zel::host`, also of `zel/host/vtk.h`,
///                  or `zel::tessel`, such as "area" or "tessel2d::area"; members of a class have its name in
///                  front, "locator::build", and functions of `zel::tessel1d` and `zel::distributed` that of
///                  their namespace, "tessel1d::mesh_straight". Where overloads say different things of a status, the answer has them
///                  all, each with the parameters of its overload. The names of the parameters, as the header
///                  has them, choose one overload: "normals(pos, connect, N)". Blanks do not matter.
/// @param status    what the function has returned.
///
/// @return  a text that lives as long as the program, never null. For a name that is no function, or a status that
///          the function never returns, it says so. Null is no function.
///
/// Cost: one pass over a table of a few hundred rows. Calls may run at the same time.
/// @snippet examples/messages.cpp explain
ZEL_TESSEL2D_HOST_API const char* explain(const char* function, int status) noexcept;

} // namespace zel::host
