#!/usr/bin/env python3
"""dissect.py BUILD_FOLDER DISSECTOR: what tshark reads out of the tools' exchanges with the simulator.

The bytes go through a proxy that keeps them, and from there into a capture file, in segments of 700
bytes, so that most records lie in several. Skipped (77) without tshark.
"""
import json
import os
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import threading

SEGMENT = 700
CLIENT, SERVER = 0, 1


def recorded(port, command):
    """Runs the command on a proxy before that port: [(side, bytes)] of each connection."""
    connections = []
    listener = socket.create_server(("127.0.0.1", 0))

    def serve():
        while True:
            try:
                client, _ = listener.accept()
            except OSError:
                return
            server = socket.create_connection(("127.0.0.1", port))
            kept = []
            connections.append(kept)
            for side, (one, other) in enumerate([(client, server), (server, client)]):
                threading.Thread(target=pump, args=(side, one, other, kept), daemon=True).start()

    def pump(side, one, other, kept):
        try:
            while data := one.recv(4096):
                kept.append((side, data))
                other.sendall(data)
        except OSError:
            pass
        for each in (one, other):
            try:
                each.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass

    threading.Thread(target=serve, daemon=True).start()
    at = "127.0.0.1:%d" % listener.getsockname()[1]
    subprocess.run([at if word == "SERVER" else word for word in command], timeout=60,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
    listener.close()
    return connections


def capture(file, connections):
    """Raw IPv4, without checksums; connection N is from port 40000 + N to 6602."""
    file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 101))
    for number, kept in enumerate(connections):
        sent = [1, 1]
        for side, data in kept:
            for begin in range(0, len(data), SEGMENT):
                part = data[begin:begin + SEGMENT]
                ports = (40000 + number, 6602) if side == CLIENT else (6602, 40000 + number)
                tcp = struct.pack(">HHIIBBHHH", *ports, sent[side], sent[1 - side], 0x50, 0x18,
                                  65535, 0, 0)
                ends = (b"\x7f\0\0\1", b"\x7f\0\0\2")
                ip = struct.pack(">BBHHHBBH", 0x45, 0, 40 + len(part), 0, 0, 64, 6, 0)
                packet = ip + ends[side] + ends[1 - side] + tcp + part
                file.write(struct.pack("<IIII", number, 0, len(packet), len(packet)) + packet)
                sent[side] += len(part)


def dissected(dissector, connections):
    """{connection: {field: [values]}}, expert sentences as "expert", in both passes of tshark."""
    results = []
    for passes in ([], ["-2"]):
        with tempfile.NamedTemporaryFile(suffix=".pcap") as file:
            capture(file, connections)
            file.flush()
            out = subprocess.run(
                ["tshark", "-X", "lua_script:" + dissector, *passes, "-r", file.name, "-T", "json",
                 "--no-duplicate-keys", "-o", "tcp.desegment_tcp_streams:TRUE"],
                timeout=100, capture_output=True, text=True, check=True)
            assert "error" not in out.stderr.lower(), out.stderr
        found = {}
        for packet in json.loads(out.stdout):
            layers = packet["_source"]["layers"]
            if "tcp" in layers:
                collect(layers, found.setdefault(int(layers["tcp"]["tcp.stream"]), {}))
        results.append(found)
    assert results[0] == results[1], "the second pass reads something else"
    return results[0]


def collect(tree, into):
    for key, value in tree.items():
        for each in value if isinstance(value, list) else [value]:
            if isinstance(each, dict):
                collect(each, into)
            elif key.startswith("quorvid."):
                into.setdefault(key[8:], []).append(each)
            elif key in ("_ws.expert.message", "_ws.lua.error"):
                into.setdefault("expert", []).append(each)


def expect(fields, **values):
    for key, value in values.items():
        key = key.replace("__", ".")
        assert fields.get(key) == value, f"{key}: {fields.get(key)}, not {value}"


def fleet_payloads(data):
    """The lengths of the whole packets behind the answer."""
    at, lengths = 18, []
    while at + 19 <= len(data) and at + 19 + struct.unpack_from("<i", data, at + 1)[0] <= len(data):
        lengths.append(str(struct.unpack_from("<i", data, at + 1)[0]))
        at += 19 + int(lengths[-1])
    return lengths


def main():
    build, dissector = sys.argv[1:]
    if not shutil.which("tshark"):
        print("skipped: tshark isn't installed")
        return 77
    sim = subprocess.Popen([build + "/quorvid-sim", "--item-len", "300", "--garbage", "5", "--audio",
                            "--sei", "--json"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    try:
        ports = json.loads(sim.stdout.readline())
        tool = build + "/quorvid"
        with tempfile.TemporaryDirectory() as work:
            with open(os.open(work + "/word", os.O_CREAT | os.O_WRONLY, 0o600), "w") as word:
                word.write("secret\n")
            known = ["--account", "Anna", "--password-file", work + "/word"]
            record = [tool, "record", "SERVER", "--device", "BUS-17", "--channel", "2", "--seconds",
                      "1", "--overwrite", "-o"]
            fleet = recorded(ports["fleet"], record + [work + "/fleet.h264"])
            record += [work + "/car.h264", *known, "--path"]
            car = recorded(ports["car"], record + ["car"])
            relay = recorded(ports["relay"], record + ["relay"])
            devices = recorded(ports["list"], [tool, "list", "SERVER", *known])
    finally:
        sim.terminate()
        sim.wait()
    sent = b"".join(data for side, data in fleet[0] if side == SERVER)
    hostile = sent[:18] + b"V" + struct.pack("<i", 1 << 30) + sent[23:4000]
    found = dissected(dissector, [fleet[0], car[0], relay[0], devices[0],
                                  [fleet[0][0], (SERVER, hostile)]])

    stream = found[0]
    lengths = fleet_payloads(sent)
    expect(stream, request__tag=["001"], request__device=["BUS-17"], request__channel=["02"],
           fleet__status=["0"], fleet__length=lengths)
    assert len(lengths) > 20 and stream["unit.type"][:4] == ["7", "8", "6", "5"], stream["unit.type"]
    assert stream["fleet.kind"].count("0x41") > 5 and "expert" not in stream, stream.get("expert")

    sent = b"".join(data for side, data in car[0] if side == SERVER)
    expect(found[1], request__tag=["3GTXV100"], request__account=["Anna"],
           request__password=["secret"], request__device=["BUS-17"], request__channel_from_1=["3"])
    numbers = [int(number) for number in found[1]["car.number"]]
    assert numbers == list(range(numbers[0], numbers[0] + sent.count(b"3GTSV100")))[:len(numbers)]
    assert len(numbers) >= sent.count(b"3GTSV100") - 1 > 20

    expect(found[2], request__command=["134"], request__device=["BUS-17"],
           request__channel_from_1=["3"], reply__command=["32769"], reply__relay=["127.0.0.1"],
           reply__relay_port=[str(ports["car"])])
    expect(found[3], request__command=["130"], request__password=["secret"],
           reply__command=["32769"], reply__items=["3"], item__length=["300"] * 3,
           expert=["Bytes before a tag are skipped"])
    assert len(found[3]["item.blk128"]) == 3

    expect(found[4], fleet__length=[str(1 << 30)])
    wrong = found[4]["expert"]
    assert wrong[0].startswith("The length is out of its limits"), wrong
    assert set(wrong[1:]) == {"Behind what ended the stream; nothing is read here"}, wrong
    return 0


sys.exit(main())
