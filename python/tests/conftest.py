# SPDX-License-Identifier: MIT
import os
import sys

import numpy as np
import pytest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), os.pardir))  # the package beside the tests
import qmath  # noqa: E402


def pytest_report_header(config):
    return f"qmath library: {qmath.library_path()}"


@pytest.fixture
def rng():
    return np.random.default_rng(12)
