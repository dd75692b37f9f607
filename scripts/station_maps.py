#!/usr/bin/env python3
"""Maps of the ionosphere around a station, from the slant delays that a run of `gnx replay` has estimated.

Usage: scripts/station_maps.py RUN FIRST LAST > maps.inx

RUN is the directory of a day-long static run. What its diagnostics say of the hours FIRST to LAST (of the day) is left
out, so that the maps tell those hours what the others know. Prints IONEX with a map an hour and the code biases of the
satellites that the run left in its slant delays.
"""
import collections
import math
import sys

import numpy as np

RADIUS, HEIGHT = 6371.0, 450.0  # km
TECU = 40.3e16 / 1575.42e6**2  # m on the first frequency
SECOND = {"G": 1227.60e6, "E": 1176.45e6}
LATITUDES, LONGITUDES = np.arange(75.0, 34.9, -2.5), np.arange(-40.0, 55.1, 5.0)
WINDOW = 3.0  # hours on both sides of a map

Delay = collections.namedtuple("Delay", "hour satellite latitude longitude factor content")


def station(run):
    """Latitude and longitude, degrees."""
    with open(f"{run}/solution.csv", encoding="ascii") as file:
        names = file.readline().strip().split(",")
        last = file.readlines()[-1].split(",")
    return float(last[names.index("latitude_deg")]), float(last[names.index("longitude_deg")])


def delays(run):
    """Where each line of sight above 15 degrees crosses the layer."""
    latitude, longitude = (math.radians(v) for v in station(run))
    day, found = None, []
    with open(f"{run}/diagnostics.log", encoding="ascii") as file:
        for line in file:
            words = line.split()
            if words[0] != "ION" or float(words[5]) < 15.0:
                continue
            day = int(words[1])
            elevation, azimuth = math.radians(float(words[5])), math.radians(float(words[6]))
            sine = RADIUS / (RADIUS + HEIGHT) * math.cos(elevation)
            angle = math.pi / 2.0 - elevation - math.asin(sine)
            phi = math.asin(math.sin(latitude) * math.cos(angle)
                            + math.cos(latitude) * math.sin(angle) * math.cos(azimuth))
            east = math.asin(math.sin(angle) * math.sin(azimuth) / math.cos(phi))
            found.append(Delay(float(words[2]) / 3600.0, words[4], math.degrees(phi),
                               math.degrees(longitude + east), 1.0 / math.sqrt(1.0 - sine * sine),
                               float(words[7]) / TECU))
    return day, found


def shape(middle, latitude, sun):
    """Terms of a map: a quadratic form in latitude and in degrees by which the point has moved under the Sun."""
    a, b = (latitude - middle) / 10.0, sun / 45.0
    return np.array([1.0, a, b, a * a, a * b, b * b])


def biases(rows, middle, home):
    """Constants of the satellites, TECU, beside a plane of the ionosphere for every hour."""
    names = sorted({r.satellite for r in rows})
    hours = sorted({int(r.hour) for r in rows})
    matrix, right = np.zeros((len(rows) + 1, 3 * len(hours) + len(names))), np.zeros(len(rows) + 1)
    for i, r in enumerate(rows):
        weight = 1.0 / r.factor
        plane = shape(middle, r.latitude, r.longitude - home)[:3] * r.factor
        begin = 3 * hours.index(int(r.hour))
        matrix[i, begin:begin + 3] = plane * weight
        matrix[i, 3 * len(hours) + names.index(r.satellite)] = weight
        right[i] = r.content * weight
    solution = np.linalg.lstsq(matrix, right, rcond=1e-6)[0]
    return dict(zip(names, solution[3 * len(hours):]))


def grid(rows, constants, middle, hour):
    """Contents of a map."""
    near = [r for r in rows if abs(r.hour - hour) <= WINDOW]
    matrix = np.array([shape(middle, r.latitude, r.longitude + 15.0 * (r.hour - hour)) for r in near])
    right = np.array([(r.content - constants[r.satellite]) / r.factor for r in near])
    weights = np.array([1.0 / r.factor for r in near])
    terms = np.linalg.lstsq(matrix * weights[:, None], right * weights, rcond=1e-6)[0]
    bounds = [np.quantile(right, q) for q in (0.0, 1.0)]  # a quadratic form goes astray beyond its points
    return [[float(np.clip(shape(middle, la, lo) @ terms, *bounds)) for lo in LONGITUDES] for la in LATITUDES]


def label(text, name):
    print(f"{text:<60}{name}")


def calendar(day, hour):
    year, month, date = (np.datetime64("1858-11-17") + day + hour // 24).astype(str).split("-")
    return f"{int(year):6d}{int(month):6d}{int(date):6d}{hour % 24:6d}{0:6d}{0:6d}"


def main():
    run, first, last = sys.argv[1], float(sys.argv[2]), float(sys.argv[3])
    day, rows = delays(run)
    rows = [r for r in rows if not first <= r.hour < last]
    middle, home = station(run)
    constants = biases(rows, middle, home)
    label("     1.0            IONOSPHERE MAPS     GNSS", "IONEX VERSION / TYPE")
    label(calendar(day, 0), "EPOCH OF FIRST MAP")
    label(calendar(day, 24), "EPOCH OF LAST MAP")
    label(f"{3600:6d}", "INTERVAL")
    label(f"{25:6d}", "# OF MAPS IN FILE")
    label("  COSZ", "MAPPING FUNCTION")
    label(f"{RADIUS:8.1f}", "BASE RADIUS")
    label(f"{2:6d}", "MAP DIMENSION")
    label(f"  {HEIGHT:6.1f}{HEIGHT:6.1f}{0.0:6.1f}", "HGT1 / HGT2 / DHGT")
    label(f"  {LATITUDES[0]:6.1f}{LATITUDES[-1]:6.1f}{-2.5:6.1f}", "LAT1 / LAT2 / DLAT")
    label(f"  {LONGITUDES[0]:6.1f}{LONGITUDES[-1]:6.1f}{5.0:6.1f}", "LON1 / LON2 / DLON")
    label(f"{-2:6d}", "EXPONENT")
    label("DIFFERENTIAL CODE BIASES", "START OF AUX DATA")
    for satellite, constant in constants.items():
        gamma = (1575.42e6 / SECOND[satellite[0]])**2
        nanoseconds = -constant * TECU * (gamma - 1.0) / 0.299792458
        label(f"   {satellite}{nanoseconds:10.3f}{0.1:10.3f}", "PRN / BIAS / RMS")
    label("DIFFERENTIAL CODE BIASES", "END OF AUX DATA")
    label("", "END OF HEADER")
    for number, hour in enumerate(range(25), 1):
        label(f"{number:6d}", "START OF TEC MAP")
        label(calendar(day, hour), "EPOCH OF CURRENT MAP")
        for latitude, contents in zip(LATITUDES, grid(rows, constants, middle, float(hour))):
            label(f"  {latitude:6.1f}{LONGITUDES[0]:6.1f}{LONGITUDES[-1]:6.1f}{5.0:6.1f}{HEIGHT:6.1f}",
                  "LAT/LON1/LON2/DLON/H")
            values = [f"{round(content * 100.0):5d}" for content in contents]
            for i in range(0, len(values), 16):
                print("".join(values[i:i + 16]))
        label(f"{number:6d}", "END OF TEC MAP")
    label("", "END OF FILE")


main()
