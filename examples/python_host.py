"""A host in Python: the files of a station in, the last position out.

python3 python_host.py site observations.rnx navigation.rnx corrections.ssr      # site: made by "gnx init site"
"""
import sys

import gnx

site = gnx.Deployment.open(sys.argv[1])
engine = gnx.Engine(site)
solution = None
for event in gnx.read(sys.argv[2:], deployment=site):
    solution = engine.feed(event) or solution
engine.finish()
x, y, z = solution.position
print(f"{x:.4f} {y:.4f} {z:.4f} {'fixed' if solution.state == gnx.State.FIXED else 'float'}")
