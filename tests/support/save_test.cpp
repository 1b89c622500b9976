// A save replaces the file as a whole or leaves it as it was, whatever the system answers and wherever the name leads.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "keldb/support/log.h"
#include "keldb/support/text_file.h"
#include "tests/testing/child.h"
#include "tests/testing/faulty_platform.h"
#include "tests/testing/temp_dir.h"

namespace {

using testing_kit::Fault;
using testing_kit::FaultyPlatform;
using testing_kit::file_bytes;
using testing_kit::TempDir;
using testing_kit::wide;
using Names = std::vector<std::string>;

constexpr const char* kNew = "new line 1\nnew line 2\n";

bool save_new(const std::string& path) { return TextFile::fromBytes(kNew).save(wide(path), 1); }

unsigned mode_of(const std::string& path) {
    struct ::stat about {};
    return ::stat(path.c_str(), &about) == 0 ? about.st_mode & 07777 : 0;
}

// Both kinds of save, seen through one folder: "new file" where nothing stands, "replace" over a link to an old file.
struct Scene {
    explicit Scene(bool replaces)
        : old(replaces ? "old" : "(none)"), names(replaces ? Names{"clips", "link"} : Names{}) {
        if (replaces) {
            testing_kit::write_file(folder.path("clips"), "old");
            EXPECT_EQ(::symlink("clips", target.c_str()), 0);
        }
    }
    TempDir folder;
    std::string target = folder.path("link");
    std::string old;
    Names names;  // in the folder before the save
};

const Fault kFaults[] = {{Fault::kError, EIO},    {Fault::kError, ENOSPC}, {Fault::kError, EINTR},
                         {Fault::kError, EACCES}, {Fault::kShort},         {Fault::kNone}};

// Interrupted and short operations are continued, an owner that cannot be kept is let go; all else fails the save. A
// write that takes nothing would be tried for ever.
bool is_overcome(const Fault& fault, const std::string& operation) {
    const bool continued = operation == "write" || operation == "open" || operation == "sync";
    return fault.kind == Fault::kShort || (fault.kind == Fault::kNone && operation != "write") ||
           (fault.kind == Fault::kError && fault.code == EINTR && continued) || operation == "changeOwner";
}

TEST(Save, AFaultAtAnyOperationLeavesTheOldFileOrTheNewOne) {
    setLogSink([](const char*, void*) {}, nullptr);  // the folder's flush may fail, and says so
    const std::size_t descriptors = testing_kit::open_descriptors();
    for (const bool replaces : {false, true}) {
        for (const Fault& fault : kFaults) {
            bool struck = true;
            for (long at = 0; struck; ++at) {
                const Scene scene(replaces);
                FaultyPlatform platform(fault, at);
                bool saved = false;
                {
                    const testing_kit::UsePlatform in_place(platform);
                    saved = save_new(scene.target);
                }
                struck = platform.struck();
                SCOPED_TRACE("operation " + std::to_string(at) + ", " + platform.struck_operation());
                const auto& log = platform.log();
                const auto renamed = std::find(log.begin(), log.end(), "rename");
                ASSERT_EQ(saved,
                          !struck || renamed - log.begin() < at || is_overcome(fault, platform.struck_operation()));
                ASSERT_EQ(file_bytes(scene.target), saved ? kNew : scene.old);
                ASSERT_EQ(testing_kit::names_in(scene.folder.path()), saved && !replaces ? Names{"link"} : scene.names);
                ASSERT_EQ(testing_kit::open_descriptors(), descriptors);
                // The bytes are on the disk before the name is theirs, and the name is flushed after.
                if (saved) {
                    ASSERT_LT(std::find(log.begin(), log.end(), "sync"), renamed);
                    ASSERT_NE(std::find(renamed, log.end(), "open"), log.end());
                }
            }
        }
    }
    setLogSink(nullptr, nullptr);
}

TEST(Save, DyingAtAnyOperationLeavesTheOldFileOrTheNewOne) {
    for (const bool replaces : {false, true}) {
        int status = testing_kit::kDied;
        for (long at = 0; status == testing_kit::kDied; ++at) {
            const Scene scene(replaces);
            status = testing_kit::in_child([&] {
                FaultyPlatform platform({Fault::kDie}, at);
                const testing_kit::UsePlatform in_place(platform);
                return save_new(scene.target) ? 0 : 1;
            });
            const std::string left = file_bytes(scene.target);
            ASSERT_TRUE(left == scene.old || left == kNew) << "operation " << at << ": " << left;
        }
        EXPECT_EQ(status, 0);
    }
}

// Where a name may lead. `make` sets the place up and gives the path to save to; `after` looks at it.
struct Target {
    const char* what;
    std::function<std::string(const TempDir&)> make;
    bool saved;
    std::function<bool(const TempDir&)> after;
};

std::string make_link(const TempDir& folder, const char* to, const char* name) {
    EXPECT_EQ(::symlink(to, folder.path(name).c_str()), 0);
    return folder.path(name);
}

std::string make_file(const TempDir& folder, const std::string& name, unsigned mode) {
    testing_kit::write_file(folder.path(name), "old");
    EXPECT_EQ(::chmod(folder.path(name).c_str(), mode), 0);
    return folder.path(name);
}

bool is_link(const TempDir& folder, const char* name) { return std::filesystem::is_symlink(folder.path(name)); }

bool holds_new(const TempDir& folder, const std::string& name) { return file_bytes(folder.path(name)) == kNew; }

bool anything(const TempDir&) { return true; }

const std::string kLongName = std::string(255, 'n');
const std::string kLongUtf8Name = "n" + [] {
    std::string name;
    for (int i = 0; i < 127; ++i) {
        name += "\xC3\xA9";
    }
    return name;
}();

const Target kTargets[] = {
    {"a chain of links stays",
     [](const TempDir& f) {
         make_file(f, "clips", 0644);
         std::filesystem::create_directory(f.path("sub"));
         make_link(f, "../clips", "sub/one");
         return make_link(f, "sub/one", "two");
     },
     true, [](const TempDir& f) { return is_link(f, "two") && is_link(f, "sub/one") && holds_new(f, "clips"); }},
    {"an absolute link", [](const TempDir& f) { return make_link(f, make_file(f, "clips", 0644).c_str(), "link"); },
     true, [](const TempDir& f) { return is_link(f, "link") && holds_new(f, "clips"); }},
    {"a dangling link makes the file it names", [](const TempDir& f) { return make_link(f, "clips", "link"); }, true,
     [](const TempDir& f) { return is_link(f, "link") && holds_new(f, "clips"); }},
    {"a link into a missing folder", [](const TempDir& f) { return make_link(f, "no/clips", "link"); }, false,
     [](const TempDir& f) { return is_link(f, "link"); }},
    {"a loop of links", [](const TempDir& f) { return make_link(f, "b", "a"), make_link(f, "a", "b"); }, false,
     [](const TempDir& f) { return is_link(f, "a") && is_link(f, "b"); }},
    {"a folder", [](const TempDir& f) { return f.path(); }, false, anything},
    {"a folder's name", [](const TempDir& f) { return f.path("clips/"); }, false, anything},
    {"a missing folder", [](const TempDir& f) { return f.path("no/clips"); }, false, anything},
    {"a file as a folder", [](const TempDir& f) { return make_file(f, "clips", 0644) + "/x"; }, false,
     [](const TempDir& f) { return file_bytes(f.path("clips")) == "old"; }},
    {"no name", [](const TempDir&) { return std::string(); }, false, anything},
    {"a zero byte in the name", [](const TempDir& f) { return f.path(std::string_view("a\0b", 3)); }, false,
     [](const TempDir& f) { return testing_kit::names_in(f.path()).empty(); }},
    {"a name of 255 bytes", [](const TempDir& f) { return f.path(kLongName); }, true,
     [](const TempDir& f) { return holds_new(f, kLongName); }},
    {"a name of 255 bytes of UTF-8", [](const TempDir& f) { return f.path(kLongUtf8Name); }, true,
     [](const TempDir& f) { return holds_new(f, kLongUtf8Name); }},
    {"a name of 256 bytes", [](const TempDir& f) { return f.path(kLongName + "n"); }, false,
     [](const TempDir& f) { return testing_kit::names_in(f.path()).empty(); }},
    {"a private file stays private", [](const TempDir& f) { return make_file(f, "clips", 0600); }, true,
     [](const TempDir& f) { return mode_of(f.path("clips")) == 0600 && holds_new(f, "clips"); }},
    {"a shared file stays shared", [](const TempDir& f) { return make_file(f, "clips", 0666); }, true,
     [](const TempDir& f) { return mode_of(f.path("clips")) == 0666; }},
    {"a new file follows the umask", [](const TempDir& f) { return f.path("clips"); }, true,
     [](const TempDir& f) { return mode_of(f.path("clips")) == 0640; }},
    {"the other name of a hard link keeps the old",
     [](const TempDir& f) {
         std::filesystem::create_hard_link(make_file(f, "clips", 0644), f.path("other"));
         return f.path("clips");
     },
     true, [](const TempDir& f) { return holds_new(f, "clips") && file_bytes(f.path("other")) == "old"; }},
    {"a full device", [](const TempDir&) { return std::string("/dev/full"); }, false, anything},
    {"a device", [](const TempDir&) { return std::string("/dev/null"); }, true,
     [](const TempDir&) { return std::filesystem::is_character_file("/dev/null"); }},
};

TEST(Save, GoesWhereTheNameLeads) {
    const mode_t umask_before = ::umask(027);
    for (const Target& target : kTargets) {
        SCOPED_TRACE(target.what);
        const TempDir folder;
        const std::string path = target.make(folder);
        EXPECT_EQ(save_new(path), target.saved);
        EXPECT_TRUE(target.after(folder));
        for (const std::string& name : testing_kit::names_in(folder.path())) {
            EXPECT_FALSE(name.ends_with(".part")) << name;
        }
    }
    ::umask(umask_before);
}

TEST(Save, WritesAPipeStraight) {
    const TempDir folder;
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::string read;
    std::thread reader([&] { read = file_bytes(pipe); });
    EXPECT_TRUE(save_new(pipe));
    reader.join();
    EXPECT_EQ(read, kNew);
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST(Save, TheTemporaryIsNeverMoreOpenThanTheFile) {
    const TempDir folder;
    make_file(folder, "clips", 0600);
    struct Watch : PlatformService {
        ssize_t write(int file, const void* bytes, std::size_t size) override {
            struct ::stat about {};
            seen = ::fstat(file, &about) == 0 ? about.st_mode & 0777 : 0777;
            return PlatformService::write(file, bytes, size);
        }
        unsigned seen = 0777;
    } watch;
    const testing_kit::UsePlatform in_place(watch);
    EXPECT_TRUE(save_new(folder.path("clips")));
    EXPECT_EQ(watch.seen, 0600U);
}

TEST(Save, AsksForTheRightToWrite) {
    const TempDir folder;
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    const auto saves = [](const std::string& path) {
        return testing_kit::in_child_without_rights([&] { return save_new(path) ? 1 : 0; });
    };
    EXPECT_EQ(saves(make_file(folder, "readonly", 0444)), 0);
    EXPECT_EQ(file_bytes(folder.path("readonly")), "old");
    EXPECT_EQ(saves(make_file(folder, "shared", 0666)), 1);
    EXPECT_TRUE(holds_new(folder, "shared"));
    // A folder that takes no new file refuses even over a file that may be written.
    std::filesystem::create_directory(folder.path("closed"));
    make_file(folder, "closed/clips", 0666);
    ASSERT_EQ(::chmod(folder.path("closed").c_str(), 0555), 0);
    EXPECT_EQ(saves(folder.path("closed/clips")), 0);
    EXPECT_EQ(file_bytes(folder.path("closed/clips")), "old");
    EXPECT_EQ(testing_kit::names_in(folder.path()), (Names{"closed", "readonly", "shared"}));
}

// Someone else's file becomes the saver's where the system does not let it be given back; a group that is not kept gets
// only what everybody had.
TEST(Save, ALostGroupGainsNothing) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root to make a file of another group";
    }
    const TempDir folder;
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    const std::string path = make_file(folder, "clips", 0662);
    const auto save = [&] { return save_new(path) ? 0 : 1; };
    ASSERT_EQ(testing_kit::in_child_without_rights(save), 0);
    EXPECT_EQ(mode_of(path), 0622U);
    EXPECT_EQ(testing_kit::in_child(save), 0);  // root gives it back
    struct ::stat about {};
    ASSERT_EQ(::stat(path.c_str(), &about), 0);
    EXPECT_EQ(about.st_uid, testing_kit::kNobody);
}

}  // namespace
