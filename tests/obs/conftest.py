# SPDX-License-Identifier: GPL-2.0-or-later
"""One case of the probe module in a fresh OBS: pytest tests/obs --host 32 --case FilterProcessesPicture."""

import pathlib

import pytest
from obs_run import ROOT, ObsRun


def pytest_addoption(parser):
    parser.addoption("--host", default="32", help="the OBS of which sandbox (32)")
    parser.addoption("--case", help="a case of the probe")
    parser.addoption("--build", type=pathlib.Path, default=ROOT / "build/linux", help="the build folder (build/linux)")


@pytest.fixture
def obs_run(request):
    options = request.config.option
    if not options.case:
        raise pytest.UsageError("--case names the case")
    return ObsRun(options.host, options.case, options.build.resolve())
