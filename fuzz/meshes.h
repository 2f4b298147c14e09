// SPDX-License-Identifier: Apache-2.0
#pragma once

// Connected meshes: grids, and a dictionary of shapes on which walks, searches and tables have it hard.
#include "fuzz/input.h"

#include <array>
#include <cmath>
#include <vector>

namespace zel_fuzz {

/// Nodes and elements.
struct mesh {
    dense2D<double> pos;
    dense2D<unsigned> connect;
};

/// A connected mesh instead of loose cells: a grid of nx x ny quadrilaterals, each cut into two triangles
/// where 3 rows are asked for, and some cut where 4 are. A few numbers are overwritten, nodes are not
/// moved by more than the input wants: positions are those of the grid plus noise.
inline mesh grid_of(input& in, std::size_t dim, std::size_t corners, unsigned most) {
    const unsigned nx = 1 + in.below(most);
    const unsigned ny = 1 + in.below(most);
    const unsigned nodes = (nx + 1) * (ny + 1);
    const bool cut = corners == 3 || in.one_in(4);
    mesh g;
    g.pos = blank_matrix<double>(in, dim, nodes);
    const bool noisy = in.flag();
    for (unsigned v = 0; v < nodes; ++v) {
        for (std::size_t i = 0; i < dim; ++i) {
            const unsigned at = i == 0 ? v % (nx + 1) : i == 1 ? v / (nx + 1) : 0;
            g.pos(i, v) = at + (noisy && in.one_in(4) ? in.small() - 4 : 0);
        }
    }
    g.connect = blank_matrix<unsigned>(in, corners, nx * ny * (cut ? 2 : 1), nodes);
    std::size_t e = 0;
    for (unsigned j = 0; j < ny; ++j) {
        for (unsigned i = 0; i < nx; ++i) {
            const unsigned a = j * (nx + 1) + i;
            const unsigned quad[4] = {a, a + 1, a + nx + 2, a + nx + 1};
            for (unsigned piece = 0; piece < (cut ? 2u : 1u); ++piece, ++e) {
                for (std::size_t k = 0; k < corners; ++k)
                    g.connect(k, e) = cut && k == 3 ? no_node : quad[(k + 2 * piece) % 4];
            }
        }
    }
    for (unsigned changes = in.below(4); changes > 0 && !g.connect.empty(); --changes) {
        const std::size_t j = in.byte() % g.connect.cols;
        g.connect(in.below(static_cast<unsigned>(corners)), j) = in.node(nodes, in.one_in(8));
    }
    return g;
}

/// Elements of four corners, or of three and `no_node`, and places, while a shape is made.
struct shape {
    std::vector<std::array<double, 3>> places;
    std::vector<std::array<unsigned, 4>> elements;

    void triangle(unsigned a, unsigned b, unsigned c) { elements.push_back({a, b, c, no_node}); }
    void quad(unsigned a, unsigned b, unsigned c, unsigned d) { elements.push_back({a, b, c, d}); }
};

/// Nodes run along the bottom and back along the top, so that numbers of neighbours are far apart.
inline shape strip_along_outline(unsigned n) {
    shape s;
    for (unsigned i = 0; i <= n; ++i) s.places.push_back({1.0 * i, 0, 0});
    for (unsigned i = 0; i <= n; ++i) s.places.push_back({1.0 * (n - i), 1, 0});
    for (unsigned i = 0; i < n; ++i) s.quad(i, i + 1, 2 * n - i, 2 * n + 1 - i);
    return s;
}
/// n triangles around node 0, at least 3.
inline shape star(unsigned n) {
    if (n < 3) n = 3;
    shape s;
    s.places.push_back({0, 0, 0});
    for (unsigned i = 0; i < n; ++i) {
        const double angle = 6.283185307179586 * i / n;
        s.places.push_back({8 * std::cos(angle), 8 * std::sin(angle), 0});
        s.triangle(0, 1 + i, 1 + (i + 1) % n);
    }
    return s;
}
/// A band of n cells, at least 3, that comes back the other way up: no orientation suits all of it.
inline shape moebius_band(unsigned n) {
    if (n < 3) n = 3;
    shape s;
    for (unsigned i = 0; i < n; ++i) {
        const double angle = 6.283185307179586 * i / n;
        for (const double half : {-1.0, 1.0}) {
            const double r = 4 + half * std::cos(angle / 2);
            s.places.push_back(
                {r * std::cos(angle), r * std::sin(angle), half * std::sin(angle / 2)});
        }
    }
    for (unsigned i = 0; i + 1 < n; ++i) s.quad(2 * i, 2 * i + 2, 2 * i + 3, 2 * i + 1);
    s.quad(2 * n - 2, 1, 0, 2 * n - 1);
    return s;
}
/// Squares of a lattice, cut along diagonals that take turns: distances are equal in many ways.
inline shape lattice(unsigned n) {
    shape s;
    const unsigned side = 1 + n % 9;
    for (unsigned v = 0; v < (side + 1) * (side + 1); ++v)
        s.places.push_back({1.0 * (v % (side + 1)), std::floor(1.0 * v / (side + 1)), 0});
    for (unsigned j = 0; j < side; ++j)
        for (unsigned i = 0; i < side; ++i) {
            const unsigned a = j * (side + 1) + i, b = a + 1, d = a + side + 1, c = d + 1;
            if ((i + j) % 2 == 0) {
                s.triangle(a, b, c);
                s.triangle(a, c, d);
            } else {
                s.triangle(a, b, d);
                s.triangle(b, c, d);
            }
        }
    return s;
}
/// Two triangles on the same three nodes, back to back: a closed surface without volume.
inline shape pillow() {
    shape s;
    s.places = {{0, 0, 0}, {4, 0, 0}, {0, 3, 0}};
    s.triangle(0, 1, 2);
    s.triangle(0, 2, 1);
    return s;
}

/// One of the shapes, with all elements doubled, or all nodes in one place, now and then.
inline mesh shaped(input& in, std::size_t dim, std::size_t corners) {
    const unsigned kind = in.below(5);
    const unsigned n = in.one_in(8) ? 1 + in.byte() : 1 + in.below(16);
    shape s = kind == 0   ? strip_along_outline(n)
              : kind == 1 ? star(n)
              : kind == 2 ? moebius_band(n)
              : kind == 3 ? lattice(n)
                          : pillow();
    const std::size_t single = s.elements.size();
    const unsigned doubled = in.below(6); // 4: the same once more, 5: the other way round
    for (std::size_t e = 0; doubled >= 4 && e < single; ++e) {
        auto again = s.elements[e];
        if (doubled == 5) std::swap(again[0], again[2]);
        s.elements.push_back(again);
    }
    if (in.one_in(8)) s.places.assign(s.places.size(), s.places[0]);
    if (corners == 3) {
        std::vector<std::array<unsigned, 4>> cut;
        for (const auto& e : s.elements) {
            cut.push_back({e[0], e[1], e[2], no_node});
            if (e[3] != no_node) cut.push_back({e[0], e[2], e[3], no_node});
        }
        s.elements = cut;
    }
    mesh m;
    m.pos = blank_matrix<double>(in, dim, s.places.size());
    for (std::size_t v = 0; v < s.places.size(); ++v)
        for (std::size_t i = 0; i < dim; ++i) m.pos(i, v) = i < 3 ? s.places[v][i] : 0;
    m.connect = blank_matrix<unsigned>(in, corners, s.elements.size(),
                                       static_cast<unsigned>(s.places.size()));
    for (std::size_t e = 0; e < s.elements.size(); ++e)
        for (std::size_t k = 0; k < corners; ++k) m.connect(k, e) = s.elements[e][k];
    return m;
}

/// A grid mostly, or one of the shapes.
inline mesh grid(input& in, std::size_t dim, std::size_t corners) {
    const unsigned choice = in.byte() % 8;
    if (choice == 6) return shaped(in, dim, corners);
    return grid_of(in, dim, corners, choice == 7 ? 12 : 4);
}

} // namespace zel_fuzz
