"""Code books, vector tools, psychoacoustics, and whole decoders and an encoder made of the AAC and Layer III parts."""
import numpy as np
import pytest

import moxac
from moxac import aac, mp3, vectors, vlc, vq
from moxac.records import BitReader, Record


def test_code_book_writes_the_words_and_reads_them_back(rng):
    words = {5: "0", -3: "100", 7: "101", 0: "1100", 1000: "1101", -1000: "111"}
    book = vlc.Codebook(list(words), [int(w, 2) for w in words.values()], [len(w) for w in words.values()], levels=[2, 2])
    values = rng.choice(list(words), (3, 200)).astype(np.int16)
    text = "".join(words[v] for v in values[0])
    encoded = book.encode(values[0])
    assert encoded.bits == len(text) == book.count(values[0])
    assert "".join(f"{byte:08b}" for byte in encoded.data) == text + "0" * (-len(text) % 8)
    assert book.count(values).tolist() == [sum(len(words[v]) for v in row) for row in values]

    out = np.empty(200, np.int16)
    assert book.decode(encoded.data, 200, out=out).position == len(text) and np.array_equal(out, values[0])
    skipped = sum(len(words[v]) for v in values[0, :77])
    assert np.array_equal(book.decode(encoded.data.tobytes(), 123, skipped).values, values[0, 77:])
    with pytest.raises(EOFError):
        book.decode(encoded.data, 400 + 8 * 200)
    with pytest.raises(moxac.MoxacError) as caught:
        book.encode([5, 6])
    assert caught.value.name == "moxStatusVlcError"


def test_escapes_and_tuples():
    # Rows of (15, 2) in Layer III's table 24 and of (16, 3) in AAC's code book 11, and all pairs they need.
    layer3 = vlc.Codebook([242, 0], [0b0010011, 0b1], [7, 1], escape="mp3", lin_bits=4)
    encoded = layer3.encode([18, -2, 0, 0])
    assert encoded.bits == 14 and np.array_equal(layer3.decode(encoded.data, 4).values, [18, -2, 0, 0])
    book11 = vlc.Codebook([525, 0], [0b1001011001, 0b0], [10, 1], escape="aac")
    encoded = book11.encode([19, -3, 0, 0])
    assert bytes(encoded.data) == bytes([0b10010110, 0b01000110]) and encoded.bits == 16
    assert np.array_equal(book11.decode(encoded.data, 4).values, [19, -3, 0, 0])
    pairs = vlc.TupleCodebook([112, 0], [0b10010110, 0b0], [8, 1], 2, 5, escape="aac")
    assert np.array_equal(pairs.decode(encoded.data, 4).values, [19, -3, 0, 0])


def test_vector_tools(rng):
    x = rng.integers(-8000, 8000, (3, 40)).astype(np.int16)
    power = np.sign(x) * np.abs(x.astype(float)) ** (4 / 3)
    assert np.allclose(vectors.pow43(x), power, rtol=1e-7)
    assert np.allclose(vectors.pow34(vectors.pow43(x)), x, rtol=1e-6)
    assert np.array_equal(vectors.pow34(vectors.pow43(x), out=np.empty_like(x)), x)
    assert np.array_equal(vectors.pow34_scaled(x, 2), np.rint(np.sign(x) * np.abs(x.astype(float)) ** 0.75 / 4))
    assert np.allclose(vectors.gains([100, 101, 96]), 2.0 ** (np.array([0, 1, -4]) / 4))
    assert np.allclose(vectors.make_float(x, np.full(x.shape, 3)), x * 2.0**-18)

    offsets, scales = [0, 4, 10, 40], np.array([[3, -2, 8]] * 3, np.int16)
    width = np.diff(offsets)
    assert np.allclose(vectors.scale_bands(power, [2, 3, 4], offsets), power * np.repeat([2, 3, 4], width), rtol=1e-6)
    assert np.array_equal(vectors.spread_bands(scales, offsets, 42)[:, :40], np.repeat(scales, width, axis=1))
    assert np.array_equal(vectors.requantise_bands(x, scales, offsets),
                          np.rint(power * 2.0 ** (np.repeat(scales, width, axis=1) / 4)))
    for bad in ([0, 41], [-1, 3], [0]):
        with pytest.raises(ValueError, match="band_offsets"):
            vectors.scale_bands(power, [1], bad)

    for samples in (x, x.astype(np.float32)):
        assert np.array_equal(vectors.interleave(samples), samples.T)
        assert np.array_equal(vectors.deinterleave(samples.T), samples)
    assert np.array_equal(vectors.join([[1.5, 2.5, 1e6], [-0.5, 3.5, -1e6]]), [[2, 0], [2, 4], [32767, -32768]])


def test_block_filter_is_a_filter_along_the_blocks(rng):
    from scipy.signal import lfilter

    x, weights = rng.standard_normal((2, 3, 20, 8)), [0.5, -0.25, 0.125]
    want = lfilter(weights, 1, x, axis=-2)
    assert np.allclose(moxac.fir_block(x, weights), want, atol=1e-6)
    fir = moxac.FirBlock(3, 8)
    pieces = [fir.process(x[0, 0, :7], weights), fir.process(x[0, 0, 7], weights)[None], fir.process(x[0, 0, 8:], weights)]
    assert np.allclose(np.concatenate(pieces), want[0, 0], atol=1e-6)


def test_vector_quantisation_finds_the_best_pair(rng):
    c = rng.standard_normal((2, 12, 6)).astype(np.float32)
    books = [vq.CodeBook(vectors_, signed=True) for vectors_ in c]
    x, weights = rng.standard_normal((4, 5, 6)), rng.uniform(0.5, 2, 6)
    index = vq.search(x, *books, candidates=12, weights=weights)
    assert index[0].shape == (4, 5)
    y = vq.reconstruct(*index, *books)
    signed = [np.concatenate([v, -v]).astype(float) for v in c]
    pairs = (signed[0][:, None] + signed[1][None]) / 2
    best = ((x[..., None, None, :] - pairs) ** 2 * weights).sum(-1).min((-1, -2))
    assert np.allclose(((x - y) ** 2 * weights).sum(-1), best, rtol=1e-5)
    assert np.allclose(y, (signed[0][index[0]] + signed[1][index[1]]) / 2)
    assert set(books[0].nearest(c[0][7] * 1.01, 3)) >= {7}


def test_psychoacoustics_hears_tones_and_attacks():
    t = np.arange(40 * 576)
    x = 8000 * np.sin(2 * np.pi * 1000 / 44100 * t) + 3 * np.cos(t * t * 0.1)
    x[20 * 576 :][:30] += 20000
    psy = moxac.psychoacoustics(np.stack([x, x * 0], 1).astype(np.int16), 44100)
    assert psy.shape == (40, 2)
    assert psy["energyLong"][10, 0].argmax() == 6 and not psy["energyLong"][10, 1].any()  # 919 to 1148 Hz
    ratio = 10 * np.log10(psy["energyLong"][10, 0, 6] / psy["thresholdLong"][10, 0, 6])
    assert 12 < ratio < 35  # a tone
    assert psy["blockType"][18:23, 0].tolist() == [0, 1, 2, 3, 0]
    with pytest.raises(ValueError):
        moxac.psychoacoustics(x.astype(np.int16), 22050)


def decode_aac(data):
    banks, random, blocks = {}, 1, []
    for header, payload in aac.adts_frames(data):
        samples = []
        for element, channels, pair in aac.read_block(payload, header.samplingRateIndex):
            for channel in channels:
                channel.dequantise()
            if pair is not None:
                aac.mid_side(*channels, pair)
            random = aac.substitute_noise(channels, pair, random)
            if pair is not None:
                aac.intensity(*channels)
            for channel in channels:
                bank = banks.setdefault(len(samples), aac.Synthesis())
                lines = channel.tns(channel.lines())
                samples.append(bank.process(lines, channel.ics.windowSequence, channel.ics.windowShape))
        blocks.append(np.stack(samples, 1))
    return np.concatenate(blocks)


@pytest.mark.parametrize("name", ["aac_44100_stereo128.aac", "aac_44100_random_lc.aac", "aac_44100_short_crc.aac"])
def test_aac_decoder_of_the_parts(stream, name):
    data, want = stream(name)
    assert np.abs(decode_aac(data).astype(int) - want).max() <= 1


def test_aac_noise_levels(stream):
    data, want = stream("aac_44100_pns32.aac")
    got, want = ([10 * np.log10((np.abs(moxac.mdct_frames(x[:, 0], 2048)[:, 400:700]) ** 2).mean())]
                 for x in (decode_aac(data).astype(float), want))
    assert abs(got[0] - want[0]) < 0.5


def test_aac_parsers_stop_where_the_data_end(stream):
    data, _ = stream("aac_44100_stereo128.aac")
    header, payload = next(aac.adts_frames(b"junk" + data))
    assert (header.channelConfig, aac.SAMPLING_RATES[header.samplingRateIndex]) == (2, 44100)
    assert header.as_dict()["profile"] == 1 and "frameLen=" in repr(header)
    with pytest.raises((EOFError, moxac.MoxacError)):
        list(aac.read_block(payload[: len(payload) // 2], header.samplingRateIndex))
    reader = BitReader(b"\xff\xff")  # a fill element of more bytes than there are
    for _ in range(2):
        with pytest.raises(EOFError):
            aac.fill(reader)
    with pytest.raises(AttributeError):
        header.frameLength = 3
    assert aac.band_offsets(4)[[0, 1, -1]].tolist() == [0, 4, 1024] and len(aac.band_offsets(4, 128)) == 15


def test_aac_tns_and_predictions(rng):
    lines = rng.integers(-(2**20), 2**20, 1024).astype(np.int32)
    side = dict(n_filt=1, length=40, order=4, coef_res=4, coef=[3, -2, 1, 1], direction=0, max_sfb=49, rate_index=4)
    shaped = aac.tns(lines, encode=True, **side)
    assert np.abs(shaped - lines).max() > 1000
    assert np.abs(aac.tns(shaped, **side) - lines).max() < 64  # the filters' rounding
    with pytest.raises(ValueError, match="coef"):
        aac.tns(lines, **{**side, "order": 5})

    encoder, decoder = aac.Predictor(672), aac.Predictor(672)
    tone = 8000 * np.cos(2 * np.pi * 30 / 1024 * np.arange(41 * 1024))
    for f in range(40):
        line = moxac.mdct(tone[1024 * f :][:2048] * moxac.sine_window(2048))[:672]
        left = encoder.encode(line)
        assert np.abs(decoder.decode(left) - line).max() <= 1e-3 * np.abs(line).max()
    assert np.square(left).sum() < 0.1 * np.square(line).sum()

    bank, ltp = aac.Synthesis(), Record("MoxAacLtpInfo", ltpDataPresent=1, ltpLag=1024, ltpCoef=16384)
    ltp.longUsed[:] = 1
    for f in range(4):
        words = aac.forward_mdct((tone[1024 * f :][:2048] * 2**aac.TIME_FRAC_BITS).astype(np.int32))
        predicted = bank.predict(ltp)
        if f == 3:
            assert np.square((words - predicted).astype(float)).sum() < 0.02 * np.square(words.astype(float)).sum()
            assert np.abs(aac.add_prediction(predicted, (words - predicted), ltp, 40, 4)[:672] - words[:672]).max() < 16
        bank.process(words)


def decode_mp3(data):
    main, blocks, factors = b"", [], np.zeros((2, 39), np.int8)
    hybrids, banks = [mp3.HybridSynthesis(), mp3.HybridSynthesis()], [mp3.FixedPolyphaseSynthesis() for _ in "LR"]
    for header, frame in mp3.frames(data):
        reader = BitReader(frame, 32 if header.protectionBit else 48)
        side, count = mp3.side_info(reader, header), mp3.channels(header)
        main = main[len(main) - side.main_data_begin :] + frame[reader.position // 8 :]
        reader, at = BitReader(main), 0
        for g, records in enumerate(side.records):
            lines, bounds = np.zeros((count, 576), np.int32), [0] * count
            for ch, record in enumerate(records):
                reader.position, at = at, at + record.part23Len
                mp3.scale_factors(reader, record, side.scfsi[ch], header, g, ch, out=factors[ch])
                lines[ch], bounds[ch] = mp3.huffman_decode(reader, record, header, at - reader.position)
            lines, bounds = mp3.requantise(lines, bounds, factors[:count], records, header)
            slots = [hybrids[ch].process(lines[ch], r.blockType, r.mixedBlock, bounds[ch]) for ch, r in enumerate(records)]
            blocks.append(np.stack([banks[ch].process(s) for ch, s in enumerate(slots)], 1))
    return np.concatenate(blocks)


@pytest.mark.parametrize("name", ["mp3_44100_joint128_short.mp3", "mp3_22050_joint64.mp3", "mp3_32000_mono64_crc.mp3"])
def test_mp3_decoder_of_the_parts(stream, name):
    data, want = stream(name)
    assert np.abs(decode_mp3(data).astype(int) - want).max() <= 1


def encode_mp3(x, rate, bit_rate_index):
    header = Record("MoxMp3FrameHeader", id=1, layer=1, protectionBit=1, bitRateIndex=bit_rate_index, mode=1,
                    samplingFreq={44100: 0, 48000: 1, 32000: 2}[rate])
    psy = moxac.psychoacoustics(x, rate)
    banks = [(mp3.FixedPolyphaseAnalysis(), mp3.HybridAnalysis()) for _ in "LR"]
    lines = np.array([[hybrid.process(bank.process(x[576 * g : 576 * (g + 1), ch]), header, psy["blockType"][g, ch])
                       for ch, (bank, hybrid) in enumerate(banks)] for g in range(len(psy))])
    reservoir, heads, main, ends = mp3.bit_reservoir(header), [], b"", [0]
    for f in range(0, len(lines), 2):
        coded = mp3.joint_stereo(lines[f : f + 2], psy[f : f + 2], header)
        room = mp3.frame_bytes(header) - 36
        frame = mp3.quantise(*coded, header, reservoir, 8 * room)
        heads.append(mp3.pack_head(header, frame.side))
        ends.append(ends[-1] + room)
        main = (main + mp3.pack_main_data(frame, header)[0]).ljust(ends[-1] - reservoir.resBits // 8, b"\0")
    main = main.ljust(ends[-1], b"\0")
    return b"".join(head + main[ends[i] : ends[i + 1]] for i, head in enumerate(heads))


def test_mp3_encoder_of_the_parts():
    t = np.arange(1152 * 30)
    x = np.stack([9000 * np.sin(2 * np.pi * f / 44100 * t) for f in (440, 660)], 1).astype(np.int16)
    decoded = decode_mp3(encode_mp3(x, 44100, 9))
    delay = 481 + 576
    error = decoded[delay:].astype(float) - x[:-delay]
    assert np.square(error).sum() < 1e-3 * np.square(x.astype(float)).sum()


def test_float_polyphase_banks_give_the_signal_back(rng):
    x = rng.standard_normal((2, 3200))
    y = mp3.PolyphaseSynthesis((2,)).process(mp3.PolyphaseAnalysis((2,)).process(x))
    assert np.abs(y[:, 481:] - x[:, :-481]).max() < 1e-3
