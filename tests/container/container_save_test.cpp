// Where a container is saved, what stays when it cannot be, and what any fault leaves: of containers, tables and view
// exports, a complete old or new file stands at the path at every instant, or a container's at the path with ".tmp".
//
// A folder is one line of text: its names, first the one to save to, each with what it is: `old`, `half` or `new`, a
// file of that content (with /600, of that mode instead of 644); `dir`, `pipe`, or `>` and a name, a link to it; `-`,
// nothing. ~252 stands for a name of that many bytes.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "keldb/container/qv_container_file.h"
#include "keldb/support/log.h"
#include "keldb/views/odb_view.h"
#include "tests/testing/child.h"
#include "tests/testing/faulty_platform.h"
#include "tests/testing/table_text.h"
#include "tests/testing/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using testing_kit::Fault;
using testing_kit::FaultyPlatform;
using testing_kit::wide;

// Each saves always the same and answers whether the save said that it succeeded.
using Save = bool (*)(const std::string& path);

bool save_table(const std::string& path) {
    keldb table = testing_kit::table_of("Name:a Tag:n | one, | *two, | three,");
    table.set_filename(wide(path));
    return table.save_text() == 3;
}

bool save_view(const std::string& path) {
    keldb table = testing_kit::table_of("Name:a | one | two");
    const ODBView view(&table);
    view->displayAllRecords();
    return view->saveAsText(wide(path), false) == 2;
}

// Without items, so that a count of records written says nothing of success.
bool save_container(const std::string& path) {
    bool failed = false;
    const auto hear = [](const char* text, void* said) {
        *static_cast<bool*>(said) |= std::string_view(text).starts_with("QVContainerFile");
    };
    DBFieldDesc fields[] = {{"Cookie", DBFieldTypes::text}, {}};
    QVContainerFile::Writer writer(fields);
    writer.setName("Clips");
    setLogSink(hear, &failed);
    writer.save(wide(path));
    setLogSink([](const char*, void*) {}, nullptr);
    return !failed;
}

std::string saved_bytes(Save save) {
    const testing_kit::TempDir folder;
    EXPECT_TRUE(save(folder.path("clips")));
    return testing_kit::file_bytes(folder.path("clips"));
}

class Folder {
public:
    Folder(Save how, const std::string& text) : save_(how) {
        static std::map<Save, std::string> whole_files;
        if (!whole_files.contains(how)) whole_files[how] = saved_bytes(how);
        new_ = whole_files[how];
        ::umask(022);
        for (const std::string& entry : testing_kit::pieces(text, ' ')) {
            const std::vector<std::string> parts = testing_kit::pieces(entry, ':');
            const std::string name = parts[0][0] == '~' ? std::string(std::stoul(parts[0].substr(1)), 'n') : parts[0];
            if (target_.empty()) target_ = name;
            make(path(name), parts[1]);
        }
    }
    bool save() const { return save_(path(target_)); }
    const std::string& path() const { return folder_.path(); }
    std::string path(std::string_view name) const { return folder_.path(name); }

    std::string text() const {
        std::string text = described(target_);
        for (const std::string& name : testing_kit::names_in(path())) {
            if (name != target_) text += ' ' + described(name);
        }
        return text;
    }

private:
    static void make(const std::string& path, const std::string& what) {
        if (what == "dir") {
            fs::create_directory(path);
        } else if (what == "pipe") {
            EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        } else if (what[0] == '>') {
            fs::create_symlink(what.substr(1), path);
        } else if (what != "-") {
            const std::vector<std::string> parts = testing_kit::pieces(what + "/644", '/');
            testing_kit::write_file(path, parts[0]);
            EXPECT_EQ(::chmod(path.c_str(), static_cast<mode_t>(std::stoul(parts[1], nullptr, 8))), 0);
        }
    }
    std::string described(const std::string& name) const {
        return (name.size() > 200 ? "~" + std::to_string(name.size()) : name) + ':' + content(path(name));
    }
    std::string content(const std::string& path) const {
        struct ::stat about {};
        std::error_code ignored;
        if (fs::is_symlink(path, ignored)) return ">" + fs::read_symlink(path).string();
        if (::stat(path.c_str(), &about) != 0) return "-";
        if (!S_ISREG(about.st_mode)) return S_ISDIR(about.st_mode) ? "dir" : "pipe";
        char mode[8] = "";
        if ((about.st_mode & 07777) != 0644) std::snprintf(mode, sizeof mode, "/%o", about.st_mode & 07777);
        const std::string bytes = testing_kit::file_bytes(path);
        return (bytes == new_ ? "new" : bytes == "old" || bytes == "half" ? bytes : "damaged") + mode;
    }

    Save save_;
    testing_kit::TempDir folder_;
    std::string target_, new_;
};

TEST(ContainerSave, GoesWhereItCanAndLeavesTheRest) {
    const struct {
        const char* before;
        const char* after;  // null: the save fails and says so, and everything is as before
    } kPlaces[] = {
        {"clips:-", "clips:new"},
        {"clips:old", "clips:new"},
        {"clips:old/640 clips.tmp:old/666", "clips:new/640"},  // a leftover is replaced
        {"clips:- clips.tmp:dir", "clips:new clips.tmp:dir"},  // nothing is replaced: no temporary is needed
        {"clips:old clips.tmp:dir", nullptr},
        {"clips:old clips.tmp:pipe", nullptr},
        {"clips:dir", nullptr},
        {"clips:pipe", nullptr},
        {"clips:>loop loop:>clips", nullptr},
        {"missing/clips:-", nullptr},
        {"~251:old", "~251:new"},  // the longest name that leaves room for .tmp
        {"~252:old", nullptr},
        {"~255:-", "~255:new"},
        {"~256:-", nullptr},
        {"clips:>real real:old", "clips:new real:old"},  // a link is itself replaced
        {"clips:>real real:-", "clips:>real real:new"},  // a dangling one names the file to be made
        // A link where the temporary should be leads nowhere that a save writes, least of all back to the container.
        {"clips:old clips.tmp:>clips", "clips:new"},
        {"clips:old clips.tmp:>other other:old", "clips:new other:old"},
    };
    for (const auto& [before, after] : kPlaces) {
        const Folder folder(save_container, before);
        EXPECT_EQ(folder.save(), after != nullptr) << before;
        EXPECT_EQ(folder.text(), after ? after : before);
    }
}

TEST(ContainerSave, AsksForTheRightToWrite) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to make the files of another user";
    const struct {
        mode_t folder;
        const char *before, *after;
    } kRows[] = {{0777, "clips:old/444", "clips:old/444"},
                 {0777, "clips:old/666", "clips:new/666"},
                 {0555, "clips:old/666", "clips:old/666"},
                 {0555, "clips:-", "clips:-"},
                 // Only the owner may remove: the old one stays, and what was to be saved stays beside it.
                 {01777, "clips:old/666", "clips:old/666 clips.tmp:new/666"}};
    for (const auto& [mode, before, after] : kRows) {
        const Folder folder(save_container, before);
        ASSERT_EQ(::chmod(folder.path().c_str(), mode), 0);
        const int saved = testing_kit::in_child_without_rights([&] { return folder.save() ? 1 : 0; });
        EXPECT_EQ(saved, std::string_view(after).starts_with("clips:new") ? 1 : 0);
        EXPECT_EQ(folder.text(), after);
    }
}

// Calls visit(save, before) for what is saved and what stands there; the last, after a save whose last move failed.
template <class Visit>
void sweep(const Visit& visit) {
    setLogSink([](const char*, void*) {}, nullptr);
    long states = 0;
    for (const Save save : {save_table, save_view, save_container}) {
        for (const char* before : {"clips:-", "clips:old", "clips:old clips.tmp:half", "clips:- clips.tmp:old"}) {
            SCOPED_TRACE(before);
            states += visit(save, before);
            if (testing::Test::HasFailure()) return;
        }
    }
    setLogSink(nullptr, nullptr);
    std::cout << "REL file_fault_states=" << states << '\n';
}

bool replaces_container(Save save, const std::string& before) {
    return save == save_container && before.starts_with("clips:old");
}

// At any instant: what was there, or the new file in place; of a container that replaces another also the new one
// beside the old, the new one waiting alone, and the new one in place without a leftover.
void expect_nothing_lost(Save save, const std::string& before, const std::string& now) {
    std::set<std::string> allowed = {before, "clips:new" + before.substr(std::min(before.find(' '), before.size()))};
    if (replaces_container(save, before)) {
        allowed.insert({"clips:old clips.tmp:new", "clips:- clips.tmp:new", "clips:new"});
    }
    EXPECT_TRUE(allowed.contains(now)) << "became " << now;
}

const Fault kFaults[] = {{Fault::kError, EIO},    {Fault::kError, ENOSPC}, {Fault::kError, EINTR},
                         {Fault::kError, EACCES}, {Fault::kShort},         {Fault::kNone}};

// A save under the fault at that operation. Returns whether there was one.
bool save_under(const Fault& fault, long at, Save save, const std::string& before) {
    const Folder folder(save, before);
    FaultyPlatform platform(fault, at);
    PlatformService* const whole = setOS(&platform);
    const bool success = folder.save();
    setOS(whole);
    const std::string now = folder.text(), struck = platform.struck_operation();
    SCOPED_TRACE("operation " + std::to_string(at) + ", " + struck + ", fault " + std::to_string(fault.kind) + '/' +
                 std::to_string(fault.code));
    expect_nothing_lost(save, before, now);
    // A failed save leaves everything as it was, unless a container's old file could not be removed or its new one not
    // be moved.
    EXPECT_EQ(success, now.starts_with("clips:new"));
    EXPECT_TRUE(success || now == before || struck == "unlink" || struck == "rename") << now;
    EXPECT_TRUE(success || platform.struck());
    if (!success) return true;
    // The new file is flushed before any name changes, and of containers alone the old one is removed; a path that a
    // fault makes seem free is written at once. What fails while the bytes are on their way is no success.
    const auto& log = platform.log();
    const auto synced = std::find(log.begin(), log.end(), "sync");
    const auto renamed = std::find(log.begin(), log.end(), "rename");
    const auto removed = std::find(log.begin(), log.end(), "unlink");
    EXPECT_TRUE(synced < renamed && renamed < removed && renamed != log.end());
    EXPECT_TRUE(platform.struck() || (removed != log.end()) == replaces_container(save, before));
    const bool on_the_way = at < renamed - log.begin() && (struck == "write" || struck == "sync" || struck == "close");
    EXPECT_TRUE(!on_the_way || fault.kind != Fault::kError || fault.code == EINTR);
    return platform.struck();
}

TEST(SaveFaults, AnyFaultLeavesTheOldOrTheNewAndSaysWhich) {
    const std::size_t descriptors = testing_kit::open_descriptors();
    sweep([&](Save save, const char* before) {
        long states = 0;
        for (const Fault& fault : kFaults) {
            for (long at = 0; save_under(fault, at, save, before) && !testing::Test::HasFailure(); ++at) ++states;
        }
        EXPECT_EQ(testing_kit::open_descriptors(), descriptors);
        return states;
    });
}

TEST(SaveFaults, DyingAnywhereLeavesTheOldOrTheNew) {
    sweep([](Save save, const char* before) {
        long at = 0;
        for (int status = testing_kit::kDied; status == testing_kit::kDied; ++at) {
            const Folder folder(save, before);
            status = testing_kit::in_child([&] {
                FaultyPlatform platform({Fault::kDie}, at);
                const testing_kit::UsePlatform in_place(platform);
                return folder.save() ? 0 : 1;
            });
            for (const std::string& name : testing_kit::names_in(folder.path())) {
                if (name.ends_with(".part")) fs::remove(folder.path(name));
            }
            expect_nothing_lost(save, before, folder.text());
            EXPECT_TRUE(status == 0 || status == testing_kit::kDied);
        }
        return at - 1;
    });
}

}  // namespace
