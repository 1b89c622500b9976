#include "keldb/table/deletion.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <string>

namespace kel {

int records_deleted_type() { return NotifyMsgTypeDictionary::instance().intern("recordsDeleted"); }

int records_changed_type() { return NotifyMsgTypeDictionary::instance().intern("recordsChanged"); }

namespace {

// The row number and the blank behind it, as the messages write them.
std::string_view number_text(unsigned number, char (&text)[16]) {
    char* end = std::to_chars(text, text + sizeof text - 1, number).ptr;
    *end++ = ' ';
    return {text, static_cast<std::size_t>(end - text)};
}

FollowerCallback* as_follower(NotifyCallback* callback) { return dynamic_cast<FollowerCallback*>(callback); }

bool any_foreign(const Notifier& announcer, int type) {
    const auto callbacks = announcer.callbacks(type);
    return std::any_of(callbacks.begin(), callbacks.end(), [](const auto& c) { return !as_follower(c.get()); });
}

// Whether a follower or anything above it is heard by a foreign listener.
bool heard(const Notifier& announcer) {
    return Deletion::foreign_listeners(announcer) || any_foreign(announcer, records_changed_type());
}

// Counts, of the numbers given so far, those below another one. Numbers lie below the size given.
class CountBelow {
public:
    void plan(std::size_t size) { tree_.assign(size + 1, 0); }
    unsigned add(std::size_t number) noexcept {  // the count of smaller ones before this one
        unsigned smaller = 0;
        for (std::size_t i = number; i > 0; i &= i - 1) smaller += tree_[i];
        for (std::size_t i = number + 1; i < tree_.size(); i += i & (~i + 1)) ++tree_[i];
        return smaller;
    }

private:
    std::vector<unsigned> tree_;
};

}  // namespace

void LostEntries::plan(std::size_t most, bool with_list, bool with_set) {
    if (with_list) list_ = std::make_unique_for_overwrite<LostEntry[]>(most);  // not touched until an entry is lost
    if (with_set) set_ = RowSet::for_rows_below(static_cast<unsigned>(most));
    has_set_ = with_set;
}

bool Deletion::foreign_listeners(const Notifier& announcer) {
    for (const auto& callback : announcer.callbacks(records_deleted_type())) {
        FollowerCallback* follower = as_follower(callback.get());
        if (!follower || heard(follower->follower().announcer())) return true;
    }
    return false;
}

// One follower in the deletion, and those above it.
struct Deletion::Node {
    Node(FollowerCallback& callback, bool announced) : callback_(&callback), follower_(&callback.follower()) {
        followers_ = nodes_of(follower_->announcer(), announced);
        const std::size_t most = follower_->entry_count();
        lost_.plan(most, announced, announced || !followers_.empty());
        if (announced) {
            order_of_ = std::make_unique_for_overwrite<unsigned[]>(most);
            shift_ = std::make_unique_for_overwrite<unsigned[]>(most);
            earlier_.plan(most);
        }
        pinned_ = follower_->pin();
    }
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;
    ~Node() {
        followers_.clear();
        if (pinned_) follower_->unpin();
    }

    static std::vector<std::unique_ptr<Node>> nodes_of(const Notifier& announcer, bool announced) {
        std::vector<std::unique_ptr<Node>> nodes;
        for (const auto& callback : announcer.callbacks(records_deleted_type())) {
            if (FollowerCallback* follower = as_follower(callback.get()))
                nodes.push_back(std::make_unique<Node>(*follower, announced));
        }
        return nodes;
    }

    void repair(const RowSet& gone) noexcept {
        follower_->drop(gone, lost_);
        lost_.positions().seal();
        for (const auto& above : followers_) above->repair(lost_.positions());
    }

    // Puts the lost entries in the order of their announcement: by the order in which the rows below were announced
    // (`order_of_row`, indexed by a row's rank among the lost ones; null: ascending), then by position.
    void put_in_order(const RowSet& gone, const unsigned* order_of_row) noexcept {
        for (LostEntry& lost : lost_) {
            if (order_of_row) lost.row = order_of_row[gone.below(lost.row)];
        }
        std::sort(lost_.begin(), lost_.end(), [](const LostEntry& a, const LostEntry& b) {
            return a.row != b.row ? a.row < b.row : a.position < b.position;
        });
        for (unsigned k = 0; k < lost_.size(); ++k) {
            const unsigned rank = lost_.positions().below(lost_.begin()[k].position);
            order_of_[rank] = k;
            shift_[k] = earlier_.add(rank);
        }
        for (const auto& above : followers_) above->put_in_order(lost_.positions(), order_of_.get());
    }

    Qv::Ptr<FollowerCallback> callback_;  // held, so that no later registration can have its address
    DeletionFollower* follower_;
    bool pinned_ = false;
    std::vector<std::unique_ptr<Node>> followers_;
    LostEntries lost_;                      // once in order, `row` is the rank of the announcement that it follows from
    std::unique_ptr<unsigned[]> order_of_;  // for each lost position, by rank: when it is announced
    std::unique_ptr<unsigned[]> shift_;     // for each announcement: entries announced before it from lower positions
    CountBelow earlier_;
    std::size_t told_ = 0;  // lost entries announced so far
};

// Tells one announcer's listeners: foreign ones the message, followers' listeners what follows from it.
class Deletion::Report : public NotifierBase::Teller {
public:
    // `last_cause` is when the lost row that the message speaks of was announced, of all lost rows below.
    static void tell(Notifier& announcer, const std::vector<std::unique_ptr<Node>>& followers, const NotifyMsg& message,
                     unsigned last_cause) {
        Report report(followers, message, last_cause);
        announcer.tell_each(records_deleted_type(), report);
    }

private:
    Report(const std::vector<std::unique_ptr<Node>>& followers, const NotifyMsg& message, unsigned last_cause)
        : followers_(followers), message_(message), last_cause_(last_cause) {}

    void tell(NotifyCallback& callback) override {
        for (const auto& node : followers_) {
            if (node->callback_.get() == &callback) return pass_on(*node);
        }
        // A view that began to listen during this deletion stands on rows that are right already.
        if (!as_follower(&callback)) callback.call(message_);
    }

    // The entries lost by what has been announced up to now.
    void pass_on(Node& node) {
        Notifier& announcer = node.follower_->announcer();
        bool any = false;
        while (node.callback_->listening() && node.told_ < node.lost_.size() &&
               node.lost_.begin()[node.told_].row <= last_cause_) {
            const auto order = static_cast<unsigned>(node.told_++);
            char number[16];
            const NotifyMsg lost(String(number_text(node.lost_.begin()[order].position - node.shift_[order], number)),
                                 nullptr);
            any = true;
            Report::tell(announcer, node.followers_, lost, order);
        }
        if (any) announcer.call(NotifyMsg(nullptr), records_changed_type());
    }

    const std::vector<std::unique_ptr<Node>>& followers_;
    const NotifyMsg& message_;
    unsigned last_cause_;
};

Deletion::Deletion(Notifier& announcer, RowSet gone)
    : announcer_(announcer),
      gone_(std::move(gone)),
      foreign_(foreign_listeners(announcer)),
      followers_(Node::nodes_of(announcer, foreign_)) {
    if (!any_foreign(announcer, records_deleted_type())) return;
    assert(gone_.is_run());  // scattered rows go in one deletion only while nobody hears of it
    std::string text;
    char number[16];
    for (unsigned i = 0; i < gone_.size(); ++i) text += number_text(gone_.first() + i, number);
    text_ = String(text);
}

Deletion::~Deletion() = default;

void Deletion::repair() noexcept {
    for (const auto& follower : followers_) follower->repair(gone_);
}

void Deletion::announce() {
    if (!foreign_) return;
    for (const auto& follower : followers_) follower->put_in_order(gone_, nullptr);
    const NotifyMsg message(text_, nullptr);
    Report::tell(announcer_, followers_, message, ~0U);
}

}  // namespace kel
