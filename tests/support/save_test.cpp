// A save of a text file, a table, a view or a container replaces the file as a whole or leaves it as it was, whatever
// the system answers, wherever the name leads and wherever the process dies. A container may be whole at its name with
// .tmp.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "keldb/container/qv_container_file.h"
#include "tests/testing/faulty_platform.h"
#include "tests/testing/kit.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

constexpr unsigned kNobody = 65534;  // a user without rights
bool container_failed;               // that one of them was not written is only logged

// Each saves always the same and answers whether the save said that it succeeded.
bool save_text(const std::string& path) { return TextFile::fromBytes("line 1\nline 2\n").save(wide(path), 1); }

bool save_table(const std::string& path) {
    keldb table = table_of("Name:a Tag:n | one, | *two, | three,");
    table.set_filename(wide(path));
    return table.save_text() == 3;
}

bool save_view(const std::string& path) {
    keldb table = table_of("Name:a | one | two");
    const ODBView view(&table);
    view->displayAllRecords();
    return view->saveAsText(wide(path), false) == 2;
}

bool save_container(const std::string& path) {
    container_failed = false;
    DBFieldDesc fields[] = {{"Cookie", DBFieldTypes::text}, {}};
    QVContainerFile::Writer(fields).save(wide(path));
    return !container_failed;
}

struct Saving {
    explicit Saving(bool (*how)(const std::string& path)) : save(how), container(how == save_container) {
        const auto hear = [](const char* text, void*) {
            container_failed |= std::string_view(text).starts_with("QVContainerFile");
        };
        setLogSink(hear, nullptr);
        const TempDir folder;
        EXPECT_TRUE(save(folder.path("whole")));
        bytes = file_bytes(folder.path("whole"));
    }
    bool (*save)(const std::string& path);
    bool container;
    std::string bytes;
};

// A folder as one line of text: "clips:644=old link>clips pipe| sub:755/" has a file with its mode and bytes (new for
// what is saved), a link, a pipe and a folder; a ~ behind a mode is a file of somebody else, an @ in a link the folder
// itself. To make one, "other+clips" is a second name of a file, and a name that is there gets the mode.
class Folder {
public:
    Folder(const Saving& how, const std::string& text) : saving(how), before(text) {
        ::umask(027);
        fs::permissions(folder_.path(), fs::perms::all);
        std::istringstream entries(text);
        for (std::string entry; entries >> entry;) make(entry);
    }
    bool save(const std::string& name) const { return saving.save(name.starts_with('/') ? name : folder_.path(name)); }

    std::string text(bool parts = true) const {  // without parts: without what a process that died was writing
        std::set<std::string> entries;
        for (const auto& entry : fs::recursive_directory_iterator(folder_.path())) {
            if (parts || entry.path().extension() != ".part") entries.insert(text_of(entry.path()));
        }
        std::string all;
        for (const std::string& entry : entries) all += (all.empty() ? "" : " ") + entry;
        return all;
    }

    const Saving& saving;
    const std::string before;

private:
    void make(const std::string& entry) const {
        const std::size_t mark = entry.find_first_of(":>+|");
        const std::string path = folder_.path(entry.substr(0, mark)), rest = entry.substr(mark + 1);
        EXPECT_TRUE(entry[mark] != '|' || ::mkfifo(path.c_str(), 0640) == 0);
        if (entry[mark] == '>') fs::create_symlink(rest[0] == '@' ? folder_.path() + rest.substr(1) : rest, path);
        if (entry[mark] == '+') fs::create_hard_link(folder_.path(rest), path);
        if (entry[mark] != ':') return;
        if (rest.back() == '/') fs::create_directory(path);
        if (rest.back() != '/') write_file(path, rest.substr(rest.find('=') + 1));
        fs::permissions(path, static_cast<fs::perms>(std::stoi(rest, nullptr, 8)));
        EXPECT_TRUE(rest.find('~') == std::string::npos || ::chown(path.c_str(), kNobody, kNobody) == 0);
    }
    std::string text_of(const std::string& path) const {
        struct ::stat about {};
        EXPECT_EQ(::lstat(path.c_str(), &about), 0);
        std::ostringstream text;
        text << path.substr(folder_.path().size() + 1);
        if (S_ISFIFO(about.st_mode)) return text.str() + '|';
        if (S_ISLNK(about.st_mode)) {
            const std::string to = fs::read_symlink(path);
            return text.str() + '>' + (to.starts_with(folder_.path()) ? '@' + to.substr(folder_.path().size()) : to);
        }
        text << ':' << std::oct << (about.st_mode & 07777) << (about.st_uid == ::geteuid() ? "" : "~");
        if (S_ISDIR(about.st_mode)) return text.str() + '/';
        const std::string bytes = file_bytes(path);
        return text.str() + '=' + (bytes == saving.bytes ? "new" : bytes);
    }

    TempDir folder_;
};

const std::string kNew = "clips:640=new", kOld = "clips:640=old", kWaiting = "clips.tmp:640=new";

// What stands where "clips" is saved to, what once that is done, and what else may after a fault in a container's save:
// one that replaces another stands beside the old, waits alone, and goes to its place.
const std::vector<std::string> kScenes[] = {
    {"", kNew},
    {"clips:600=old", "clips:600=new", "clips.tmp:600=new clips:600=old", "clips.tmp:600=new"},
    {"clips.tmp:640=half " + kOld, "clips.tmp:640=half " + kNew, kWaiting + ' ' + kOld, kWaiting, kNew},
    {"clips.tmp:640=half", "clips.tmp:640=half " + kNew},
    {"clips>real real:640=old", "clips>real real:640=new", kWaiting + " clips>real real:640=old",
     kWaiting + " real:640=old", kNew + " real:640=old"},
};

// Calls save_under(folder, what may stand there, fault, at) for the first, second, ... operation of each save, until it
// says that there was no fault.
template <class Visit>
void sweep(const std::vector<Fault>& faults, const Visit& save_under) {
    long states = 0;
    for (const auto how : {save_text, save_table, save_view, save_container}) {
        const Saving saving(how);
        for (const std::vector<std::string>& scene : kScenes) {
            const auto may_stand =
                testing::AnyOfArray(scene.begin(), saving.container ? scene.end() : scene.begin() + 2);
            for (const Fault& fault : faults) {
                bool struck = true;
                for (long at = 0; struck && !testing::Test::HasFailure(); ++at) {
                    SCOPED_TRACE(scene[0] + ", operation " + std::to_string(at));
                    struck = save_under(Folder(saving, scene[0]), may_stand, fault, at);
                    states += struck ? 1 : 0;
                }
            }
        }
    }
    std::cout << "REL file_fault_states=" << states << '\n';
}

// Interrupted and short operations are continued, an owner that cannot be kept is let go; all else fails the save. A
// write that takes nothing would be tried for ever.
bool is_overcome(const Fault& fault, const std::string& operation) {
    const bool continued = operation == "write" || operation == "open" || operation == "sync";
    return fault.kind == Fault::kShort || (fault.kind == Fault::kNone && operation != "write") ||
           (fault.kind == Fault::kError && fault.code == EINTR && continued) || operation == "changeOwner";
}

TEST(Save, AFaultAtAnyOperationLeavesTheOldFileOrTheNewOne) {
    const std::size_t descriptors = open_descriptors();
    const std::vector<Fault> faults = {
        {Fault::kError, EIO}, {Fault::kError, EINTR}, {Fault::kError, EACCES}, {Fault::kShort}, {Fault::kNone}};
    sweep(faults, [&](const Folder& folder, const auto& may_stand, const Fault& fault, long at) {
        const FaultyPlatform platform(fault, at);
        const bool said = folder.save("clips"), unharmed = !platform.struck(), container = folder.saving.container;
        const std::string now = folder.text(), struck = platform.struck_operation();
        SCOPED_TRACE(struck);
        EXPECT_THAT(now, may_stand);
        EXPECT_EQ(said, now.find("=new") != std::string::npos && !now.starts_with("clips.tmp:600=new") &&
                            !now.starts_with(kWaiting));
        EXPECT_EQ(open_descriptors(), descriptors);
        const auto& log = platform.log();
        const auto place = [&log](const char* what) { return std::find(log.begin(), log.end(), what) - log.begin(); };
        const auto count = [&log](const char* what) { return std::count(log.begin(), log.end(), what); };
        // A container that cannot remove the old file, or move the new one to its place, leaves the new one at .tmp;
        // one that cannot see the old file is written at once.
        const bool overcome = unharmed || place("rename") < at || is_overcome(fault, struck);
        const bool moved = container && (struck == "unlink" || struck == "rename");
        EXPECT_TRUE(said || moved || now == folder.before) << now;
        EXPECT_TRUE(said == overcome || moved || (container && (struck == "stat" || struck == "readLink")));
        // The bytes are on the disk before the name is theirs, and the name is flushed after. Nothing is closed twice,
        // nor removed when all goes well but an old container.
        EXPECT_TRUE(!said || place("sync") < place("rename"));
        EXPECT_TRUE(!said || std::find(log.begin() + place("rename"), log.end(), "open") != log.end());
        EXPECT_TRUE(!unharmed || count("open") == count("close"));
        EXPECT_TRUE(!unharmed || count("unlink") == (container && folder.before.ends_with("=old") ? 1 : 0));
        return !unharmed;
    });
}

// Nor is what stands there meanwhile ever more open than the old file.
TEST(Save, DyingAtAnyOperationLeavesTheOldFileOrTheNewOne) {
    sweep({{Fault::kDie}}, [](const Folder& folder, const auto& may_stand, const Fault& fault, long at) {
        const int status = in_child([&] {
            const FaultyPlatform platform(fault, at);
            return folder.save("clips") ? 0 : 1;
        });
        EXPECT_TRUE(status == 0 || status == kDied);
        EXPECT_THAT(folder.text(false), may_stand);
        EXPECT_TRUE(folder.before != "clips:600=old" || folder.text().find(":640=") == std::string::npos);
        return status == kDied;
    });
}

const std::string k251(251, 'n'), k252(252, 'n');
// The longest name; where a temporary's name is cut off, a letter would be cut in two.
const std::string kUtf8 = [] {
    std::string name = "n";
    while (name.size() < 255) name += "\xC3\xA9";
    return name;
}();

const struct {
    std::string before, name;
    // The folder afterwards, behind a ! when the save is refused; alone that is for no change. # where it is not tried,
    // = for the same.
    std::string after, after_container = "=";
    bool by_nobody = false;
} kTargets[] = {
    {"", "clips", "clips:640=new"},  // as the umask says
    {"clips:4755=old", "clips", "clips:755=new"},
    {"clips:644=old other+clips", "clips", "clips:644=new other:644=old"},
    {"clips:644=old link>@/clips", "link", "clips:644=new link>@/clips", "clips:644=old link:644=new"},
    {"clips:644=old one>sub/two sub:755/ sub/two>../clips", "one",
     "clips:644=new one>sub/two sub/two>../clips sub:755/", "clips:644=old one:644=new sub/two>../clips sub:755/"},
    {"link>clips", "link", "clips:640=new link>clips"},
    {"link>no/clips", "link", "!"},
    {"a>b b>a", "a", "!"},
    {"sub:755/", "sub", "!"},
    {"", "sub/", "!"},
    {"clips:644=old", "clips/x", "!"},
    {"", "a\0b"s, "!"},
    {"", "/dev/full", "!", "#"},
    {"clips|", "clips", "#", "!"},
    {"", kUtf8, kUtf8 + ":640=new"},
    {"", kUtf8 + "n", "!"},
    {k251 + ":644=old", k251, k251 + ":644=new"},  // the longest name that leaves room for .tmp
    {k252 + ":644=old", k252, k252 + ":644=new", "!"},
    // A leftover where the temporary should be is replaced, a link there leads nowhere that a save writes; where
    // nothing is replaced, no temporary is needed.
    {"clips.tmp:666=old clips:600=old", "clips", "clips.tmp:666=old clips:600=new", "clips:600=new"},
    {"clips.tmp>other clips:644=old other:644=old", "clips", "clips.tmp>other clips:644=new other:644=old",
     "clips:644=new other:644=old"},
    {"clips.tmp| clips:644=old", "clips", "clips.tmp| clips:644=new", "!"},
    {"clips.tmp:755/", "clips", "clips.tmp:755/ clips:640=new"},
    // Somebody else's file needs the right to write, and belongs to who saved it; a group that is not kept gets only
    // what everybody had. Where only the owner may remove, an old container stays, and the new one beside it.
    {"clips:662~=old", "clips", "clips:662~=new"},  // root gives it back
    {"clips:444=old", "clips", "!", "=", true},
    {"clips:662=old", "clips", "clips:622~=new", "=", true},
    {"closed:755/ closed/clips:666=old closed:555/", "closed/clips", "!", "=", true},
    {"all:755/ all/clips:666=old all:1777/", "all/clips", "!", "!all/clips.tmp:666~=new all/clips:666=old all:1777/",
     true},
};

TEST(Save, GoesWhereTheNameLeads) {
    for (const auto how : {save_text, save_container}) {
        const Saving saving(how);
        EXPECT_FALSE(saving.save(""));
        for (const auto& [before, name, after, after_container, by_nobody] : kTargets) {
            const std::string& expected = saving.container && after_container != "=" ? after_container : after;
            if (expected == "#") continue;
            SCOPED_TRACE(before + ", " + name);
            if (by_nobody && ::geteuid() != 0) GTEST_SKIP() << "needs root to be somebody else";
            const Folder folder(saving, before);
            const std::string made = folder.text();
            const auto save = [&, &to = name] { return folder.save(to) ? 1 : 0; };
            const auto save_as_nobody = [&] { return ::setgid(kNobody) || ::setuid(kNobody) ? 255 : save(); };
            const bool refused = expected[0] == '!';
            EXPECT_EQ(by_nobody ? in_child(save_as_nobody) : save(), refused ? 0 : 1);
            EXPECT_EQ(folder.text(), expected == "!" ? made : expected.substr(refused ? 1 : 0));
        }
    }
}

}  // namespace
