# SPDX-License-Identifier: Apache-2.0
"""How Sphinx builds the manual. Nothing on a page asks another host for anything."""

import os

project = "tessel2d"
author = "The tessel2d authors"
copyright = author  # noqa: A001
extensions = ["breathe", "myst_parser"]
myst_enable_extensions = ["colon_fence"]
myst_heading_anchors = 3
breathe_projects = {"tessel2d": os.environ["TESSEL2D_DOXYGEN_XML"]}
breathe_default_project = "tessel2d"
html_theme = "furo"
html_title = "tessel2d"
html_static_path = ["_static"]
html_css_files = ["manual.css"]
html_js_files = ["gallery.js"]
html_show_sphinx = False
html_show_copyright = False
html_copy_source = False
highlight_language = "cpp"
primary_domain = "cpp"
nitpicky = False
html_show_search_summary = False
