"""Transforms and filter banks: against double-precision formulas and scipy, by their laws, in batches and pieces."""
import threading

import numpy as np
import pytest
from scipy.fft import dct

import moxac


def direct_mdct(x):
    n = x.shape[-1]
    k, t = np.arange(n // 2)[:, None], np.arange(n)
    return 2 * x @ np.cos(2 * np.pi / n * (t + 0.5 + n / 4) * (k + 0.5)).T


def by_scipy(x):
    """The MDCT as a DCT-IV of the folded block."""
    a, b, c, d = np.split(x.astype(float), 4, axis=-1)
    return dct(np.concatenate([-c[..., ::-1] - d, a - b[..., ::-1]], -1), type=4)


@pytest.mark.parametrize("n", [12, 36, 32, 256, 2048])
def test_mdct_is_the_formula(rng, n):
    x = rng.standard_normal((2, 3, n))
    X = moxac.mdct(x)
    assert X.dtype == np.float32 and X.shape == (2, 3, n // 2)
    assert np.abs(X - direct_mdct(x)).max() < 2e-6 * n
    assert np.abs(X - by_scipy(x)).max() < 2e-6 * n
    aliased = moxac.imdct(X)
    half = x[..., : n // 2]
    assert np.allclose(aliased[..., : n // 2], half - half[..., ::-1], atol=1e-5)


def test_16_bit_mdct_rounds_the_formula(rng):
    x = rng.integers(-32768, 32768, (4, 256)).astype(np.int16)
    for scale, given in ((9, {}), (7, {"scale_factor": 7})):
        want = np.clip(np.rint(direct_mdct(x.astype(float)) / 2**scale), -32768, 32767)
        assert np.abs(moxac.mdct(x, **given) - want).max() <= 1


@pytest.mark.parametrize("window", ["sine", "kaiser-bessel", "own"])
def test_frames_overlap_to_the_signal(rng, window):
    n = 512
    if window == "own":
        window = np.concatenate([np.sqrt(np.linspace(0, 1, n // 2)), np.sqrt(np.linspace(1, 0, n // 2))])
    x = rng.standard_normal((2, 3001))
    frames = moxac.mdct_frames(x, n, window)
    assert frames.shape == (2, 13, 256)
    out = np.empty((2, 3001), np.float32)
    assert moxac.imdct_frames(frames, window, 3001, out=out) is out
    assert np.abs(out - x).max() < 1e-5
    with pytest.raises(ValueError):
        moxac.mdct_frames(x, n, "hann")


def test_windows_are_those_of_the_filter_bank():
    words = np.zeros(1024, np.int32)
    words[3] = 1 << 24
    for shape, window in enumerate((moxac.sine_window(2048), moxac.kaiser_bessel_window(2048, 4))):
        bank = moxac.aac.Synthesis()
        bank.previous_shape = shape
        got = np.concatenate([bank.process(words, 0, shape), bank.process(words * 0, 0, shape)])
        line = np.zeros(1024)
        line[3] = (1 << 24) / 2**moxac.aac.SPECTRUM_FRAC_BITS
        assert np.abs(got - moxac.imdct(line) * window).max() < 0.51


def test_threads_may_share_a_plan(rng):
    x = rng.standard_normal((4, 1 << 17)).astype(np.float32)  # long enough for the calls to overlap
    want, plan, wrong = moxac.mdct(x), moxac.MdctPlan(1 << 17), []

    def run():
        for _ in range(5):
            if not np.array_equal(plan(x), want):
                wrong.append(1)

    threads = [threading.Thread(target=run) for _ in range(4)]
    [t.start() for t in threads], [t.join() for t in threads]
    assert not wrong


def direct_analysis(x):
    """The complex 32-band analysis as the standard writes it, in double precision."""
    window, padded = moxac.qmf.PROTOTYPE[::2].astype(float), np.concatenate([np.zeros(288), x])
    n, k = np.arange(64), np.arange(32)[:, None]
    turn = 2 * np.exp(1j * np.pi / 64 * (k + 0.5) * (2 * n - 0.5))
    slots = [turn @ (padded[t : t + 320][::-1] * window).reshape(5, 64).sum(0) for t in range(0, len(x), 32)]
    return np.array(slots)


def test_complex_analysis_is_the_formula(rng):
    x = rng.standard_normal(640)
    assert np.abs(moxac.qmf_analysis(x) - direct_analysis(x)).max() < 1e-4
    assert not moxac.qmf_analysis(x, kept=10)[:, 10:].any()


@pytest.mark.parametrize("dtype", [np.float32, np.int32])
@pytest.mark.parametrize("kind", ["complex", "real"])
def test_banks_give_the_signal_back_in_batches_and_pieces(rng, kind, dtype):
    x = rng.uniform(-1, 1, (2, 3, 1280)) * (2**28 if dtype == np.int32 else 1)
    x = x.astype(dtype)
    X = moxac.qmf_analysis(x, kind)
    y = moxac.qmf_synthesis(X)
    error = y[..., 289:].astype(float) - x[..., :-289]
    assert np.sqrt((error**2).mean() / (x.astype(float) ** 2).mean()) < 10 ** (-55 / 20)

    analysis, synthesis = moxac.QmfAnalysis(kind, (2, 3), dtype), moxac.QmfSynthesis(kind, (2, 3), dtype, 32)
    pieces = [analysis.process(x[..., :320]), analysis.process(x[..., 320:])]
    assert np.array_equal(np.concatenate(pieces, 2), X)
    assert np.array_equal(np.concatenate([synthesis.process(p) for p in pieces], 2), y)
    assert np.array_equal(moxac.qmf_analysis(x[1, 2], kind), X[1, 2])

    wide = np.zeros((*X.shape[:3], 64, *X.shape[4:]), X.dtype)  # 64 bands: the doubled rate
    wide[:, :, :, :32] = X
    double = moxac.qmf_synthesis(wide)
    assert double.shape == (2, 3, 2560)
    assert np.sqrt(((double[..., 578::2].astype(float) - x[..., :-289]) ** 2).mean() / (x.astype(float) ** 2).mean()) < 3e-3
    with pytest.raises(ValueError):
        analysis.process(x[0])
    with pytest.raises(ValueError):
        analysis.process(x[..., :33])


def test_prediction_and_hybrid(rng):
    """An autoregressive sub-band is predicted with its own coefficients; the hybrid's parts add up to the band."""
    alpha = np.array([-0.9 + 0.3j, 0.4 - 0.1j])
    x = np.zeros((2, 4002, 3), complex)
    drive = rng.standard_normal((2, 4002, 3, 2)) @ [1, 1j]
    for t in range(2, 4002):
        x[:, t] = drive[:, t] - alpha[0] * x[:, t - 1] - alpha[1] * x[:, t - 2]
    alpha0, alpha1 = moxac.qmf.prediction_coefficients(x)
    assert np.abs(alpha0 - alpha[0]).max() < 0.06 and np.abs(alpha1 - alpha[1]).max() < 0.06

    X = (rng.standard_normal((2, 40, 5, 2)) @ [1, 1j]).astype(np.complex64)
    for configuration, parts in ((20, (6, 2, 2)), (34, (12, 8, 4, 4, 4))):
        hybrid = moxac.qmf.hybrid_analysis(X, configuration)
        begin = 0
        for band, count in enumerate(parts):
            together = hybrid[..., begin : begin + count].sum(-1)
            assert np.abs(together - X[:, 6:34, band]).max() < 1e-5
            begin += count


def test_dts_bank_mirrored_gives_the_signal_back(rng):
    bank = moxac.DtsSynthesis(True, (32,))
    impulses = np.zeros((32, 16, 32), np.float32)
    impulses[np.arange(32), 0, np.arange(32)] = 1
    responses = bank.process(impulses)  # a bank for every band
    x = rng.standard_normal(4096)
    reversed_in_time = np.array([np.convolve(x, r[::-1])[31 : 31 + 4096 : 32] for r in responses]).T
    y = moxac.DtsSynthesis().process(reversed_in_time)
    error = y[480:] / 32 - x[: 4096 - 480]
    assert np.sqrt((error[512:] ** 2).mean()) < 1e-3


def test_encoder_tools_hear_tones_and_attacks(rng):
    slots = 34
    t = np.arange(64 * slots * 2)
    x = 1e-3 * rng.standard_normal((2, len(t)))
    x[0] += np.sin(2 * np.pi * 20.5 / 128 * t)  # the middle of band 20
    x[1, 64 * 50 :] += rng.standard_normal(64 * 18)  # an attack
    bank = moxac.qmf.QmfEncoderAnalysis((2,))
    X = np.concatenate([bank.process(x[:, : 64 * slots]), bank.process(x[:, 64 * slots :])], 1)
    y = moxac.qmf_synthesis(X)
    assert np.abs(y[:, 577:] - x[:, :-577]).max() < 0.01
    ratio = moxac.qmf.tonality(X[:, 10:40])
    assert ratio[0].argmax() == 20 and ratio[0, 20] > 1e4 and ratio[1].max() < 100
    attacks = []
    for channel in X:
        with moxac.qmf.TransientDetector() as detector:
            detector.process(channel[:32])
            attacks.append(detector.process(channel[30:64]))
    assert attacks[0] == (None, 0) and attacks[1][0] in (23, 24, 25) and attacks[1][1] > 3
