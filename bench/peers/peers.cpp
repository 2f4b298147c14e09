// SPDX-License-Identifier: Apache-2.0
//
// Runs the library and other libraries in turn on the same inputs, checks that both computed the same, and
// prints a row of a table for each task and size.
//
// Both sides of a row run in turn, at least five rounds; what counts is the smallest time of each. The inputs
// are made in the form that each side works on before the clock starts. "writing" is the time in which memory
// as large as the result (or, where that is small, as the input) is obtained and written once in the same
// rounds. Memory is how much a process grows while it does the task for the first time.
#include "support/adjacency.h"
#include "zel/host/adjacency.h"
#include "zel/host/locator.h"
#include "zel/tessel.h"
#include "zel/tessel2d.h"

#include <CGAL/Simple_cartesian.h>
#include <CGAL/version.h>
#include <Eigen/Dense>
#include <OpenMesh/Core/Mesh/TriMesh_ArrayKernelT.hh>
#include <OpenMesh/Core/System/config.h>
#include <gmsh.h>
#include <meshoptimizer.h>
#include <nanoflann.hpp>
#include <vtkCellArray.h>
#include <vtkDiskSource.h>
#include <vtkDoubleArray.h>
#include <vtkGenericCell.h>
#include <vtkNew.h>
#include <vtkPlaneSource.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkPolyDataNormals.h>
#include <vtkRotationalExtrusionFilter.h>
#include <vtkSphereSource.h>
#include <vtkStaticCellLocator.h>
#include <vtkStaticCleanPolyData.h>
#include <vtkStaticPointLocator.h>
#include <vtkTriangleFilter.h>
#include <vtkVersion.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <malloc.h>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace zel;
using namespace zel::tessel2d;

std::string chosen; // a part of the names of the tasks to run

/// What a peer has freed in small pieces is joined before the clock starts, so that nobody else pays for it.
void settle_heap() {
    std::free(std::malloc(std::size_t{1} << 17));
}

/// Processor time of all threads, so that other programs disturb little.
double seconds(const std::function<void()>& work) {
    const auto now = [] {
        timespec t;
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
        return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
    };
    settle_heap();
    const double start = now();
    work();
    return now() - start;
}

/// A number of /proc/self/status, in bytes.
double in_status(const std::string& name) {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);)
        if (line.compare(0, name.size(), name) == 0)
            return 1024 * std::stod(line.substr(name.size() + 1));
    return 0;
}

/// The bytes by which memory grows at most during the work, in a process of its own.
double growth(const std::function<void()>& work) {
    malloc_trim(0);
    int ends[2];
    if (pipe(ends) != 0) return 0;
    if (fork() == 0) {
        std::ofstream("/proc/self/clear_refs") << 5; // the peak starts anew
        const double before = in_status("VmRSS");
        work();
        const double more = in_status("VmHWM") - before;
        _exit(write(ends[1], &more, sizeof more) == sizeof more ? 0 : 1);
    }
    double more = 0;
    const bool known = read(ends[0], &more, sizeof more) == sizeof more;
    wait(nullptr);
    close(ends[0]);
    close(ends[1]);
    return known ? more : 0;
}

struct row {
    std::string task, size, peer, note;
    double items;
    std::size_t bytes;             // that the result takes
    std::function<void()> prepare; // before each round, not timed
    std::function<void()> ours, theirs;
    std::function<bool()> agree;
    int repeats = 1; // of the task in `ours` and in `theirs`
};

bool is_chosen(const std::string& task) {
    return task.find(chosen) != std::string::npos;
}

void run(const row& r) {
    const double scale = 1e9 / r.items / r.repeats;
    if (r.prepare) r.prepare();
    const double more_ours = growth(r.ours);
    const double more_theirs = growth(r.theirs);
    const int rounds = r.items < 1e4 ? 200 : 5; // short ones are repeated until they agree
    double ours = 1e9, theirs = 1e9, limit = 1e9;
    for (int round = 0; round < rounds; ++round) {
        if (r.prepare) r.prepare();
        limit = std::min(limit, seconds([&] {
                             void* const memory = __vector_num_alloc(r.bytes);
                             std::memset(memory, 1, r.bytes);
                             asm volatile("" : : "r"(memory) : "memory");
                             __vector_num_free(memory);
                         }));
        ours = std::min(ours, seconds(r.ours));
        theirs = std::min(theirs, seconds(r.theirs));
    }
    const double items = r.items;
    char memory[80] = "-";
    if (double(r.bytes) >= 1e6) // pages would count, not the task
        std::snprintf(memory, sizeof memory, "%.0f, %.0f, %.0f", double(r.bytes) / items,
                      more_ours / items, more_theirs / items);
    std::printf("| %s | %s | %.1f | %.1f | %s | %.2f%s | %.1f | %s | %s | %s |\n", r.task.c_str(),
                r.size.c_str(), ours * scale, theirs * scale, r.peer.c_str(), theirs / ours,
                theirs < ours ? " (behind)" : "", limit * 1e9 / r.items, memory,
                r.agree() ? "yes" : "**no**", r.note.c_str());
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

/// The squares of that grid, in the plane.
mesh quadrilaterals(std::size_t elements) {
    const mesh cut = triangles(2 * elements, 2, false);
    mesh m{cut.pos, dense2D<unsigned>(4, cut.connect.cols / 2)};
    for (std::size_t e = 0; e < m.connect.cols; ++e) {
        std::copy_n(cut.connect[2 * e], 3, m.connect[e]);
        m.connect(3, e) = cut.connect(2, 2 * e + 1);
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

void order(const std::string& task, const mesh& m) {
    if (!is_chosen(task)) return;
    const bool quads = m.connect.rows == 4;
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
         double(m.connect.cols), m.connect.cols * (quads ? 84 : 40),
         [&] {
             pos.copy(m.pos);
             connect.copy(m.connect);
             gmsh::clear();
             gmsh::model::addDiscreteEntity(2, 1);
             gmsh::model::mesh::addNodes(2, 1, tags, at);
             gmsh::model::mesh::addElementsByType(1, quads ? 3 : 2, {}, cells);
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

void elements_one_by_one(std::size_t elements, unsigned rows, bool fresh) {
    using kernel = CGAL::Simple_cartesian<double>;
    const std::string task = std::string("circumcentres, ") + (rows == 2 ? "plane" : "space") +
                             (fresh ? "" : ", in place");
    if (!is_chosen(task)) return;
    const mesh m = triangles(elements, rows, false);
    dense2D<double> centers;
    std::vector<kernel::Point_2> flat;
    std::vector<kernel::Point_3> high;
    for (std::size_t j = 0; j < m.pos.cols; ++j) {
        if (rows == 2) flat.emplace_back(m.pos(0, j), m.pos(1, j));
        if (rows == 3) high.emplace_back(m.pos(0, j), m.pos(1, j), m.pos(2, j));
    }
    const std::size_t numbers = rows * m.connect.cols;
    std::unique_ptr<double[]> peer(new double[numbers]);
    run({task, power(m.connect.cols), "CGAL",
         fresh ? "coordinates within 1e-6; both obtain the memory of their results anew"
               : "coordinates within 1e-6; both write into memory that stays",
         double(m.connect.cols), numbers * 8,
         [&] {
             if (!fresh) return;
             centers = dense2D<double>();
             peer.reset();
         },
         [&] { circumcenters(m.pos, m.connect, centers); },
         [&] {
             if (fresh) peer.reset(new double[numbers]);
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
             for (std::size_t i = 0; i < numbers; ++i)
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

// ------------------------------------------------------------------------------- tasks with VTK's data

/// A mesh in VTK's form; triangles, or quadrilaterals.
vtkSmartPointer<vtkPolyData> as_poly_data(const dense2D<double>& pos,
                                          const dense2D<unsigned>& connect) {
    vtkNew<vtkPoints> points;
    points->SetDataTypeToDouble();
    points->SetNumberOfPoints(vtkIdType(pos.cols));
    for (std::size_t j = 0; j < pos.cols; ++j)
        points->SetPoint(vtkIdType(j), pos(0, j), pos(1, j), pos.rows == 3 ? pos(2, j) : 0.0);
    vtkNew<vtkCellArray> cells;
    for (std::size_t e = 0; e < connect.cols; ++e) {
        vtkIdType cell[4];
        std::copy_n(connect[e], connect.rows, cell);
        cells->InsertNextCell(vtkIdType(connect.rows), cell);
    }
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->SetPoints(points);
    (connect.rows == 2 ? data->SetLines(cells) : data->SetPolys(cells));
    return data;
}

/// A sum over all coordinates that tells nodes at other places, in whatever order.
template <class At>
double sum_of(std::size_t n, const At& at) {
    double sum = 0;
    for (std::size_t j = 0; j < n; ++j) sum += at(j, 0) * (1 + at(j, 1)) + 0.3 * at(j, 1);
    return sum;
}
bool close_to(double a, double b) {
    return std::abs(a - b) <= 1e-9 * (std::abs(a) + std::abs(b));
}

void sweep(std::size_t elements) {
    if (!is_chosen("sweep")) return;
    const auto n = static_cast<unsigned>(std::sqrt(double(elements)));
    dense2D<double> profile(2, n + 1), pos;
    dense2D<unsigned> edges(2, n), connect;
    dense2D<double> upright(3, n + 1);
    for (unsigned j = 0; j <= n; ++j) {
        profile(0, j) = upright(0, j) = 1 + double(j) / n;
        profile(1, j) = upright(1, j) = upright(2, j) = 0;
        if (j < n) edges(0, j) = j, edges(1, j) = j + 1;
    }
    vtkNew<vtkRotationalExtrusionFilter> turn; // around the z axis
    turn->SetInputData(as_poly_data(upright, edges));
    turn->SetAngle(180);
    turn->SetResolution(int(n));
    turn->SetCapping(false);
    run({"sweep", power(std::size_t(n) * n), "VTK",
         "VTK makes strips of triangles: nodes are compared", double(n) * n,
         std::size_t(n) * n * 32,
         [&] {
             pos.copy(profile);
             connect = dense2D<unsigned>();
             turn->Modified();
         },
         [&] {
             extrude_rotate_Q4(pos, edges, {0.0, 0.0}, std::acos(-1.0), n, connect);
         },
         [&] { turn->Update(); },
         [&] {
             auto* const made = turn->GetOutput();
             const auto sum =
                 sum_of(pos.cols, [&](std::size_t j, unsigned k) { return pos(k, j); });
             const auto other =
                 sum_of(std::size_t(made->GetNumberOfPoints()),
                        [&](std::size_t j, int k) { return made->GetPoint(vtkIdType(j))[k]; });
             return made->GetNumberOfPoints() == vtkIdType(pos.cols) &&
                    std::abs(sum - other) <= 1e-5 * double(pos.cols); // VTK's nodes are float
         }});
}

void triangles_of_quads(std::size_t elements) {
    if (!is_chosen("quadrilaterals to triangles")) return;
    const mesh m = quadrilaterals(elements);
    dense2D<unsigned> cut;
    vtkNew<vtkTriangleFilter> filter;
    filter->SetInputData(as_poly_data(m.pos, m.connect));
    run({"quadrilaterals to triangles", power(m.connect.cols), "VTK",
         "VTK takes the shorter diagonal; numbers are compared", double(m.connect.cols),
         m.connect.cols * 24,
         [&] {
             cut = dense2D<unsigned>();
             filter->Modified();
         },
         [&] { split_Q4_into_T3(m.pos, m.connect, cut); }, [&] { filter->Update(); },
         [&] { return filter->GetOutput()->GetNumberOfPolys() == vtkIdType(cut.cols); }});
}

void orientation(std::size_t elements) {
    if (!is_chosen("orientation")) return;
    const mesh given = triangles(elements, 3, false);
    dense2D<unsigned> turned, connect;
    turned.copy(given.connect);
    for (std::size_t e = 1; e < turned.cols; e += 3) std::swap(turned(1, e), turned(2, e));
    vtkNew<vtkPolyDataNormals> normals;
    normals->SetInputData(as_poly_data(given.pos, turned));
    normals->ConsistencyOn();
    normals->SplittingOff();
    normals->ComputePointNormalsOff();
    normals->ComputeCellNormalsOn();             // else it does nothing
    const auto order_of = [](const auto& cell) { // of a triangle, whatever corner comes first
        return (cell(0) < cell(1)) + (cell(1) < cell(2)) + (cell(2) < cell(0));
    };
    run({"orientation", power(given.connect.cols), "VTK",
         "a third is turned; ours with the building of adjacency, VTK also computes normals",
         double(given.connect.cols), given.connect.cols * 12,
         [&] {
             connect.copy(turned);
             normals->Modified();
         },
         [&] {
             host::adjacency beside;
             host::build_adjacency(connect, given.pos.cols, beside);
             mesh_reorient(connect, beside.neighbors, 0, 1);
         },
         [&] { normals->Update(); },
         [&] {
             vtkNew<vtkIdList> cell;
             auto* const polys = normals->GetOutput()->GetPolys();
             for (std::size_t e = 0; e < connect.cols; ++e) {
                 polys->GetCellAtId(vtkIdType(e), cell);
                 if (order_of([&](int k) { return cell->GetId(k); }) !=
                     order_of([&](unsigned k) { return connect(k, e); }))
                     return false;
             }
             return true;
         }});
}

void merge_close(std::size_t points) {
    if (!is_chosen("merge 1e-12")) return;
    dense2D<double> pos(3, points);
    dense2D<unsigned> ids(1, points), connect;
    std::mt19937 random(3);
    std::uniform_real_distribution<double> unit(0, 1);
    for (std::size_t j = 0; j < points; ++j) {
        const std::size_t from = j % 4 == 3 ? random() % j : j;
        for (unsigned k = 0; k < 3; ++k) pos(k, j) = from == j ? unit(random) : pos(k, from);
        ids(0, j) = unsigned(j);
    }
    const auto data = as_poly_data(pos, ids); // points as cells of one node
    vtkNew<vtkStaticCleanPolyData> clean;
    clean->SetInputData(data);
    clean->ToleranceIsAbsoluteOn();
    clean->SetAbsoluteTolerance(1e-12);
    run({"merge 1e-12", power(points), "VTK",
         "a quarter of the points are duplicates; VTK also copies the cells", double(points),
         points * 4,
         [&] {
             connect.copy(ids);
             clean->Modified();
         },
         [&] { tessel::merge(pos, connect, 1e-12, 0); }, [&] { clean->Update(); },
         [&] {
             std::vector<unsigned> used(connect.begin(), connect.end());
             std::sort(used.begin(), used.end());
             const auto distinct = std::unique(used.begin(), used.end()) - used.begin();
             return clean->GetOutput()->GetNumberOfPoints() == vtkIdType(distinct);
         }});
}

/// Points of a batch: random, in rows, or in the hole of the mesh.
dense2D<double> asked_points(const std::string& where, std::size_t n) {
    std::mt19937 random(9);
    std::uniform_real_distribution<double> unit(0, 1);
    dense2D<double> points(2, n);
    const auto across = std::size_t(std::sqrt(double(n)));
    for (std::size_t j = 0; j < n; ++j) {
        const bool rows = where == "sorted", hole = where == "outside";
        points(0, j) = rows ? (double(j % across) + unit(random)) / double(across) : unit(random);
        points(1, j) = rows ? std::min(1.0, double(j / across) / double(across)) : unit(random);
        if (hole) // the mesh has one from 0.4 to 0.6
            for (unsigned k = 0; k < 2; ++k) points(k, j) = 0.42 + 0.16 * points(k, j);
    }
    return points;
}

void location(std::size_t elements, const std::string& where, std::size_t count = 20000) {
    const std::string task = "point location, " + where, carried = "interpolation, " + where;
    if (!is_chosen(task) && !is_chosen(carried)) return;
    mesh m = triangles(elements, 2, false);
    if (where == "outside") {
        std::size_t kept = 0;
        for (std::size_t e = 0; e < m.connect.cols; ++e) {
            const double* const p = m.pos[m.connect(0, e)];
            const bool hole = p[0] > 0.4 && p[0] < 0.6 && p[1] > 0.4 && p[1] < 0.6;
            if (!hole) std::copy_n(m.connect[e], 3, m.connect[kept++]);
        }
        m.connect.resize(3, kept);
        std::vector<bool> used(m.pos.cols); // nodes in the hole go into a corner
        for (const unsigned x : m.connect) used[x] = true;
        for (std::size_t j = 0; j < m.pos.cols; ++j)
            if (!used[j]) m.pos(0, j) = m.pos(0, 0), m.pos(1, j) = m.pos(1, 0);
    }
    const auto points = asked_points(where, count);
    const std::string size = power(m.connect.cols);
    const auto data = as_poly_data(m.pos, m.connect);
    host::locator ours;
    ours.build(m.pos, m.connect);
    vtkNew<vtkStaticCellLocator> cells;
    cells->SetDataSet(data);
    cells->BuildLocator();
    vtkNew<vtkStaticPointLocator> near;
    near->SetDataSet(data);
    near->BuildLocator();
    dense1D<unsigned, 8> found, places;
    dense2D<double> weights;
    dense1D<double, 8> field(m.pos.cols), values;
    for (std::size_t j = 0; j < m.pos.cols; ++j) field[j] = 2 * m.pos(0, j) - m.pos(1, j);
    std::vector<vtkIdType> theirs(points.cols);
    std::vector<double> their_values(points.cols);
    vtkNew<vtkGenericCell> cell;
    const auto find = [&](std::size_t j, double* shares) {
        double x[3] = {points(0, j), points(1, j), 0}, at[3];
        return cells->FindCell(x, 0, cell, at, shares);
    };
    if (is_chosen(task))
        run({task,
             size,
             "VTK",
             "per point, after building; inside or not is compared",
             double(points.cols),
             points.cols * 32,
             {},
             [&] { ours.locate(points, found, weights, places); },
             [&] {
                 double shares[3];
                 for (std::size_t j = 0; j < points.cols; ++j) theirs[j] = find(j, shares);
             },
             [&] {
                 std::size_t other = 0; // points on an edge of the mesh may differ
                 for (std::size_t j = 0; j < points.cols; ++j)
                     other += (theirs[j] < 0) != (places[j] != 0);
                 return other <= points.cols / 100;
             }});
    if (is_chosen(carried))
        run({carried,
             size,
             "VTK",
             "per point, one field, after building; values within 1e-9, of 99 in 100",
             double(points.cols),
             points.cols * 8,
             {},
             [&] {
                 host::transfer_table table;
                 ours.transfer(points, table);
                 ours.carry(table, field, values);
             },
             [&] {
                 double shares[3];
                 for (std::size_t j = 0; j < points.cols; ++j) {
                     const double x[3] = {points(0, j), points(1, j), 0};
                     const auto e = find(j, shares);
                     const unsigned* const c = e < 0 ? nullptr : m.connect[std::size_t(e)];
                     their_values[j] = c ? shares[0] * field[c[0]] + shares[1] * field[c[1]] +
                                               shares[2] * field[c[2]]
                                         : field[std::size_t(near->FindClosestPoint(x))];
                 }
             },
             [&] {
                 std::size_t other = 0;
                 for (std::size_t j = 0; j < points.cols; ++j)
                     other += !(std::abs(their_values[j] - values[j]) <= 1e-9);
                 return other <= points.cols / 100;
             }});
}

// --------------------------------------------------------------------------------- tasks with OpenMesh, Eigen

void corner_angles(std::size_t elements) {
    if (!is_chosen("angles")) return;
    const mesh m = triangles(elements, 3, false);
    half_edges peer;
    build(m, peer);
    dense1D<double, 8> low, high;
    std::vector<double> their_low(m.connect.cols), their_high(m.connect.cols);
    run({"angles",
         power(m.connect.cols),
         "OpenMesh",
         "smallest and largest within 1e-7: theirs by arccos",
         double(m.connect.cols),
         m.connect.cols * 16,
         {},
         [&] { angles(m.pos, m.connect, false, low, high); },
         [&] {
             for (const auto f : peer.faces()) {
                 double least = 9, most = 0;
                 for (const auto h : peer.fh_range(f)) {
                     const double angle = peer.calc_sector_angle(h);
                     least = std::min(least, angle);
                     most = std::max(most, angle);
                 }
                 their_low[std::size_t(f.idx())] = least;
                 their_high[std::size_t(f.idx())] = most;
             }
         },
         [&] {
             for (std::size_t e = 0; e < m.connect.cols; ++e)
                 if (std::abs(low[e] - their_low[e]) > 1e-7 ||
                     std::abs(high[e] - their_high[e]) > 1e-7)
                     return false;
             return true;
         }});
}

void tensors(std::size_t n) {
    if (!is_chosen("tensors")) return;
    using matrix = Eigen::Matrix3d;
    std::mt19937 random(4);
    std::uniform_real_distribution<double> unit(-1, 1);
    std::vector<matrix> a(n), b(n), theirs(n);
    std::vector<symmetric_fixed<double, 3>> ours_a(n), ours_b(n), ours(n);
    const auto draw = [&](matrix& m, symmetric_fixed<double, 3>& s) {
        for (int i = 0; i < 9; ++i) m(i) = unit(random);
        m = (m * m.transpose() + 0.1 * matrix::Identity()).eval();
        for (unsigned i = 0; i < 3; ++i)
            for (unsigned j = 0; j <= i; ++j) s(i, j) = m(int(i), int(j));
    };
    for (std::size_t i = 0; i < n; ++i) draw(a[i], ours_a[i]), draw(b[i], ours_b[i]);
    run({"tensors",
         power(n),
         "Eigen",
         "intersection of two by a generalized eigenproblem, entries within 1e-9",
         double(n),
         n * 48,
         {},
         [&] {
             for (std::size_t i = 0; i < n; ++i)
                 tessel::minimum_metric(ours_a[i], ours_b[i], ours[i]);
         },
         [&] {
             for (std::size_t i = 0; i < n; ++i) {
                 const Eigen::GeneralizedSelfAdjointEigenSolver<matrix> both(a[i], b[i]);
                 const matrix back = both.eigenvectors().inverse();
                 const Eigen::Vector3d larger = both.eigenvalues().cwiseMax(1.0);
                 theirs[i] = back.transpose() * larger.asDiagonal() * back;
             }
         },
         [&] {
             for (std::size_t i = 0; i < n; ++i)
                 for (unsigned k = 0; k < 9; ++k)
                     if (std::abs(ours[i](k / 3, k % 3) - theirs[i](int(k) / 3, int(k) % 3)) >
                         1e-9 * theirs[i].norm())
                         return false;
             return true;
         }});
}

/// Tasks on meshes so small that what each call costs by itself counts.
void small_mesh(std::size_t elements) {
    const mesh m = triangles(elements, 3, false);
    half_edges peer;
    build(m, peer);
    double ours = 0, theirs = 0;
    if (is_chosen("small mesh, area"))
        run({"small mesh, area",
             power(m.connect.cols),
             "OpenMesh",
             "per element; total within 1e-10",
             double(m.connect.cols),
             m.connect.cols * 12,
             {},
             [&] {
                 for (int i = 0; i < 100; ++i) area(m.pos, m.connect, ours);
             },
             [&] {
                 for (int i = 0; i < 100; ++i) {
                     theirs = 0;
                     for (const auto f : peer.faces()) theirs += peer.calc_face_area(f);
                 }
             },
             [&] { return std::abs(ours - theirs) <= 1e-10 * ours; },
             100});
    const mesh flat = triangles(elements, 2, false);
    host::adjacency beside;
    host::build_adjacency(flat.connect, flat.pos.cols, beside);
    const tessel::node_detector detector(flat.pos);
    const auto points = asked_points("random", 1000);
    const auto data = as_poly_data(flat.pos, flat.connect);
    vtkNew<vtkStaticCellLocator> cells;
    cells->SetDataSet(data);
    cells->BuildLocator();
    vtkNew<vtkGenericCell> cell;
    std::vector<unsigned> found(points.cols);
    std::vector<vtkIdType> their_cells(points.cols);
    host::locator prepared;
    prepared.build(flat.pos, flat.connect);
    const auto one_by_one = [&](const char* task, const char* remark, const auto& search) {
        if (!is_chosen(task)) return;
        run({task,
             power(flat.connect.cols),
             "VTK",
             remark,
             double(points.cols),
             points.cols * 4,
             {},
             [&] {
                 for (std::size_t j = 0; j < points.cols; ++j)
                     search({points(0, j), points(1, j)}, found[j]);
             },
             [&] {
                 double shares[3], at[3];
                 for (std::size_t j = 0; j < points.cols; ++j) {
                     double x[3] = {points(0, j), points(1, j), 0};
                     their_cells[j] = cells->FindCell(x, 0, cell, at, shares);
                 }
             },
             [&] {
                 std::size_t other = 0;
                 for (std::size_t j = 0; j < points.cols; ++j)
                     other += (their_cells[j] < 0) != (found[j] == 0xFFFFFFFFu);
                 return other <= points.cols / 100;
             }});
    };
    using point = vector_fixed<double, 2>;
    one_by_one("small mesh, one point", "per call, which tests the mesh; inside or not is compared",
               [&](const point& p, unsigned& element) {
                   get_element_containing_point(flat.pos, flat.connect, beside.neighbors,
                                                beside.ancestors, detector, ELEMENT_T3, p, element,
                                                1e-6);
               });
    one_by_one("small mesh, one point, tested before",
               "by host::locator, per point, after building; inside or not is compared",
               [&](const point& p, unsigned& element) { prepared.locate(p, element); });
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1) chosen = argv[1];
    gmsh::initialize();
    gmsh::option::setNumber("General.Terminal", 0);
    std::fprintf(stderr,
                 "CGAL %s, VTK %s, gmsh %s, OpenMesh %d.%d, meshoptimizer %d.%d, nanoflann %x, "
                 "Eigen %d.%d.%d\n",
                 CGAL_VERSION_STR, vtkVersion::GetVTKVersion(), GMSH_API_VERSION, OM_VERSION >> 16,
                 OM_VERSION >> 8 & 255, MESHOPTIMIZER_VERSION / 1000,
                 MESHOPTIMIZER_VERSION / 10 % 100, NANOFLANN_VERSION, EIGEN_WORLD_VERSION,
                 EIGEN_MAJOR_VERSION, EIGEN_MINOR_VERSION);
    for (const std::size_t n : {8u, 128u, 1000u}) small_mesh(n);
    for (const std::size_t n : {10000u, 1000000u}) {
        generators(n);
        sweep(n);
        order("Q4 to Q9", quadrilaterals(n / 4));
        for (const bool shuffled : {false, true}) {
            order(shuffled ? "T3 to T6, shuffled" : "T3 to T6, ordered",
                  triangles(n / 4, 2, shuffled));
            surfaces(n, shuffled);
        }
        triangles_of_quads(n);
        for (const unsigned rows : {2u, 3u})
            for (const bool fresh : {true, false}) elements_one_by_one(n, rows, fresh);
        corner_angles(n);
        orientation(n);
        for (const char* const where : {"random", "sorted", "outside"}) location(n, where);
        merge_exact(n);
        merge_close(n);
        tensors(n / 4);
        nearest(n / 2);
    }
    // How tasks grow: the two sizes between and above.
    for (const std::size_t n : {100000u, 10000000u}) {
        generators(n);
        merge_exact(n);
        nearest(n / 2);
        location(n, "random");
        elements_one_by_one(n, 2, true);
    }
    gmsh::finalize();
}
