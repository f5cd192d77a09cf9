"""Where the library and the bundled streams are when the tests run in the source tree."""
import os
import sys
from pathlib import Path

import numpy as np
import pytest

ROOT = Path(__file__).resolve().parents[2]
os.environ["MOXAC_LIBRARY_DIR"] = os.path.abspath(os.environ.get("MOXAC_LIBRARY_DIR", ROOT / "build"))
sys.path.insert(0, str(ROOT / "python"))


@pytest.fixture
def rng():
    return np.random.default_rng(20261122)


@pytest.fixture
def stream():
    """A bundled stream's bytes and its reference samples, (samples, channels) int16."""
    from scipy.io import wavfile

    def read(name):
        path = ROOT / "tests/data/streams" / name
        samples = wavfile.read(path.with_suffix(".ref.wav"))[1]
        return path.read_bytes(), samples.reshape(len(samples), -1)

    return read
