// Two views, one on the other, over one table: what happens when records are deleted below, and what is announced.
#include <cstdio>

#include "keldb/table/keldb.h"
#include "keldb/views/odb_view.h"

namespace {

// Prints every announcement of one table or view.
class Listener {
public:
    Listener(const char* name, Notifier& announcer) : name_(name), announcer_(announcer) {
        NotifyMsgTypeDictionary& types = NotifyMsgTypeDictionary::instance();
        deleted_ = listen(&Listener::on_deleted, types.intern("recordsDeleted"));
        changed_ = listen(&Listener::on_changed, types.intern("recordsChanged"));
    }
    ~Listener() {
        announcer_.deregisterNotification(deleted_);
        announcer_.deregisterNotification(changed_);
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

private:
    using Method = int (Listener::*)(const NotifyMsg&);

    Qv::Ptr<Qv::Guard> listen(Method method, int type) {
        const Qv::Ptr<NotifyCallback> callback(new MethodCallback<Listener, NotifyMsg, int>(this, method));
        return announcer_.registerNotification(callback, type);
    }
    int on_deleted(const NotifyMsg& message) {
        std::printf("  %-8s lost    %s\n", name_, message.text().c_str());
        return 0;
    }
    int on_changed(const NotifyMsg&) {
        std::printf("  %-8s changed\n", name_);
        return 0;
    }

    const char* name_;
    Notifier& announcer_;
    Qv::Ptr<Qv::Guard> deleted_;
    Qv::Ptr<Qv::Guard> changed_;
};

void print(const char* name, const ODBView& view) {
    std::printf("  %-8s", name);
    for (int i = 0; i < view->size(); ++i)
        std::printf(" %s%s", view->getField(static_cast<unsigned>(i), 0).c_str(), view->tag(i) ? "*" : "");
    std::printf("\n");
}

}  // namespace

int main() {
    const DBFieldDesc fields[] = {{"Name", DBFieldTypes::text}, {"Reel", DBFieldTypes::text}, {}};
    keldb log(fields);
    log.add_records(8);
    for (unsigned row = 0; row < 8; ++row) {
        const char name[] = {static_cast<char>('A' + row), '\0'};
        log.set_field(row, 0, name);
        log.set_field(row, 1, row % 2 ? "R2" : "R1");
    }

    // The clips in reverse order, three of them tagged, and a subview of those three.
    ODBView all(&log);
    all->displayAllRecords();
    all->sort(-1, 0);
    for (const unsigned position : {1U, 3U, 6U}) all->set_tag(position, 1);
    const ODBView chosen(all, true);
    print("all", all);
    print("chosen", chosen);

    const Listener table_listener("table", log), all_listener("all", **all), chosen_listener("chosen", **chosen);

    std::printf("\nthe table deletes B, C and D:\n");
    log.delete_records(1, 3);
    print("all", all);
    print("chosen", chosen);

    std::printf("\nthe subview drops its first entry, and so does the view below; the record stays:\n");
    chosen->removeRecordsFromBaseView(0, 1);
    print("all", all);
    print("chosen", chosen);
    std::printf("  table    %u records\n", log.get_num_records());

    const bool right = all->size() == 4 && chosen->size() == 1 && log.get_num_records() == 5;
    return right ? 0 : 1;
}
