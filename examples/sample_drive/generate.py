#!/usr/bin/env python3
"""Makes sample.dbc and sample.log: a minute's drive of an invented car, beside this script.

A start in town, a stretch of country road, a stop at a light. The same bytes at every run: no clock, no random
module, no trigonometry, only integer arithmetic and a small generator of noise.
"""
import pathlib
import re

DBC = """VERSION "sample drive"

NS_ :

BS_:

BU_: Engine Gearbox Chassis Body Dashboard

BO_ 192 EngineData: 8 Engine
 SG_ EngineSpeed : 0|16@1+ (0.25,0) [0|8000] "rpm" Dashboard
 SG_ EngineTorque : 16|12@1- (0.5,0) [-500|500] "Nm" Gearbox
 SG_ ThrottlePosition : 32|8@1+ (0.4,0) [0|100] "%" Gearbox
 SG_ EngineRunning : 40|1@1+ (1,0) [0|1] "" Dashboard
 SG_ MessageCounter : 56|4@1+ (1,0) [0|15] "" Dashboard

BO_ 200 EngineTemperatures: 4 Engine
 SG_ CoolantTemperature : 7|8@0+ (1,-40) [-40|150] "degC" Dashboard
 SG_ OilTemperature : 15|8@0+ (1,-40) [-40|200] "degC" Dashboard
 SG_ IntakeTemperature : 23|10@0- (0.25,20) [-60|100] "degC" Dashboard

BO_ 208 WheelSpeeds: 8 Chassis
 SG_ WheelSpeedFrontLeft : 7|16@0+ (0.01,0) [0|300] "km/h" Dashboard
 SG_ WheelSpeedFrontRight : 23|16@0+ (0.01,0) [0|300] "km/h" Dashboard
 SG_ WheelSpeedRearLeft : 39|16@0+ (0.01,0) [0|300] "km/h" Dashboard
 SG_ WheelSpeedRearRight : 55|16@0+ (0.01,0) [0|300] "km/h" Dashboard

BO_ 224 VehicleMotion: 8 Chassis
 SG_ VehicleSpeed : 0|16@1+ (0.01,0) [0|300] "km/h" Dashboard
 SG_ LongitudinalAcceleration : 16|12@1- (0.01,0) [-20|20] "m/s2" Dashboard
 SG_ YawRate : 28|12@1- (0.1,0) [-180|180] "deg/s" Dashboard
 SG_ SteeringAngle : 47|16@0- (0.1,0) [-720|720] "deg" Dashboard
 SG_ BrakePedal : 56|1@1+ (1,0) [0|1] "" Dashboard

BO_ 288 Transmission: 4 Gearbox
 SG_ GearSelector : 0|3@1+ (1,0) [0|4] "" Dashboard
 SG_ CurrentGear : 3|4@1+ (1,-1) [-1|8] "" Dashboard
 SG_ ConverterSlip : 15|12@0- (0.5,0) [-1000|1000] "rpm" Dashboard

BO_ 801 EngineDiagnosis: 8 Engine
 SG_ Page M : 0|4@1+ (1,0) [0|2] "" Dashboard
 SG_ BatteryVoltage m0 : 8|12@1+ (0.01,0) [0|40] "V" Dashboard
 SG_ AlternatorLoad m0 : 24|8@1+ (0.5,0) [0|100] "%" Dashboard
 SG_ FuelLevel m1 : 15|10@0+ (0.1,0) [0|100] "l" Dashboard
 SG_ FuelRate m1 : 32|16@1+ (0.005,0) [0|100] "l/h" Dashboard
 SG_ Odometer m2 : 8|24@1+ (0.1,0) [0|1677721] "km" Dashboard
 SG_ MessageCounter : 60|4@1+ (1,0) [0|15] "" Dashboard

BO_ 928 Lights: 2 Body
 SG_ TurnIndicator : 0|2@1+ (1,0) [0|3] "" Dashboard
 SG_ Headlights : 2|2@1+ (1,0) [0|2] "" Dashboard
 SG_ BrakeLights : 4|1@1+ (1,0) [0|1] "" Dashboard

BO_ 944 Doors: 1 Body
 SG_ DoorFrontLeft : 0|1@1+ (1,0) [0|1] "" Dashboard
 SG_ DoorFrontRight : 1|1@1+ (1,0) [0|1] "" Dashboard
 SG_ DoorsLocked : 2|1@1+ (1,0) [0|1] "" Dashboard

BO_ 960 Climate: 4 Body
 SG_ CabinTemperature : 7|8@0+ (0.5,-40) [-40|87] "degC" Dashboard
 SG_ OutsideTemperature : 15|8@0+ (0.5,-40) [-40|87] "degC" Dashboard
 SG_ FanLevel : 23|4@0+ (1,0) [0|7] "" Dashboard

BO_ 2565866768 Navigation: 8 Body
 SG_ Latitude : 0|32@1- (1E-007,0) [-90|90] "deg" Dashboard
 SG_ Longitude : 32|32@1- (1E-007,0) [-180|180] "deg" Dashboard

CM_ "A minute's drive of an invented car.";
CM_ BO_ 801 "What the engine tells page by page.";
CM_ SG_ 192 EngineTorque "Torque at the crankshaft, negative when the engine brakes.";
BA_DEF_ BO_ "GenMsgCycleTime" INT 0 10000;
BA_DEF_DEF_ "GenMsgCycleTime" 0;
BA_ "GenMsgCycleTime" BO_ 192 10;
VAL_ 192 EngineRunning 0 "off" 1 "running" ;
VAL_ 288 GearSelector 0 "park" 1 "reverse" 2 "neutral" 3 "drive" 4 "sport" ;
VAL_ 928 TurnIndicator 0 "off" 1 "left" 2 "right" 3 "hazard" ;
VAL_ 928 Headlights 0 "off" 1 "low beam" 2 "high beam" ;
"""

# Milliseconds since the start and the speed reached then, in hundredths of km/h; straight in between.
SPEED = [(0, 0), (4000, 0), (12000, 4800), (18000, 5000), (28000, 9800), (42000, 10000), (52000, 0), (60001, 0)]
# The same for the steering wheel, in tenths of a degree.
STEERING = [(0, 0), (5000, 0), (8000, 1450), (11000, 0), (30000, 0), (33000, -220), (36000, 0), (60001, 0)]
UPSHIFT = [1500, 3000, 4500, 6200, 8000, 9500]  # speeds above which the next gear is in
RPM_PER_SPEED = [64, 40, 28, 21, 16, 13, 9]  # quarter revolutions a minute for a tenth of km/h, by gear


class Noise:
    """Whole numbers from -width to width that look random."""

    def __init__(self):
        self.state = 20260101

    def __call__(self, width):
        self.state = (self.state * 6364136223846793005 + 1442695040888963407) % 2**64
        return (self.state >> 33) % (2 * width + 1) - width


noise = Noise()


def at(table, time):
    """The table's value at a time in milliseconds."""
    for (t0, v0), (t1, v1) in zip(table, table[1:]):
        if t0 <= time < t1:
            return v0 + (v1 - v0) * (time - t0) // (t1 - t0)
    return table[-1][1]


def layouts():
    """Message id -> (bytes, {signal: (start, length, intel)}), read from the text above."""
    found = {}
    for line in DBC.splitlines():
        if match := re.match(r"BO_ (\d+) \w+: (\d+)", line):
            signals = {}
            found[int(match[1])] = (int(match[2]), signals)
        elif match := re.match(r" SG_ (\w+) (?:m?\d*M? )?: (\d+)\|(\d+)@([01])", line):
            signals[match[1]] = (int(match[2]), int(match[3]), match[4] == "1")
    return found


LAYOUTS = layouts()


def pack(ident, values):
    """The bytes of a message with these stored values."""
    size, signals = LAYOUTS[ident]
    data = bytearray(size)
    for name, value in values.items():
        start, length, intel = signals[name]
        position = start
        for bit in range(length):
            wanted = bit if intel else length - 1 - bit
            data[position // 8] |= (value >> wanted & 1) << position % 8
            if intel:
                position += 1
            else:
                position = position - 1 if position % 8 else position + 15
    return bytes(data)


def gear(speed):
    return sum(speed > limit for limit in UPSHIFT)


def engine_speed(time):
    speed = at(SPEED, time)
    return 3200 if speed < 500 else max(3200, speed // 10 * RPM_PER_SPEED[gear(speed)])


def engine(time, counter):
    pull = at(SPEED, time + 200) - at(SPEED, time - 200 if time > 200 else 0)
    torque = pull * 3 + noise(6) if engine_speed(time) > 3200 else 40 + noise(3)
    return 192, {"EngineSpeed": engine_speed(time) + noise(8), "EngineTorque": max(-900, min(900, torque)),
                 "ThrottlePosition": max(0, min(250, 12 + pull + noise(2))), "EngineRunning": 1,
                 "MessageCounter": counter % 16}


def temperatures(time, counter):
    return 200, {"CoolantTemperature": 40 + 62 + time // 3000, "OilTemperature": 40 + 55 + time // 2500,
                 "IntakeTemperature": -8 + time // 5000 + noise(1)}


def wheels(time, counter):
    speed, turn = at(SPEED, time), at(STEERING, time) // 20
    names = ["WheelSpeedFrontLeft", "WheelSpeedFrontRight", "WheelSpeedRearLeft", "WheelSpeedRearRight"]
    sides = [-turn, turn, -turn // 2, turn // 2]
    return 208, {name: max(0, speed + side + noise(5)) if speed else 0 for name, side in zip(names, sides)}


def motion(time, counter):
    speed = at(SPEED, time)
    change = at(SPEED, time + 100) - at(SPEED, max(0, time - 100))
    return 224, {"VehicleSpeed": speed, "LongitudinalAcceleration": change * 139 // 100 + noise(3),
                 "YawRate": at(STEERING, time) * speed // 60000 + noise(1), "SteeringAngle": at(STEERING, time) + noise(2),
                 "BrakePedal": int(change < -20 or speed == 0)}


def transmission(time, counter):
    selector = 0 if time < 3000 else 3
    slip = 0 if selector == 0 else max(0, 120 - at(SPEED, time) // 20) + noise(4)
    return 288, {"GearSelector": selector, "CurrentGear": 1 + (gear(at(SPEED, time)) + 1 if selector else 0),
                 "ConverterSlip": slip}


def diagnosis(time, counter):
    page = counter % 3
    values = [{"BatteryVoltage": 1420 + noise(8), "AlternatorLoad": 90 + noise(10)},
              {"FuelLevel": 431 - time // 20000, "FuelRate": engine_speed(time) // 16 + noise(5)},
              {"Odometer": 481230 + time // 6000}][page]
    return 801, {"Page": page, "MessageCounter": counter % 16, **values}


def lights(time, counter):
    indicator = 1 if 4000 <= time < 9000 and time // 400 % 2 else 0
    beam = 2 if 26000 <= time < 40000 else 1
    return 928, {"TurnIndicator": indicator, "Headlights": beam, "BrakeLights": motion(time, 0)[1]["BrakePedal"]}


def doors(time, counter):
    return 944, {"DoorFrontLeft": int(time < 1500), "DoorFrontRight": 0, "DoorsLocked": int(time >= 5000)}


def climate(time, counter):
    return 960, {"CabinTemperature": 80 + 36 + time // 12000, "OutsideTemperature": 80 + 23, "FanLevel": 5 - time // 20000}


def navigation(time, counter):
    # The way driven so far, in metres, in steps of 100 ms.
    way = sum(at(SPEED, step) for step in range(0, time, 100)) // 3600
    return 2565866768, {"Latitude": 481374000 + way * 70 + noise(3), "Longitude": 115755000 + way * 95 + noise(3)}


# Interface, period and first time in milliseconds, and what is sent.
SENDERS = [("can0", 10, 3, engine), ("can0", 20, 5, wheels), ("can0", 20, 9, motion), ("can0", 50, 12, transmission),
           ("can0", 200, 31, diagnosis), ("can0", 500, 47, temperatures), ("can1", 100, 8, lights),
           ("can1", 200, 61, doors), ("can1", 500, 77, climate), ("can1", 100, 40, navigation)]


def frames():
    """(microseconds, interface, id and data) in order of time; now and then a request that the DBC does not have."""
    found = [(time * 1000 + 417, "can0", "7DF#02010D0000000000") for time in range(7000, 60000, 10000)]
    for interface, period, first, send in SENDERS:
        for counter, time in enumerate(range(first, 60000, period)):
            ident, values = send(time, counter)
            text = f"{ident & 0x1FFFFFFF:08X}" if ident >> 31 else f"{ident:03X}"
            found.append((time * 1000 + 150 + noise(140), interface, f"{text}#{pack(ident, values).hex().upper()}"))
    return sorted(found)


def main():
    here = pathlib.Path(__file__).resolve().parent
    (here / "sample.dbc").write_bytes(DBC.encode())
    with open(here / "sample.log", "wb") as log:
        for time, interface, frame in frames():
            log.write(f"({1767254400 + time // 1000000}.{time % 1000000:06d}) {interface} {frame}\n".encode())


if __name__ == "__main__":
    main()
