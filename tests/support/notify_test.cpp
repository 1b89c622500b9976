// Who hears what, and when, while listeners register, deregister and announce in the middle of a delivery.
#include "tests/testing/kit.h"

namespace {

constexpr int kType = 1, kOtherType = 2;

// An announcer whose listeners are called by letters. A listener writes its letter and then, the first time, does what
// its script says: -X deregisters listener X, +X registers it, ! announces again, ^ raises std::bad_alloc.
struct Stage {
    explicit Stage(const char* listeners) {  // "a b-c c": three, of which the second has a script
        for (const std::string& each : pieces(listeners, ' ')) add(each[0], each.substr(1));
    }
    // What was heard, in order; a nested message stands in brackets.
    std::string announce() {
        heard.clear();
        try {
            notifier.call(NotifyMsg(nullptr), kOtherType);  // nobody hears
            notifier.call(NotifyMsg(nullptr), kType);
        } catch (const std::bad_alloc&) {
            heard += "^";
        }
        return heard;
    }

    void add(char name, const std::string& its_script) {
        guards[name] = listen(notifier, kType, [this, name, script = its_script](const NotifyMsg&) mutable {
            heard += name;
            const std::string now = std::exchange(script, "");
            for (std::size_t i = 0; i < now.size(); ++i) {
                if (now[i] == '-') notifier.deregisterNotification(guards[now[++i]]);
                if (now[i] == '+') add(now[++i], "");
                if (now[i] == '^') throw std::bad_alloc();
                if (now[i] != '!') continue;
                heard += '[';
                notifier.call(NotifyMsg(nullptr), kType);
                heard += ']';
            }
            EXPECT_EQ(script, "");  // it is still there
        });
    }

    std::map<char, Qv::Ptr<Qv::Guard>> guards;
    std::string heard;
    Notifier notifier;
};

TEST(Notifier, ListenersMayDoAnythingButDestroyIt) {
    const std::tuple<const char*, std::string, std::string> kCases[] = {
        // heard of the first message, and of the next
        {"a b c", "abc", "abc"},
        {"a-a b c", "abc", "bc"},
        {"a b-c c", "ab", "ab"},
        {"a b-a-b-c c", "ab", ""},
        {"a-b+b b c", "ac", "acb"},          // gone and back: hears the next message
        {"a+d+e+f+g+h b", "ab", "abdefgh"},  // the list grows under the delivery
        {"a+d! b", "a[abd]b", "abd"},        // added, it hears the nested message
        {"a b!-b c", "ab[abc]c", "ac"},
        {"a! b-c c", "a[ab]b", "ab"},  // gone by the inner message, for the outer too
        {"a-a! b! c", "a[b[bc]c]bc", "bc"},
        {"a-a^ b", "a^", "b"},  // raising ends the delivery, not the list
        {"a! b-c^ c", "a[ab^", "ab"},
    };
    for (const auto& [listeners, first, second] : kCases) {
        Stage stage(listeners);
        EXPECT_EQ(stage.announce(), first);
        EXPECT_EQ(stage.announce(), second);
        EXPECT_EQ(stage.notifier.callbacks(kType).size(), second.size());
        EXPECT_EQ(stage.notifier.hasListeners(kType), !second.empty());
    }
}

TEST(Notifier, RegistrationsEndWithTheirGuardOrTheAnnouncer) {
    const Qv::Ptr<NotifyCallback> callback(new Callback([](const NotifyMsg&) {}));
    Qv::Ptr<Qv::Guard> ended, guard;
    {
        Notifier notifier, other;
        EXPECT_FALSE(notifier.registerNotification(nullptr, kType));
        ended = notifier.registerNotification(callback, kType);
        guard = notifier.registerNotification(callback, kType);
        EXPECT_TRUE(ended->registered() && callback->holders() == 3);
        notifier.deregisterNotification(ended);
        notifier.deregisterNotification(nullptr);
        other.deregisterNotification(guard);  // another announcer's: nothing
        EXPECT_TRUE(!ended->registered() && guard->registered() && callback->holders() == 2);
        const Notifier copy(notifier);
        EXPECT_FALSE(copy.hasListeners(kType));
        notifier = copy;
        EXPECT_TRUE(notifier.hasListeners(kType) && !notifier.hasListeners(kOtherType));
    }
    EXPECT_TRUE(!guard->registered() && callback->holders() == 1);
}

}  // namespace
