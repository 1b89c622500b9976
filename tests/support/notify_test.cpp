// Who hears what, and when, while listeners register, deregister and announce in the middle of a delivery.
#include "tests/testing/kit.h"

namespace {

constexpr int kType = 1, kOtherType = 2;

// An announcer whose listeners are called by letters: "a b-c c" are three, of which the second has a script. A listener
// writes its letter and then, the first time, does what its script says: -X deregisters listener X, +X registers it,
// ! announces again, ^ raises std::bad_alloc. What is heard of a message stands in brackets.
struct Stage {
    explicit Stage(const char* listeners) {
        for (const std::string& each : pieces(listeners, ' ')) add(each[0], each.substr(1));
    }
    void add(char name, const std::string& its_script) {
        guards[name] = listen(notifier, kType, [this, name, script = its_script](const NotifyMsg&) mutable {
            heard += name;
            const std::string now = std::exchange(script, "");
            for (std::size_t i = 0; i < now.size(); ++i) {
                if (now[i] == '-') notifier.deregisterNotification(guards[now[++i]]);
                if (now[i] == '+') add(now[++i], "");
                if (now[i] == '!') announce();
                if (now[i] == '^') throw std::bad_alloc();
            }
            EXPECT_EQ(script, "");  // it is still there
        });
    }
    void announce() {
        heard += '[';
        notifier.call(NotifyMsg(nullptr), kOtherType);  // nobody hears
        notifier.call(NotifyMsg(nullptr), kType);
        heard += ']';
    }

    std::map<char, Qv::Ptr<Qv::Guard>> guards;
    std::string heard;
    Notifier notifier;
};

TEST(Notifier, ListenersMayDoAnythingButDestroyIt) {
    const std::pair<const char*, std::string> kCases[] = {
        // what is heard of two messages
        {"a b c", "[abc][abc]"},
        {"a-a b c", "[abc][bc]"},
        {"a b-c c", "[ab][ab]"},
        {"a b-a-b-c c", "[ab][]"},
        {"a-b+b b c", "[ac][acb]"},          // gone and back: hears the next message
        {"a+d+e+f+g+h b", "[ab][abdefgh]"},  // the list grows under the delivery
        {"a+d! b", "[a[abd]b][abd]"},        // added, it hears the nested message
        {"a b!-b c", "[ab[abc]c][ac]"},
        {"a! b-c c", "[a[ab]b][ab]"},  // gone by the inner message, for the outer too
        {"a-a! b! c", "[a[b[bc]c]bc][bc]"},
        {"a-a^ b", "[a^[b]"},  // raising ends the delivery, not the list
        {"a! b-c^ c", "[a[ab^[ab]"},
    };
    for (const auto& [listeners, heard] : kCases) {
        Stage stage(listeners);
        for (int message = 0; message < 2; ++message) {
            try {
                stage.announce();
            } catch (const std::bad_alloc&) {
                stage.heard += '^';
            }
        }
        EXPECT_EQ(stage.heard, heard);
        EXPECT_EQ(stage.notifier.callbacks(kType).size(), heard.size() - heard.rfind('[') - 2);
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
        notifier.deregisterNotification(ended);
        notifier.deregisterNotification(nullptr);
        other.deregisterNotification(guard);  // another announcer's: nothing
        notifier = Notifier(notifier);        // a copy has no listeners, and gives none
        EXPECT_TRUE(!ended->registered() && guard->registered() && callback->holders() == 2);
        EXPECT_TRUE(notifier.hasListeners(kType) && !Notifier(notifier).hasListeners(kType));
    }
    EXPECT_TRUE(!guard->registered() && callback->holders() == 1);
}

}  // namespace
