// A save replaces the file as a whole or leaves it as it was, whatever the system answers and wherever the name leads.

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include "keldb/support/log.h"
#include "keldb/support/text_file.h"
#include "tests/testing/child.h"
#include "tests/testing/faulty_platform.h"
#include "tests/testing/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using testing_kit::Fault;
using testing_kit::FaultyPlatform;
using testing_kit::kNobody;
using testing_kit::TempDir;

constexpr const char* kNew = "new line 1\nnew line 2\n";

bool save_new(const std::string& path) { return TextFile::fromBytes(kNew).save(testing_kit::wide(path), 1); }

// A folder as one line of text: "clips:644=old link>clips sub:755/" has a file with its mode and bytes (new stands for
// kNew), a link and a folder; a ~ behind a mode is a file of somebody else, an @ in a link the folder itself. To make
// one, "other+clips" is a second name of a file.
void make(const TempDir& folder, const std::string& text) {
    std::istringstream entries(text);
    for (std::string entry; entries >> entry;) {
        const std::size_t mark = entry.find_first_of(":>+");
        const std::string path = folder.path(entry.substr(0, mark)), rest = entry.substr(mark + 1);
        if (entry[mark] == '>') fs::create_symlink(rest[0] == '@' ? folder.path() + rest.substr(1) : rest, path);
        if (entry[mark] == '+') fs::create_hard_link(folder.path(rest), path);
        if (entry[mark] != ':') continue;
        if (rest.back() == '/') fs::create_directory(path);
        if (rest.back() != '/') testing_kit::write_file(path, rest.substr(rest.find('=') + 1));
        fs::permissions(path, static_cast<fs::perms>(std::stoi(rest, nullptr, 8)));
        EXPECT_TRUE(rest.find('~') == std::string::npos || ::chown(path.c_str(), kNobody, kNobody) == 0);
    }
}

std::string text_of(const TempDir& folder) {
    std::vector<std::string> entries;
    for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
        const std::string path = entry.path();
        struct ::stat about {};
        EXPECT_EQ(::lstat(path.c_str(), &about), 0);
        std::ostringstream text;
        text << path.substr(folder.path().size() + 1);
        if (S_ISLNK(about.st_mode)) {
            const std::string to = fs::read_symlink(path);
            text << '>' << (to.starts_with(folder.path()) ? '@' + to.substr(folder.path().size()) : to);
        } else {
            text << ':' << std::oct << (about.st_mode & 07777) << (about.st_uid == ::geteuid() ? "" : "~");
            const std::string bytes = S_ISDIR(about.st_mode) ? "/" : '=' + testing_kit::file_bytes(path);
            text << (bytes == std::string("=") + kNew ? "=new" : bytes);
        }
        entries.push_back(text.str());
    }
    std::sort(entries.begin(), entries.end());
    std::string all;
    for (const std::string& entry : entries) all += (all.empty() ? "" : " ") + entry;
    return all;
}

class Save : public testing::Test {
protected:
    Save() {
        setLogSink([](const char*, void*) {}, nullptr);  // a folder's flush may fail, and says so
    }
    ~Save() override {
        setLogSink(nullptr, nullptr);
        ::umask(umask_before_);
    }
    const mode_t umask_before_ = ::umask(027);
};

// Saving to "link": where nothing stands, and over a link to an old file.
constexpr std::pair<const char*, const char*> kScenes[] = {{"", "link:640=new"},
                                                           {"clips:600=old link>clips", "clips:600=new link>clips"}};

const Fault kFaults[] = {{Fault::kError, EIO},    {Fault::kError, ENOSPC}, {Fault::kError, EINTR},
                         {Fault::kError, EACCES}, {Fault::kShort},         {Fault::kNone}};

// Interrupted and short operations are continued, an owner that cannot be kept is let go; all else fails the save. A
// write that takes nothing would be tried for ever.
bool is_overcome(const Fault& fault, const std::string& operation) {
    const bool continued = operation == "write" || operation == "open" || operation == "sync";
    return fault.kind == Fault::kShort || (fault.kind == Fault::kNone && operation != "write") ||
           (fault.kind == Fault::kError && fault.code == EINTR && continued) || operation == "changeOwner";
}

TEST_F(Save, AFaultAtAnyOperationLeavesTheOldFileOrTheNewOne) {
    const std::size_t descriptors = testing_kit::open_descriptors();
    for (const auto& [before, after] : kScenes) {
        for (const Fault& fault : kFaults) {
            bool struck = true;
            for (long at = 0; struck; ++at) {
                const TempDir folder;
                make(folder, before);
                FaultyPlatform platform(fault, at);
                bool saved = false;
                {
                    const testing_kit::UsePlatform in_place(platform);
                    saved = save_new(folder.path("link"));
                }
                struck = platform.struck();
                SCOPED_TRACE("operation " + std::to_string(at) + ", " + platform.struck_operation());
                const auto& log = platform.log();
                const auto renamed = std::find(log.begin(), log.end(), "rename");
                const bool overcome = renamed - log.begin() < at || is_overcome(fault, platform.struck_operation());
                ASSERT_EQ(saved, !struck || overcome);
                ASSERT_EQ(text_of(folder), saved ? after : before);
                ASSERT_EQ(testing_kit::open_descriptors(), descriptors);
                // The bytes are on the disk before the name is theirs, and the name is flushed after.
                ASSERT_TRUE(!saved || std::find(log.begin(), log.end(), "sync") < renamed);
                ASSERT_TRUE(!saved || std::find(renamed, log.end(), "open") != log.end());
                // Nothing is closed twice, nor removed when all goes well.
                const auto count = [&log](const char* what) { return std::count(log.begin(), log.end(), what); };
                ASSERT_TRUE(struck || (count("open") == count("close") && count("unlink") == 0));
            }
        }
    }
}

// Nor is what stands there meanwhile ever more open than the old file.
TEST_F(Save, DyingAtAnyOperationLeavesTheOldFileOrTheNewOne) {
    for (const auto& [before, after] : kScenes) {
        int status = testing_kit::kDied;
        for (long at = 0; status == testing_kit::kDied; ++at) {
            const TempDir folder;
            make(folder, before);
            status = testing_kit::in_child([&] {
                FaultyPlatform platform({Fault::kDie}, at);
                const testing_kit::UsePlatform in_place(platform);
                return save_new(folder.path("link")) ? 0 : 1;
            });
            const std::string left = testing_kit::file_bytes(folder.path("link"));
            ASSERT_TRUE(left == (*before ? "old" : "(none)") || left == kNew) << "operation " << at << ": " << left;
            ASSERT_TRUE(!*before || text_of(folder).find(":640=") == std::string::npos) << text_of(folder);
        }
        EXPECT_EQ(status, 0);
    }
}

struct Target {
    std::string before;  // the folder
    std::string path;
    std::string after;  // the folder; empty when the save is refused and nothing changes
    bool by_nobody = false;
};

const std::string kAscii(255, 'n');
const std::string kUtf8 = [] {
    std::string name = "n";
    while (name.size() < 255) name += "\xC3\xA9";
    return name;
}();

const Target kTargets[] = {
    {"", "clips", "clips:640=new"},  // as the umask says
    {"clips:600=old", "clips", "clips:600=new"},
    {"clips:4755=old", "clips", "clips:755=new"},
    {"clips:644=old other+clips", "clips", "clips:644=new other:644=old"},
    {"clips:644=old link>@/clips", "link", "clips:644=new link>@/clips"},
    {"clips:644=old one>sub/two sub:755/ sub/two>../clips", "one",
     "clips:644=new one>sub/two sub/two>../clips sub:755/"},
    {"link>clips", "link", "clips:640=new link>clips"},
    {"link>no/clips", "link", ""},
    {"a>b b>a", "a", ""},
    {"sub:755/", "sub", ""},
    {"", "sub/", ""},
    {"", "no/clips", ""},
    {"clips:644=old", "clips/x", ""},
    {"", "a\0b"s, ""},
    {"", kAscii, kAscii + ":640=new"},
    {"", kUtf8, kUtf8 + ":640=new"},
    {"", kAscii + "n", ""},
    {"", "/dev/full", ""},
    // Somebody else's file needs the right to write, and belongs to who saved it; a group that is not kept gets only
    // what everybody had.
    {"clips:444=old", "clips", "", true},
    {"clips:666=old", "clips", "clips:666~=new", true},
    {"clips:662=old", "clips", "clips:622~=new", true},
    {"closed:755/ closed/clips:666=old closed:555/", "closed/clips", "", true},
    {"clips:662~=old", "clips", "clips:662~=new"},  // root gives it back
};

TEST_F(Save, GoesWhereTheNameLeads) {
    EXPECT_FALSE(save_new(""));
    for (const Target& target : kTargets) {
        SCOPED_TRACE(target.before + ", " + target.path);
        if (target.by_nobody && ::geteuid() != 0) GTEST_SKIP() << "needs root to be somebody else";
        const TempDir folder;
        fs::permissions(folder.path(), fs::perms::all);
        make(folder, target.before);
        const std::string made = text_of(folder);
        const std::string path = target.path.starts_with('/') ? target.path : folder.path(target.path);
        const auto save = [&] { return save_new(path) ? 0 : 1; };
        EXPECT_EQ(target.by_nobody ? testing_kit::in_child_without_rights(save) : save(), target.after.empty() ? 1 : 0);
        EXPECT_EQ(text_of(folder), target.after.empty() ? made : target.after);
    }
}

}  // namespace
