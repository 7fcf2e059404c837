"""What the headers declare: constants, records, and the types of every function and variable."""

from __future__ import annotations

import ctypes
from typing import Any

__all__ = ["DATE_TEXT_SIZE", "DEFAULT_PROFILE_PATH", "LIBRARY_FALLBACK_DIRECTORY", "NAME_SIZE",
           "NODE_NAME_SIZE", "PROFILE_LINE_SIZE", "PROFILE_PATH_SIZE", "Provider", "SIGNATURES",
           "STATUSLOG_SIZE", "TEMPORARY_NAME_SIZE", "Tm", "UUID_TEXT_SIZE", "UuidRecord",
           "VARIABLES"]

STATUSLOG_SIZE = 1024
DATE_TEXT_SIZE = 30
UUID_TEXT_SIZE = 37
PROFILE_PATH_SIZE = 256
PROFILE_LINE_SIZE = 512
TEMPORARY_NAME_SIZE = 14
NAME_SIZE = 32
NODE_NAME_SIZE = 65
DEFAULT_PROFILE_PATH = "/opt/tav/ls/conf/k7ls.ini"
LIBRARY_FALLBACK_DIRECTORY = "/opt/tav/ls/dll/"


class Tm(ctypes.Structure):
    """struct tm of the C library."""

    _fields_ = [
        *((name, ctypes.c_int)
          for name in ("tm_sec", "tm_min", "tm_hour", "tm_mday", "tm_mon", "tm_year", "tm_wday",
                       "tm_yday", "tm_isdst")),
        ("tm_gmtoff", ctypes.c_long),
        ("tm_zone", ctypes.c_char_p),
    ]


class UuidRecord(ctypes.Structure):
    """k7_uuid__t: 16 bytes."""

    _fields_ = [
        ("time_high", ctypes.c_uint32),
        ("time_low", ctypes.c_uint16),
        ("reserved", ctypes.c_uint16),
        ("family", ctypes.c_uint8),
        ("host", ctypes.c_uint8 * 7),
    ]


Provider = ctypes.CFUNCTYPE(None, ctypes.POINTER(ctypes.c_uint32), ctypes.POINTER(ctypes.c_uint16))

_CHAR_P = ctypes.POINTER(ctypes.c_char)
_INT_P = ctypes.POINTER(ctypes.c_int)
_INT32_P = ctypes.POINTER(ctypes.c_int32)
_UINT16_P = ctypes.POINTER(ctypes.c_uint16)
_UINT32_P = ctypes.POINTER(ctypes.c_uint32)
_TIME_P = ctypes.POINTER(ctypes.c_long)
_TM_P = ctypes.POINTER(Tm)
_UUID_P = ctypes.POINTER(UuidRecord)

# Function to result and arguments, as the headers declare them. A result that points into the
# caller's memory is an address.
SIGNATURES: dict[str, tuple[Any, tuple[Any, ...]]] = {
    # orla/inventory.h
    "tavGetOnlineProcs": (ctypes.c_uint32, (_INT_P,)),
    "tavGetConfigProcs": (ctypes.c_uint32, (_INT_P,)),
    "tavGetMemorySize": (ctypes.c_uint32, (_INT_P,)),
    "tavGetDisks": (ctypes.c_uint32, (ctypes.POINTER(ctypes.c_uint),)),
    "count_physical_proc": (ctypes.c_uint32, (_INT_P,)),
    "HTSupported": (ctypes.c_int, ()),
    "ht_os_cpus": (ctypes.c_int, ()),
    "CPUID_is_supported": (ctypes.c_int, ()),
    "cpuid": (None, (ctypes.c_uint32, _UINT32_P, _UINT32_P, _UINT32_P, _UINT32_P)),
    # orla/time.h
    "wek_time_stamp": (ctypes.c_int32, ()),
    "wek_localtime_offset": (ctypes.c_int32, ()),
    "wek_time_stamp_local": (ctypes.c_uint32, ()),
    "wek_date_stamp": (ctypes.c_uint16, ()),
    "days_in_year": (ctypes.c_int32, (ctypes.c_int32,)),
    "days_in_month": (ctypes.c_int32, (ctypes.c_int32, ctypes.c_int32)),
    "data_to_date": (ctypes.c_int, (ctypes.c_int32, ctypes.c_int32, ctypes.c_int32, _UINT16_P)),
    "wek_gmtime": (_TM_P, (_INT32_P,)),
    "wek_localtime": (_TM_P, (_INT32_P,)),
    "tav_mktime": (ctypes.c_long, (_TM_P,)),
    "tav_gmtime": (_TM_P, (_TIME_P,)),
    "tav_ctime": (ctypes.c_void_p, (_TIME_P,)),
    "tav_localtime": (_TM_P, (_TIME_P,)),
    "RestoreTZ": (None, ()),
    "date_to_string": (ctypes.c_size_t, (_CHAR_P, ctypes.c_uint16)),
    "time_to_string": (ctypes.c_size_t, (_CHAR_P, ctypes.c_int32)),
    "date_to_line": (ctypes.c_int, (ctypes.c_uint16, _CHAR_P, ctypes.c_char_p)),
    "time_to_line": (ctypes.c_int, (ctypes.c_int32, _CHAR_P, ctypes.c_char_p)),
    "print_date_line": (ctypes.c_int, (ctypes.c_uint16, ctypes.c_char_p)),
    "print_time_line": (ctypes.c_int, (ctypes.c_int32, ctypes.c_char_p)),
    "fprint_date_line": (ctypes.c_int, (ctypes.c_void_p, ctypes.c_uint16, ctypes.c_char_p)),
    "fprint_time_line": (ctypes.c_int, (ctypes.c_void_p, ctypes.c_int32, ctypes.c_char_p)),
    "k7_date_format": (None, (ctypes.c_char_p, _CHAR_P)),
    "orla_strptime": (None, (ctypes.c_char_p, ctypes.c_char_p, _TM_P)),
    "k7_parse_date": (ctypes.c_int, (ctypes.c_char_p, _INT32_P, _INT32_P, _INT32_P)),
    "string_to_date": (ctypes.c_int, (ctypes.c_char_p, _UINT16_P)),
    "string_to_time": (ctypes.c_int32, (ctypes.c_char_p,)),
    # orla/uuid.h
    "orla_uuid_gen": (None, (_UUID_P,)),
    "orla_uuid_encode": (ctypes.c_int, (_UUID_P, _CHAR_P)),
    "orla_uuid_decode": (None, (ctypes.c_char_p, _UUID_P, _UINT32_P)),
    "orla_reserved_uuid_gen": (None, (_UUID_P, ctypes.c_uint16)),
    "orla_reserved_uuid_inflate": (None, (_UUID_P, ctypes.c_uint32, ctypes.c_uint16,
                                          ctypes.c_uint16)),
    "orla_uuid_cmp": (ctypes.c_int, (_UUID_P, _UUID_P)),
    "orla_uuid_equal": (ctypes.c_int, (_UUID_P, _UUID_P)),
    "orla_uuid_hash": (ctypes.c_uint32, (_UUID_P, ctypes.c_uint32)),
    # orla/profile.h
    "orla_cfg_get_private_profile_int": (ctypes.c_int, (ctypes.c_char_p, ctypes.c_char_p,
                                                        ctypes.c_int, ctypes.c_char_p)),
    "orla_cfg_get_private_profile_string": (ctypes.c_uint, (ctypes.c_char_p, ctypes.c_char_p,
                                                            ctypes.c_char_p, _CHAR_P,
                                                            ctypes.c_uint, ctypes.c_char_p)),
    "orla_cfg_write_private_profile_string": (ctypes.c_int, (ctypes.c_char_p, ctypes.c_char_p,
                                                             ctypes.c_char_p, ctypes.c_char_p)),
    "orla_cfg_file": (None, (_CHAR_P, _CHAR_P)),
    "orla_i_cfg_read_line": (ctypes.c_int, (ctypes.c_void_p, _CHAR_P)),
    "create_temporary_name": (ctypes.c_int, (_CHAR_P,)),
    "copy_file": (ctypes.c_int, (ctypes.c_char_p, ctypes.c_char_p)),
    # orla/trace.h
    "TavTrace": (None, (_CHAR_P,)),
    # orla/loader.h
    "orla_slnk_allocate_library_id": (ctypes.c_void_p, ()),
    "orla_slnk_load_library": (None, (ctypes.c_char_p, ctypes.c_void_p, _UINT32_P)),
    "orla_slnk_get_proc_addr": (ctypes.c_void_p, (ctypes.c_void_p, ctypes.c_char_p, _UINT32_P)),
    "orla_slnk_free_library": (ctypes.c_int, (ctypes.c_void_p,)),
    "orla_slnk_free_library_id": (None, (ctypes.c_void_p,)),
    # orla/token.h
    "get_first_delimited_token_in_string": (ctypes.c_void_p, (ctypes.c_char_p, ctypes.c_char,
                                                              _CHAR_P, ctypes.c_int)),
    "get_delimited_token_in_string": (ctypes.c_void_p, (ctypes.c_char_p, ctypes.c_short,
                                                        ctypes.c_char, _CHAR_P, ctypes.c_int)),
    "count_delimited_tokens_in_string": (ctypes.c_short, (ctypes.c_char_p, ctypes.c_char)),
    # orla/byteorder.h, and the converters, whose results have 32 bits
    "swap": (None, (_CHAR_P, _CHAR_P)),
    "htonl": (ctypes.c_uint32, (ctypes.c_uint32,)),
    "htons": (ctypes.c_uint32, (ctypes.c_uint16,)),
    "ntohl": (ctypes.c_uint32, (ctypes.c_uint32,)),
    "ntohs": (ctypes.c_uint32, (ctypes.c_uint16,)),
    # orla/names.h
    "orla_get_user_name": (None, (_CHAR_P,)),
    "orla_get_group_name": (None, (_CHAR_P,)),
    "orla_get_node_name": (None, (_CHAR_P,)),
}

# Variable to type, as the headers declare them.
VARIABLES: dict[str, Any] = {
    "orlalib_verbose": ctypes.c_int32,
    "orlathr_verbose": ctypes.c_int32,
    "statuslog": ctypes.c_char * STATUSLOG_SIZE,
    "k7_uuid__nil": UuidRecord,
    "orla_uuid_host_provider": Provider,
    "orla_ls_user": ctypes.c_char_p,
    "orla_ls_group": ctypes.c_char_p,
}
