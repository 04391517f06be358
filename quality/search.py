# SPDX-License-Identifier: MIT
"""A search for parameters: random ones, then changes of the best, over half `search` of the material.

A goal is a sum of measures with weights, and limits that a measure should keep. Measures count in steps that are about
as easy to hear: 1 dB, 0.01 of STOI, 0.1 of the kurtosis ratio. Most candidates are dropped after a quarter of the
recordings.
"""

import dataclasses
import functools
import re

import numpy as np

from quality import compare, contenders, material, scores

STEPS = {key: {"stoi": 0.01, "kurtosis": 0.1}.get(key, 1.0) for key, _, _ in scores.COLUMNS}
EXCESS_WEIGHT = 10  # of each step beyond a limit: more than any weight that makes sense
SIZES = [512, 1024, 2048, 4096, 8192]
RANDOM_SHARE = 0.4  # of the candidates
SCREEN = 4  # one recording in so many is measured first
MARGIN = 1.0  # a candidate so much worse than the best on these is dropped


@dataclasses.dataclass(frozen=True)
class Goal:
    """Pairs of measure and weight, and triples of measure, sign (1: at most, -1: at least) and limit."""

    weights: tuple
    limits: tuple

    @classmethod
    def parse(cls, words):
        """Words such as si_sdr=1, kurtosis=-0.5, stoi>0, kurtosis<1.5."""
        weights, limits = [], []
        for word in words:
            found = re.fullmatch(r"(\w+)([=<>])(-?[\d.]+)", word)
            if not found or found[1] not in STEPS:
                raise ValueError(f"neither a weight nor a limit of a measure: {word}")
            if found[2] == "=":
                weights.append((found[1], float(found[3])))
            else:
                limits.append((found[1], 1 if found[2] == "<" else -1, float(found[3])))
        return cls(tuple(weights), tuple(limits))

    def value(self, means):
        """The mean over groups and regimes, each given by its mean scores; what has no figure does not count."""

        def one(score):
            gained = [weight * score[key] / STEPS[key] for key, weight in self.weights]
            excess = [max(0, sign * (score[key] - limit)) / STEPS[key] for key, sign, limit in self.limits]
            return np.nansum(gained) - EXCESS_WEIGHT * np.nansum(excess)

        return np.mean([one(score) for score in means])


scorer = functools.lru_cache(maxsize=None)(compare.scorer)  # in each process


def score(folder, place, contender):
    judge, noisy = scorer(folder, place)
    return judge.score(contender(noisy, material.RATE))


def text(values):
    """As quality/run takes them."""
    return " ".join(f"{name}={value:g}" for name, value in values.items())


class Search:
    """Over the given places, in the processes of `pool`. Parameters that are `fixed` keep their values."""

    def __init__(self, folder, library, goal, fixed, places, pool):
        self.folder, self.library, self.goal, self.fixed, self.pool = folder, library, goal, fixed, pool
        settable = library.settable()
        self.defaults = {name: default for name, (default, _, _) in settable.items()}
        self.bounds = {name: bounds for name, (_, *bounds) in settable.items() if name not in fixed}
        shuffled = np.random.RandomState(1).permutation(len(places))
        self.screened = [places[i] for i in shuffled[::SCREEN]]
        self.rest = [place for place in places if place not in self.screened]
        self.best = self.best_screened = -np.inf
        self.values = {}
        self.tried = 0

    def _drawn(self, random, name, around=None):
        """A value within the bounds; near `around` if that is given."""
        low, high = self.bounds[name]
        if name == "fft-size":
            return float(random.choice(SIZES))
        if name in (contenders.FILTER_MODE, contenders.ESTIMATOR):
            return float(random.randint(2))
        value = random.uniform(low, high) if around is None else random.normal(around, (high - low) / 12)
        return round(float(np.clip(value, low, high)), 1)

    def _changed(self, random):
        """The best with up to three other values."""
        count = min(random.randint(1, 4), len(self.bounds))
        names = random.choice(list(self.bounds), size=count, replace=False)
        return {**self.values, **{name: self._drawn(random, name, self.values[name]) for name in names}}

    def _scores(self, values, places):
        tried = functools.partial(score, self.folder, contender=contenders.stream(self.library, values))
        return list(self.pool.map(tried, places))

    def _value(self, places, scored):
        groups = {}
        for place, one in zip(places, scored):
            groups.setdefault((place.group, place.regime), []).append(one)
        return self.goal.value([scores.mean(found) for found in groups.values()])

    def consider(self, values):
        """Takes the values if they are better than the best so far."""
        self.tried += 1
        first = self._scores(values, self.screened)
        screened = self._value(self.screened, first)
        if screened < self.best_screened - MARGIN:
            return
        value = self._value(self.screened + self.rest, first + self._scores(values, self.rest))
        if value > self.best:
            self.best, self.best_screened, self.values = value, screened, values
            print(f"{self.tried:5} {value:8.2f}  {text(values)}", flush=True)

    def run(self, starts, tries, seed):
        """From the given starts on, which may lack parameters; so many candidates more."""
        random = np.random.RandomState(seed)
        for values in starts:
            self.consider({**self.defaults, **values, **self.fixed})
        for tried in range(tries):
            if tried < RANDOM_SHARE * tries:
                self.consider({**self.fixed, **{name: self._drawn(random, name) for name in self.bounds}})
            else:
                self.consider(self._changed(random))
        return self.values
