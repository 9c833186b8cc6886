#!/usr/bin/python3
"""Cuts upright faces of 112x112 out of a picture, as a recognition network takes them.

    align_faces.py PICTURE OUT.png X,Y,X,Y,X,Y...

Three points a face, in picture pixels: the left eye, the right eye and the middle of the mouth, as
seen in the picture. The faces are written side by side.
"""

import sys

import numpy as np

import tavrine

SIDE = 112
TEMPLATE = [(38, 52), (74, 52), (56, 92)]


def align(picture, points, out):
    """Writes the face into out, an array or a part of one."""
    _, to_picture = tavrine.find_similarity(points, TEMPLATE)
    return tavrine.warp_affine(picture, to_picture, out=out)


def main():
    picture = tavrine.load(sys.argv[1])
    faces = [np.reshape([float(x) for x in text.split(",")], (3, 2)) for text in sys.argv[3:]]
    sheet = np.zeros((SIDE, SIDE * len(faces), *picture.shape[2:]), np.uint8)
    for i, points in enumerate(faces):
        align(picture, points, sheet[:, i * SIDE:(i + 1) * SIDE])
    tavrine.save(sheet, sys.argv[2])


if __name__ == "__main__":
    main()
