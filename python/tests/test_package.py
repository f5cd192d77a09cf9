"""The package as a whole: declarations, statuses, contexts, arrays, wheel and sdist."""
import gc
import os
import re
import subprocess
import sys
import tarfile
import zipfile

import numpy as np
import pytest

import moxac
from conftest import ROOT
from moxac import raw, vlc, vq


def test_declarations_are_the_headers():
    subprocess.run([sys.executable, ROOT / "tools/gen_python_declarations.py", "--check"], check=True)


def test_every_export_is_reachable_and_typed():
    exports = [line for line in (ROOT / "exports.txt").read_text().split() if line.startswith("mox")]
    assert len(exports) == 213
    stub = (ROOT / "python/moxac/raw.pyi").read_text()
    compile(stub, "raw.pyi", "exec")
    for name in exports:
        assert callable(getattr(raw, name)) and f"def {name}(" in stub, name
    assert raw.moxStatusBadSize == -6 and moxac.library_version().startswith("8.")
    with pytest.raises(AttributeError):
        raw.moxsNothing


def test_statuses_are_exceptions_with_name_and_sentence():
    with pytest.raises(moxac.MoxacError) as caught:
        moxac.mdct(np.zeros(100, np.float32))
    error = caught.value
    assert (error.status, error.name) == (-6, "moxStatusBadSize")
    assert error.sentence in re.sub(r"\s+", " ", (ROOT / "include/moxac/types.h").read_text())
    assert error.operation == "moxsMDCTFwdGetSize_32f" and error.name in str(error) and error.sentence in str(error)


def test_closed_contexts_refuse_and_forgotten_ones_go():
    books = vq.CodeBook(np.eye(4)), vlc.Codebook([0, 1], [0, 1], [1, 1])
    made = [moxac.MdctPlan(64), moxac.QmfAnalysis(), moxac.DtsSynthesis(), moxac.FirBlock(2, 64), *books]
    uses = [lambda c: c(np.zeros(64)), lambda c: c.process(np.zeros(64)), lambda c: c.process(np.zeros((2, 32))),
            lambda c: c.process(np.zeros(64), [1, 1]), lambda c: c.nearest(np.zeros(4)), lambda c: c.count([0, 1])]
    for context, use in zip(made, uses):
        with context as same:
            assert same is context and not context.closed
            use(context)
        context.close()  # again: nothing
        with pytest.raises(ValueError, match="closed"):
            use(context)

    def resident():
        return int(re.search(r"VmRSS:\s+(\d+)", open("/proc/self/status").read())[1])

    for round_ in range(3):
        for _ in range(300):
            moxac.FirBlock(64, 4096)  # 1 MiB each
        gc.collect()
        if round_ == 0:
            before = resident()
    assert resident() - before < 100_000


def test_shapes_dtypes_and_out(rng):
    x = rng.standard_normal((3, 64)).astype(np.float32)
    want = moxac.mdct(x)
    for view in (x.astype(float), x.tolist(), np.asfortranarray(x), np.repeat(x, 2, axis=1)[:, ::2]):
        assert np.array_equal(moxac.mdct(view), want)
    assert np.array_equal(moxac.mdct(x[::-1]), want[::-1])
    assert moxac.mdct(np.zeros((0, 64))).shape == (0, 32)

    out = np.zeros((6, 32), np.float32)
    assert moxac.mdct(x, out=out[::2]).base is out and np.array_equal(out[::2], want) and not out[1::2].any()
    overlapping = np.zeros((3, 64), np.float32)
    overlapping[:] = x
    moxac.mdct(overlapping, out=overlapping[::-1, :32])
    assert np.array_equal(overlapping[::-1, :32], want)

    for bad in (np.zeros((3, 31), np.float32), np.zeros((64, 3), np.float32).T[:, :32]):
        with pytest.raises(ValueError, match="out"):
            moxac.mdct(x, out=bad)
    with pytest.raises(TypeError, match="out"):
        moxac.mdct(x, out=np.zeros((3, 32)))
    frozen = np.zeros((3, 32), np.float32)
    frozen.flags.writeable = False
    with pytest.raises(ValueError, match="read-only"):
        moxac.mdct(x, out=frozen)
    with pytest.raises(TypeError):
        moxac.mdct(x + 1j)
    with pytest.raises(TypeError):
        moxac.vectors.pow43([40000])  # does not fit int16
    with pytest.raises(TypeError):
        moxac.vectors.pow43([0.5])


def test_the_walk_of_the_documentation_runs(tmp_path):
    subprocess.run([sys.executable, ROOT / "tools/run_python_walk.py", tmp_path], check=True, capture_output=True)
    shown = re.findall(r"\]\(python/(.*?)\)", (ROOT / "docs/python.md").read_text())
    assert len(shown) == 3 and all((tmp_path / name).stat().st_size > 10_000 for name in shown)
    assert {path.name for path in (ROOT / "docs/python").iterdir()} == set(shown)


def test_wheel_and_sdist_build_offline(tmp_path):
    source = tmp_path / "python"
    subprocess.run(["cp", "-r", ROOT / "python", source], check=True)
    subprocess.run([sys.executable, "-m", "build", "--no-isolation", "--outdir", tmp_path / "dist", source], check=True,
                   capture_output=True)
    wheel, = (tmp_path / "dist").glob("*.whl")
    sdist, = (tmp_path / "dist").glob("*.tar.gz")
    names = set(zipfile.ZipFile(wheel).namelist())
    assert {"moxac/__init__.py", "moxac/_generated.py", "moxac/raw.pyi", "moxac/py.typed"} <= names
    assert any(name.endswith("tests/test_package.py") for name in tarfile.open(sdist).getnames())
    subprocess.run([sys.executable, "-m", "zipfile", "-e", wheel, tmp_path / "installed"], check=True)
    code = "import moxac, numpy; print(moxac.mdct(numpy.ones(32)).shape, moxac.__file__)"
    done = subprocess.run([sys.executable, "-c", code], check=True, capture_output=True, text=True, cwd=tmp_path,
                          env={"PYTHONPATH": str(tmp_path / "installed"), "MOXAC_LIBRARY_DIR": os.environ["MOXAC_LIBRARY_DIR"]})
    assert done.stdout.startswith("(16,)") and str(tmp_path / "installed") in done.stdout
