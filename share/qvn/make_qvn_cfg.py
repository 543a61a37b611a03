#!/usr/bin/python3
"""Writes qvn.cfg from sensors.csv and platforms.csv.

usage: make_qvn_cfg.py [OUTPUT]      (OUTPUT is qvn.cfg beside this script unless given)

sensors.csv, one row a sensor:
  code, name, family      as the catalogue has them
  columns, rows           pixels of the image
  pixel_width, _height    micrometres
  columns_before, _after  columns of the horizontal register outside the image
  dark_rows               rows outside the image, for vertical binning 1
  antiblooming, shutter   1: has a drain; 1: needs a mechanical shutter
  outputs                 amplifiers
  full_well, ccf          electrons; microvolts an electron
  phase                   length of one phase of a vertical clock in microseconds
  geometry                published or assumed
  about                   goes into the comment

platforms.csv, one row a group:
  codes, name             as the catalogue has them; two codes may share a name
  ad_bits                 of the converter
  time_base               master clock in MHz
  fpga_id                 what the camera's logic must report
  ad_clock                MHz
  gain_count, gains       number of settings, and the factors of the first four
  antiblooming_timer      as it stands
  sampling_clock          one pattern word in microseconds
  amplifier_delay         microseconds
  sensors                 codes in the order of the catalogue
  counted                 those sensors whose VerticalPhasePeriod counts pattern words
"""

import csv
import os
import sys
from decimal import Decimal

FOLDER = os.path.dirname(os.path.abspath(__file__))

HEAD = """\
# qvn.cfg: what the sensors and the camera platforms are, in numbers.
#
# A sample that covers every sensor and every pair of platform and sensor. It is
# good for the simulated camera as it stands. For a real camera replace the
# group of its platform and of its sensor by the values that came with it.
#
# Columns, rows and pixel size are those that the makers' data sheets give for
# the type; a group with the comment "assumed" has plausible ones. Assumed
# throughout: the columns of the register and the rows outside the image, full
# well and conversion factor (typical values), and all values of the platforms.
#
# Units: XpixDim, YpixDim micrometres; Xarea, Yarea millimetres; FWC electrons;
# CCF microvolts an electron; TimeBase, ADclock MHz; AmplifierDelay and
# SamplingClock microseconds; VerticalPhasePeriod microseconds, or pattern words
# where a comment says so; Gain factors, 0.0 where there is no such setting.
# Shutter 1: the sensor needs a mechanical shutter.
#
# Write 40.0, not 40, where a value here has a point, and keep the elements of an
# array alike: changed values can only be stored under the type that stands here.
#
# This sample is made by make_qvn_cfg.py from sensors.csv and platforms.csv. A
# copy of it in an installation is edited by hand. When the library saves
# changed values it writes the whole file anew, without comments.
"""

DEMO_IMAGE = """\
      # The image that the simulated camera looks at: 16 bits a pixel, little-endian.
      # A sensor sees its middle, straight if it has an even number of columns and
      # no more than the image; otherwise the rows of the image lean or run on into
      # one another.
      File = "starfield.raw";
      Xpix = 3072;
      Ypix = 2048;
"""


def fail(text):
    sys.exit("make_qvn_cfg.py: " + text)


def read_table(name):
    with open(os.path.join(FOLDER, name), newline="", encoding="ascii") as stream:
        return list(csv.DictReader(stream, strict=True))


def real(value):
    """A number as libconfig reads a float: with a point."""
    text = format(Decimal(value).normalize(), "f")
    return text if "." in text else text + ".0"


def sensor_group(row):
    columns, rows = int(row["columns"]), int(row["rows"])
    before, after = int(row["columns_before"]), int(row["columns_after"])
    dark = int(row["dark_rows"])
    if max(columns + before + after, rows) > 32767:
        fail(f"{row['name']}: the geometry does not fit 16 bits")
    if row["geometry"] not in ("published", "assumed"):
        fail(f"{row['name']}: geometry is published or assumed, not {row['geometry']}")
    area_x = Decimal(row["pixel_width"]) * columns / 1000
    area_y = Decimal(row["pixel_height"]) * rows / 1000
    # Binned rows outside the image; a part of one counts as one.
    dummy = ", ".join(str((dark + binning - 1) // binning) for binning in (1, 2, 3, 4))
    assumed = " # assumed" if row["geometry"] == "assumed" else ""
    return f"""\
    {row['name']}: # {row['code']}, {row['about']}
    {{
      Manufacturer = {row['family']};
      Xpix = {columns};{assumed}
      Ypix = {rows};{assumed}
      XpixDim = {real(row['pixel_width'])};{assumed}
      YpixDim = {real(row['pixel_height'])};{assumed}
      Xarea = {real(area_x)};{assumed}
      Yarea = {real(area_y)};{assumed}
      Dummy = [ {dummy} ];
      HorDummyPix = {before};
      HorRegSize = {before + columns + after};
      Antiblooming = {row['antiblooming']};
      MultipleOutput = {row['outputs']};
      Shutter = {row['shutter']};
      FWC = {real(row['full_well'])};
      CCF = {real(row['ccf'])};
    }};
"""


def pair_group(platform, sensor, counted):
    phase = Decimal(sensor["phase"])
    tick = Decimal(platform["sampling_clock"])
    comment = ""
    if counted:
        phase = phase / tick
        comment = " # pattern words"
    if phase != int(phase) or phase < 1:
        fail(f"{platform['name']}, {sensor['name']}: phase {phase} is not a whole number")
    gains = ", ".join(real(gain) for gain in platform["gains"].split())
    return f"""\
      {sensor['name']}: # {sensor['code']}
      {{
        AmplifierDelay = {real(platform['amplifier_delay'])};
        SamplingClock = [ {real(tick)}, {real(tick)} ];
        VerticalPhasePeriod = {int(phase)};{comment}
        Gain = [ {gains} ];
      }};
"""


def platform_group(row, sensors):
    codes = row["codes"].split()
    text = f"""\
    {row['name']}: # {' and '.join(codes)}
    {{
      ADbit = [ {row['ad_bits']}, 0 ];
      TimeBase = {real(row['time_base'])};
      FpgaId = {row['fpga_id']};
      ADclock = {real(row['ad_clock'])};
      NumberOfGains = {row['gain_count']};
      AntiBloomingTimer = {row['antiblooming_timer']};
"""
    if row["name"] == "DEMO":
        text += DEMO_IMAGE
    listed = row["sensors"].split()
    counted = row["counted"].split()
    for code in listed + counted:
        if code not in sensors or code not in listed or listed.count(code) > 1:
            fail(f"{row['name']}: sensor {code} is unknown, not listed or listed twice")
    for code in listed:
        text += pair_group(row, sensors[code], code in counted)
    return text + "    };\n"


def compose():
    rows = read_table("sensors.csv")
    sensors = {row["code"]: row for row in rows}
    platforms = read_table("platforms.csv")
    for names in ([row["name"] for row in rows], [row["name"] for row in platforms]):
        for name in names:
            if names.count(name) > 1:
                fail(f"{name} stands twice")
    if len(sensors) != len(rows):
        fail("a sensor code stands twice")
    text = HEAD + "\nrmk_camera_library:\n{\n  ccd_definitions:\n  {\n"
    text += "".join(sensor_group(row) for row in rows)
    text += "  };\n\n  camera_platforms:\n  {\n"
    text += "".join(platform_group(row, sensors) for row in platforms)
    return text + "  };\n};\n"


def main():
    if len(sys.argv) > 2:
        fail("usage: make_qvn_cfg.py [OUTPUT]")
    output = sys.argv[1] if len(sys.argv) == 2 else os.path.join(FOLDER, "qvn.cfg")
    text = compose()
    with open(output, "w", encoding="ascii", newline="\n") as stream:
        stream.write(text)


if __name__ == "__main__":
    main()
