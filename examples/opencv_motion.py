#!/usr/bin/env python3
"""Tells where something moves, with OpenCV (Debian's python3-opencv).

  opencv_motion.py fleet.example.com:6602 BUS-17 0 [SECONDS]
"""
import sys
import time

import quorvid

try:
    import cv2
except ImportError:
    sys.exit("opencv_motion: OpenCV is not there (Debian: python3-opencv)")

SMALLEST = 200  # pixels of an area that is told


def areas(subtractor, grey):
    """Boxes (x, y, width, height) of what differs from the background learnt so far."""
    _, moved = cv2.threshold(subtractor.apply(grey), 200, 255, cv2.THRESH_BINARY)
    moved = cv2.dilate(moved, None, iterations=2)
    outlines, _ = cv2.findContours(moved, cv2.RETR_EXTERNAL, cv2.CHAIN_APPROX_SIMPLE)
    return [cv2.boundingRect(outline) for outline in outlines if cv2.contourArea(outline) >= SMALLEST]


def main():
    if len(sys.argv) not in (4, 5):
        sys.exit(__doc__)
    server, device, channel = sys.argv[1:4]
    end = time.monotonic() + float(sys.argv[4] if len(sys.argv) == 5 else 1e9)
    subtractor = cv2.createBackgroundSubtractorMOG2(detectShadows=False)
    # The newest picture, as grey: OpenCV reads the decoder's memory, nothing is copied. For colours:
    # cv2.cvtColor(picture.read(quorvid.Format.NV12), cv2.COLOR_YUV2BGR_NV12).
    with quorvid.Player(server, device=device, channel=int(channel), format="grey") as player:
        for picture in player:
            found = areas(subtractor, picture.array)
            if found:
                print(f"picture {picture.number}: {len(found)} areas, the first at {found[0]}", flush=True)
            if time.monotonic() > end:
                break


if __name__ == "__main__":
    try:
        main()
    except (quorvid.Error, ValueError) as error:
        sys.exit(f"opencv_motion: {error}")
    except KeyboardInterrupt:
        sys.exit(130)
