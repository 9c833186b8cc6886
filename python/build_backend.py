"""Setuptools as the build backend, from the distribution's packages.

With build isolation pip hides them and would fetch them from the network.
"""

import sys

try:
    import setuptools  # noqa: F401
    import wheel  # noqa: F401
except ImportError:
    sys.path.append("/usr/lib/python3/dist-packages")

from setuptools.build_meta import *  # noqa: E402, F403


def get_requires_for_build_wheel(config_settings=None):
    """Nothing for pip to fetch."""
    return []
