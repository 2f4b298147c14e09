// SPDX-License-Identifier: Apache-2.0
//
// The demonstration: meshes generated, converted and measured, written as files that ParaView opens
// (.vtu) and as pictures that a browser opens (.svg), in one folder with an index page.
//
//     demo [<output directory> [<data directory>]]
#include "demo/chapters.h"
#include "support/off_reader.h"
#include "support/require.h"
#include "zel/tessel2d.h"

#include <cstdio>
#include <exception>
#include <system_error>

namespace {

void write_book(zel::demo::book& b, const std::filesystem::path& data) {
    b.surface = zel::examples::read_off(data / "bunny.off");
    b.island = zel::examples::read_off(data / "coast.off");
    std::error_code problem;
    std::filesystem::create_directories(b.output, problem);
    zel::examples::require(!problem,
                           "cannot create " + b.output.string() + ": " + problem.message());

    b.page.title = "Meshes of triangles and quadrilaterals";
    b.page.text =
        "What the library makes of outlines and of scanned surfaces. Every picture has its "
        "mesh beside it as a .vtu file, which ParaView opens. Lengths are in the units of "
        "the coordinates.";
    b.page.foot = std::string("zel tessel2d ") + zel::tessel2d::version();

    zel::demo::patch_chapter(b);
    zel::demo::sweep_chapter(b);
    zel::demo::round_chapter(b);
    zel::demo::conversion_chapter(b);
    zel::demo::surface_chapter(b);
    zel::demo::offset_chapter(b);
    zel::demo::curvature_chapter(b);
    zel::demo::field_chapter(b);
    zel::demo::metric_chapter(b);
    zel::demo::surface_metric_chapter(b);
    zel::examples::write_index_page(b.output / "index.html", b.page);
}

} // namespace

int main(int argc, char** argv) {
    try {
        zel::demo::book b;
        b.output = argc > 1 ? argv[1] : "build/demo";
        std::printf("zel tessel2d %s\n", zel::tessel2d::version());
        write_book(b, argc > 2 ? argv[2] : ZEL_EXAMPLE_DATA);
        std::printf("\nAll files are in %s; index.html shows them.\n", b.output.string().c_str());
        return 0;
    } catch (const std::exception& problem) {
        std::fflush(stdout);
        std::fprintf(stderr, "demo: %s\n", problem.what());
        return 1;
    }
}
