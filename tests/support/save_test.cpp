// A save of a text file, a table or a container replaces the file as a whole or leaves it as it was, whatever the
// system answers, wherever the name leads and wherever the process dies. A container may be whole at its name with
// .tmp.
#include <sys/stat.h>

#include "keldb/container/qv_container_file.h"
#include "tests/testing/faulty_platform.h"
#include "tests/testing/kit.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

constexpr unsigned kNobody = 65534;  // a user without rights

// Each saves always the same and answers whether the save said that it succeeded.
bool save_text(const std::string& path) { return TextFile::fromBytes("line 1\nline 2\n").save(wide(path), 1); }

bool save_table(const std::string& path) {
    keldb table = table_of("Name:a Tag:n | one, | *two, | three,");
    table.set_filename(wide(path));
    return table.save_text() == 3;
}

bool save_container(const std::string& path) {
    const Logged log;  // that one was not written is only said there
    DBFieldDesc fields[] = {{"Cookie", DBFieldTypes::text}, {}};
    QVContainerFile::Writer(fields).save(wide(path));
    return log.text.find("QVContainerFile") == std::string::npos;
}

// A folder that commands of the shell made, and "f MODE BYTES NAME" for a file among them. It reads as one line of
// text: "clips:644=old link>clips pipe| sub/" has a file with its mode and bytes (new for what is saved; behind a ~ it
// is somebody else's), a link, a pipe and a folder.
class Folder {
public:
    Folder(bool (*how)(const std::string& path), const std::string& commands)
        : container(how == save_container), save_(how) {
        ::umask(027);
        fs::permissions(folder_.path(), fs::perms::all);
        EXPECT_TRUE(save("clips"));
        saved_ = file_bytes(path("clips"));
        const std::string start = "set -e; f() { printf $2 >$3; chmod $1 $3; }; cd " + folder_.path() + "; rm clips; ";
        EXPECT_EQ(std::system((start + commands).c_str()), 0);
        before = text();
    }
    Folder(const Folder& like)
        : before(like.before), container(like.container), save_(like.save_), saved_(like.saved_) {
        fs::copy(like.folder_.path(), folder_.path(), fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
    std::string path(const std::string& name) const { return name.starts_with('/') ? name : folder_.path(name); }
    bool save(const std::string& name) const { return save_(path(name)); }
    bool is_saved(const std::string& name) const { return file_bytes(path(name)) == saved_; }

    std::string text(bool parts = true) const {  // without parts: without what a process that died was writing
        std::set<std::string> entries;
        for (const auto& entry : fs::recursive_directory_iterator(folder_.path())) {
            if (parts || entry.path().extension() != ".part") entries.insert(text_of(entry.path()));
        }
        std::string all;
        for (const std::string& entry : entries) all += (all.empty() ? "" : " ") + entry;
        return all;
    }

    std::string before;
    bool container;

private:
    std::string text_of(const std::string& path) const {
        struct ::stat about {};
        EXPECT_EQ(::lstat(path.c_str(), &about), 0);
        std::ostringstream text;
        text << path.substr(folder_.path().size() + 1);
        if (S_ISFIFO(about.st_mode)) return text.str() + '|';
        if (S_ISDIR(about.st_mode)) return text.str() + '/';
        if (S_ISLNK(about.st_mode)) return text.str() + '>' + fs::read_symlink(path).filename().string();
        text << ':' << std::oct << (about.st_mode & 07777) << (about.st_uid == ::geteuid() ? '=' : '~');
        return text.str() + (is_saved(path) ? "new" : file_bytes(path));
    }

    TempDir folder_;
    bool (*save_)(const std::string& path);
    std::string saved_;
};

// Calls save_under(folder, fault, at) for the first, second, ... operation of each save to "clips", until it says that
// there was no fault. Then all is as before or as without a fault; or a container, which takes the old one away before
// the new one goes to its place, waits at .tmp, or has not seen what was to go. Nothing is ever more open than the old
// file.
template <class Visit>
void sweep(const std::vector<Fault>& faults, const Visit& save_under) {
    long states = 0;
    for (const auto how : {save_text, save_table, save_container}) {
        for (const char* commands : {"", "f 600 old clips", "f 640 half clips.tmp; f 640 old clips",
                                     "f 640 half clips.tmp", "f 640 old real; ln -s real clips"}) {
            const Folder scene(how, commands), done(scene);
            EXPECT_TRUE(done.save("clips"));
            for (const Fault& fault : faults) {
                bool struck = true;
                for (long at = 0; struck && !testing::Test::HasFailure(); ++at) {
                    SCOPED_TRACE(std::string(commands) + ", operation " + std::to_string(at));
                    const Folder folder(scene);
                    struck = save_under(folder, fault, at);
                    const std::string now = folder.text(false);
                    const bool stands = folder.is_saved("clips") || folder.is_saved("clips.tmp");
                    EXPECT_TRUE(now == scene.before || now == done.text() || (scene.container && stands)) << now;
                    EXPECT_TRUE(scene.before != "clips:600=old" || folder.text().find(":640=") == std::string::npos);
                    states += struck ? 1 : 0;
                }
            }
        }
    }
    std::cout << "REL file_fault_states=" << states << '\n';
}

TEST(Save, AFaultAtAnyOperationLeavesTheOldFileOrTheNewOne) {
    const std::vector<Fault> faults = {
        {Fault::kError, EIO}, {Fault::kError, EINTR}, {Fault::kPart, 1}, {Fault::kPart, 0}};
    sweep(faults, [](const Folder& folder, const Fault& fault, long at) {
        const FaultyPlatform platform(fault, at);
        const bool said = folder.save("clips"), unharmed = !platform.struck(), container = folder.container;
        const std::string struck = platform.struck_operation();
        SCOPED_TRACE(struck);
        EXPECT_EQ(said, folder.is_saved("clips"));
        EXPECT_EQ(folder.text(), folder.text(false));
        const auto& log = platform.log();
        const auto renamed = std::ranges::find(log, "rename");
        // Interrupted and short operations are continued, an owner that cannot be kept is let go; all else fails the
        // save. A write that takes nothing would be tried for ever.
        const bool error = fault.kind == Fault::kError;
        const bool continued = fault.value == EINTR && (struck == "write" || struck == "open" || struck == "sync");
        const bool overcome = error ? continued || struck == "changeOwner" : fault.value > 0 || struck != "write";
        // A container that cannot remove the old file, or move the new one to its place, leaves the new one at .tmp;
        // one that cannot see the old file is written at once.
        const bool moved = container && error && (struck == "unlink" || struck == "rename");
        const bool unseen = container && (struck == "stat" || struck == "readLink");
        EXPECT_TRUE(unseen || said == (!moved && (unharmed || overcome || renamed < log.begin() + at)));
        EXPECT_TRUE(moved || said || folder.text() == folder.before);
        // The bytes are on the disk before the name is theirs, and the name is flushed after. All that was opened is
        // closed once. Nothing is removed when all goes well but an old container.
        EXPECT_TRUE(!said || std::ranges::find(log, "sync") < renamed);
        EXPECT_TRUE(!said || std::find(renamed, log.end(), "open") != log.end());
        EXPECT_EQ(std::ranges::count(log, "close"), std::ranges::count(log, "open") - (error && struck == "open"));
        const bool replaced = container && folder.before.ends_with("=old");
        EXPECT_TRUE(!unharmed || std::ranges::count(log, "unlink") == replaced);
        return !unharmed;
    });
}

TEST(Save, DyingAtAnyOperationLeavesTheOldFileOrTheNewOne) {
    sweep({{Fault::kDie}}, [](const Folder& folder, const Fault& fault, long at) {
        const int status = in_child([&] {
            const FaultyPlatform platform(fault, at);
            return folder.save("clips") ? 0 : 1;
        });
        EXPECT_TRUE(status == 0 || status == kDied);
        return status == kDied;
    });
}

// The longest names: one that leaves room for .tmp, one that does not; where a temporary's name is cut off, a letter
// would be cut in two.
const std::string k251(251, 'n'), k252(252, 'n');
const std::string kUtf8 = 'n' + std::string(toUTF8(WString(std::wstring(127, L'\u00E9'))));

const struct {
    std::string commands, name;
    // The folder afterwards, behind a ! when the save is refused; alone that is for no change. # where it is not tried,
    // = for the same.
    std::string after, after_container = "=";
    bool by_nobody = false;
} kTargets[] = {
    {"", "clips", "clips:640=new"},  // as the umask says
    {"f 640 half clips.tmp", "clips", "clips.tmp:640=half clips:640=new"},
    {"f 4755 old clips", "clips", "clips:755=new"},
    {"f 644 old clips; ln clips other", "clips", "clips:644=new other:644=old"},
    {"f 644 old clips; ln -s $PWD/clips link", "link", "clips:644=new link>clips", "clips:644=old link:644=new"},
    {"mkdir sub; f 644 old clips; ln -s sub/two one; ln -s ../clips sub/two", "one",
     "clips:644=new one>two sub/ sub/two>clips", "clips:644=old one:644=new sub/ sub/two>clips"},
    {"ln -s clips link", "link", "clips:640=new link>clips"},
    {"ln -s no/clips link", "link", "!"},
    {"mkdir sub", "sub", "!"},
    {"", "sub/", "!"},
    {"", "a\0b"s, "!"},
    {"", "/dev/full", "!", "#"},
    {"mkfifo clips", "clips", "#", "!"},
    {"", kUtf8, kUtf8 + ":640=new"},
    {"f 644 old " + k251, k251, k251 + ":644=new"},
    {"f 644 old " + k252, k252, k252 + ":644=new", "!"},
    // A leftover where the temporary should be is replaced, a link there leads nowhere that a save writes.
    {"f 666 old clips.tmp; f 600 old clips", "clips", "clips.tmp:666=old clips:600=new", "clips:600=new"},
    {"ln -s other clips.tmp; f 644 old clips; f 644 old other", "clips", "clips.tmp>other clips:644=new other:644=old",
     "clips:644=new other:644=old"},
    {"mkfifo clips.tmp; f 644 old clips", "clips", "clips.tmp| clips:644=new", "!"},
    // Somebody else's file needs the right to write, and belongs to who saved it; a group that is not kept gets only
    // what everybody had. Where only the owner may remove, an old container stays, and the new one beside it.
    {"f 662 old clips; chown 65534:65534 clips", "clips", "clips:662~new"},  // root gives it back
    {"f 444 old clips", "clips", "!", "=", true},
    {"f 662 old clips", "clips", "clips:622~new", "=", true},
    {"mkdir closed; f 666 old closed/clips; chmod 555 closed", "closed/clips", "!", "=", true},
    {"mkdir all; f 666 old all/clips; chmod 1777 all", "all/clips", "!",
     "!all/ all/clips.tmp:666~new all/clips:666=old", true},
};

TEST(Save, GoesWhereTheNameLeads) {
    for (const auto how : {save_text, save_container}) {
        EXPECT_FALSE(how(""));
        for (const auto& [commands, name, after, after_container, by_nobody] : kTargets) {
            const std::string& expected = how == save_container && after_container != "=" ? after_container : after;
            if (expected == "#") continue;
            SCOPED_TRACE(commands + ", " + name);
            const bool needs_root = by_nobody || commands.find("chown") != std::string::npos;
            if (needs_root && ::geteuid() != 0) GTEST_SKIP() << "needs root to be somebody else";
            const Folder folder(how, commands);
            const auto save = [&, &to = name] { return folder.save(to) ? 1 : 0; };
            const auto save_as_nobody = [&] { return ::setgid(kNobody) || ::setuid(kNobody) ? 255 : save(); };
            const bool refused = expected[0] == '!';
            EXPECT_EQ(by_nobody ? in_child(save_as_nobody) : save(), refused ? 0 : 1);
            EXPECT_EQ(folder.text(), expected == "!" ? folder.before : expected.substr(refused ? 1 : 0));
        }
    }
}

}  // namespace
