#!/usr/bin/python3
"""Makes tuned.png: frames of the live camera of examples/live, side by side, each under what its exposure was.

Usage: tuned.py RESULT PICTURE CAPTION [PICTURE CAPTION ...]
"""

import sys

import cv2
import numpy as np

SIZE = (320, 240)  # of a frame in the result, pixels
BAR = 28


def tile(path, caption):
    picture = cv2.imread(path, cv2.IMREAD_GRAYSCALE)
    if picture is None:
        sys.exit(f"{path}: found no picture")
    bar = np.full((BAR, SIZE[0]), 255, np.uint8)
    cv2.putText(bar, caption, (8, BAR - 9), cv2.FONT_HERSHEY_SIMPLEX, 0.55, 0, 1, cv2.LINE_AA)
    return np.vstack([bar, cv2.resize(picture, SIZE, interpolation=cv2.INTER_AREA)])


def main():
    result, *rest = sys.argv[1:]
    tiles = [tile(path, caption) for path, caption in zip(rest[::2], rest[1::2])]
    gap = np.full((SIZE[1] + BAR, 8), 255, np.uint8)
    row = [tiles[0]]
    for each in tiles[1:]:
        row += [gap, each]
    cv2.imwrite(result, np.hstack(row))


if __name__ == "__main__":
    main()
