// SPDX-License-Identifier: Apache-2.0
// Says where the lines of the upper right quarter of a disk are.
#pragma once

#include "generators/round_mesh.h"
#include "tessel1d/line.h"

namespace zel::tessel2d {

/// The upper right quarter of a disk:
///
///    S-.__
///    |    Q           O the centre, A and B half way out, M between them on the diagonal,
///    B---M |          P, Q and S on the circle
///    |   |  |
///    O---A--P
struct disk_quarter {
    enum node : unsigned { O, A, M, B, P, Q, S };
    enum line : unsigned { arc1, arc2, OA, AP, SB, BO, AM, MB, MQ };

    static constexpr std::size_t dimension = 2;
    static constexpr quarter_plan plan = {
        {{{OA, false}, {AM, false}, {MB, false}, {BO, false}},
         {{AP, false}, {arc1, false}, {MQ, true}, {AM, true}},
         {{MQ, false}, {arc2, false}, {SB, false}, {MB, true}}},
        {arc1, arc2, SB, BO, OA, AP},
    };
    static constexpr arc<2> arcs[] = {
        {arc1, P, Q, 0.0, eighth_turn, false, {0, 1}},
        {arc2, Q, S, 1.0, eighth_turn, false, {0, 1}},
    };
    static constexpr double junction = 0.41018862050852034; // M, in x and in y

    static void place_disk_skeleton(columns<double> points, std::size_t c,
                                    const round_shape<2>& disk) noexcept {
        const double cx = disk.center[0];
        const double cy = disk.center[1];
        const double radius = disk.radius;
        const double half = 0.5 * radius;
        const double m = junction * radius;
        const double s = diagonal * radius;
        // O, A, M, B, P, Q, S
        place_skeleton<2>(points, c,
                          {{cx, cy},
                           {cx + half, cy},
                           {cx + m, cy + m},
                           {cx, cy + half},
                           {cx + radius, cy},
                           {cx + s, cy + s},
                           {cx, cy + radius}});
    }

    /// Places the nodes of all lines; memory has been reserved.
    ///
    /// The matrix gets the number of columns that skeleton and arcs need in an empty matrix, while the
    /// nodes go behind the columns that were present. If there were any, some nodes are written beyond
    /// the last column, but within the reserved memory, and the straight lines that follow may
    /// overwrite them.
    static void place_lines(dense2D<double>& pos, const round_shape<2>& disk,
                            node_line (&lines)[9]) noexcept {
        const std::size_t n = disk.n;
        const std::size_t c = pos.cols;
        // mutation (2 -> 3): the next line gives the matrix its two rows, and what is filled is zero
        if (pos.empty()) grow_columns(pos, 2, c, 0.0);
        pos.resize(2, 2 * n + 5);
        const columns<double> points = columns_of(pos);
        place_disk_skeleton(points, c, disk);
        place_arcs(points, c, arcs, disk, lines);

        constexpr unsigned ends[][3] = {{OA, O, A}, {AP, A, P}, {SB, S, B}, {BO, B, O},
                                        {AM, A, M}, {MB, M, B}, {MQ, M, Q}};
        for (const auto& [l, from, to] : ends) {
            lines[l] = {c + from, c + to, pos.cols};
            tessel1d::place_line(points, 2, c + from, c + to, n, pos.cols);
            pos.resize(2, pos.cols + n - 1);
        }
    }
};

} // namespace zel::tessel2d
