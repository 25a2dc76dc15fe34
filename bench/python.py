#!/usr/bin/env python3
"""The Python package beside cv2: calls that give the same bytes, interleaved on one thread.

Needs python3-opencv; the library is found as the package finds it. Prints a Markdown table.
"""

import os
import time

os.environ["OPENCV_FOR_THREADS_NUM"] = "1"  # for the library's OpenCV, when it is one of its own

import cv2
import numpy as np

import morvik

SIZE = (1920, 1080)
ROUNDS = 15


def disc(side):
    return cv2.getStructuringElement(cv2.MORPH_ELLIPSE, (side, side))


def filled(mask):
    _, shape = cv2.threshold(mask, 127, 255, cv2.THRESH_BINARY)
    outlines, _ = cv2.findContours(shape, cv2.RETR_EXTERNAL, cv2.CHAIN_APPROX_NONE)
    return cv2.drawContours(np.zeros_like(mask), outlines, -1, 255, -1)


def comparisons():
    samples = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "samples")
    photo = cv2.resize(cv2.imread(f"{samples}/hopper.jpg"), SIZE, interpolation=cv2.INTER_CUBIC)
    mask = cv2.imread(f"{samples}/photographer_mask_256x256.png", cv2.IMREAD_GRAYSCALE)
    mask = cv2.resize(mask, SIZE, interpolation=cv2.INTER_CUBIC)
    polygon = np.array([[200, 100], [1700, 300], [1500, 1000], [900, 600], [300, 900]], np.int32)
    black = np.zeros_like(mask)
    small, large = (960, 540), (2880, 1620)
    return [
        ("rotate(photo, 90)", lambda: morvik.rotate(photo, 90), lambda: cv2.rotate(photo, cv2.ROTATE_90_CLOCKWISE)),
        ("rotate(mask, 90)", lambda: morvik.rotate(mask, 90), lambda: cv2.rotate(mask, cv2.ROTATE_90_CLOCKWISE)),
        ("resize(photo, half)", lambda: morvik.resize(photo, small),
         lambda: cv2.resize(photo, small, interpolation=cv2.INTER_AREA)),
        ("resize(photo, large, method='cubic')", lambda: morvik.resize(photo, large, method="cubic"),
         lambda: cv2.resize(photo, large, interpolation=cv2.INTER_CUBIC)),
        ("morph(mask, 12)", lambda: morvik.morph(mask, 12), lambda: cv2.dilate(mask, disc(13))),
        ("morph(mask, -50)", lambda: morvik.morph(mask, -50), lambda: cv2.erode(mask, disc(51))),
        ("blur(photo, 9)", lambda: morvik.blur(photo, 9), lambda: cv2.GaussianBlur(photo, (9, 9), 0)),
        ("blur(photo, 25, filter='mean')", lambda: morvik.blur(photo, 25, filter="mean"),
         lambda: cv2.blur(photo, (25, 25))),
        ("blur(mask, 25, filter='median')", lambda: morvik.blur(mask, 25, filter="median"),
         lambda: cv2.medianBlur(mask, 25)),
        ("fill_holes(mask)", lambda: morvik.fill_holes(mask), lambda: filled(mask)),
        ("fill_polygon(points, size)", lambda: morvik.fill_polygon(polygon, SIZE),
         lambda: cv2.fillPoly(black.copy(), [polygon], 255)),
    ]


def seconds(call):
    start = time.perf_counter()
    call()
    return time.perf_counter() - start


def main():
    cv2.setNumThreads(1)
    print("| call | morvik, us | cv2, us | ratio |\n|---|---:|---:|---:|")
    for name, ours, theirs in comparisons():
        np.testing.assert_array_equal(ours(), theirs(), err_msg=name)
        times = [(seconds(ours), seconds(theirs)) for _ in range(ROUNDS)]
        mine, other = (min(column) * 1e6 for column in zip(*times))
        print(f"| {name} | {mine:.0f} | {other:.0f} | {other / mine:.1f} |")


if __name__ == "__main__":
    main()
