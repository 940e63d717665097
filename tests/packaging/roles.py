"""Who calls on the bus: root, a member of the group, or anybody else, in two ways.

Any user can play each role, when the policy says so in place of the names that it has. Root can
also have real users call, under the policy as it is.
"""
from __future__ import annotations

import grp
import os
import pwd

from world import SERVICE, SOURCES

POLICY = SOURCES / "data/dbus/com.quorin.system.conf"
ROLES = ("root", "member", "other")

# No user and no group of any machine.
_NO_ID = 64123
# The message bus knows no users and groups but the machine's.
_GROUP = grp.getgrnam("daemon").gr_gid
_NOBODY = pwd.getpwnam("nobody").pw_uid
_IDS = {
    "root": ["--reuid=0", "--regid=0", "--clear-groups"],
    "member": [f"--reuid={_NOBODY}", f"--regid={_NOBODY}", f"--groups={_GROUP}"],
    "other": [f"--reuid={_NOBODY}", f"--regid={_NOBODY}", "--clear-groups"],
}


def _with_roles(user: int | str, group: int | str, owner: str = "") -> str:
    text = POLICY.read_text().replace('user="root"', f'user="{user}"')
    text = text.replace('group="dov"', f'group="{group}"')
    return text.replace("</busconfig>", f"{owner}</busconfig>")


def policy_for_this_user(role: str) -> str:
    """Puts whoever runs this into the role. The daemon may own its name in each."""
    owner = f'<policy user="{os.getuid()}"><allow own="{SERVICE}"/></policy>'
    return {
        "root": _with_roles(os.getuid(), _NO_ID),
        "member": _with_roles(_NO_ID, os.getgid(), owner),
        "other": _with_roles(_NO_ID, _NO_ID, owner),
    }[role]


def policy_for_real_users() -> str:
    """As it is, but for the number of a group in place of a name."""
    return _with_roles("root", _GROUP)


def command_as(role: str) -> list[str]:
    """What stands in front of a command that a real user in this role runs."""
    return ["setpriv", *_IDS[role]]
