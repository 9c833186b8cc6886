#!/usr/bin/python3
"""A data set of pictures for training, with the interface of torch.utils.data.Dataset.

    dataset.py PICTURE...

Every sample takes the way of a camera frame: NV12, cropped and resized there, then RGB and a
tensor. The network is trained with the bytes that it will see on the camera. Plain Python: a
DataLoader of torch accepts it as it is, with any number of workers.
"""

import sys
from concurrent.futures import ProcessPoolExecutor

import numpy as np

import tavrine


class Pictures:
    def __init__(self, paths, labels, size=(224, 224), seed=0):
        self.paths, self.labels, self.size, self.seed = paths, labels, size, seed
        self.epoch = 0

    def __len__(self):
        return len(self.paths)

    def __getitem__(self, index):
        """(tensor of 3 x height x width, label). The same in every process."""
        # From the index, not from a global state that workers would share or repeat.
        random = np.random.default_rng((self.seed, self.epoch, index))
        picture = tavrine.load(self.paths[index])
        if picture.ndim == 2:
            picture = tavrine.cvt_color(picture, "RGB")
        height, width = (side // 2 * 2 for side in picture.shape[:2])
        nv12 = tavrine.cvt_color(tavrine.crop(picture, (0, 0, width, height)), "NV12")

        part = random.uniform(0.6, 1)
        crop_width, crop_height = (max(2, int(side * part) // 2 * 2) for side in (width, height))
        x, y = (int(random.integers(0, side // 2 + 1)) * 2
                for side in (width - crop_width, height - crop_height))
        nv12 = tavrine.crop(nv12, (x, y, crop_width, crop_height), format="NV12")
        nv12 = tavrine.resize(nv12, self.size, format="NV12")
        rgb = tavrine.cvt_color(nv12, "RGB", format="NV12")
        return tavrine.to_tensor(rgb, mean=(124, 116, 104), scale=(58, 57, 57))[0], self.labels[index]


def main():
    pictures = Pictures(sys.argv[1:], list(range(len(sys.argv) - 1)))
    with ProcessPoolExecutor() as workers:
        for tensor, label in workers.map(pictures.__getitem__, range(len(pictures))):
            print(label, tensor.shape, tensor.dtype, f"mean {tensor.mean():.4f}")


if __name__ == "__main__":
    main()
