#!/usr/bin/env python3
"""Mounts file systems in the mount namespace of a process: mount_many.py PROCESS FOLDER COUNT

They are empty, stand below FOLDER, and are named 0, 1 and so on. No program is started for each one.
"""

import ctypes
import os
import sys


def main() -> None:
    """Enters the namespace, of which this program leaves nothing but the mounts."""
    process, folder, count = sys.argv[1:]
    library = ctypes.CDLL(None, use_errno=True)

    def check(result: int) -> None:
        if result != 0:
            raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))

    check(library.setns(os.open(f"/proc/{process}/ns/mnt", os.O_RDONLY), 0))
    for number in range(int(count)):
        path = f"{folder}/{number}"
        os.mkdir(path)
        check(library.mount(b"none", path.encode(), b"tmpfs", 0, b"size=64k"))


if __name__ == "__main__":
    main()
