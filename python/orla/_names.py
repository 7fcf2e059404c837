"""User, group and node."""

from __future__ import annotations

import sys

from orla._library import filled, libc
from orla._table import NAME_SIZE, NODE_NAME_SIZE

__all__ = ["orla_get_group_name", "orla_get_node_name", "orla_get_user_name"]


def orla_get_user_name() -> str:
    """Name of the real user, "unknown" without an entry."""
    return filled("orla_get_user_name", NAME_SIZE)


def orla_get_group_name() -> str:
    """Name of the real group, "unknown" without an entry."""
    return filled("orla_get_group_name", NAME_SIZE)


def orla_get_node_name() -> str:
    """Name of this node, empty when there is no provider."""
    sys.stdout.flush()
    name = filled("orla_get_node_name", NODE_NAME_SIZE)
    libc.fflush(None)
    return name
