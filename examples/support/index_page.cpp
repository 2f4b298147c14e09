// SPDX-License-Identifier: Apache-2.0
#include "support/index_page.h"

#include "support/require.h"
#include "support/svg.h"

#include <fstream>

namespace zel::examples {

namespace {

constexpr const char* style = R"(
:root { color-scheme: light; --ink: #212b38; --muted: #5f6b7a; --line: #dfe4ea; --accent: #2f6690; }
* { box-sizing: border-box; }
body { margin: 0; background: #f4f6f8; color: var(--ink); line-height: 1.5;
       font-family: system-ui, 'Segoe UI', 'DejaVu Sans', sans-serif; font-size: 16px; }
header { background: #1f3547; color: #fff; padding: 2.6rem 0 2.2rem; }
header h1 { margin: 0 0 .4rem; font-size: 2.1rem; font-weight: 650; letter-spacing: -.01em; }
header p { margin: 0; max-width: 46rem; color: #d3dee8; }
nav { margin-top: 1.3rem; display: flex; flex-wrap: wrap; gap: .5rem; }
nav a { color: #fff; text-decoration: none; font-size: .9rem; padding: .25rem .8rem;
        border: 1px solid #54708a; border-radius: 999px; }
nav a:hover { background: #2f4c64; }
.page { max-width: 76rem; margin: 0 auto; padding: 0 1.6rem; }
section { margin: 2.6rem 0; }
h2 { margin: 0 0 .3rem; font-size: 1.45rem; font-weight: 650; }
section > p { margin: 0 0 1.1rem; max-width: 52rem; color: var(--muted); }
.figures { display: grid; gap: 1rem; margin-bottom: 1rem; }
figure { margin: 0; background: #fff; border: 1px solid var(--line); border-radius: 10px;
         padding: .8rem; }
figure img { width: 100%; height: auto; display: block; }
figcaption { padding: .6rem .2rem 0; font-size: .9rem; color: var(--muted); }
figcaption a { color: var(--accent); white-space: nowrap; }
.scroll { overflow-x: auto; background: #fff; border: 1px solid var(--line); border-radius: 10px;
          margin-bottom: 1rem; }
table { border-collapse: collapse; width: 100%; font-size: .92rem; }
th, td { padding: .5rem .9rem; text-align: right; font-variant-numeric: tabular-nums; }
th:first-child, td:first-child { text-align: left; }
thead th { background: #eef2f6; font-weight: 600; }
tbody tr + tr td { border-top: 1px solid var(--line); }
footer { margin: 3rem 0 2rem; font-size: .85rem; color: var(--muted); }
.columns-1 { grid-template-columns: 1fr; }
.columns-2 { grid-template-columns: repeat(2, 1fr); }
.columns-3 { grid-template-columns: repeat(3, 1fr); }
.columns-4 { grid-template-columns: repeat(4, 1fr); }
@media (max-width: 60rem) { .columns-3, .columns-4 { grid-template-columns: repeat(2, 1fr); } }
@media (max-width: 36rem) { .figures { grid-template-columns: 1fr; } }
)";

std::string name_of(std::size_t chapter) {
    return "chapter" + std::to_string(chapter + 1);
}

void write_figure(std::ostream& out, const figure& f) {
    out << "<figure>\n<img src=\"" << escaped(f.picture) << "\" alt=\"" << escaped(f.caption)
        << "\" />\n<figcaption>" << escaped(f.caption);
    if (!f.mesh_file.empty()) {
        const std::string file = escaped(f.mesh_file);
        out << " <a href=\"" << file << "\">" << file << "</a>";
    }
    out << "</figcaption>\n</figure>\n";
}

void write_row(std::ostream& out, const std::vector<std::string>& row, const char* cell) {
    out << "<tr>";
    for (const std::string& words : row) {
        out << '<' << cell << '>' << escaped(words) << "</" << cell << '>';
    }
    out << "</tr>\n";
}

void write_html_table(std::ostream& out, const table& t) {
    out << "<div class=\"scroll\">\n<table>\n<thead>\n";
    write_row(out, t.head, "th");
    out << "</thead>\n<tbody>\n";
    for (const auto& row : t.rows) write_row(out, row, "td");
    out << "</tbody>\n</table>\n</div>\n";
}

void write_section(std::ostream& out, const section& s, std::size_t chapter) {
    out << "<section id=\"" << name_of(chapter) << "\">\n<h2>" << escaped(s.title) << "</h2>\n<p>"
        << escaped(s.text) << "</p>\n";
    if (!s.figures.empty()) {
        out << "<div class=\"figures columns-" << s.columns << "\">\n";
        for (const figure& f : s.figures) write_figure(out, f);
        out << "</div>\n";
    }
    for (const table& t : s.tables) write_html_table(out, t);
    if (!s.functions.empty()) {
        out << "<p class=\"made-by\">Made by ";
        const char* comma = "";
        for (const std::string& name : s.functions) {
            out << comma << "<a href=\"../manual/html/functions/" << name << ".html\">" << name
                << "</a>";
            comma = ", ";
        }
        out << ", whose pages <code>scripts/manual</code> builds.</p>\n";
    }
    out << "</section>\n";
}

} // namespace

void write_index_page(const std::filesystem::path& file, const index_page& page) {
    std::ofstream out(file);
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\" />\n"
        << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\" />\n<title>"
        << escaped(page.title) << "</title>\n<style>" << style << "</style>\n</head>\n<body>\n"
        << "<header><div class=\"page\">\n<h1>" << escaped(page.title) << "</h1>\n<p>"
        << escaped(page.text) << "</p>\n<nav>\n";
    for (std::size_t k = 0; k < page.sections.size(); ++k) {
        out << "<a href=\"#" << name_of(k) << "\">" << escaped(page.sections[k].title) << "</a>\n";
    }
    out << "</nav>\n</div></header>\n<main class=\"page\">\n";
    for (std::size_t k = 0; k < page.sections.size(); ++k) write_section(out, page.sections[k], k);
    out << "<footer>" << escaped(page.foot) << "</footer>\n</main>\n</body>\n</html>\n";
    out.close();
    require(!out.fail(), "cannot write " + file.string());
}

} // namespace zel::examples
