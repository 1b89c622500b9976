// Where a container is saved: what stands there afterwards, and what stays when it cannot be saved.
//
// A folder is one line of text: its names, each with what it is: `old` or `new`, a file of that content (with /600, of
// that mode instead of 644); `dir`, `pipe`, or `>` and a name, a link to it. ~252 stands for a name of that many bytes.
// The container is saved to the first name, which may stand alone: then nothing is there.

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <string>

#include "keldb/container/qv_container_file.h"
#include "keldb/support/log.h"
#include "tests/testing/child.h"
#include "tests/testing/table_text.h"
#include "tests/testing/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using testing_kit::TempDir;

std::string spelled_out(const std::string& name) {
    return name[0] == '~' ? std::string(std::stoul(name.substr(1)), 'n') : name;
}

void make(const std::string& path, const std::string& what) {
    if (what == "dir") {
        fs::create_directory(path);
    } else if (what == "pipe") {
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
    } else if (what[0] == '>') {
        fs::create_symlink(what.substr(1), path);
    } else {
        testing_kit::write_file(path, "old");
        const mode_t mode = what == "old" ? 0644 : static_cast<mode_t>(std::stoul(what.substr(4), nullptr, 8));
        EXPECT_EQ(::chmod(path.c_str(), mode), 0);
    }
}

// Makes the folder of that text and gives the path to save to.
std::string set_up(const TempDir& folder, const std::string& text) {
    std::string first;
    for (const std::string& entry : testing_kit::pieces(text, ' ')) {
        const std::string name = entry.substr(0, entry.find(':'));
        const std::string path = folder.path(spelled_out(name));
        if (first.empty()) first = path;
        if (name != entry) make(path, entry.substr(name.size() + 1));
    }
    return first;
}

std::string described(const std::string& path) {
    if (fs::is_symlink(path)) return ">" + fs::read_symlink(path).string();
    if (fs::is_directory(path)) return "dir";
    if (fs::is_fifo(path)) return "pipe";
    struct ::stat about {};
    if (::stat(path.c_str(), &about) != 0) return "(none)";
    char mode[8] = "";
    if ((about.st_mode & 07777) != 0644) std::snprintf(mode, sizeof mode, "/%o", about.st_mode & 07777);
    if (testing_kit::file_bytes(path) == "old") return std::string("old") + mode;
    const QVContainerFile::Reader reader(testing_kit::wide(path), false);
    return (reader.valid() && reader.getName() == "new" ? "new" : "damaged") + std::string(mode);
}

std::string text_of(const TempDir& folder) {
    std::string text;
    for (const std::string& name : testing_kit::names_in(folder.path())) {
        const std::string shown = name.size() > 200 ? "~" + std::to_string(name.size()) : name;
        text += (text.empty() ? "" : " ") + shown + ':' + described(folder.path(name));
    }
    return text;
}

// Saves a container without items, so that a count of records written says nothing of success. True when nothing was
// logged.
bool save_new(const std::string& path) {
    int messages = 0;
    setLogSink([](const char*, void* count) { ++*static_cast<int*>(count); }, &messages);
    DBFieldDesc fields[] = {{"Cookie", DBFieldTypes::text}, {}};
    QVContainerFile::Writer writer(fields);
    writer.setName("new");
    writer.save(testing_kit::wide(path));
    setLogSink(nullptr, nullptr);
    return messages == 0;
}

struct Place {
    const char* before;
    const char* after;  // null: the save fails and says so, and everything is as before
};

const Place kPlaces[] = {
    {"clips", "clips:new"},
    {"clips:old", "clips:new"},
    {"clips:old/600", "clips:new/600"},
    {"clips:old/640 clips.tmp:old/666", "clips:new/640"},  // a leftover is replaced
    {"clips clips.tmp:old", "clips:new clips.tmp:old"},    // nothing is replaced: no temporary is needed
    {"clips clips.tmp:dir", "clips:new clips.tmp:dir"},
    {"clips:old clips.tmp:dir", nullptr},
    {"clips:old clips.tmp:pipe", nullptr},
    {"clips:dir", nullptr},
    {"clips:pipe", nullptr},
    {"clips:>loop loop:>clips", nullptr},
    {"missing/clips", ""},
    {"~251:old", "~251:new"},  // the longest name that leaves room for .tmp
    {"~252:old", nullptr},
    {"~255:old", nullptr},
    {"~255", "~255:new"},
    {"~256", ""},
    {"clips:>real real:old", "clips:new real:old"},  // a link is itself replaced
    {"clips:>real", "clips:>real real:new"},         // a dangling one names the file to be made
    // A link where the temporary should be leads nowhere that a save writes, least of all back to the container.
    {"clips:old clips.tmp:>clips", "clips:new"},
    {"clips:old clips.tmp:>other other:old", "clips:new other:old"},
};

TEST(ContainerSave, GoesWhereItCanAndLeavesTheRest) {
    const mode_t umask_before = ::umask(022);
    for (const Place& place : kPlaces) {
        SCOPED_TRACE(place.before);
        const TempDir folder;
        const std::string after = place.after ? place.after : place.before;
        EXPECT_EQ(save_new(set_up(folder, place.before)), after.find("new") != std::string::npos);
        EXPECT_EQ(text_of(folder), after);
    }
    ::umask(umask_before);
}

TEST(ContainerSave, AsksForTheRightToWrite) {
    struct Row {
        mode_t folder;
        const char* before;
        const char* after;
    };
    for (const Row& row : {Row{0777, "clips:old/444", "clips:old/444"}, Row{0777, "clips:old/666", "clips:new/666"},
                           Row{0555, "clips:old/666", "clips:old/666"}, Row{0555, "clips", ""},
                           // Only the owner may remove: the old one stays, and what was to be saved stays beside it.
                           Row{01777, "clips:old/666", "clips:old/666 clips.tmp:new/666"}}) {
        SCOPED_TRACE(row.before);
        if (::geteuid() != 0) GTEST_SKIP() << "needs root to make the files of another user";
        const TempDir folder;
        const std::string path = set_up(folder, row.before);
        ASSERT_EQ(::chmod(folder.path().c_str(), row.folder), 0);
        EXPECT_EQ(testing_kit::in_child_without_rights([&] { return save_new(path) ? 1 : 0; }),
                  std::string(row.after) == "clips:new/666" ? 1 : 0);
        EXPECT_EQ(text_of(folder), row.after);
    }
}

TEST(ContainerSave, AFullDiskLeavesTheOldFile) {
    const TempDir folder;
    const std::string path = set_up(folder, "clips:old");
    const int saved = testing_kit::in_child([&] {
        const rlimit limit{10, 10};  // the first ten bytes are written, the rest refused
        ::signal(SIGXFSZ, SIG_IGN);
        return ::setrlimit(RLIMIT_FSIZE, &limit) != 0 || save_new(path) ? 1 : 0;
    });
    EXPECT_EQ(saved, 0);
    EXPECT_EQ(text_of(folder), "clips:old");
}

}  // namespace
