"""The declarations of quorvid/quorvid.h and quorvid/connection/VehicleConnection.h, for ctypes."""

from __future__ import annotations

import ctypes
from ctypes import (
    POINTER,
    c_char,
    c_char_p,
    c_double,
    c_int32,
    c_long,
    c_uint8,
    c_uint32,
    c_uint64,
    c_void_p,
)

# What this package was written for: a library of the same major number that is not older.
VERSION = 10000

OK = 0
TARGET_REFUSED = -2
TIMED_OUT = -3
NOT_PLAYING = -4
NO_RESOURCES = -6


class Target(ctypes.Structure):
    _fields_ = [
        ("size", c_uint32),
        ("path", c_int32),
        ("host", c_char_p),
        ("port", c_int32),
        ("channel", c_int32),
        ("device", c_char_p),
        ("account", c_char_p),
        ("password", c_char_p),
    ]


class Status(ctypes.Structure):
    _fields_ = [
        ("size", c_uint32),
        ("state", c_int32),
        ("reason", c_int32),
        ("answer_status", c_int32),
        ("next_try", c_double),
        ("sentence", c_char * 256),
    ]


class Figures(ctypes.Structure):
    _fields_ = [
        ("size", c_uint32),
        ("stream_width", c_int32),
        ("stream_height", c_int32),
        ("reserved", c_int32),
        ("shape", c_double),
        ("playing", c_double),
        ("first_picture", c_double),
        ("since_last_picture", c_double),
        ("lag", c_double),
        ("longest_pause", c_double),
        ("picture_rate", c_double),
        ("bit_rate", c_double),
        ("received", c_uint64),
        ("bytes", c_uint64),
        ("decoded", c_uint64),
        ("converted", c_uint64),
        ("shown", c_uint64),
        ("overwritten", c_uint64),
        ("held", c_uint64),
        ("lost", c_uint64),
        ("reconnections", c_uint64),
        ("restarts", c_uint64),
    ]


class Image(ctypes.Structure):
    _fields_ = [
        ("size", c_uint32),
        ("format", c_int32),
        ("width", c_int32),
        ("height", c_int32),
        ("matrix", c_int32),
        ("full_range", c_int32),
        ("shape", c_double),
        ("number", c_uint64),
        ("arrival", c_double),
        ("arrival_date", c_double),
        ("plane", c_void_p * 3),
        ("stride", c_int32 * 3),
        ("reserved", c_int32),
    ]


class PlayerOptions(ctypes.Structure):
    _fields_ = [
        ("size", c_uint32),
        ("every_picture", c_int32),
        ("most_waiting", c_int32),
        ("reserved", c_int32),
        ("most_lag", c_double),
        ("stall_after", c_double),
    ]


class DevInfoItem(ctypes.Structure):
    _fields_ = [
        ("itemLen", c_long),
        ("blk64", c_uint8 * 64),
        ("blkA32", c_uint8 * 32),
        ("blkB32", c_uint8 * 32),
        ("numA", c_long),
        ("numB", c_long),
        ("byteA", c_uint8),
        ("byteB", c_uint8),
        ("byteC", c_uint8),
        ("blk9", c_uint8 * 9),
        ("blk128", c_uint8 * 128),
    ]


# Of the C compiler, where a pointer and a long have 8 bytes.
SIZES = {Target: 48, Status: 280, Figures: 160, Image: 96, PlayerOptions: 32, DevInfoItem: 296}

_PLAYER = c_void_p
_PICTURE = c_void_p
_LIST = [POINTER(DevInfoItem), POINTER(c_int32), c_char_p, c_int32, c_int32]
_LIST += [c_char_p, c_char_p, c_char_p, POINTER(c_int32)]

# Name: result, arguments.
PLAYER_FUNCTIONS = {
    "quorvid_version": (c_int32, []),
    "quorvid_state_name": (c_char_p, [c_int32]),
    "quorvid_reason_name": (c_char_p, [c_int32]),
    "quorvid_result_name": (c_char_p, [c_int32]),
    "quorvid_picture_read": (c_int32, [_PICTURE, c_int32, POINTER(Image)]),
    "quorvid_picture_free": (None, [_PICTURE]),
    "quorvid_player_create": (c_void_p, [POINTER(PlayerOptions)]),
    "quorvid_player_free": (None, [_PLAYER]),
    "quorvid_player_connect": (c_int32, [_PLAYER, POINTER(Target)]),
    "quorvid_player_play": (c_int32, [_PLAYER]),
    "quorvid_player_stop": (c_int32, [_PLAYER]),
    "quorvid_player_restart": (c_int32, [_PLAYER]),
    "quorvid_player_status": (c_int32, [_PLAYER, POINTER(Status)]),
    "quorvid_player_figures": (c_int32, [_PLAYER, POINTER(Figures)]),
    "quorvid_player_wait": (c_int32, [_PLAYER, c_double, POINTER(c_void_p)]),
}
CONNECTION_FUNCTIONS = {
    "ThreadGetListForCar": (c_int32, _LIST),
    "ThreadGetCarGPS": (c_int32, [*_LIST, POINTER(c_uint8)]),
    "StopCarGPS": (None, [POINTER(c_uint8)]),
    "SetConnectionPrinter": (None, [c_void_p, c_void_p]),
    "SilenceConnectionPrinter": (None, []),
}
