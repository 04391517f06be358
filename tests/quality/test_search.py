# SPDX-License-Identifier: MIT
"""The search: what a goal asks for, and that it is found."""

import concurrent.futures
import contextlib
import io
import os
import tempfile
import unittest

from quality import compare, contenders, search


class Search(unittest.TestCase):
    def test_goal_weighs_measures_and_keeps_limits(self):
        goal = search.Goal.parse(["si_sdr=2", "stoi=1", "kurtosis<1.5", "gain>-2"])
        within = {"si_sdr": 3.0, "stoi": 0.01, "kurtosis": 1.5, "gain": -2.0}
        self.assertAlmostEqual(goal.value([within]), 7)
        beyond = {**within, "kurtosis": 1.6, "gain": -3.0}
        self.assertAlmostEqual(goal.value([within, beyond]), 7 - 20 / 2)
        self.assertAlmostEqual(goal.value([{**beyond, "kurtosis": float("nan")}]), 7 - 10)
        for word in "loudness=1", "si_sdr", "si_sdr=much":
            with self.assertRaises(ValueError):
                search.Goal.parse([word])

    def test_finds_the_strongest_reduction_within_a_limit(self):
        library = contenders.library(os.environ["QUIETFLOOR_LIBRARY"])
        place = compare.Place("search", "clips", "PC fan", "converged")
        fixed = {name: default for name, (default, _, _) in library.settable().items() if name != "reduction"}
        goal = search.Goal.parse(["distance=1", "distance<3"])
        with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(1) as pool:
            looked = search.Search(folder, library, goal, fixed, [place], pool)
            with contextlib.redirect_stdout(io.StringIO()):
                found = looked.run([{"reduction": 0}, {"reduction": 40}], 60, 1)
            reached = search.score(folder, place, contenders.stream(library, found))
        self.assertEqual(found, {**fixed, "reduction": found["reduction"]})
        self.assertAlmostEqual(reached["distance"], 3, delta=0.15)


if __name__ == "__main__":
    unittest.main()
