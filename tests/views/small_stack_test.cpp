// Views on views on views, and field specs without end, on the small stack of a helper thread.
#include <gtest/gtest.h>
#include <pthread.h>

#include "tests/testing/views_text.h"

namespace {

using namespace testing_kit;

constexpr std::size_t kStack = 512 << 10;

// An overflow ends the test program.
void on_small_stack(void (*work)()) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStack), 0);
    const auto run = [](void* what) -> void* {
        (*static_cast<void (**)()>(what))();
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(SmallStack, HoldsAHundredStackedViews) {
    on_small_stack([] {
        keldb table = lettered_table(3);
        const ODBView bottom = view_showing(table, "0 1 2");
        ODBView top = bottom;
        for (int i = 0; i < 100; ++i) top = subview_showing(top, "2 1 0");
        table.delete_records(1, 1);
        EXPECT_EQ(names(*top), "a c");
        bottom->set_all_tags(1);
        bottom->deleteTagged();
        EXPECT_EQ(top->size(), 0);
        top = ODBView();
        EXPECT_TRUE(bottom->ok());
    });
}

TEST(SmallStack, HoldsAFieldSpecOfAHundredThousandNames) {
    on_small_stack([] {
        keldb table = lettered_table(1);
        std::string spec;
        for (int i = 0; i < 100'000; ++i) spec += std::string(table.get_fieldname(0)) + ',';
        const ODBView view(&table, spec.c_str());
        GrowString printed;
        view->asString(printed);
        EXPECT_GT(std::string_view(printed.c_str()).size(), spec.size());
        view->fieldSpec("");
        EXPECT_TRUE(view->fieldList().empty());
    });
}

}  // namespace
