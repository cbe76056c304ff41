#!/usr/bin/python3
"""Finds the right camera's figures of rig.ini from the same photographs that the rig plays.

The left camera's calibration comes with the photographs (left_intrinsics.yml) and is held fixed; the right camera is
calibrated from its own 13 pictures of the board; then the pose between the two is fitted with both held fixed.

Usage: calibrate_right.py [FOLDER]        the folder that rig.ini calls DATA DIR
Needs Debian's python3-opencv.
"""

import math
import pathlib
import sys

import cv2
import numpy as np

BOARD = (9, 6)  # inner corners, columns x rows
SQUARE = 0.025  # metres
FOLDER = "/usr/share/doc/opencv-doc/examples/data"

# Optical axes (x right, y down, z forward) to the axes of a rig (x forward, y left, z up).
RIG_FROM_OPTICAL = np.array([[0.0, 0.0, 1.0], [-1.0, 0.0, 0.0], [0.0, -1.0, 0.0]])


def corners(path):
    """The board's inner corners in pixels (54 x 1 x 2), and the picture's size as (width, height)."""
    picture = cv2.imread(str(path), cv2.IMREAD_GRAYSCALE)
    if picture is None:
        sys.exit(f"{path}: found no readable picture, wanted a photograph of the board")
    found, points = cv2.findChessboardCorners(picture, BOARD)
    if not found:
        sys.exit(f"{path}: found no board, wanted {BOARD[0]}x{BOARD[1]} inner corners")
    stop = (cv2.TERM_CRITERIA_EPS | cv2.TERM_CRITERIA_MAX_ITER, 30, 0.01)
    return cv2.cornerSubPix(picture, points, (11, 11), (-1, -1), stop), picture.shape[::-1]


def left_calibration(folder):
    path = folder / "left_intrinsics.yml"
    storage = cv2.FileStorage(str(path), cv2.FILE_STORAGE_READ)
    matrix = storage.getNode("camera_matrix").mat()
    coefficients = storage.getNode("distortion_coefficients").mat()
    if matrix is None or coefficients is None:
        sys.exit(f"{path}: found no calibration, wanted camera_matrix and distortion_coefficients")
    return matrix, coefficients


def yaw_pitch_roll(rotation):
    """The angles of rotation = Rz(yaw) Ry(pitch) Rx(roll), radians."""
    yaw = math.atan2(rotation[1, 0], rotation[0, 0])
    pitch = math.atan2(-rotation[2, 0], math.hypot(rotation[2, 1], rotation[2, 2]))
    roll = math.atan2(rotation[2, 1], rotation[2, 2])
    return yaw, pitch, roll


def numbers(values, digits):
    # Adding 0.0 turns a rounded "-0" into "0".
    return ", ".join(str(round(float(value), digits) + 0.0) for value in values)


def print_camera(name, matrix, coefficients):
    print(f"[{name}]")
    print(f"OPTICAL CENTER     = {numbers((matrix[0, 2], matrix[1, 2]), 3)}")
    print(f"PIXEL FOCAL LENGTH = {numbers((matrix[0, 0], matrix[1, 1]), 3)}")
    print(f"DISTORTION K       = {numbers(np.ravel(coefficients), 5)}")


def main():
    folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else FOLDER)
    left_pictures = sorted(folder.glob("left[0-9][0-9].jpg"))
    if not left_pictures:
        sys.exit(f"{folder}: found no left[0-9][0-9].jpg, wanted the photographs of Debian's opencv-doc")

    board = np.zeros((BOARD[0] * BOARD[1], 3), np.float32)
    board[:, :2] = np.mgrid[0 : BOARD[0], 0 : BOARD[1]].T.reshape(-1, 2) * SQUARE
    boards = [board] * len(left_pictures)
    left_points = [corners(path)[0] for path in left_pictures]
    right_points = []
    for path in left_pictures:
        points, size = corners(path.with_name(path.name.replace("left", "right")))
        right_points.append(points)

    left, left_k = left_calibration(folder)
    right_rms, right, right_k, _, _ = cv2.calibrateCamera(boards, right_points, size, None, None)
    stereo_rms, _, _, _, _, rotation, translation, _, _ = cv2.stereoCalibrate(
        boards, left_points, right_points, left, left_k, right, right_k, size, flags=cv2.CALIB_FIX_INTRINSIC
    )

    # OpenCV: x_right = rotation * x_left + translation. The rig file wants the right camera's place seen from the left.
    position = RIG_FROM_OPTICAL @ (-rotation.T @ translation.ravel())
    angles = yaw_pitch_roll(RIG_FROM_OPTICAL @ rotation.T @ RIG_FROM_OPTICAL.T)

    print(f"; {len(left_pictures)} pairs, {size[0]}x{size[1]}")
    print_camera("left", left, left_k)
    print()
    print_camera("right", right, right_k)
    print(f"RELATIVE POSITION    = {numbers(position, 5)}")
    print(f"RELATIVE ORIENTATION = {numbers(angles, 5)}")
    print()
    print(f"; right camera: RMS {right_rms:.3f} px")
    print(f"; the pair: RMS {stereo_rms:.3f} px, baseline {1000 * np.linalg.norm(translation):.1f} mm")


if __name__ == "__main__":
    main()
