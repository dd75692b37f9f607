#!/usr/bin/env python3
"""Runs a fleet over a simulated sky on this machine, kills parts of it, and tells what that cost.

Usage: fleet_trial.py --gnx build/release/gnx [--stations 12] [--nodes 3] [--kill worker,node,server] [--seconds 60]

With --nodes N there are N processes of 'gnx fleet' and three NATS servers between them, with --nodes 0 one process
alone. Each part is killed with signal 9 in turn, then there is a pause of --pause seconds. At the end each station's
missing epochs are counted, from the results that the servers carried (--nodes 0: from the files).

  worker      one worker             supervisor  the process of a machine alone, started again at once (--nodes 0)
  leave       a fleet process, told to end
  node        a fleet process        server      a NATS server, the one that most are connected to, not started again
"""
import argparse
import collections
import datetime
import json
import math
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request

HERE = os.path.dirname(os.path.abspath(__file__))
SERVERS = 3
KNOWN_S = 12  # a node's first state of a station goes to the servers after 5 s
GPS_MINUS_UTC_S = 18


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for s in sockets:
        s.bind(("127.0.0.1", 0))
    ports = [s.getsockname()[1] for s in sockets]
    for s in sockets:
        s.close()
    return ports


def lines_of(port, request, patience_s):
    """Results that a server sends upon a request, all that are kept or until it is silent for so long (OSError)."""
    with socket.create_connection(("127.0.0.1", port), timeout=2) as link:
        link.settimeout(patience_s)
        stream = link.makefile("rb")
        link.sendall(b'CONNECT {"verbose":false,"headers":true}\r\n' + request)
        while True:
            words = stream.readline().split()
            if not words:
                raise OSError("closed")
            if words[0] == b"PING":
                link.sendall(b"PONG\r\n")
            if words[0] in (b"MSG", b"HMSG"):
                body = stream.read(int(words[-1]) + 2)[:-2]
                yield json.loads(body[int(words[-2]) if words[0] == b"HMSG" else 0:])
                if words[3].startswith(b"$JS.ACK") and words[3].endswith(b".0"):
                    return  # all that was kept


def told(line):
    """Station, epoch, node and standard deviation of the position, None without one."""
    variances = line.get("covariance_m2", [])[::4]
    sigma = sum(variances) ** 0.5 if "position_m" in line else None
    return (line["station"], line["week"] * 604800 + line["sow_s"], line["node"], sigma)


class Results(threading.Thread):
    """Listens to gnx.sol.> on whichever server answers."""

    def __init__(self, ports):
        super().__init__(daemon=True)
        self.ports, self.taken, self.lock = ports, [], threading.Lock()
        self.start()

    def run(self):
        turn = 0
        while True:
            try:
                self.listen(self.ports[turn % len(self.ports)])
            except OSError:
                time.sleep(0.05)
            turn += 1

    def listen(self, port):
        for line in lines_of(port, b"SUB gnx.sol.> 1\r\n", 5):
            with self.lock:
                self.taken.append((time.time(), *told(line)))

    def kept(self):
        """All results that the servers keep, in order."""
        ask = json.dumps({"stream_name": "gnx-solutions", "config": {
            "deliver_subject": "_INBOX.trial.all", "deliver_policy": "all", "ack_policy": "none"}}).encode()
        words = b"SUB _INBOX.trial.all 1\r\nPUB $JS.API.CONSUMER.CREATE.gnx-solutions _INBOX.trial.made %d\r\n%s\r\n"
        for port in self.ports:
            found = []
            try:
                for line in lines_of(port, words % (len(ask), ask), 2):
                    found.append(told(line))
            except OSError:  # silence, or a server that is gone
                pass
            if found:
                return found
        return []

    def copy(self):
        with self.lock:
            return list(self.taken)


class Trial:
    def __init__(self, options):
        self.o = options
        self.dir = tempfile.mkdtemp(prefix="fleet-trial-", dir=options.dir)
        self.names = [f"S{i:03d}" for i in range(options.stations)]
        self.processes, self.nodes, self.servers, self.killed, self.gone = [], {}, [], [], ""
        self.results = None

    # ---- what runs ----

    def spawn(self, words, log):
        with open(os.path.join(self.dir, log), "ab") as out:
            process = subprocess.Popen(words, stdout=out, stderr=out, cwd=self.dir)
        self.processes.append(process)
        return process

    def sky(self):
        date = datetime.datetime.now(datetime.timezone.utc) + datetime.timedelta(seconds=GPS_MINUS_UTC_S - 60)
        hours = (self.o.seconds + 60 * len(self.o.kill.split(",")) + self.o.pause * 4 + 900) / 3600
        subprocess.run([self.o.gnx, "simulate", "sky", "--date", date.strftime("%Y-%m-%dT%H:%M:%S"), "--hours",
                        f"{hours:.3f}", "--interval", "1", "--clock-interval", "5", "--rtcm"], cwd=self.dir,
                       check=True, stdout=subprocess.DEVNULL)
        self.caster_port, = free_ports(1)
        self.spawn([sys.executable, os.path.join(HERE, "loopback_caster.py"), str(self.caster_port),
                    "sky/stream.rtcm3"], "caster.log")

    def start_servers(self):
        ports, routes = free_ports(SERVERS), free_ports(SERVERS)
        for i in range(SERVERS):
            others = ",".join(f"nats://127.0.0.1:{r}" for r in routes)
            with open(os.path.join(self.dir, f"server{i}.conf"), "w", encoding="utf-8") as conf:
                conf.write(f'port: {ports[i]}\nhost: 127.0.0.1\nserver_name: n{i}\n'
                           f'jetstream {{ store_dir: "{self.dir}/store{i}" }}\n'
                           f'cluster {{ name: trial, listen: "127.0.0.1:{routes[i]}", routes: [{others}] }}\n')
            self.servers.append(self.spawn([self.o.servers, "-c", f"server{i}.conf"], f"server{i}.log"))
        self.url = ",".join(f"nats://127.0.0.1:{p}" for p in ports)
        self.results = Results(ports)

    def start_fleet(self):
        caster = f"ntrip://127.0.0.1:{self.caster_port}"
        fleet = {"streams": {"EPH": f"{caster}/EPH", "SSR": f"{caster}/SSR"},
                 "defaults": {"eph": "EPH", "ssr": "SSR", "obs": f"{caster}/[SITE]", "systems": "GEC",
                              "fix": True, "mode": "static"},
                 "stations": [{"name": name} for name in self.names]}
        if self.o.nodes:
            fleet["nats"] = {"url": self.url, "replicas": SERVERS}
        with open(os.path.join(self.dir, "stations.json"), "w", encoding="utf-8") as file:
            json.dump(fleet, file, indent=1)
        for i in range(max(self.o.nodes, 1)):
            self.start_node(chr(ord("a") + i))

    def start_node(self, name):
        port, = free_ports(1)
        words = [self.o.gnx, "fleet", "stations.json", "--out", f"out/{name}", "--http", str(port)]
        if self.o.nodes:
            words += ["--node", name]
        self.nodes[name] = (self.spawn(words, f"{name}.log"), port)

    def children(self, process):
        with open(f"/proc/{process.pid}/task/{process.pid}/children", encoding="ascii") as file:
            return [int(word) for word in file.read().split()]

    # ---- what it gives ----

    def epochs(self):
        """{station: {epoch of a position: node}}, and positions that came twice."""
        epochs, twice = collections.defaultdict(dict), 0
        if self.o.nodes:
            for station, epoch, node, sigma in self.results.kept():
                if sigma is not None:
                    twice += epoch in epochs[station]
                    epochs[station][epoch] = node
            return epochs, twice
        for name in self.names:
            path = os.path.join(self.dir, "out", "a", name, "solution.pos")
            if not os.path.exists(path):
                continue
            with open(path, encoding="utf-8") as file:
                for line in file:
                    if line.startswith("%") or len(line) < 23:
                        continue
                    moment = datetime.datetime.strptime(line[:23], "%Y/%m/%d %H:%M:%S.%f")
                    stamp = moment.replace(tzinfo=datetime.timezone.utc).timestamp()
                    twice += stamp in epochs[name]
                    epochs[name][stamp] = "a"
        return epochs, twice

    def await_all(self, patience_s, since=None):
        """Waits until each station has had a position since a moment. Seconds that it took; None: it did not."""
        begun = time.time()
        while time.time() - begun < patience_s:
            if self.o.nodes:
                recent = {station for moment, station, _, _, sigma in self.results.copy()
                          if sigma is not None and moment > (since or 0)}
            else:
                stamp = (since or 0) + GPS_MINUS_UTC_S
                recent = {s for s, all_ in self.epochs()[0].items() if any(e > stamp for e in all_)}
            if len(recent) == len(self.names):
                return time.time() - (since or begun)
            time.sleep(0.2)
        return None

    def kill(self, what):
        moment = time.time()
        if what == "worker":
            process, _ = next(iter(self.nodes.values()))
            os.kill(self.children(process)[0], signal.SIGKILL)
        elif what == "supervisor":
            self.nodes["a"][0].kill()
            self.nodes["a"][0].wait()
            self.start_node("a")
        elif what in ("node", "leave"):
            self.gone = sorted(self.nodes)[-1]
            process, _ = self.nodes.pop(self.gone)
            process.send_signal(signal.SIGKILL if what == "node" else signal.SIGTERM)
        elif what == "server":
            self.servers.pop(0).kill()
        self.killed.append((moment, what))
        return moment

    def gaps(self, begin, end):
        """Missing positions between two moments, by station."""
        missing = {}
        for station, epochs in self.epochs()[0].items():
            times = sorted(epochs)
            lost = sum(round(b - a) - 1 for a, b in zip(times, times[1:]) if self.within(b, begin, end))
            if lost > 0:
                missing[station] = lost
        return missing

    def within(self, epoch, begin, end):
        utc = (epoch + 315964800 if self.o.nodes else epoch) - GPS_MINUS_UTC_S
        return begin - 1 <= utc <= end

    def await_share(self, patience_s):
        """Waits until each node has its share and has had it for so long that the servers know the states."""
        begun, share = time.time(), math.ceil(len(self.names) / max(self.o.nodes, 1))
        while self.o.nodes and time.time() - begun < patience_s:
            recent = [(station, at) for moment, station, _, at, _ in self.results.copy()
                      if moment > time.time() - KNOWN_S]
            of_node = collections.Counter(at for _, at in set(recent))
            if len(set(recent)) == len(self.names) and max(of_node.values()) <= share:
                return
            time.sleep(0.5)

    def moved(self, node):
        """Of each station that a node had last: sigma of its last position there and of the first elsewhere, and how
        long the node had it."""
        last, first, since = {}, {}, {}
        for station, epoch, at, sigma in self.results.kept():
            if sigma is not None and at == node:
                last[station] = (sigma, epoch - since.setdefault(station, epoch))
            elif sigma is not None and station in last:
                first.setdefault(station, sigma)
        return {station: (sigma, first.get(station), held) for station, (sigma, held) in last.items()}

    def report_moved(self, node):
        """What is known of a station goes with it, if the servers were told before."""
        moved = self.moved(node)
        known = [station for station, (_, _, held) in moved.items() if held >= KNOWN_S]
        before, after = zip(*[(a, b) for a, b, _ in moved.values() if b is not None] or [(0.0, 9.9)])
        went_on = sum(any(self.went_on(station, other) for other in self.nodes) for station in known)
        print(f"{len(moved)} stations moved, {went_on} of {len(known)} that had their place for {KNOWN_S} s went on "
              f"converged; sigma of the last position before {max(before):.3f} m at most, of the first behind "
              f"{max(after):.3f} m", flush=True)
        return went_on == len(known)

    def went_on(self, station, node):
        path = os.path.join(self.dir, "out", node, station, "live.log")
        if not os.path.exists(path):
            return False
        with open(path, encoding="utf-8") as file:
            last = file.read().rsplit("worker has started", 1)[-1]
        return "the run goes on where the one before has ended" in last

    # ---- what it takes ----

    def usage(self):
        """Processor seconds and memory (kB: private, proportional) of supervisors and of workers."""
        total = {}
        for process, _ in self.nodes.values():
            for kind, pids in (("supervisor", [process.pid]), ("worker", self.children(process))):
                for pid in pids:
                    with open(f"/proc/{pid}/stat", encoding="ascii") as file:
                        words = file.read().rsplit(")", 1)[1].split()
                    sums = collections.Counter()
                    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
                        for line in file.readlines()[1:]:
                            key, kilobytes = line.split(":")
                            sums[key] += int(kilobytes.split()[0])
                    entry = total.setdefault(kind, [0, 0.0, 0, 0])
                    entry[0] += 1
                    entry[1] += (int(words[11]) + int(words[12])) / os.sysconf("SC_CLK_TCK")
                    entry[2] += sums["Private_Clean"] + sums["Private_Dirty"]
                    entry[3] += sums["Pss"]
        return total

    def latencies(self):
        values = []
        for _, port in self.nodes.values():
            with urllib.request.urlopen(f"http://127.0.0.1:{port}/metrics", timeout=5) as answer:
                for line in answer.read().decode().splitlines():
                    if line.startswith("gnx_latency_seconds{"):
                        values.append(float(line.split()[-1]))
        return sorted(values)

    def run(self):
        self.sky()
        if self.o.nodes:
            self.start_servers()
            time.sleep(2)
        self.start_fleet()
        took = self.await_all(120)
        print(f"{len(self.names)} stations, {max(self.o.nodes, 1)} nodes: positions of all after "
              f"{'never' if took is None else f'{took:.1f} s'}", flush=True)
        if took is None:
            return False
        self.await_share(90)
        before, begun = self.usage(), time.time()
        latencies = []
        while time.time() - begun < self.o.seconds:
            time.sleep(min(5, self.o.seconds))
            latencies += self.latencies()
        self.report_usage(before, time.time() - begun, sorted(latencies))
        good = True
        for what in filter(None, self.o.kill.split(",")):
            moment = self.kill(what)
            took = self.await_all(60, moment + 1.0)
            time.sleep(self.o.pause)
            missing = self.gaps(moment, time.time() - 2)
            worst = max(missing.values(), default=0)
            print(f"{what} killed: {len(missing)} of {len(self.names)} stations miss epochs, {worst} at most; all have "
                  f"positions again after {'never' if took is None else f'{took:.1f} s'}", flush=True)
            good = good and took is not None and worst <= self.o.most
            if what in ("node", "leave"):
                good = self.report_moved(self.gone) and good
        twice = self.epochs()[1]
        print(f"positions that came twice: {twice}")
        return good and twice == 0

    def report_usage(self, before, seconds, latencies):
        for kind, (count, cpu, private, proportional) in self.usage().items():
            share = (cpu - before.get(kind, [0, 0.0])[1]) / seconds * 100
            print(f"{kind}s: {count}, {share:.1f} % of a processor ({share / count:.2f} % each), private "
                  f"{private / count / 1024:.1f} MB each, {private / 1024:.0f} MB in all, with their part of what is "
                  f"shared {proportional / 1024:.0f} MB", flush=True)
        if latencies:
            print(f"latency: median {latencies[len(latencies) // 2]:.3f} s, 95 % "
                  f"{latencies[int(len(latencies) * 0.95)]:.3f} s, most {latencies[-1]:.3f} s", flush=True)

    def end(self):
        begun = time.time()
        for process, _ in self.nodes.values():
            process.terminate()
        for process, _ in self.nodes.values():
            process.wait(15)
        print(f"told to end, ended after {time.time() - begun:.1f} s")
        for process in self.processes:
            if process.poll() is None:
                process.kill()
            process.wait()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--gnx", required=True)
    parser.add_argument("--stations", type=int, default=12)
    parser.add_argument("--nodes", type=int, default=3)
    parser.add_argument("--kill", default="")
    parser.add_argument("--seconds", type=float, default=60, help="of undisturbed running, which is measured")
    parser.add_argument("--pause", type=float, default=5, help="behind each kill")
    parser.add_argument("--most", type=int, default=15, help="epochs that a station may miss behind a kill")
    parser.add_argument("--servers", default="nats-server", help="the program nats-server")
    parser.add_argument("--keep", action="store_true", help="logs and results")
    parser.add_argument("--dir", default=tempfile.gettempdir())
    options = parser.parse_args()
    options.gnx = os.path.abspath(options.gnx)
    trial = Trial(options)
    try:
        good = trial.run()
    finally:
        trial.end()
    if options.keep or not good:
        print(f"logs are in {trial.dir}")
    else:
        shutil.rmtree(trial.dir)
    sys.exit(0 if good else 1)


if __name__ == "__main__":
    main()
