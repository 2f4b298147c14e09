// zel tessel2d: planar and surface mesh tools.
#include "generators/struct_patch.h"

#include "foundation/call_frame.h"
#include "foundation/point.h"
#include "foundation/tessel.h"
#include "zel/tessel2d/generators.h"

#include <algorithm>

namespace zel::tessel2d {

namespace {

// ------------------------------------------------------------------------------------------ nodes

// One line of interior nodes, i fixed. What does not depend on j is formed once; the products of two
// weights are formed before the corner is multiplied, as the sum is written.
template <int Dim>
struct coons_line {
    double u;
    point<Dim> bottom, top, c0, c1, c2, c3;

    point<Dim> at(double v, const point<Dim>& right, const point<Dim>& left) const noexcept {
        const double w0 = (v - 1) * (1 - u);
        const double w1 = (v - 1) * u;
        const double w2 = v * u;
        const double w3 = (u - 1) * v;
        point<Dim> p;
        for (std::size_t k = 0; k < Dim; ++k) {
            p[k] = (1 - v) * bottom[k] + u * right[k] + v * top[k] + (1 - u) * left[k] +
                   w0 * c0[k] + w1 * c1[k] - w2 * c2[k] + w3 * c3[k];
        }
        return p;
    }
};

/// Stores the interior nodes into the columns of `pos` from `patch.first_new` on.
template <int Dim>
void place_interior_nodes(const struct_patch& patch, dense2D<double>& pos) noexcept {
    const points_view<Dim> points(pos);
    const std::size_t ld = pos.ld;
    double* out = pos[patch.first_new];
    const double cells1 = static_cast<double>(patch.n1);
    const double cells2 = static_cast<double>(patch.n);
    const point<Dim> c0 = points[patch.bottom(0)];
    const point<Dim> c1 = points[patch.right(0)];
    const point<Dim> c2 = points[patch.top(patch.n1)];
    const point<Dim> c3 = points[patch.top(0)];
    for (std::size_t i = 1; i < patch.n1; ++i) {
        const coons_line<Dim> line{static_cast<double>(i) / cells1,
                                   points[patch.bottom(i)],
                                   points[patch.top(i)],
                                   c0,
                                   c1,
                                   c2,
                                   c3};
        for (std::size_t j = 1; j < patch.n; ++j, out += ld) {
            const point<Dim> p = line.at(static_cast<double>(j) / cells2, points[patch.right(j)],
                                         points[patch.left(j)]);
            std::copy_n(p.begin(), Dim, out);
        }
    }
}

// --------------------------------------------------------------------------------------- elements

// A writer takes the cells in order, with their grid indices, and writes them behind one another.
struct quad_writer {
    unsigned* out;
    std::size_t ld;

    void operator()(std::size_t, std::size_t, unsigned a, unsigned b, unsigned c,
                    unsigned d) noexcept {
        out[0] = a;
        out[1] = b;
        out[2] = c;
        out[3] = d;
        out += ld;
    }
};

// `Rows` 3 writes plain triangles, 4 marks row 3 too.
template <int Rows, int Pattern>
struct triangle_writer {
    unsigned* out;
    std::size_t ld;

    void triangle(unsigned a, unsigned b, unsigned c) noexcept {
        out[0] = a;
        out[1] = b;
        out[2] = c;
        if (Rows == 4) out[3] = no_node;
        out += ld;
    }
    void operator()(std::size_t i, std::size_t j, unsigned a, unsigned b, unsigned c,
                    unsigned d) noexcept {
        const bool along_ac = Pattern == 1 || (Pattern == 2 && (i + j) % 2 == 0);
        triangle(a, b, along_ac ? c : d);
        triangle(along_ac ? a : b, c, d);
    }
};

/// Hands all cells to the writer, i outer and j inner.
template <class Writer>
void write_cells(const struct_patch& patch, Writer write) noexcept {
    for (std::size_t i = 0; i < patch.n1; ++i) {
        unsigned a = struct_node_id(patch, i, 0);
        unsigned b = struct_node_id(patch, i + 1, 0);
        const auto cell = [&](std::size_t j, unsigned c, unsigned d) {
            write(i, j, a, b, c, d);
            a = d;
            b = c;
        };
        std::size_t j = 0;
        if (i > 0 &&
            i + 1 < patch.n1) { // nodes j + 1 of both lines are interior up to the last cell
            unsigned c = patch.interior(i + 1, 1);
            unsigned d = patch.interior(i, 1);
            for (; j + 1 < patch.n; ++j) cell(j, c++, d++);
        }
        for (; j < patch.n; ++j)
            cell(j, struct_node_id(patch, i + 1, j + 1), struct_node_id(patch, i, j + 1));
    }
}

template <int Rows>
void write_triangles(const struct_patch& patch, int pattern, unsigned* out,
                     std::size_t ld) noexcept {
    switch (pattern) {
    case 0:
        write_cells(patch, triangle_writer<Rows, 0>{out, ld});
        break;
    case 1:
        write_cells(patch, triangle_writer<Rows, 1>{out, ld});
        break;
    default:
        write_cells(patch, triangle_writer<Rows, 2>{out, ld});
        break;
    }
}

// ------------------------------------------------------------------------------------ call frame

/// Tests that both functions share once there is something to do.
int check_patch(const dense2D<double>& pos, const dense1D<unsigned, 8>& boundary, std::size_t n,
                std::size_t n1) noexcept {
    const std::size_t s = boundary.size;
    if (pos.rows != 2 && pos.rows != 3) return -1;
    if (s < 5) return -2;
    if (boundary[0] != boundary[s - 1]) return -2;
    if (!tessel::check_IDs(boundary, node_bound(pos))) return -2;
    if (2 * n > s) return -3;
    if ((n + n1) * 2 != s - 1) return -3;
    return status_ok;
}

/// The count of cells along the bottom, with wrap-around when the loop is too short for n.
std::size_t cells_along_bottom(const dense1D<unsigned, 8>& boundary, std::size_t n) noexcept {
    return (boundary.size - 2 * n - 1) / 2;
}

/// Reserves and resizes `pos` and `connect` for the patch; on failure both are unchanged.
/// With n1 = 0 the count of interior nodes wraps around and `pos` loses n - 1 columns.
bool grow_outputs(dense2D<double>& pos, std::size_t n1, std::size_t n, std::size_t rows,
                  std::size_t per_cell, dense2D<unsigned>& connect) noexcept {
    std::size_t nodes, cells, elements;
    if (n1 == 0) {
        if (pos.cols < n - 1) return false;
        nodes = pos.cols - (n - 1);
    } else {
        std::size_t interior;
        if (!checked_multiply(n1 - 1, n - 1, interior)) return false;
        if (!node_total(pos.cols, interior, nodes)) return false;
    }
    if (!checked_multiply(n1, n, cells) || !checked_multiply(cells, per_cell, elements) ||
        !checked_add(elements, connect.cols, elements)) {
        return false;
    }
    if (!pos.reserve(pos.rows, nodes, 1) || !connect.reserve(rows, elements, 1)) return false;
    pos.resize(pos.rows, nodes);
    if (rows <= 4) {
        connect.resize(rows, elements); // every new entry is written
    } else {
        connect.resize(rows, elements, no_node); // an empty matrix that came with so many rows
    }
    return true;
}

void place_nodes(const struct_patch& patch, dense2D<double>& pos) noexcept {
    if (patch.n1 < 2 || patch.n < 2) return;
    if (pos.rows == 2) {
        place_interior_nodes<2>(patch, pos);
    } else {
        place_interior_nodes<3>(patch, pos);
    }
}

} // namespace

int mesh_struct_Q4(dense2D<double>& pos, const dense1D<unsigned, 8>& boundary, unsigned n,
                   dense2D<unsigned>& connect) {
    const std::size_t n1 = cells_along_bottom(boundary, n);
    if (n == 0 || boundary.empty() || n1 == 0) return status_ok;
    if (const int status = check_patch(pos, boundary, n, n1)) return status;
    if (!takes_rows(connect, 4)) return -4;
    dense1D<unsigned, 8> loop = boundary;
    if (!separate(loop, connect)) return status_memory;

    const std::size_t first_new = pos.cols;
    const std::size_t first_element = connect.cols;
    if (!grow_outputs(pos, n1, n, 4, 1, connect)) return status_memory;
    const struct_patch patch{loop.data(), n1, n, first_new};
    place_nodes(patch, pos);
    write_cells(patch, quad_writer{connect[first_element], connect.ld});
    return status_ok;
}

int mesh_struct_T3(dense2D<double>& pos, const dense1D<unsigned, 8>& boundary, unsigned n,
                   int pattern, dense2D<unsigned>& connect) {
    const std::size_t n1 = cells_along_bottom(boundary, n);
    if (n == 0 || boundary.empty()) return status_ok;
    if (const int status = check_patch(pos, boundary, n, n1)) return status;
    if (static_cast<unsigned>(pattern) > 2) return -4;
    if (!takes_rows(connect, 3) && !takes_rows(connect, 4)) return -5;
    dense1D<unsigned, 8> loop = boundary;
    if (!separate(loop, connect)) return status_memory;

    const std::size_t first_new = pos.cols;
    const std::size_t first_element = connect.cols;
    const std::size_t rows = std::max<std::size_t>(3, connect.rows);
    if (!grow_outputs(pos, n1, n, rows, 2, connect)) return status_memory;
    const struct_patch patch{loop.data(), n1, n, first_new};
    place_nodes(patch, pos);
    if (rows == 4) {
        write_triangles<4>(patch, pattern, connect[first_element], connect.ld);
    } else {
        write_triangles<3>(patch, pattern, connect[first_element], connect.ld);
    }
    return status_ok;
}

} // namespace zel::tessel2d
