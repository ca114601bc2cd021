"""The programs that a soak watches. They are copied first, so that a build meanwhile changes nothing."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
# Debian's own goes first: its numpy is the one that scripts/packages.sh names.
PYTHON = "/usr/bin/python3" if os.access("/usr/bin/python3", os.X_OK) else sys.executable


def copy(build: Path, folder: Path) -> None:
    """What is run, with the libraries beside it, as the build folder has them."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    files = [*build.glob("libquorvid*.so.*"), *build.glob("soak_*"), build / "quorvid-sim"]
    for file in files:
        shutil.copy2(file, folder / file.name, follow_symlinks=False)
    if (build / "soak_pipelines").exists():
        shutil.copytree(build / "gstreamer-1.0", folder / "gstreamer-1.0")
    shutil.copytree(ROOT / "python" / "quorvid", folder / "python" / "quorvid")
    shutil.copy2(ROOT / "scripts" / "soak" / "player.py", folder / "python")


def commands(programs: Path) -> dict[str, list[str]]:
    """By name. Without GStreamer's development files there are no pipelines."""
    found = {"views": [f"{programs}/soak_views"], "players": [f"{programs}/soak_players"],
             "python": [PYTHON, f"{programs}/python/player.py"]}
    if (programs / "soak_pipelines").exists():
        found["pipelines"] = [f"{programs}/soak_pipelines"]
    return found


def start(command: list[str], programs: Path, errors: Path) -> "subprocess.Popen[bytes]":
    """LD_LIBRARY_PATH goes before what a program was linked with: the copies, not the build folder."""
    environment = os.environ | {
        "LD_LIBRARY_PATH": str(programs),
        "PYTHONPATH": str(programs / "python"),
        "PYTHONDONTWRITEBYTECODE": "1",
        "QUORVID_LIBRARY_DIR": str(programs),
        "GST_PLUGIN_PATH": str(programs / "gstreamer-1.0"),
        "GST_REGISTRY": str(programs / "gst-registry.bin"),
        "LC_ALL": "C.UTF-8",
    }
    with open(errors, "wb") as file:  # what the workers print for each frame is of no use here
        return subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=file,
                                env=environment, start_new_session=True)
