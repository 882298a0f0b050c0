# SPDX-License-Identifier: GPL-2.0-or-later
"""What the documentation of all modules has alike."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type


class ModuleDocFragment(object):
    DOCUMENTATION = r"""
options:
  yatctl:
    description: The program, if it is neither in the path nor in C(/opt/kiv/yatkit/bin).
    type: path
requirements:
  - yatctl on the managed machine
"""
