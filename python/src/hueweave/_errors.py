# SPDX-License-Identifier: MIT
"""The exceptions of the package. A wrong argument is a TypeError or a ValueError, as everywhere in Python."""
from __future__ import annotations


class HueweaveError(Exception):
    """Something failed; the text names the file, the reason and a remedy."""


class ProfileError(HueweaveError):
    """A profile cannot be read, or cannot be used."""


class InputError(HueweaveError):
    """An input file cannot be read, or is refused because it cannot be converted correctly."""


class OutputError(HueweaveError):
    """An output cannot be written, or exists already. The file that has its name is as it was before."""
