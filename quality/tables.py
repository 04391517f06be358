# SPDX-License-Identifier: MIT
"""The figures as tables in Markdown, and the pages that hold them."""

import concurrent.futures
import functools
import itertools
import os
import re

from quality import mixes, noises, scores

RATE = 48000
LEAD_SECONDS = 3
STEADY = {"white": noises.white, "pink": noises.pink, "hum": noises.hum}
SWAYING = [noises.fan, noises.hiss, noises.motor]
SIZES = [64 << i for i in range(9)]
SIZE_COLUMNS = ["si_sdr", "stoi", "pauses", "loud_level", "weak_level"]


def measure(contenders, clean, noise, snr_db, lead_seconds=LEAD_SECONDS):
    """The noisy recording's own figures, and each contender's scores by its name: means over the seeds."""

    def with_seed(seed):
        made = functools.partial(noises.make, noise, rate=RATE, seed=seed)
        scorer = scores.Scorer(mixes.add_noise(clean, RATE, made, snr_db, lead_seconds))
        noisy = scorer.recording.noisy
        return scorer.before, {name: scorer.score(run(noisy, RATE)) for name, run in contenders.items()}

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:  # numpy and the reducers run side by side
        befores, scored = zip(*pool.map(with_seed, noises.SEEDS))
    return scores.mean(befores), mean_by_name(scored)


def mean_by_name(scored):
    return {name: scores.mean([found[name] for found in scored]) for name in scored[0]}


def measure_all(contenders, clean, noise_kinds, snrs_db, **lead):
    """The mean over all these noises and ratios."""
    mixed = itertools.product(noise_kinds, snrs_db)
    return mean_by_name([measure(contenders, clean, noise, snr_db, **lead)[1] for noise, snr_db in mixed])


def row(cells):
    return "| " + " | ".join(cells) + " |"


def figures(score, keys):
    formats = {key: form for key, _, form in scores.COLUMNS}
    return [format(score[key], formats[key]) for key in keys]


def score_table(scored):
    """One row for each name."""
    yield ""
    yield row(["", *(heading for _, heading, _ in scores.COLUMNS)])
    yield "|---" + "|---:" * len(scores.COLUMNS) + "|"
    for name, score in scored.items():
        yield row([name, *figures(score, [key for key, _, _ in scores.COLUMNS])])


def before_line(before):
    return (
        f"SI-SDR {before['si_sdr']:.1f} dB, segmental SNR {before['segmental_snr']:.1f} dB, "
        f"STOI {before['stoi']:.3f} before."
    )


def compare_contenders(contenders, speech):
    """Every contender over white and pink noise and hum, at 5 and 15 dB, and over noise that sways."""
    snrs_db = [5, 15]
    found = {
        f"{name}, {snr_db} dB": measure(contenders, speech, noise, snr_db)
        for (name, noise), snr_db in itertools.product(STEADY.items(), snrs_db)
    }
    yield "### Mean of all six recordings"
    yield from score_table(mean_by_name([scored for _, scored in found.values()]))
    for heading, (before, scored) in found.items():
        yield f"\n### {heading}\n"
        yield before_line(before)
        yield from score_table(scored)
    yield "\n### Mean over noise that sways: fan, hiss and motor, 10 dB"
    yield from score_table(measure_all(contenders, speech, SWAYING, [10]))
    yield "\n### Mean without noise ahead: the first word comes at once"
    yield from score_table(measure_all(contenders, speech, STEADY.values(), snrs_db, lead_seconds=0))


def size_table(library, values, clean, noise_kinds, snr_db):
    """One row for each FFT size, both modes side by side."""
    tried = {
        (size, mode): {**values, "fft-size": size, "filter-mode": mode}
        for size, mode in itertools.product(SIZES, [0, 1])
    }
    contenders = {name: library.contender(parameters) for name, parameters in tried.items()}
    scored = measure_all(contenders, clean, noise_kinds, [snr_db])
    headings = [heading.replace(" speech", "") for key, heading, _ in scores.COLUMNS if key in SIZE_COLUMNS]
    yield ""
    yield row(["FFT size", "delay", *headings, "filter mode: delay", *headings])
    yield "|---:" * (3 + 2 * len(headings)) + "|"
    for size in SIZES:
        cells = [str(size)]
        for mode in 0, 1:
            delay_ms = 1000 * library.latency(tried[size, mode], RATE) / RATE
            cells += [f"{delay_ms:.1f} ms", *figures(scored[size, mode], SIZE_COLUMNS)]
        yield row(cells)


def compare_settings(library, presets, contenders, speech, music):
    """FFT sizes and modes over speech, hum and music."""
    yield "### Speech over white and pink noise, 10 dB, preset `speech`"
    yield from size_table(library, presets["speech"], speech, [noises.white, noises.pink], 10)
    yield "\n### Speech over hum, 10 dB, preset `hum`"
    yield from size_table(library, presets["hum"], speech, [noises.hum], 10)
    yield "\n### Music over hiss, 25 dB, preset `gentle`"
    yield from size_table(library, presets["gentle"], music, [noises.white], 25)
    yield "\n### The same music, every preset"
    yield from score_table(measure(contenders, music, noises.white, 25)[1])


def compare_on(contenders, recording):
    """Every contender over one recording."""
    scorer = scores.Scorer(recording)
    yield before_line(scorer.before)
    yield from score_table(
        {name: scorer.score(run(recording.noisy, recording.rate)) for name, run in contenders.items()}
    )


def insert(page, lines):
    """Puts the lines between the two marks of generated text in the page; fails without them."""
    begin, end = "<!-- generated by quality/run -->\n", "<!-- end of generated text -->"
    generated = begin + "\n" + "\n".join(lines) + "\n\n" + end
    text, count = re.subn(
        re.escape(begin) + ".*?" + re.escape(end), lambda _: generated, page.read_text("utf-8"), flags=re.DOTALL
    )
    if count != 1:
        raise ValueError(f"{page}: {count} places for generated text, not one")
    page.write_text(text, "utf-8")
