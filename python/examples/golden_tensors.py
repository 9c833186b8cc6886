#!/usr/bin/python3
"""Writes what a device test compares the camera with: raw frames, and the tensors that they give.

    golden_tensors.py FOLDER PICTURE...

For each picture: NAME.nv12, and NAME.f32 with the elements of a centred letterbox of 1 x 3 x 300 x
300. On the camera, the C program fills a tensor from NAME.nv12 in the same way and compares it with
memcmp: not one byte differs. list.csv has the sizes and what the C program needs.
"""

import hashlib
import sys
from pathlib import Path

import tavrine

SIZE = 300, 300


def main():
    folder = Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    with open(folder / "list.csv", "w", encoding="utf-8") as index:
        print("name,width,height,area_x,area_y,area_width,area_height,sha256", file=index)
        for path in map(Path, sys.argv[2:]):
            picture = tavrine.load(path)
            if picture.ndim == 2:
                picture = tavrine.cvt_color(picture, "RGB")
            height, width = (side // 2 * 2 for side in picture.shape[:2])
            nv12 = tavrine.cvt_color(tavrine.crop(picture, (0, 0, width, height)), "NV12")
            rgb = tavrine.cvt_color(nv12, "RGB", format="NV12")
            tensor, box = tavrine.letterbox(rgb, SIZE, mode="centred", scale=255, padding=0.5)
            nv12.tofile(folder / f"{path.stem}.nv12")
            tensor.tofile(folder / f"{path.stem}.f32")
            digest = hashlib.sha256(tensor.tobytes()).hexdigest()
            print(path.stem, width, height, *box.area, digest, sep=",", file=index)


if __name__ == "__main__":
    main()
