# SPDX-License-Identifier: Apache-2.0
"""Takes away what an ordinary container lacks: CAP_SYS_ADMIN, and user namespaces.

A user without any rights may make a user namespace and is root in it, so the capability
alone is not enough. A filter of system calls refuses new user namespaces, as the filters
of container engines do.
"""
import ctypes
import errno
import os
import platform
import struct

_PR_SET_SECCOMP, _PR_CAPBSET_DROP = 22, 24
_SECCOMP_MODE_FILTER = 2
_CAP_SYS_ADMIN = 21
_CLONE_NEWUSER = 0x10000000
_CLONE3 = 435  # on every processor
_LOAD, _EQUAL, _ANY_BIT, _RETURN = 0x20, 0x15, 0x45, 0x06
_NUMBER, _ARCHITECTURE, _FIRST_ARGUMENT = 0, 4, 16  # within struct seccomp_data
_ALLOW, _REFUSE = 0x7FFF0000, 0x00050000
# Audit's name of the architecture, numbers of unshare and clone.
_MACHINES = {"x86_64": (0xC000003E, 272, 56), "aarch64": (0xC00000B7, 97, 220)}

_libc = ctypes.CDLL(None, use_errno=True)


class _Program(ctypes.Structure):
    _fields_ = [("length", ctypes.c_ushort), ("instructions", ctypes.c_char_p)]


def _filter() -> bytes:
    """Each instruction is its code, how many to pass over if true and if not, its number."""
    architecture, unshare, clone = _MACHINES[platform.machine()]
    return b"".join(struct.pack("HBBI", *instruction) for instruction in (
        (_LOAD, 0, 0, _ARCHITECTURE),
        (_EQUAL, 0, 7, architecture),
        (_LOAD, 0, 0, _NUMBER),
        # The flags of clone3 lie in memory, where no filter sees them; the C library uses
        # clone when there is none.
        (_EQUAL, 6, 0, _CLONE3),
        (_EQUAL, 1, 0, unshare),
        (_EQUAL, 0, 3, clone),
        (_LOAD, 0, 0, _FIRST_ARGUMENT),
        (_ANY_BIT, 0, 1, _CLONE_NEWUSER),
        (_RETURN, 0, 0, _REFUSE | errno.EPERM),
        (_RETURN, 0, 0, _ALLOW),
        (_RETURN, 0, 0, _REFUSE | errno.ENOSYS)))


def _prctl(*arguments: object) -> None:
    if _libc.prctl(*arguments) != 0:
        raise OSError(ctypes.get_errno(), "prctl: " + os.strerror(ctypes.get_errno()))


def confine() -> None:
    """For this process and all that it starts; complete once it has executed a program.

    REQUIRES: CAP_SYS_ADMIN.
    """
    instructions = _filter()
    program = _Program(len(instructions) // 8, instructions)
    _prctl(_PR_SET_SECCOMP, _SECCOMP_MODE_FILTER, ctypes.byref(program))
    _prctl(_PR_CAPBSET_DROP, _CAP_SYS_ADMIN, 0, 0, 0)
