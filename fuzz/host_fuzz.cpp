// zel tessel2d: planar and surface mesh tools.
//
// Fuzz driver of the host tools.
#include "fuzz/adjacency.h"
#include "fuzz/checks.h"
#include "fuzz/input.h"

#include "zel/host.h"

namespace {

using namespace zel_fuzz;

/// Triangles, quadrilaterals or both, and now and then a number or a height that cannot be.
dense2D<unsigned> elements(input& in, std::size_t nodes) {
    return cells(in, in.one_in(8) ? in.below(7) : 3 + in.below(2), in.below(16), nodes);
}

void build(input& in) {
    const std::size_t nodes = in.below(12);
    const dense2D<unsigned> connect = elements(in, nodes);
    zel::host::adjacency a;
    a.neighbors = elements(in, nodes);
    a.ancestors = node_list(in, in.below(6), 9);
    const int status = call(
        in, "build_adjacency", {-1},
        [&](const auto& cells, auto& neighbors, auto& ancestors) {
            zel::host::adjacency result;
            result.neighbors.shallow_copy(neighbors);
            result.ancestors = ancestors;
            const int outcome = zel::host::build_adjacency(cells, nodes, result);
            if (outcome == 0) {
                neighbors.shallow_copy(result.neighbors);
                ancestors = result.ancestors;
            }
            return outcome;
        },
        reads(connect), makes(a.neighbors), makes(a.ancestors));
    const bool good = connect.empty() || is_surface(connect, nodes);
    require_status(status, good ? 0 : -1);
    if (status != 0 || connect.empty()) return;
    const auto expected = zel::examples::adjacency_of(plain_copy(connect), nodes);
    require(same(zel_fuzz::elements(expected.neighbors), zel_fuzz::elements(a.neighbors)),
            "neighbours are those of a plain search");
    require(same(zel_fuzz::elements(expected.ancestors), zel_fuzz::elements(a.ancestors)),
            "ancestors are the first elements");
}

} // namespace

void zel_fuzz::run(input& in) {
    constexpr void (*drivers[])(input&) = {build};
    drivers[in.below(sizeof drivers / sizeof *drivers)](in);
}
