#!/usr/bin/env python3
"""Makes memory.bin, the control unit's memory from 0x20000000 on, and expected.csv, the values in it.

The same bytes at every run. Each value is packed here by hand, so that layout.sdl is checked against something else
than itself: expected.csv has a row `URL,value,unit` for what a subscription to the URL has to give.
"""
import pathlib
import struct

HERE = pathlib.Path(__file__).resolve().parent
BASE = 0x20000000

# id, kind, moving, speed in 0.05 m/s, distance in mm, angle in 0.01 deg, level in dB, length and width in 0.1 m
OBJECTS = [
    (11, 1, 1, 250, 12345, -1234, 23, 45, 18),
    (12, 2, 1, -7, 1048575, 17999, -5, 165, 25),
    (13, 3, 0, 0, 0, 0, 0, 5, 5),
    (14, 1, 1, 32767, 524288, -18000, 2047, 48, 19),
    (15, 0, 0, -32768, 1, 1, -2048, 255, 0),
    (16, 1, 1, 400, 98765, 300, -100, 44, 17),
]
CURVE = [0, 258, 4660, 65535]
TEMPERATURE = 300
TRIM = -5
DRIFT = -6
GAIN = -0.1
SERIAL = b"T4-7"
# speed and slip in half percents
WHEELS = [(81.25, 3), (80.5, -4), (79.0, 127), (78.75, -128)]


def packed_object(each):
    number, kind, moving, speed, distance, angle, level, length, width = each
    return (struct.pack("<BBh", number, kind | moving << 7, speed)
            + (distance << 4).to_bytes(3, "little")
            + angle.to_bytes(2, "big", signed=True)
            + (level & 0xFFF).to_bytes(2, "big")
            + struct.pack("<BB", length, width)).ljust(16, b"\0")


def memory():
    table = struct.pack("<HB5x", 3, 5) + b"".join(packed_object(each) for each in OBJECTS)
    wheels = b"".join(struct.pack("<fb", *each) for each in WHEELS)
    calibration = (struct.pack(">4H", *CURVE) + struct.pack("<H", TEMPERATURE)
                   + bytes([0x80 | -TRIM, 0xFF ^ -DRIFT]) + struct.pack(">d", GAIN) + SERIAL)
    image = bytearray(0x120)
    for offset, content in ((0, table), (0x80, wheels), (0x100, calibration)):
        image[offset:offset + len(content)] = content
    return bytes(image)


def object_rows(url, each):
    number, kind, moving, speed, distance, angle, level, length, width = each
    yield f"{url}.id", number, ""
    yield f"{url}.kind", kind, ""
    yield f"{url}.moving", moving, ""
    yield f"{url}.speed", speed * 0.05, "m/s"
    yield f"{url}.distance", distance * 0.001, "m"
    yield f"{url}.angle", angle * 0.01, "deg"
    yield f"{url}.level", level, "dB"
    yield f"{url}.Size.length", length * 0.1, "m"
    yield f"{url}.Size.width", width * 0.1, "m"


def rows():
    yield "memory.Raw.Table.version", 3, ""
    yield "memory.Raw.Table.used", 5, ""
    for index, each in enumerate(OBJECTS):
        yield from object_rows(f"memory.Raw.Table.Object[{index}]", each)
    yield from object_rows("memory.Raw.Table.Object[last()]", OBJECTS[-1])
    for index, value in enumerate(CURVE):
        yield f"memory.Raw.Calibration.curve[{index}]", value, ""
    yield "memory.Raw.Calibration.temperature", (100 * TEMPERATURE - 5000) / (TEMPERATURE + 200), "degC"
    yield "memory.Raw.Calibration.trim", TRIM, ""
    yield "memory.Raw.Calibration.drift", DRIFT, ""
    yield "memory.Raw.Calibration.gain", GAIN, ""
    for index, value in enumerate(SERIAL):
        yield f"memory.Raw.Calibration.serial[{index}]", value, ""
    for index, (speed, slip) in enumerate(WHEELS):
        yield f"memory.Every 10 ms.Wheel[{index}].speed", speed, "rad/s"
        yield f"memory.Every 10 ms.Wheel[{index}].slip", slip * 0.5, "%"


if __name__ == "__main__":
    (HERE / "memory.bin").write_bytes(memory())
    (HERE / "expected.csv").write_text("".join(f"{url},{value!r},{unit}\n" for url, value, unit in rows()))
