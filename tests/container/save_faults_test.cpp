// Whatever a file operation of a save answers, and wherever the process dies: once a file stood at the path, a complete
// old or new one stands there, for a container there or at the path with ".tmp". Tables, view exports and containers.

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <set>
#include <string>
#include <utility>

#include "keldb/container/qv_container_file.h"
#include "keldb/support/log.h"
#include "keldb/views/odb_view.h"
#include "tests/testing/child.h"
#include "tests/testing/faulty_platform.h"
#include "tests/testing/table_text.h"
#include "tests/testing/temp_dir.h"

namespace {

using testing_kit::Fault;
using testing_kit::FaultyPlatform;
using testing_kit::file_bytes;
using testing_kit::TempDir;
using testing_kit::wide;

class Saver {
public:
    enum Kind { kTable, kView, kContainer };
    explicit Saver(Kind kind) : kind_(kind) {
        table_.add_param("owner", "ed");
        view_->displayAllRecords();
        container_.setName("Clips");
        for (const char* id : {"clip-1", "clip-2"}) container_.addItem(Cookie(id, true)).setAttrib(1, "a clip");
        const TempDir folder;
        EXPECT_TRUE(save(folder.path("clips")));
        bytes_ = file_bytes(folder.path("clips"));
    }
    const std::string& bytes() const { return bytes_; }  // of a whole file
    bool is_container() const { return kind_ == kContainer; }

    // Saves and answers whether the save said that it succeeded.
    bool save(const std::string& path) {
        if (kind_ == kView) return view_->saveAsText(wide(path), false) == 3;
        if (kind_ == kTable) {
            table_.set_filename(wide(path));
            return table_.save_text() == 3;
        }
        bool failed = false;
        setLogSink(
            [](const char* text, void* said) {
                *static_cast<bool*>(said) |= std::string_view(text).starts_with("QVContainerFile");
            },
            &failed);
        container_.save(wide(path));
        setLogSink([](const char*, void*) {}, nullptr);
        return !failed;
    }

private:
    Kind kind_;
    keldb table_ = testing_kit::table_of("Name:a Tag:n | one, | *two, | three,");
    ODBView view_{&table_};
    DBFieldDesc fields_[3] = {{"Cookie", DBFieldTypes::text}, {"Name", DBFieldTypes::text}, {}};
    QVContainerFile::Writer container_{fields_};
    std::string bytes_;
};

// What stands at the path and at the path with ".tmp": o an old complete file, n the new one, h half a file, - nothing.
constexpr const char* kBefore[] = {"--", "o-", "oh", "-o"};  // the last: after a save whose last move failed

const Fault kFaults[] = {{Fault::kError, EIO},    {Fault::kError, ENOSPC}, {Fault::kError, EINTR},
                         {Fault::kError, EACCES}, {Fault::kShort},         {Fault::kNone}};

// One save, and what must hold after it.
class OneSave {
public:
    OneSave(Saver& saver, std::string before) : saver_(saver), before_(std::move(before)) {
        for (const std::size_t i : {0U, 1U}) {
            if (before_[i] != '-') testing_kit::write_file(paths_[i], before_[i] == 'o' ? "old" : "half a fi");
        }
    }

    bool save() { return saver_.save(paths_[0]); }

    // At any instant: what was there, or the new file in place; of a container that replaces another also the new one
    // beside the old, the new one waiting alone, and the new one in place without a leftover.
    void expect_nothing_lost() const {
        std::set<std::string> allowed = {before_, {'n', before_[1]}};
        if (replaces_container()) allowed.insert({"on", "-n", "n-"});
        EXPECT_TRUE(allowed.count(state()) != 0) << before_ << " became " << state();
    }

    // After a save that ended. A failed one leaves everything as it was, unless a container's old file could not be
    // removed or its new one not be moved.
    void expect_what_it_said(bool success, const FaultyPlatform& platform, const Fault& fault, long at) const {
        const std::string struck = platform.struck_operation();
        EXPECT_EQ(success, state()[0] == 'n');
        EXPECT_TRUE(success || state() == before_ || struck == "unlink" || struck == "rename") << state();
        for (const std::string& name : testing_kit::names_in(folder_.path())) {
            EXPECT_TRUE(name == "clips" || name == "clips.tmp") << name;
        }
        // The new file is flushed before any name changes, and of containers alone the old one is removed; a path that
        // a fault makes seem free is written at once.
        const auto& log = platform.log();
        const auto synced = std::find(log.begin(), log.end(), "sync");
        const auto renamed = std::find(log.begin(), log.end(), "rename");
        const auto removed = std::find(log.begin(), log.end(), "unlink");
        EXPECT_TRUE(!success || (synced < renamed && renamed < removed && renamed != log.end()));
        EXPECT_TRUE(!success || struck != "nothing" || (removed != log.end()) == replaces_container());
        // What fails while the bytes are on their way is never taken for a success.
        const bool on_the_way =
            (struck == "write" || struck == "sync" || struck == "close") && at < renamed - log.begin();
        EXPECT_TRUE(!success || !on_the_way || fault.kind != Fault::kError || fault.code == EINTR) << struck;
    }

private:
    bool replaces_container() const { return saver_.is_container() && before_[0] == 'o'; }
    char code_of(const std::string& path) const {
        const std::string bytes = file_bytes(path);
        return bytes == "(none)"         ? '-'
               : bytes == "old"          ? 'o'
               : bytes == "half a fi"    ? 'h'
               : bytes == saver_.bytes() ? 'n'
                                         : '?';
    }
    std::string state() const { return {code_of(paths_[0]), code_of(paths_[1])}; }

    Saver& saver_;
    const std::string before_;
    const TempDir folder_;
    const std::string paths_[2] = {folder_.path("clips"), folder_.path("clips.tmp")};
};

class SaveFaults : public testing::TestWithParam<Saver::Kind> {
protected:
    SaveFaults() {
        setLogSink([](const char*, void*) {}, nullptr);
    }
    ~SaveFaults() override { setLogSink(nullptr, nullptr); }
    static void TearDownTestSuite() { std::cout << "REL file_fault_states=" << states_ << '\n'; }

    Saver saver_{GetParam()};
    inline static long states_ = 0;
};

TEST_P(SaveFaults, AnyFaultLeavesTheOldOrTheNewAndSaysWhich) {
    const std::size_t descriptors = testing_kit::open_descriptors();
    for (const std::string before : kBefore) {
        for (const Fault& fault : kFaults) {
            bool struck = true;
            for (long at = 0; struck; ++at, ++states_) {
                OneSave one(saver_, before);
                FaultyPlatform platform(fault, at);
                bool success = false;
                {
                    const testing_kit::UsePlatform in_place(platform);
                    success = one.save();
                }
                struck = platform.struck();
                SCOPED_TRACE(before + ", operation " + std::to_string(at) + ", " + platform.struck_operation() +
                             ", fault " + std::to_string(fault.kind) + '/' + std::to_string(fault.code));
                one.expect_nothing_lost();
                one.expect_what_it_said(success, platform, fault, at);
                EXPECT_TRUE(success || struck);
                ASSERT_EQ(testing_kit::open_descriptors(), descriptors);
                ASSERT_FALSE(HasFailure());
            }
        }
    }
}

TEST_P(SaveFaults, DyingAnywhereLeavesTheOldOrTheNew) {
    for (const std::string before : kBefore) {
        int status = testing_kit::kDied;
        for (long at = 0; status == testing_kit::kDied; ++at, ++states_) {
            SCOPED_TRACE(before + ", operation " + std::to_string(at));
            OneSave one(saver_, before);
            status = testing_kit::in_child([&] {
                FaultyPlatform platform({Fault::kDie}, at);
                const testing_kit::UsePlatform in_place(platform);
                return one.save() ? 0 : 1;
            });
            one.expect_nothing_lost();
            ASSERT_FALSE(HasFailure());
        }
        EXPECT_EQ(status, 0);
    }
}

std::string name_of(const testing::TestParamInfo<Saver::Kind>& kind) {
    return kind.param == Saver::kTable ? "Table" : kind.param == Saver::kView ? "ViewExport" : "Container";
}

INSTANTIATE_TEST_SUITE_P(Of, SaveFaults, testing::Values(Saver::kTable, Saver::kView, Saver::kContainer), name_of);

}  // namespace
