"""The Python module on a simulated quarter of an hour: files, runs, records of a host's own, errors."""
import csv
import os
import re
import subprocess
import sys
import tempfile
import unittest

import gnx
import numpy as np


def program(*arguments):
    subprocess.run([os.environ["GNX_PROGRAM"], *arguments], check=True, stdout=subprocess.DEVNULL)


class SmallRun(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        data = cls.directory.name + "/data"
        program("simulate", data, "--hours", "0.25", "--systems", "GE", "--quiet")
        cls.files = [f"{data}/{name}" for name in ("observations.rnx", "navigation.rnx", "corrections.ssr")]
        cls.site = gnx.Deployment.make(
            cls.directory.name + "/site", systems="GE", refpoint="APC_ITRF", mode="kinematic", date=gnx.GpsTime(2026, 11, 21)
        )

    @classmethod
    def tearDownClass(cls):
        cls.directory.cleanup()

    def test_arrays_are_the_solutions_of_the_program(self):
        run = gnx.replay(self.site, self.files)
        self.assertEqual(run.position.shape, (30, 3))
        self.assertEqual(run.covariance.shape, (30, 3, 3))
        self.assertEqual(run.time[0], np.datetime64("2026-11-21T00:00:00"))
        self.assertEqual(run[-1].state, gnx.State.FIXED)
        self.assertEqual(list(run.state == 5), [s.state == gnx.State.FIXED for s in run])

        out = self.directory.name + "/out"
        program("replay", "--deployment", str(self.site.directory), "--obs", self.files[0], "--nav", self.files[1],
                "--ssr", self.files[2], "--out", out, "--quiet")
        with open(out + "/solution.csv") as file:
            x = [float(row["x_m"]) for row in csv.DictReader(file)]
        np.testing.assert_allclose(run.position[:, 0], x, atol=6e-5)
        self.assertLess(np.nanmax(np.abs(run.enu()[run.state == 5])), 0.1)

    def test_records_one_by_one_give_the_same_bits(self):
        expected = gnx.replay(self.site, self.files).position
        for rebuilt in (False, True):
            engine = gnx.Engine(self.site)
            positions = []
            for event in gnx.read(self.files, deployment=self.site):
                record = event.record
                if rebuilt and isinstance(record, gnx.StreamStart):
                    engine.start(record)
                    continue
                if rebuilt and isinstance(record, gnx.ObsEpoch):  # as a host makes it that decodes its receiver
                    record = gnx.ObsEpoch(record.time, [
                        gnx.SatObs(s.sat, [gnx.SignalObs(o.code, o.phase, o.range, o.doppler, o.snr, o.lli)
                                           for o in s.signals]) for s in record.sats])
                solution = engine.feed(record if rebuilt else event)
                if solution:
                    positions.append(solution.position)
            engine.finish()
            np.testing.assert_array_equal(np.array(positions), expected)

    def test_an_engine_in_this_process_gives_the_same_bits(self):
        code = ("import sys, gnx, numpy as np; "
                "run = gnx.replay(gnx.Deployment.open(sys.argv[1]), sys.argv[3:], in_process=True); "
                "np.save(sys.argv[2], run.position)")
        saved = self.directory.name + "/positions.npy"
        subprocess.run([sys.executable, "-c", code, str(self.site.directory), saved, *self.files], check=True,
                       stdout=subprocess.DEVNULL)
        np.testing.assert_array_equal(np.load(saved), gnx.replay(self.site, self.files).position)

    def test_integers_of_own_records_are_judged(self):
        stream = gnx.read(self.files, self.site)
        judge = gnx.IntegerJudge(self.site, stream.start)
        for event in stream:
            if isinstance(event.record, (gnx.BroadcastEph, gnx.CorrectionBatch, gnx.ObsEpoch)):
                judge.take(event.record)
        self.assertTrue(judge.verdict().resolved)
        mixed = judge.verdict(orbits="GRG", clocks="COD")
        self.assertFalse(mixed.resolved)
        self.assertIn("clocks of COD", mixed.remarks[0])
        engine = gnx.Engine(self.site)
        engine.obey(mixed)
        states = [s.state for s in map(engine.feed, gnx.read(self.files, self.site)) if s]
        self.assertLess(max(s.value for s in states), gnx.State.EXTRA_WIDE_LANE.value)

    def test_an_engine_goes_on_with_the_state_of_another(self):
        epochs, state = 0, b""
        first = gnx.Engine(self.site)
        for event in gnx.read(self.files, self.site):
            solution = first.feed(event)
            epochs += solution is not None
            if solution:
                last = solution
            if epochs == 24:
                break
        state = first.saved_state()
        told = []
        second = gnx.Engine(self.site, state=state, on_event=lambda name, values: told.append((name, values)))
        rest = [s for s in map(second.feed, gnx.read(self.files, self.site, start=last.time + 90.0)) if s]
        values = dict(told)["resumed"]
        self.assertGreater(int(values["held"]), 8)
        self.assertNotIn("why", values)
        self.assertEqual((last.state, rest[0].state), (gnx.State.FIXED, gnx.State.FIXED))
        self.assertLess(np.linalg.norm(rest[0].position - last.position), 0.1)

    def test_a_solution_tells_its_satellites(self):
        solution = gnx.replay(self.site, self.files)[-1]
        used = [b for s in solution.satellites for b in s.bands if b.phase.fate == "used"]
        self.assertGreater(len(used), 20)
        self.assertLess(max(abs(b.phase.residual) for b in used), 0.05)
        self.assertTrue(all(s.elevation > 0 for s in solution.satellites))
        self.assertEqual(solution.ages["orbit_clock"], 0.0)
        self.assertEqual(solution.why, "")

    def test_files_of_one_kind(self):
        reader = gnx.ObservationReader(self.files[0])
        self.assertIn("C1C", reader.header.types["G"])
        self.assertEqual(sum(1 for _ in reader), 30)
        messages, glonass = gnx.read_messages([self.files[1]])
        self.assertTrue(messages and not glonass)
        self.assertGreater(messages[0].sqrt_a, 5000.0)

    def test_errors_say_what_and_where(self):
        with self.assertRaisesRegex(gnx.Error, "/nonexistent.rnx"):
            gnx.read(["/nonexistent.rnx"])
        with self.assertRaisesRegex(gnx.Error, "site_that_is_none"):
            gnx.Deployment.open("site_that_is_none")
        with self.assertRaises(gnx.Error):
            gnx.Engine(self.site).feed(gnx.ObsEpoch(gnx.GpsTime(2026, 11, 21), []))  # before its start
        with self.assertRaises(gnx.Error):
            gnx.replay(self.site, self.files, worker="/bin/false")
        with self.assertRaises(ValueError):
            gnx.GpsTime(2026, 13, 1)
        with self.assertRaises(TypeError):
            gnx.Engine(self.site).feed("no record")

    def test_types_name_what_the_module_has(self):
        with open(os.path.dirname(gnx.__file__) + "/__init__.pyi") as file:
            stub = file.read()
        declared = set(re.findall(r"^(?:class|def) (\w+)", stub, re.M)) | {"__version__"}
        self.assertEqual(declared - {"__version__"}, set(gnx.__all__))
        for name in re.findall(r"^class (\w+)", stub, re.M):
            body = re.search(rf"^class {name}\b.*?(?=^\S|\Z)", stub, re.M | re.S).group()
            for member in re.findall(r"^    (?:def )?(\w+)(?:\(|:| =)", body, re.M):
                self.assertTrue(hasattr(getattr(gnx, name), member), f"{name}.{member}")


if __name__ == "__main__":
    unittest.main()
