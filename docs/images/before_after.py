#!/usr/bin/python3
"""Makes before-and-after.jpg out of a photograph and what scripts/demo made of it.

The red lines join the outermost inner corners of the board by rulers: where the board's own edge leaves the ruler, the
lens has bent it. Prints how far the corners are off at most, in pixels.

Usage: before_after.py PHOTOGRAPH PICTURE RESULT
"""

import sys

import cv2
import numpy as np

BOARD = (9, 6)
RED = (40, 40, 220)


def corners(picture):
    found, points = cv2.findChessboardCorners(picture, BOARD)
    if not found:
        sys.exit("found no board, wanted 9x6 inner corners")
    stop = (cv2.TERM_CRITERIA_EPS | cv2.TERM_CRITERIA_MAX_ITER, 30, 0.01)
    return cv2.cornerSubPix(picture, points, (11, 11), (-1, -1), stop).reshape(BOARD[1], BOARD[0], 2)


def bow(line):
    """How far the points of a line are from the straight one between its ends, at most."""
    along = (line[-1] - line[0]) / np.linalg.norm(line[-1] - line[0])
    return float(np.max(np.abs(np.cross(along, line - line[0]))))


def ruled(name, path):
    grey = cv2.imread(path, cv2.IMREAD_GRAYSCALE)
    grid = corners(grey)
    lines = [grid[0], grid[-1], grid[:, 0], grid[:, -1]]
    print(f"{name}: lines of the board up to {max(bow(line) for line in lines):.2f} px off the straight one")
    picture = cv2.cvtColor(grey, cv2.COLOR_GRAY2BGR)
    for line in lines:
        reach = (line[-1] - line[0]) * 0.2
        ends = [tuple(int(v) for v in np.rint(16 * p)) for p in (line[0] - reach, line[-1] + reach)]
        cv2.line(picture, ends[0], ends[1], RED, 1, cv2.LINE_AA, 4)
    return picture


def main():
    photograph, picture, result = sys.argv[1:4]
    gap = np.full((480, 8, 3), 255, np.uint8)
    pair = np.hstack([ruled("before", photograph), gap, ruled("after", picture)])
    cv2.imwrite(result, pair, [cv2.IMWRITE_JPEG_QUALITY, 88])


if __name__ == "__main__":
    main()
