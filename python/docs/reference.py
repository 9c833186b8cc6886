#!/usr/bin/python3
"""Prints docs/python-reference.md, from the docstrings of the package."""

import inspect

import tavrine

GROUPS = {
    "Pictures in and out": ["load", "decode", "save", "encode"],
    "Geometry": ["resize", "scale", "crop", "rotate", "warp_affine", "warp_perspective"],
    "Colour": ["cvt_color"],
    "Tensors": ["to_tensor", "transform_batch", "letterbox", "map_back", "Letterbox"],
    "Transforms between points": ["find_affine", "find_similarity"],
    "Errors": ["Error"],
}


def entry(name):
    item = getattr(tavrine, name)
    signature = "" if name == "Error" else str(inspect.signature(item)).split(" -> ")[0]
    return f"### {name}\n\n```text\n{name}{signature}\n\n{inspect.getdoc(item)}\n```\n"


def reference():
    assert sorted(sum(GROUPS.values(), [])) == sorted(tavrine.__all__)
    parts = ["# Python reference\n\nWhat `help()` shows for each function of the package; "
             "[Python](python.md) shows them at work.\n",
             f"```text\n{inspect.getdoc(tavrine)}\n```\n"]
    for title, names in GROUPS.items():
        parts += [f"## {title}\n", *map(entry, names)]
    return "\n".join(parts)


if __name__ == "__main__":
    print(reference(), end="")
