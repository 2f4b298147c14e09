// SPDX-License-Identifier: Apache-2.0
//
// Runs the library and other libraries in turn on the same inputs, checks that both computed the same, and
// prints a row of a table for each task and size.
//
// Both sides of a row run in turn, at least five rounds; what counts is the smallest time of each. The inputs
// are made in the form that each side works on before the clock starts. "limit" is the time in which the
// memory that the task must write (or, where it writes little, read) is passed over in the same rounds.
#include "support/adjacency.h"
#include "zel/tessel.h"
#include "zel/tessel2d.h"

#include <CGAL/Simple_cartesian.h>
#include <CGAL/version.h>
#include <Eigen/Core>
#include <OpenMesh/Core/Mesh/TriMesh_ArrayKernelT.hh>
#include <OpenMesh/Core/System/config.h>
#include <gmsh.h>
#include <meshoptimizer.h>
#include <nanoflann.hpp>
#include <vtkDiskSource.h>
#include <vtkNew.h>
#include <vtkPlaneSource.h>
#include <vtkPolyData.h>
#include <vtkSphereSource.h>
#include <vtkVersion.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace zel;
using namespace zel::tessel2d;

std::string chosen; // a part of the names of the tasks to run

double seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct row {
    std::string task, size, peer, note;
    double items;
    std::size_t bytes;             // that the result takes
    std::function<void()> prepare; // before each round, not timed
    std::function<void()> ours, theirs;
    std::function<bool()> agree;
};

bool is_chosen(const std::string& task) {
    return task.find(chosen) != std::string::npos;
}

void run(const row& r) {
    double ours = 1e9, theirs = 1e9, limit = 1e9;
    for (int round = 0; round < 5; ++round) {
        if (r.prepare) r.prepare();
        ours = std::min(ours, seconds(r.ours));
        theirs = std::min(theirs, seconds(r.theirs));
        limit = std::min(limit, seconds([&] {
                             void* const memory = __vector_num_alloc(r.bytes);
                             std::memset(memory, 1, r.bytes);
                             asm volatile("" : : "r"(memory) : "memory");
                             __vector_num_free(memory);
                         }));
    }
    const double scale = 1e9 / r.items;
    std::printf("| %s | %s | %.1f | %.1f | %s | %.2f%s | %.1f | %s | %s |\n", r.task.c_str(),
                r.size.c_str(), ours * scale, theirs * scale, r.peer.c_str(), theirs / ours,
                theirs < ours ? " (behind)" : "", limit * scale, r.agree() ? "yes" : "**no**",
                r.note.c_str());
    std::fflush(stdout);
}

std::string power(std::size_t n) {
    return std::to_string(n);
}

// ----------------------------------------------------------------------------------------- inputs

struct mesh {
    dense2D<double> pos;
    dense2D<unsigned> connect;
};

/// The boundary of the unit square, m cells along bottom and top, n along the others.
void square(unsigned m, unsigned n, dense2D<double>& pos, dense1D<unsigned, 8>& loop) {
    const unsigned count = 2 * (m + n);
    pos.clear();
    pos.resize(2, count);
    loop.clear();
    loop.resize(count + 1);
    for (unsigned k = 0; k < count; ++k) {
        const double x = k <= m           ? double(k) / m
                         : k <= m + n     ? 1.0
                         : k <= 2 * m + n ? 1.0 - double(k - m - n) / m
                                          : 0.0;
        const double y = k <= m           ? 0.0
                         : k <= m + n     ? double(k - m) / n
                         : k <= 2 * m + n ? 1.0
                                          : 1.0 - double(k - 2 * m - n) / n;
        pos(0, k) = x;
        pos(1, k) = y;
        loop[k] = k;
    }
    loop[count] = 0;
}

/// A bumpy surface of about `elements` triangles, or a grid in the plane, ordered or shuffled.
mesh triangles(std::size_t elements, unsigned rows, bool shuffled) {
    const auto n = static_cast<unsigned>(std::sqrt(double(elements) / 2));
    mesh m;
    m.pos.resize(rows, std::size_t(n + 1) * (n + 1));
    m.connect.resize(3, std::size_t(2) * n * n);
    std::vector<unsigned> number(m.pos.cols), order(m.connect.cols);
    std::iota(number.begin(), number.end(), 0U);
    std::iota(order.begin(), order.end(), 0U);
    std::mt19937 random(1);
    if (shuffled) {
        std::shuffle(number.begin(), number.end(), random);
        std::shuffle(order.begin(), order.end(), random);
    }
    for (unsigned j = 0; j <= n; ++j)
        for (unsigned i = 0; i <= n; ++i) {
            double* const p = m.pos[number[std::size_t(j) * (n + 1) + i]];
            p[0] = double(i) / n + 0.2 / n * std::sin(i * 1.7 + j);
            p[1] = double(j) / n + 0.2 / n * std::cos(i + j * 2.3);
            if (rows == 3) p[2] = 0.1 * std::sin(7 * p[0]) * std::cos(5 * p[1]);
        }
    std::size_t e = 0;
    for (unsigned j = 0; j < n; ++j)
        for (unsigned i = 0; i < n; ++i) {
            const unsigned a = j * (n + 1) + i;
            const unsigned cell[2][3] = {{a, a + 1, a + n + 2}, {a, a + n + 2, a + n + 1}};
            for (const auto& c : cell) {
                unsigned* const to = m.connect[order[e++]];
                for (unsigned k = 0; k < 3; ++k) to[k] = number[c[k]];
            }
        }
    return m;
}

// ------------------------------------------------------------------------------------------ tasks

void generators(std::size_t elements) {
    const auto n = static_cast<unsigned>(std::sqrt(double(elements)));
    const std::size_t cells = std::size_t(n) * n;
    dense2D<double> pos;
    dense1D<unsigned, 8> loop;
    dense2D<unsigned> connect, boundary;
    vtkNew<vtkPlaneSource> plane;
    plane->SetResolution(int(n), int(n));
    plane->SetOutputPointsPrecision(vtkAlgorithm::DOUBLE_PRECISION);
    if (is_chosen("patch"))
        run({"patch", power(cells), "VTK", "VTK stores normals and texture coordinates, too",
             double(cells), cells * 32,
             [&] {
                 square(n, n, pos, loop);
                 connect.clear();
                 connect = dense2D<unsigned>();
                 plane->Modified();
             },
             [&] { mesh_struct_Q4(pos, loop, n, connect); }, [&] { plane->Update(); },
             [&] {
                 return plane->GetOutput()->GetNumberOfCells() == vtkIdType(connect.cols) &&
                        plane->GetOutput()->GetNumberOfPoints() == vtkIdType(pos.cols);
             }});
    const auto side = static_cast<unsigned>(std::sqrt(double(elements) / 12));
    const std::size_t in_disk = std::size_t(12) * side * side;
    vtkNew<vtkDiskSource> disk;
    disk->SetInnerRadius(0);
    disk->SetOuterRadius(1);
    disk->SetRadialResolution(int(2 * side));
    disk->SetCircumferentialResolution(int(6 * side));
    if (is_chosen("disk"))
        run({"disk", power(in_disk), "VTK",
             "VTK's disk has a degenerate pole: the numbers of quadrilaterals agree, nodes do not",
             double(in_disk), in_disk * 32,
             [&] {
                 pos = dense2D<double>();
                 connect = dense2D<unsigned>();
                 boundary = dense2D<unsigned>();
                 disk->Modified();
             },
             [&] {
                 mesh_disk_Q4(pos, {0.0, 0.0}, 1.0, side, connect, boundary);
             },
             [&] { disk->Update(); },
             [&] { return disk->GetOutput()->GetNumberOfCells() == vtkIdType(connect.cols); }});
    vtkNew<vtkSphereSource> sphere;
    const auto around = static_cast<unsigned>(std::sqrt(double(elements)));
    const auto eighth = static_cast<unsigned>(std::sqrt(double(elements) / 48));
    sphere->SetThetaResolution(int(around));
    sphere->SetPhiResolution(int(around / 2));
    sphere->SetOutputPointsPrecision(vtkAlgorithm::DOUBLE_PRECISION);
    if (is_chosen("sphere"))
        run({"sphere", power(elements), "VTK",
             "other meshes with about as many triangles: VTK's has poles, its normals are float",
             double(elements), elements * 24,
             [&] {
                 pos = dense2D<double>();
                 connect = dense2D<unsigned>();
                 sphere->Modified();
             },
             [&] {
                 mesh_sphere_T3(pos, {0.0, 0.0, 0.0}, 1.0, eighth, 0, connect);
             },
             [&] { sphere->Update(); },
             [&] {
                 const double ratio =
                     double(sphere->GetOutput()->GetNumberOfCells()) / double(connect.cols);
                 return ratio > 0.8 && ratio < 1.25;
             }});
}

void order(std::size_t elements, bool shuffled) {
    const std::string task = shuffled ? "T3 to T6, shuffled" : "T3 to T6, ordered";
    if (!is_chosen(task)) return;
    const mesh m = triangles(elements, 2, shuffled);
    dense2D<double> pos;
    dense2D<unsigned> connect;
    std::vector<std::size_t> tags(m.pos.cols), cells(m.connect.size);
    std::iota(tags.begin(), tags.end(), std::size_t(1));
    std::copy(m.connect.begin(), m.connect.end(), cells.begin());
    for (auto& c : cells) ++c;
    std::vector<double> at;
    for (std::size_t j = 0; j < m.pos.cols; ++j)
        at.insert(at.end(), {m.pos(0, j), m.pos(1, j), 0.0});
    run({task, power(m.connect.cols), "gmsh", "gmsh also classifies the nodes in its model",
         double(m.connect.cols), m.connect.cols * 40,
         [&] {
             pos.copy(m.pos);
             connect.copy(m.connect);
             gmsh::clear();
             gmsh::model::addDiscreteEntity(2, 1);
             gmsh::model::mesh::addNodes(2, 1, tags, at);
             gmsh::model::mesh::addElementsByType(1, 2, {}, cells);
         },
         [&] { convert_into_quadratic(pos, connect); }, [&] { gmsh::model::mesh::setOrder(2); },
         [&] {
             std::vector<std::size_t> all;
             std::vector<double> where, parameters;
             gmsh::model::mesh::getNodes(all, where, parameters);
             double ours = 0, theirs = 0;
             for (std::size_t j = 0; j < pos.cols; ++j) ours += pos(0, j) + 2 * pos(1, j);
             for (std::size_t j = 0; j < all.size(); ++j)
                 theirs += where[3 * j] + 2 * where[3 * j + 1];
             return all.size() == pos.cols && std::abs(ours - theirs) <= 1e-9 * std::abs(ours);
         }});
}

struct double_traits : OpenMesh::DefaultTraits {
    using Point = OpenMesh::Vec3d;
    using Normal = OpenMesh::Vec3d;
};
using half_edges = OpenMesh::TriMesh_ArrayKernelT<double_traits>;

void build(const mesh& m, half_edges& out) {
    out.clear();
    out.reserve(m.pos.cols, m.pos.cols * 3, m.connect.cols);
    for (std::size_t j = 0; j < m.pos.cols; ++j)
        out.add_vertex({m.pos(0, j), m.pos(1, j), m.pos(2, j)});
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        const auto node = [&](unsigned k) {
            return half_edges::VertexHandle(int(m.connect(k, e)));
        };
        out.add_face(node(0), node(1), node(2));
    }
}

void surfaces(std::size_t elements, bool shuffled) {
    const std::string state = shuffled ? ", shuffled" : ", ordered";
    if (!is_chosen("normals" + state) && !is_chosen("area" + state) &&
        !is_chosen("stars" + state) && !is_chosen("stars with adjacency" + state))
        return;
    const mesh m = triangles(elements, 3, shuffled);
    const double items = double(m.connect.cols);
    half_edges peer;
    build(m, peer);
    peer.request_face_normals();
    peer.request_vertex_normals();
    dense2D<double> N;
    if (is_chosen("normals" + state))
        run({"node normals" + state, power(m.connect.cols), "OpenMesh",
             "weights differ: ours by angle 0 (equal), theirs by OpenMesh's default; directions "
             "within 0.1",
             items, m.pos.cols * 24, [&] { N = dense2D<double>(); },
             [&] { normals(m.pos, m.connect, 0.0, true, N); },
             [&] {
                 peer.update_face_normals();
                 peer.update_vertex_normals();
             },
             [&] {
                 double worst = 0;
                 for (std::size_t j = 0; j < m.pos.cols; ++j) {
                     const auto& p = peer.normal(half_edges::VertexHandle(int(j)));
                     for (unsigned k = 0; k < 3; ++k)
                         worst = std::max(worst, std::abs(p[int(k)] - N(k, j)));
                 }
                 return worst < 0.1;
             }});
    double ours = 0, theirs = 0;
    if (is_chosen("area" + state))
        run({"area" + state,
             power(m.connect.cols),
             "OpenMesh",
             "total within 1e-10",
             items,
             m.connect.cols * 12,
             {},
             [&] { area(m.pos, m.connect, ours); },
             [&] {
                 theirs = 0;
                 for (const auto f : peer.faces()) theirs += peer.calc_face_area(f);
             },
             [&] { return std::abs(ours - theirs) <= 1e-10 * ours; }});
    const auto beside = zel_test::adjacency_of(m.connect, m.pos.cols);
    dense1D<unsigned, 8> starts, around;
    std::vector<unsigned> peer_starts, peer_around;
    const auto circulate = [&] {
        peer_starts.clear();
        peer_around.clear();
        for (const auto v : peer.vertices()) {
            peer_starts.push_back(unsigned(peer_around.size()));
            for (auto f = peer.cvf_iter(v); f.is_valid(); ++f)
                peer_around.push_back(unsigned(f->idx()));
        }
    };
    const auto same_stars = [&] {
        std::vector<unsigned> a, b;
        if (peer_around.size() != around.size) return false;
        for (std::size_t j = 0; j < peer_starts.size(); j += 101) {
            const std::size_t end =
                j + 1 < peer_starts.size() ? peer_starts[j + 1] : peer_around.size();
            a.assign(peer_around.begin() + peer_starts[j], peer_around.begin() + long(end));
            b.assign(around.begin() + starts[j], around.begin() + starts[j + 1]);
            std::sort(a.begin(), a.end());
            std::sort(b.begin(), b.end());
            if (a != b) return false;
        }
        return true;
    };
    if (is_chosen("stars" + state))
        run({"stars" + state,
             power(m.connect.cols),
             "OpenMesh",
             "OpenMesh turns clockwise; compared as sets",
             items,
             m.connect.cols * 14,
             {},
             [&] {
                 get_connected_elements(m.connect, beside.neighbors, beside.ancestors, starts,
                                        around);
             },
             circulate,
             same_stars});
    if (is_chosen("stars with adjacency" + state))
        run({"stars with adjacency" + state,
             power(m.connect.cols),
             "OpenMesh",
             "ours with the adjacency of the tests; OpenMesh builds half-edges",
             items,
             m.connect.cols * 28,
             {},
             [&] {
                 const auto built = zel_test::adjacency_of(m.connect, m.pos.cols);
                 get_connected_elements(m.connect, built.neighbors, built.ancestors, starts,
                                        around);
             },
             [&] {
                 build(m, peer);
                 circulate();
             },
             same_stars});
}

void elements_one_by_one(std::size_t elements, unsigned rows) {
    using kernel = CGAL::Simple_cartesian<double>;
    const std::string task = rows == 2 ? "circumcentres, plane" : "circumcentres, space";
    if (!is_chosen(task)) return;
    const mesh m = triangles(elements, rows, false);
    dense2D<double> centers;
    std::vector<kernel::Point_2> flat;
    std::vector<kernel::Point_3> high;
    for (std::size_t j = 0; j < m.pos.cols; ++j) {
        if (rows == 2) flat.emplace_back(m.pos(0, j), m.pos(1, j));
        if (rows == 3) high.emplace_back(m.pos(0, j), m.pos(1, j), m.pos(2, j));
    }
    std::vector<double> peer(rows * m.connect.cols);
    run({task, power(m.connect.cols), "CGAL",
         "coordinates within 1e-6; ours obtains its result anew, CGAL's stays in place",
         double(m.connect.cols), m.connect.cols * rows * 8, [&] { centers = dense2D<double>(); },
         [&] { circumcenters(m.pos, m.connect, centers); },
         [&] {
             for (std::size_t e = 0; e < m.connect.cols; ++e) {
                 const unsigned* const c = m.connect[e];
                 if (rows == 2) {
                     const auto p = CGAL::circumcenter(flat[c[0]], flat[c[1]], flat[c[2]]);
                     peer[2 * e] = p.x();
                     peer[2 * e + 1] = p.y();
                 } else {
                     const auto p = CGAL::circumcenter(high[c[0]], high[c[1]], high[c[2]]);
                     for (int k = 0; k < 3; ++k) peer[3 * e + unsigned(k)] = p[k];
                 }
             }
         },
         [&] {
             double worst = 0;
             for (std::size_t i = 0; i < peer.size(); ++i)
                 worst = std::max(worst, std::abs(peer[i] - centers(i % rows, i / rows)));
             return worst < 1e-6;
         }});
}

void merge_exact(std::size_t points) {
    if (!is_chosen("merge exact")) return;
    dense2D<double> pos(3, points);
    std::mt19937 random(3);
    std::uniform_real_distribution<double> unit(0, 1);
    for (std::size_t j = 0; j < points; ++j) {
        const std::size_t from = j % 4 == 3 ? random() % j : j; // a quarter are duplicates
        for (unsigned k = 0; k < 3; ++k) pos(k, j) = from == j ? unit(random) : pos(k, from);
    }
    dense2D<unsigned> ids(1, points), connect;
    std::vector<unsigned> remap(points);
    for (std::size_t j = 0; j < points; ++j) ids(0, j) = unsigned(j);
    std::size_t distinct = 0;
    run({"merge exact", power(points), "meshoptimizer", "a quarter of the points are duplicates",
         double(points), points * 4, [&] { connect.copy(ids); },
         [&] { tessel::merge(pos, connect, 0.0, 0); },
         [&] {
             distinct =
                 meshopt_generateVertexRemap(remap.data(), nullptr, points, pos.data(), points, 24);
         },
         [&] {
             std::vector<bool> used(points);
             std::size_t ours = 0;
             for (const unsigned x : connect) {
                 ours += !used[x];
                 used[x] = true;
             }
             return ours == distinct;
         }});
}

struct cloud {
    const dense2D<double>& pos;
    std::size_t kdtree_get_point_count() const { return pos.cols; }
    double kdtree_get_pt(std::size_t j, std::size_t k) const { return pos(k, j); }
    template <class Box>
    bool kdtree_get_bbox(Box&) const {
        return false;
    }
};

void nearest(std::size_t nodes) {
    if (!is_chosen("nearest node")) return;
    const mesh m = triangles(2 * nodes, 2, true);
    const tessel::node_detector detector(m.pos);
    const cloud points{m.pos};
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, cloud>, cloud, 2> tree(
        2, points);
    constexpr std::size_t queries = 200000;
    std::mt19937 random(5);
    std::uniform_real_distribution<double> unit(0, 1);
    std::vector<vector_fixed<double, 2>> at;
    for (std::size_t q = 0; q < queries; ++q) at.push_back({unit(random), unit(random)});
    std::vector<unsigned> ours(queries);
    std::vector<unsigned> theirs(queries);
    run({"nearest node",
         power(m.pos.cols),
         "nanoflann",
         "per query, after building; distances are compared",
         double(queries),
         queries * 4,
         {},
         [&] {
             for (std::size_t q = 0; q < queries; ++q) ours[q] = detector.find_closest(at[q]);
         },
         [&] {
             for (std::size_t q = 0; q < queries; ++q) {
                 const double query[2] = {at[q][0], at[q][1]};
                 double squared;
                 tree.knnSearch(query, 1, &theirs[q], &squared);
             }
         },
         [&] {
             const auto distance = [&](std::size_t q, std::size_t j) {
                 return std::hypot(m.pos(0, j) - at[q][0], m.pos(1, j) - at[q][1]);
             };
             for (std::size_t q = 0; q < queries; ++q)
                 if (distance(q, ours[q]) > distance(q, theirs[q]) * (1 + 1e-12)) return false;
             return true;
         }});
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1) chosen = argv[1];
    gmsh::initialize();
    gmsh::option::setNumber("General.Terminal", 0);
    std::fprintf(stderr,
                 "CGAL %s, VTK %s, gmsh %s, OpenMesh %d.%d, meshoptimizer %d.%d, nanoflann %x\n",
                 CGAL_VERSION_STR, vtkVersion::GetVTKVersion(), GMSH_API_VERSION, OM_VERSION >> 16,
                 OM_VERSION >> 8 & 255, MESHOPTIMIZER_VERSION / 1000,
                 MESHOPTIMIZER_VERSION / 10 % 100, NANOFLANN_VERSION);
    for (const std::size_t n : {std::size_t{10000}, std::size_t{1000000}}) {
        generators(n);
        for (const bool shuffled : {false, true}) {
            order(n / 4, shuffled);
            surfaces(n, shuffled);
        }
        elements_one_by_one(n, 2);
        elements_one_by_one(n, 3);
        merge_exact(n);
        nearest(n / 2);
    }
    gmsh::finalize();
}
