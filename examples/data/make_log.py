#!/usr/bin/env python3
"""Makes the example data: python3 examples/data/make_log.py [FOLDER]

day1.keldb  the log of a shooting day with five cameras and the sound recorder
day2.keldb  the short log of the day after, whose fields are others
sheet.csv   the clips of one set of day 1, as a spreadsheet would send them

FOLDER is the one of this script unless it is given. The same bytes come out every time. They are those that the library
writes: a table that is loaded and saved again is the same file.
"""

import random
import sys
from pathlib import Path

# What each camera rolls at, whether its timecodes drop frames, who works it, how long a reel lasts, in seconds, and how
# many hours the timecode is ahead of the reel's number.
CAMERAS = {
    "A": ("25", 25, False, "Márta Kéri", 1500, 0),
    "B": ("25", 25, False, "Søren Bak", 1500, 0),
    "C": ("50", 50, False, "Søren Bak", 900, 10),
    "D": ("29.97", 30, True, "雨宮 直子", 1100, 0),
    "E": ("23.976", 24, False, "Zoë O'Hara-Núñez", 1200, 5),
    "S": ("25", 25, False, "Tomé Rosa", 3000, 0),
}

# Of each set-up: camera, scene, name, number of takes, seconds that a take lasts about, notes of the first takes.
DAY1 = [
    ("A", "12", "Harbour wide", 6, 45, ["Ferry leaves at 0:31", "Soft, focus pulled late", "Gull crosses at the end"]),
    ("B", "12", "Harbour, long lens", 6, 45, ["", "Heat haze, usable"]),
    ("A", "12", "Gangway, crew", 6, 50, ['Keep the "all aboard" call', "False start"]),
    ("E", "12", "Gangway, low angle", 6, 50, ["Feet only\nCrew walks through at 0:20"]),
    ("C", "12A", "Rope detail", 7, 19, ["", "Knot closes in frame"]),
    ("C", "12B", "Gulls", 4, 14, ["Off speed, play at 25"]),
    ("D", "20", "Drone, island", 6, 95, ["Drop-frame; wind gusts 9 m/s", "Clean until the lighthouse"]),
    ("D", "20A", "Drone, lighthouse", 6, 70, ["島と灯台、逆光", "Battery low, short"]),
    ("A", "13", "Quay, arrivals", 8, 60, ["", "Extra looks into the lens", "Umbrella, red, upper left"]),
    ("B", "13", "Quay, faces", 8, 60, ["Jürgen, Zoë, then the twins"]),
    ("S", "12W", "Wild track, harbour", 2, 150, ["No picture"]),
    ("A", "14", "Ticket office", 11, 80,
     ['Ines: "No ferries today?"\nClerk: "None that float."', 'Line dropped, pick up from "none"']),
    ("B", "14", "Ticket office, Ines", 11, 80, ["", 'Says "boat" for "ferry"', "Tear at 0:52"]),
    ("A", "14A", "Ticket office, reverse", 7, 78, ["", "Boom shadow on the wall, can be cropped"]),
    ("E", "14B", "Clock", 3, 10, ["Reads 9:40, scene plays at 10:15"]),
    ("A", "15", "Platform, morning", 9, 55, ["Announcement audible under the dialogue", "", "Extras reset, clean"]),
    ("B", "15", "Platform, two shot", 9, 55, ["Hand-held \\ shoulder rig"]),
    ("E", "15A", "Suitcase", 7, 14, ["Zip sticks\nUse take 2"]),
    ("A", "16", "Café, two shot", 9, 125, ["Crêpe arrives too early", "Long pause, keep as alternative"]),
    ("B", "16A", "Café, single Ines", 9, 65, ["100 % good until the cup", "naïve reading, good"]),
    ("E", "16B", "Café, hands", 8, 25, ["", "Cup 1/2 full, take 1 was full"]),
    ("S", "16W", "Café, room tone", 2, 70, ["No picture; fridge off"]),
    ("A", "17", "Bus, Łódź line", 8, 70, ["Sign reads ŁÓDŹ, not Lodz", "Bus late, 0:40 of empty road"]),
    ("B", "17", "Bus, driver", 8, 70, ["Driver is Βασίλης, not in the call sheet"]),
    ("D", "20B", "Drone, ferry from above", 7, 85, ["Matches 12 take 3", "", "Birds, aborted"]),
    ("E", "21", "Wake, slow", 10, 33, ["", "Spray on the lens from 0:12", "Use this"]),
    ("C", "21A", "Wake, 50 fps", 6, 16, ["Off speed, play at 25"]),
    ("A", "22", "Deck, night", 9, 140, ["Generator hum\nAsk sound for the wild track", 'Lamp flickers, "happy accident"']),
    ("B", "22", "Deck, night, faces", 9, 140, ["Eyes sharp at 1:02"]),
    ("E", "22A", "Deck, lifebuoy", 4, 20, ["Paint wet, don't touch"]),
    ("S", "22W", "Wild track, engine room", 2, 185, ["No picture"]),
    ("S", "12W", "Wild track, gulls", 1, 120, ["No picture"]),
    ("A", "25", "Pier, chase", 12, 40, ["", "Stunt double, face hidden", "Fell, nobody hurt", "Crate late"]),
    ("B", "25", "Pier, chase, long lens", 12, 40, ["Follows the double"]),
    ("C", "25A", "Splash", 8, 12, ["Off speed, play at 25", "Water on the filter, \"lovely\""]),
    ("D", "25B", "Drone, pier", 9, 60, ["Shadow of the drone at 0:44"]),
    ("A", "27", "Lighthouse stairs", 2, 74, ["Handheld; steps echo", ""]),
    ("A", "27A", "Lamp room", 2, 46, ["Lamp turns clockwise", "Flare at 0:20 – keep"]),
    ("A", "27B", "Logbook", 1, 19, ["Page reads 9 März"]),
    ("B", "28", "Beacon, dusk", 9, 90, ["", "Sun gone at 1:05", "Ship enters, left"]),
    ("E", "28", "Beacon, insert", 5, 15, ["Bulb, filament"]),
    None,
    ("A", "29", "Kitchen, supper", 10, 110, ['"Salt?" – "Always."', "Pan too loud\nWild line at 1:31", "Plates continuity!"]),
    ("B", "29", "Kitchen, Ines", 10, 110, ["Look to Zoë at 0:47"]),
    ("S", "29W", "Kitchen, room tone", 1, 60, ["No picture"]),
    None,
    ("A", "", "Colour chart", 1, 6, ["End of day"]),
    ("B", "", "Grey card", 1, 5, [""]),
]

# The same with the lens behind it.
DAY2 = [
    ("A", "23", "Deck, dawn", 2, 92, ["Sun breaks at 1:10", "Sun up, matches the chart of day 1"], "32 mm"),
    ("A", "23A", "Captain, close", 2, 46, ["", '"She\'ll hold." is perfect'], "75 mm"),
    ("A", "23B", "Wheel detail", 1, 12, ["Hand double"], "100 mm macro"),
    ("C", "24", "Storm, hull", 2, 29, ["Water tank", "Water tank, second dump"], "24 mm"),
    ("B", "25", "Radio room", 2, 100, ["Morse practical\nSync with playback", ""], "40 mm"),
    ("B", "25A", "Radio room, insert", 1, 16, ["Crème lampshade, match scene 16"], "100 mm macro"),
    ("D", "26", "Drone, storm clouds", 2, 62, ["低い雲", "Keeps the horizon level"], "10.3 mm"),
]

LATER_NOTES = ["", "", "", "", "Good for sound", "Soft at the end", "Boom in frame, top", "Faster", "Hair light off, redo",
               "Plane over at 0:15", "Ines ahead of the cue", "Matches take 1", "Camera bump, 0:08; recovers"]
CIRCLED_NOTES = ["", "Print", "Best so far", "Circled by the director", "Use this, or the next"]

# The least widths of the columns; a wider value widens its column.
FIELDS1 = [("Cookie", "text", 12), ("Name", "text", 32), ("Reel", "text", 10), ("Scene", "text_s", 24),
           ("Take", "long", 4), ("Start time", "timecode", 12), ("End time", "timecode", 12),
           ("Duration", "timecode_s", 16), ("fps", "double", 4), ("Who", "text", 24), ("Date", "date", 12),
           ("Logged", "dos_date", 4), ("Tag", "numeric", 1), ("Notes", "text", 100)]
FIELDS2 = [("Cookie", "text", 12), ("Name", "text", 32), ("Reel", "text", 10), ("Scene", "text_s", 24),
           ("Take", "long", 4), ("Start time", "timecode", 12), ("End time", "timecode", 12),
           ("Duration", "timecode", 16), ("fps", "double", 4), ("Lens", "text", 4), ("Circled", "c", 4),
           ("Date", "date", 12), ("Tag", "numeric", 1), ("Notes", "text", 100)]
SHEET_FIELDS = ["Name", "Reel", "Scene", "Take", "Start time", "End time", "Notes"]


def timecode(frames, rate, drop):
    """Drop-frame leaves out the numbers 0 and 1 at the start of every minute but each tenth."""
    if drop:
        tens, rest = divmod(frames, 10 * 60 * rate - 18)
        frames += 18 * tens + (2 * ((rest - 2) // (60 * rate - 2)) if rest >= 60 * rate else 0)
    seconds, frame = divmod(frames, rate)
    hours, minute, second = seconds // 3600, seconds // 60 % 60, seconds % 60
    return f"{hours:02}:{minute:02}:{second:02}{';' if drop else ':'}{frame:02}"


class Reels:
    """The reels of one camera. Each begins at a full hour, as CAMERAS says."""

    def __init__(self, letter, first):
        self.letter, self.number, self.used = letter, first, 0
        self.fps, self.rate, self.drop, self.who, self.length, self.ahead = CAMERAS[letter]

    def first_frame(self):
        per_hour = 3600 * self.rate - (108 if self.drop else 0)
        return (self.number + self.ahead) * per_hour

    def take(self, chance, seconds):
        """Rolls for about that time and returns the reel, start, end and duration, and the seconds."""
        frames = max(self.rate * 4, int(self.rate * seconds * chance.uniform(0.75, 1.2)))
        if self.used + frames > self.length * self.rate:
            self.number, self.used = self.number + 1, 0
        start = self.first_frame() + self.used
        self.used += frames + chance.randrange(2 * self.rate, 6 * self.rate)
        times = [timecode(at, self.rate, self.drop) for at in (start, start + frames, frames)]
        return [f"{self.letter}{self.number:03}", *times, frames // self.rate]


def note_of(chance, notes, take, circled):
    if take <= len(notes):
        return notes[take - 1]
    return chance.choice(CIRCLED_NOTES if circled else LATER_NOTES)


def log_day(set_ups, first_id, first_reel, date, logged, seed):
    """The clips of a day, each a dictionary by field name; None stands for a blank record."""
    chance = random.Random(seed)
    cameras = {letter: Reels(letter, first_reel) for letter in CAMERAS}
    clips = []
    for set_up in set_ups:
        if set_up is None:
            clips.append({"Tag": "0"})
            continue
        letter, scene, name, takes, seconds, notes, *lens = set_up
        camera = cameras[letter]
        circled = max(1, takes - chance.randrange(2)) if takes > 1 else 0
        for take in range(1, takes + 1):
            reel, start, end, duration, rolled = camera.take(chance, seconds)
            logged += rolled + chance.randrange(15, 45)
            clips.append({
                "Cookie": f"V{first_id + len(clips):06}", "Name": name, "Reel": reel, "Scene": scene,
                "Take": str(take) if scene else "", "Start time": start, "End time": end, "Duration": duration,
                "fps": camera.fps, "Who": camera.who if scene else "", "Date": date, "Logged": str(logged),
                "Lens": lens[0] if lens else "", "Circled": "t" if take == circled else "f",
                "Tag": "1" if take == circled else "0", "Notes": note_of(chance, notes, take, take == circled)})
    return clips


def stored(value):
    return value.replace("\n", "\\n").replace('"', '""')


def table_text(parameters, fields, clips):
    def row(items):
        return ",".join(f'"{item}"' for item in items)

    names = [name for name, _, _ in fields]
    widths = [max([least] + [len(clip.get(name, "").encode()) for clip in clips]) for name, _, least in fields]
    lines = [f'"{parameter}"' for parameter in ["KELDB:Rev 1", *parameters]]
    lines += ['"KELDB"', row(widths), row(kind for _, kind, _ in fields), row(names)]
    lines += [row(stored(clip.get(name, "")) for name in names) for clip in clips]
    return "".join(line + "\n" for line in lines)


def sheet_text(clips):
    """Lines without quotes: what the import takes as it stands."""
    rows = [SHEET_FIELDS] + [[clip[name] for name in SHEET_FIELDS] for clip in clips]
    assert not any(set(value) & set('",\n') for row in rows for value in row)
    return "".join(",".join(row) + "\n" for row in rows)


def main():
    folder = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).parent
    day1 = log_day(DAY1, 101, 1, "2024-05-14", 1715666400, seed=1)
    day2 = log_day(DAY2, 501, 11, "2024-05-15", 1715752800, seed=2)
    lighthouse = [clip for clip in day1 if clip.get("Scene", "").startswith("27")]
    parameters1 = ["production:The Last Ferry", "day:1 of 24, Harbour and Café",
                   "camera:A, B: 25 fps, C: 50 fps, D: 29.97 fps drop-frame, E: 23.976 fps",
                   "logged by:Ines O., script: 2nd unit"]
    parameters2 = ["production:The Last Ferry", "day:2 of 24, Deck and Storm"]
    files = {"day1.keldb": table_text(parameters1, FIELDS1, day1), "day2.keldb": table_text(parameters2, FIELDS2, day2),
             "sheet.csv": sheet_text(lighthouse)}
    for name, text in files.items():
        (folder / name).write_bytes(text.encode())


if __name__ == "__main__":
    main()
