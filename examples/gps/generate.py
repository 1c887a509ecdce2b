#!/usr/bin/env python3
"""Makes sample.nmea beside this script: ten seconds of a receiver that drives north at 10 m/s.

The same bytes at every run: no clock, no random module, only integer arithmetic.
"""
import pathlib

# Number, elevation, azimuth, signal strength.
SATELLITES = [(2, 41, 80, 38), (5, 12, 312, 21), (12, 67, 144, 44), (17, 33, 201, 35), (25, 8, 17, 0), (29, 55, 265, 41)]


def sentence(body):
    checksum = 0
    for character in body:
        checksum ^= ord(character)
    return f"${body}*{checksum:02X}"


def position(second):
    # 10 m north are 0.0054 minutes of latitude.
    minutes = 80000 + 54 * second
    return f"48{minutes // 10000:02d}.{minutes % 10000:04d},N,01134.5000,E"


def lines():
    yield "# Ten seconds of an invented receiver"
    for second in range(10):
        clock = f"0930{second:02d}.00"
        yield sentence(f"GPRMC,{clock},A,{position(second)},19.44,0.0,150326,,,A")
        yield sentence(f"GPGGA,{clock},{position(second)},1,05,1.2,{519 + second}.0,M,47.0,M,,")
        if second % 5 == 0:
            yield sentence("GPGSA,A,3,02,05,12,17,29,,,,,,,,2.0,1.2,1.6")
            for part in range(2):
                fields = "".join(f",{number:02d},{elevation:02d},{azimuth:03d},{strength:02d}"
                                 for number, elevation, azimuth, strength in SATELLITES[4 * part:4 * part + 4])
                yield sentence(f"GPGSV,2,{part + 1},{len(SATELLITES):02d}{fields}")


if __name__ == "__main__":
    text = "\r\n".join(lines()) + "\r\n"
    (pathlib.Path(__file__).resolve().parent / "sample.nmea").write_bytes(text.encode("ascii"))
