// The log that every benchmark works on: clips as an assistant logs them through a long production, shot after shot and
// take after take, from a fixed seed. A record has 24 fields and about 272 bytes of file text, 11.3 a value.
#ifndef KELDB_BENCH_LOG_DATA_H
#define KELDB_BENCH_LOG_DATA_H

#include <array>
#include <string>

namespace bench {

// The columns of the log, in file order.
enum Field : unsigned {
    kCookie,
    kName,
    kReel,
    kScene,
    kShot,
    kTake,
    kStart,
    kEnd,
    kDuration,
    kSoundStart,
    kSoundEnd,
    kSoundReel,
    kDate,
    kWho,
    kDescription,
    kNotes,
    kType,
    kFlags,
    kSize,
    kPicQuality,
    kAudQuality,
    kChannels,
    kLabReel,
    kTag,
    kFields
};

inline constexpr std::array<const char*, kFields> kFieldNames = {
    "Cookie",   "Name",      "Reel",    "Scene",    "Shot",     "Take",  "Start time",  "End time",
    "Duration", "snd start", "snd end", "snd reel", "Date",     "Who",   "Description", "Notes",
    "Type",     "Flags",     "Size",    "pic qual", "aud qual", "chans", "lab reel",    "Tag",
};

// Lines before the first record: two parameters, the marker, widths, types, names.
inline constexpr int kHeaderLines = 6;

// Where the files are made; the folder must exist. Until then, the folder for temporary files.
void keep_log_files_in(std::string folder);

// The path of a table file with that many records; made when it does not stand there.
std::string log_file(unsigned records);

}  // namespace bench

#endif
