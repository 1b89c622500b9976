// Who hears what, and when, while listeners register, deregister and announce in the middle of a delivery.

#include "keldb/support/notify.h"

#include <gtest/gtest.h>

#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "tests/testing/allocation_faults.h"

namespace {

constexpr int kType = 1;
constexpr int kOtherType = 2;

// An announcer whose listeners are called by letters. A listener writes its letter and then, the first time,
// does what its script says:
//     -X  deregisters listener X        +X  registers listener X
//     !   announces again
//     ^   raises std::bad_alloc
class Stage {
public:
    void add(char name, std::string script = "") {
        scripts_[name] = std::move(script);
        guards_[name] = notifier_.registerNotification(Qv::Ptr<NotifyCallback>(new Listener(*this, name)), kType);
    }
    // What was heard, in order; a nested message stands in brackets.
    std::string announce() {
        heard_.clear();
        try {
            notifier_.call(NotifyMsg(String("x"), nullptr), kType);
        } catch (const std::bad_alloc&) {
            heard_ += "^";
        }
        return heard_;
    }
    void remove(char name) { notifier_.deregisterNotification(guards_[name]); }
    bool registered(char name) { return guards_[name]->registered(); }
    bool alive(char name) const { return alive_.at(name) > 0; }
    Notifier& notifier() { return notifier_; }

private:
    struct Listener : NotifyCallback {
        Listener(Stage& stage, char name) : stage_(stage), name_(name) { ++stage_.alive_[name_]; }
        Listener(const Listener&) = delete;
        Listener& operator=(const Listener&) = delete;
        ~Listener() override { --stage_.alive_[name_]; }
        int call(const NotifyMsg&) override {
            stage_.heard_ += name_;
            stage_.act(std::exchange(stage_.scripts_[name_], ""));
            EXPECT_TRUE(stage_.alive(name_)) << "destroyed in the middle of its call";
            return 0;
        }
        Stage& stage_;
        char name_;
    };

    void act(const std::string& script) {
        for (std::size_t i = 0; i < script.size(); ++i) {
            switch (script[i]) {
            case '-':
                notifier_.deregisterNotification(guards_[script[++i]]);
                break;
            case '+':
                add(script[++i]);
                break;
            case '^':
                throw std::bad_alloc();
            case '!':
                heard_ += "[";
                notifier_.call(NotifyMsg(String("x"), nullptr), kType);
                heard_ += "]";
                break;
            default:
                break;
            }
        }
    }

    std::map<char, std::string> scripts_;
    std::map<char, Qv::Ptr<Qv::Guard>> guards_;
    std::map<char, int> alive_;
    std::string heard_;
    Notifier notifier_;  // the last member: its listeners write to the others as they go
};

TEST(Notifier, ListenersMayDoAnythingButDestroyIt) {
    const struct {
        std::map<char, std::string> scripts;
        const char* first;   // heard of the first message
        const char* second;  // and of the next
    } kCases[] = {
        {{{'a', ""}, {'b', ""}, {'c', ""}}, "abc", "abc"},
        {{{'a', "-a"}, {'b', ""}, {'c', ""}}, "abc", "bc"},    // itself
        {{{'a', ""}, {'b', "-c"}, {'c', ""}}, "ab", "ab"},     // the next
        {{{'a', ""}, {'b', "-a"}, {'c', ""}}, "abc", "bc"},    // the one before
        {{{'a', ""}, {'b', "-a-b-c"}, {'c', ""}}, "ab", ""},   // all
        {{{'a', "-b+b"}, {'b', ""}, {'c', ""}}, "ac", "acb"},  // gone and back: hears the next message
        {{{'a', "+d+e+f+g+h"}, {'b', ""}}, "ab", "abdefgh"},   // the list grows under the delivery
        {{{'a', "+d!"}, {'b', ""}}, "a[abd]b", "abd"},         // added, it hears the nested message
        {{{'a', "-b!"}, {'b', ""}, {'c', ""}}, "a[ac]c", "ac"},
        {{{'a', ""}, {'b', "!-b"}, {'c', ""}}, "ab[abc]c", "ac"},
        {{{'a', "!"}, {'b', "-c"}, {'c', ""}}, "a[ab]b", "ab"},  // gone by the inner message, for the outer too
        {{{'a', "-a!"}, {'b', "!"}, {'c', ""}}, "a[b[bc]c]bc", "bc"},
        {{{'a', "-a^"}, {'b', ""}}, "a^", "b"},  // raising ends the delivery, not the list
        {{{'a', "!-b^"}, {'b', ""}, {'c', ""}}, "a[abc]^", "ac"},
        {{{'a', "!"}, {'b', "-c^"}, {'c', ""}}, "a[ab^", "ab"},
    };
    for (const auto& c : kCases) {
        Stage stage;
        for (const auto& [name, script] : c.scripts) {
            stage.add(name, script);
        }
        EXPECT_EQ(stage.announce(), c.first);
        EXPECT_EQ(stage.announce(), c.second);
    }
}

TEST(Notifier, HearsOnlyItsType) {
    Stage stage;
    stage.add('a');
    EXPECT_TRUE(stage.notifier().hasListeners(kType));
    EXPECT_FALSE(stage.notifier().hasListeners(kOtherType));
    stage.notifier().call(NotifyMsg(nullptr), kOtherType);
    EXPECT_EQ(stage.announce(), "a");
}

TEST(Notifier, GuardsAndCallbacks) {
    Stage stage;
    stage.add('a', "-a");
    EXPECT_TRUE(stage.registered('a') && stage.alive('a'));
    EXPECT_EQ(stage.announce(), "a");
    EXPECT_FALSE(stage.registered('a') || stage.alive('a'));
    EXPECT_FALSE(stage.notifier().hasListeners(kType));

    stage.add('b');
    stage.add('c');
    stage.remove('b');
    EXPECT_FALSE(stage.registered('b') || stage.alive('b'));
    EXPECT_EQ(stage.announce(), "c");

    Qv::Ptr<Qv::Guard> guard;
    stage.notifier().deregisterNotification(guard);  // null: nothing
    {
        struct Deaf : NotifyCallback {
            int call(const NotifyMsg&) override { return 0; }
        };
        Notifier notifier;
        guard = notifier.registerNotification(Qv::Ptr<NotifyCallback>(new Deaf), kType);
        stage.notifier().deregisterNotification(guard);  // another announcer's: nothing
        EXPECT_TRUE(guard->registered());
        EXPECT_FALSE(notifier.registerNotification(nullptr, kType));
        const Notifier copy(notifier);
        EXPECT_FALSE(copy.hasListeners(kType));
        notifier = copy;
        EXPECT_TRUE(notifier.hasListeners(kType));
    }
    EXPECT_FALSE(guard->registered());
}

TEST(Notifier, FailedRegistrationAddsNobody) {
    struct Deaf : NotifyCallback {
        int call(const NotifyMsg&) override { return 0; }
    };
    const long blocks = testing_kit::live_blocks();
    const auto work = [] {
        Notifier notifier;
        const Qv::Ptr<NotifyCallback> callback(new Deaf);
        try {
            notifier.registerNotification(callback, kType);
        } catch (const std::bad_alloc&) {
            EXPECT_FALSE(notifier.hasListeners(kType));
            EXPECT_EQ(callback->holders(), 1);
        }
    };
    EXPECT_EQ(testing_kit::sweep_allocations(
                  work, [&] { return std::string(testing_kit::live_blocks() == blocks ? "" : "memory is left"); }),
              "");
}

TEST(NotifyMessages, NamesAndTokens) {
    NotifyMsgTypeDictionary& names = NotifyMsgTypeDictionary::instance();
    const int changed = names.intern("recordsChanged");
    const int deleted = names.intern("recordsDeleted");
    EXPECT_GT(changed, 0);
    EXPECT_NE(changed, deleted);
    EXPECT_EQ(names.intern("recordsChanged"), changed);

    const struct {
        const char* text;
        std::vector<std::string> tokens;
    } kCases[] = {{"", {}},
                  {"  ", {}},
                  {"3 -1 2", {"3", "-1", "2"}},
                  {" a  token_of_more_than_15_bytes ", {"a", "token_of_more_than_15_bytes"}}};
    for (const auto& c : kCases) {
        const NotifyMsg message(String(c.text), nullptr);
        std::vector<std::string> tokens;
        NotifyMsgTokenIterator token(message);
        for (; *token; ++token) {
            tokens.emplace_back(*token);
        }
        EXPECT_EQ(tokens, c.tokens) << c.text;
        ++token;
        EXPECT_EQ(*token, nullptr);
    }
}

TEST(NotifyMessages, PayloadsAreCopiesThatLiveAsLongAsAnyoneHoldsThem) {
    const long blocks = testing_kit::live_blocks();
    {
        std::vector<int> data{1, 2, 3};
        Qv::Ptr<WrappedData<std::vector<int>>> held;
        {
            const Qv::Ptr<WrappedData<std::vector<int>>> payload(new WrappedData<std::vector<int>>(data));
            const NotifyMsg message{Qv::Ptr<iObject>(payload)};
            data.clear();
            held = payload;
            EXPECT_EQ(payload->holders(), 3);
        }
        EXPECT_EQ(held->data(), (std::vector<int>{1, 2, 3}));
        EXPECT_EQ(held->holders(), 1);
    }
    EXPECT_EQ(testing_kit::live_blocks(), blocks);
}

}  // namespace
