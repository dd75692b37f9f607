#!/usr/bin/env python3
"""A caster on this machine for trials of many stations, with one simulated sky or several.

Usage: loopback_caster.py PORT FILE [FILE ...]

Mountpoint EPH gets the broadcast messages of the first file, SSR its corrections, ALL everything; any other name
observations of one of the files, always the same. Epochs are sent when the clock of the machine shows their time,
so the files are simulated about now: gnx simulate sky --rtcm --date DATE. Ends when the files do.
"""
import asyncio
import datetime
import sys
import time
import zlib

WEEK_S = 7 * 86400
GPS_MINUS_UTC_S = 18
REPEAT_S = 10
MESSAGES = {1019, 1020, 1041, 1042, 1043, 1044, 1045, 1046}


def frames_of(data):
    """(message number, frame) of each whole frame."""
    at = 0
    while at + 6 < len(data):
        if data[at] != 0xD3:
            at += 1
            continue
        size = ((data[at + 1] & 3) << 8 | data[at + 2]) + 6
        yield data[at + 3] << 4 | data[at + 4] >> 4, data[at:at + size]
        at += size


def kind_of(number):
    if number in MESSAGES:
        return "EPH"
    return "SSR" if 1057 <= number <= 1068 or 1240 <= number <= 1270 or number == 4076 else "OBS"


def epochs_of(file):
    """(seconds of the week, {kind: bytes}) of each epoch of GPS or Galileo; all else goes with what follows it."""
    epochs, pending = [], {}
    with open(file, "rb") as stream:
        data = stream.read()
    for number, frame in frames_of(data):
        if 1071 <= number <= 1077 or 1091 <= number <= 1097:
            bits = int.from_bytes(frame[6:10], "big")
            seconds = (bits >> 2) / 1000.0
            if not epochs or epochs[-1][0] != seconds:
                epochs.append((seconds, pending))
                pending = {}
            target = epochs[-1][1]
        elif 1071 <= number <= 1137 and epochs and not pending:
            target = epochs[-1][1]
        else:
            target = pending
        target.setdefault(kind_of(number), bytearray()).extend(frame)
    return epochs


def second_of_week():
    gps_epoch = datetime.datetime(1980, 1, 6, tzinfo=datetime.timezone.utc).timestamp()
    return (time.time() + GPS_MINUS_UTC_S - gps_epoch) % WEEK_S


class Caster:
    def __init__(self, files):
        self.skies = [epochs_of(file) for file in files]
        self.clients = {}

    async def serve(self, reader, writer):
        head = await reader.readuntil(b"\r\n\r\n")
        name = head.split(b" ")[1].decode().strip("/").split("?")[0]
        writer.write(b"ICY 200 OK\r\n\r\n" if b"Ntrip/2" not in head else
                     b"HTTP/1.1 200 OK\r\nNtrip-Version: Ntrip/2.0\r\nContent-Type: gnss/data\r\n\r\n")
        self.clients[writer] = name
        try:
            await reader.read()
        except ConnectionError:
            pass
        self.clients.pop(writer, None)
        writer.close()

    async def play(self, index, sky):
        """Sends one sky at its own times; broadcast messages again and again, as casters do."""
        messages = bytearray()
        for seconds, pieces in sky:
            messages += pieces.get("EPH", b"")
            due = (seconds - second_of_week() + WEEK_S / 2) % WEEK_S - WEEK_S / 2
            if due < -1.0:
                continue
            await asyncio.sleep(max(due, 0.0))
            if seconds % REPEAT_S < 1.0:
                pieces["EPH"] = messages
            whole = b"".join(bytes(piece) for piece in pieces.values())
            for writer, name in list(self.clients.items()):
                if name in ("EPH", "SSR", "ALL"):
                    piece = (whole if name == "ALL" else pieces.get(name, b"")) if index == 0 else b""
                else:
                    mine = zlib.crc32(name.encode()) % len(self.skies) == index
                    piece = pieces.get("OBS", b"") if mine else b""
                if piece and not writer.is_closing():
                    writer.write(bytes(piece))

    async def run(self, port):
        await asyncio.start_server(self.serve, "127.0.0.1", port)
        await asyncio.gather(*(self.play(i, sky) for i, sky in enumerate(self.skies)))


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    asyncio.run(Caster(sys.argv[2:]).run(int(sys.argv[1])))
