# SPDX-License-Identifier: MIT
"""Sphinx builds the documentation from the installed package: python/check, or sphinx-build -W docs html."""
import hueweave

project = "hueweave"
author = "The Hueweave authors"
release = version = hueweave.__version__
extensions = ["sphinx.ext.autodoc"]
nitpicky = False
autodoc_typehints = "signature"
autodoc_member_order = "bysource"
autodoc_type_aliases = {name: name for name in ("Curves", "Description", "EmbeddedProfile", "Guideline", "Intent", "Path",
                                                "Precision", "Profile")}
autodoc_preserve_defaults = True
html_theme = "alabaster"
html_show_sourcelink = False
