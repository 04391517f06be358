# SPDX-License-Identifier: MIT
"""Contenders over the material: each recording once converged and once cold, all in processes side by side."""

import concurrent.futures
import dataclasses
import itertools

import numpy as np

from quality import material, scores

REGIMES = {
    "converged": "noise has been heard before",
    "cold": "from the first sample on",
}
CONVERGED_SECONDS = 2


@dataclasses.dataclass(frozen=True)
class Place:
    """A recording of the material and the way it is heard."""

    half: str
    group: str
    name: str
    regime: str


@dataclasses.dataclass(frozen=True)
class Result:
    """Means over recordings: figures of the noisy ones themselves, and scores by contender's name. `each` has the
    latter by recording."""

    before: dict
    scores: dict
    each: dict


def places(half, groups=material.GROUPS, regimes=REGIMES):
    """By group, then by regime."""
    chosen = itertools.product(groups, regimes, material.names(half))
    return [Place(half, group, name, regime) for group, regime, (of_group, name) in chosen if of_group == group]


def heard(recording, regime):
    """Clean and noisy signal, and the sample from which on they are measured. What has no noise ahead is converged
    when it is played a second time."""
    clean, noisy, lead = recording.clean, recording.noisy, recording.lead
    if regime == "cold":
        return clean[lead:], noisy[lead:], 0
    if lead:
        return clean, noisy, int(CONVERGED_SECONDS * material.RATE)
    return np.tile(clean, 2), np.tile(noisy, 2), len(clean)


def scorer(folder, place):
    clean, noisy, start = heard(material.load(folder, place.half, place.group, place.name), place.regime)
    return scores.Scorer(clean, noisy, material.RATE, start), noisy


def score_place(folder, place, contenders):
    """The noisy recording's own figures, and scores by name."""
    judge, noisy = scorer(folder, place)
    return judge.before, {name: judge.score(run(noisy, material.RATE)) for name, run in contenders.items()}


def summary(scored):
    """Of pairs as `score_place` returns them, by recording."""
    befores, found = zip(*scored.values())
    means = {name: scores.mean([one[name] for one in found]) for name in found[0]}
    return Result(scores.mean(befores), means, dict(zip(scored, found)))


def run(folder, chosen, contenders):
    """A result for each group and regime among the chosen places. The material is kept in `folder`."""
    with concurrent.futures.ProcessPoolExecutor() as pool:
        jobs = [pool.submit(score_place, folder, place, contenders) for place in chosen]
        scored = {place: job.result() for place, job in zip(chosen, jobs)}
    kinds = {}
    for place, found in scored.items():
        kinds.setdefault((place.group, place.regime), {})[place.name] = found
    return {kind: summary(found) for kind, found in kinds.items()}
