"""A figure from a run: python3 plot_day.py figure.svg site observations.rnx navigation.rnx corrections.ssr"""
import sys

import gnx
import matplotlib
matplotlib.use("Agg")
import matplotlib.pyplot as plt

run = gnx.replay(gnx.Deployment.open(sys.argv[2]), sys.argv[3:])
figure, axes = plt.subplots(3, sharex=True)
for axis, name, values in zip(axes, ("east", "north", "up"), 100 * run.enu().T):
    axis.plot(run.time, values, ".", color="lightgray")
    axis.plot(run.time[run.state == 5], values[run.state == 5], ".")
    axis.set(ylabel=name + " (cm)", ylim=(-20, 20))
figure.savefig(sys.argv[1])
