#include "bench/log_data.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string_view>

namespace bench {
namespace {

constexpr unsigned kRate = 25;  // frames a second
constexpr std::array<const char*, 20> kPeople = {
    "Anna", "Bruno", "Carla", "the twins", "Dr. Weiss", "Emil", "Frida", "Gustav",  "the captain", "Hanna",
    "Ida",  "Jonas", "Kaya",  "Lena",      "Mr. Moon",  "Nils", "Olga",  "the dog", "Pavel",       "crowd"};
constexpr std::array<const char*, 8> kSizes = {"wide", "medium", "CU", "ECU", "two shot", "OTS", "insert", "master"};
constexpr std::array<const char*, 7> kCrew = {"Miller",       "van der Berg", "J\xC3\xBCrgen", "Okafor",
                                              "S. Lindqvist", "Rossi",        "Tanaka"};
constexpr std::array<const char*, 24> kWords = {"walks to the window",
                                                "crane up",
                                                "push in",
                                                "dolly left",
                                                "rain",
                                                "night",
                                                "hand held",
                                                "enters the house",
                                                "turns around",
                                                "on the phone",
                                                "slow pan",
                                                "street, early morning",
                                                "looks back",
                                                "by the car",
                                                "running",
                                                "rack focus to the letter",
                                                "tilt down",
                                                "kitchen",
                                                "laughs",
                                                "leaves",
                                                "on the stairs",
                                                "kiss",
                                                "harbour",
                                                "steadicam"};
constexpr std::array<const char*, 12> kRemarks = {
    "good",       "NG, boom in shot", "director's favourite",    "use end only",           "sound only",
    "no slate",   "tail slate",       "focus soft at the start", "said \"\"cut\"\" twice", "best take\\nsee B camera",
    "lens flare", "hold for plane"};

std::string number(std::uint64_t value, int digits) {
    char text[32];
    std::snprintf(text, sizeof text, "%0*llu", digits, static_cast<unsigned long long>(value));
    return text;
}

std::string timecode(std::uint64_t frames, char separator = ':') {
    const std::uint64_t seconds = frames / kRate;
    return number(seconds / 3600 % 24, 2) + ':' + number(seconds / 60 % 60, 2) + ':' + number(seconds % 60, 2) +
           separator + number(frames % kRate, 2);
}

// One clip after the other. Texts stand as in the file, quotes doubled and line ends written as \n.
class Production {
public:
    const std::array<std::string, kFields>& next_clip() {
        move_on();
        const std::uint64_t length = kRate * (4 + pick(120)) + pick(kRate);
        const char frames_after = reel_ % 8 == 7 ? ';' : ':';
        const std::uint64_t start = tape_, sound = start + kRate * 3600;
        tape_ += length + kRate * pick(20);
        const char* who = one_of(kPeople);

        clip_[kCookie] = "M" + hexadecimal();
        clip_[kScene] = std::to_string(scene_) + static_cast<char>('A' + shot_ % 6);
        clip_[kShot] = std::to_string(shot_);
        clip_[kTake] = std::to_string(take_);
        clip_[kName] = std::string(who) + ' ' + one_of(kSizes) + ' ' + clip_[kScene] + '-' + clip_[kTake];
        clip_[kReel] = "A" + number(reel_, 4);
        clip_[kStart] = timecode(start, frames_after);
        clip_[kEnd] = timecode(start + length, frames_after);
        clip_[kDuration] = timecode(length);
        clip_[kSoundStart] = timecode(sound);
        clip_[kSoundEnd] = timecode(sound + length);
        clip_[kSoundReel] = "S" + number(reel_ / 3, 4);
        clip_[kDate] = "2019-" + number(1 + reel_ / 84 % 12, 2) + '-' + number(1 + reel_ / 3 % 28, 2);
        clip_[kWho] = one_of(kCrew);
        clip_[kDescription] = std::string(who) + phrases(1 + pick(3));
        clip_[kNotes] = pick(2) == 0 ? one_of(kRemarks) : "";
        clip_[kType] = pick(20) == 0 ? "subclip" : "master";
        clip_[kFlags] = pick(10) == 0 ? "1" : "";
        clip_[kSize] = std::to_string(length * 144000 + pick(100000));
        clip_[kPicQuality] = pick(4) == 0 ? "2:1" : "10:1";
        clip_[kAudQuality] = "48k 24bit";
        clip_[kChannels] = pick(3) == 0 ? "V1A1-8" : "V1A1-2";
        clip_[kLabReel] = pick(3) == 0 ? "" : "L" + number(reel_ / 2, 5);
        clip_[kTag] = pick(8) == 0 ? "1" : "0";
        return clip_;
    }

private:
    std::uint64_t pick(std::uint64_t below) { return random_() % below; }
    template <std::size_t n>
    const char* one_of(const std::array<const char*, n>& choices) {
        return choices[pick(n)];
    }
    std::string hexadecimal() {
        char text[17];
        std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(random_()));
        return text;
    }
    std::string phrases(std::uint64_t count) {
        std::string text;
        for (; count > 0; --count) text += std::string(", ") + one_of(kWords);
        return text;
    }
    // The next take, now and then the next shot, scene and reel. Each reel starts at a full hour. They are logged in
    // the order in which they came in, not of their numbers.
    void move_on() {
        ++take_;
        if (pick(3) == 0) take_ = 1, ++shot_;
        if (shot_ > 6 + pick(20)) shot_ = take_ = 1, scene_ = 1 + pick(180);
        if (clips_++ % 60 == 0) reel_ = (reel_ + 7919) % 20011, tape_ = (reel_ % 23 + 1) * 3600 * kRate;
    }

    std::mt19937_64 random_{20190501};
    std::uint64_t scene_ = 1, shot_ = 1, take_ = 0, reel_ = 0, clips_ = 0;
    std::uint64_t tape_ = 0;  // frames from midnight
    std::array<std::string, kFields> clip_;
};

template <class TextOf>
std::string line(TextOf text_of) {
    std::string line;
    for (unsigned field = 0; field < kFields; ++field)
        line.append(field == 0 ? "\"" : ",\"").append(text_of(field)).append("\"");
    return line += '\n';
}

bool is_timecode(unsigned field) {
    return field == kStart || field == kEnd || field == kSoundStart || field == kSoundEnd;
}

void write_log(const std::string& path, unsigned records) {
    std::ofstream file(path, std::ios::binary);
    file << "\"KELDB:Rev 1\"\n\"source:made for benchmarks\"\n\"KELDB\"\n"
         << line([](unsigned) { return "12"; })
         << line([](unsigned field) { return is_timecode(field) ? "timecode" : "text"; })
         << line([](unsigned field) { return kFieldNames[field]; });
    Production production;
    for (unsigned i = 0; i < records; ++i) {
        const auto& clip = production.next_clip();
        file << line([&clip](unsigned field) -> const std::string& { return clip[field]; });
    }
    file.close();
    if (!file) {
        std::fprintf(stderr, "cannot write %s\n", path.c_str());
        std::exit(2);
    }
}

std::string& folder() {
    static std::string path = std::filesystem::temp_directory_path().string();
    return path;
}

}  // namespace

void keep_log_files_in(std::string path) { folder() = std::move(path); }

std::string log_file(unsigned records) {
    const std::string path = folder() + "/keldb_bench_" + std::to_string(records) + ".keldb";
    if (!std::filesystem::exists(path)) {
        write_log(path + ".part", records);
        std::filesystem::rename(path + ".part", path);
    }
    return path;
}

}  // namespace bench
