// SPDX-License-Identifier: Apache-2.0
//
// Host tools: a sphere is turned outward by the sign of its volume, and so are several bodies, each by its own.
#include "zel/host/volume.h"
#include "zel/host/adjacency.h"
#include "zel/host/outlines.h"
#include "zel/tessel2d.h"

#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

using namespace zel;

namespace {

//! [each_component]
/// Turns each component of a closed surface outward. Returns false if one is open or an argument is unusable.
bool turn_outward(const dense2D<double>& pos, dense2D<unsigned>& connect) {
    host::adjacency beside;
    dense1D<unsigned, 8> component;
    if (host::build_adjacency(connect, pos.cols, beside) != 0) return false;
    if (tessel2d::mesh_reorient(connect, beside.neighbors, 0, 1) < 0) return false;
    const int count = host::components(beside.neighbors, component);
    if (count < 0) return false;
    std::vector<dense2D<unsigned>> bodies(static_cast<std::size_t>(count));
    std::vector<double> contents(bodies.size());
    for (std::size_t e = 0; e < connect.cols; ++e)
        append_columns(connect.sub_matrix(0, e, connect.rows, 1), bodies[component[e]]);
    for (std::size_t c = 0; c < bodies.size(); ++c)
        if (host::volume(pos, bodies[c], contents[c]) != 0) return false;
    for (std::size_t e = 0; e < connect.cols; ++e)
        if (contents[component[e]] < 0) std::swap(connect(0, e), connect(2, e)); // as `flip` does
    return true;
}
//! [each_component]

} // namespace

int main() {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    if (tessel2d::mesh_sphere_Q4(pos, {1, 2, 3}, 1, 8, connect) != 0) return 1;
    if (tessel2d::flip(connect) != 0) return 1; // inside out

    //! [volume]
    double content = 0;
    const int open = host::volume(pos, connect, content);
    if (open > 0) std::printf("the surface is open at %d edges\n", open);
    if (open == 0 && content < 0) tessel2d::flip(connect);
    //! [volume]

    if (open != 0 || content > -4 || content < -4.19) return 1;
    if (host::volume(pos, connect, content) != 0 || content < 4) return 1;

    // A second sphere beside the first, inside out.
    dense2D<double> pos2;
    dense2D<unsigned> connect2;
    if (tessel2d::mesh_sphere_Q4(pos2, {9, 2, 3}, 2, 8, connect2) != 0) return 1;
    if (tessel2d::flip(connect2) != 0) return 1;
    if (host::append(pos, connect, pos2, connect2) != 0 || !turn_outward(pos, connect)) return 1;
    return host::volume(pos, connect, content) == 0 && content > 36 ? 0 : 1;
}
