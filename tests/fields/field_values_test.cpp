// The texts of one record, however they are held.
#include <gtest/gtest.h>

#include "tests/fields/field_values_program.h"
#include "tests/testing/random.h"

namespace {

TEST(FieldValues, AgreeWithAVectorOfStringsUnderRandomPrograms) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        testing_kit::Random random(seed);
        const std::string bytes = random.bytes(random.below(1500));
        ASSERT_EQ(testing_kit::FieldValuesProgram(bytes).run(), "") << "seed " << seed;
    }
}

// A line has as many values as the low 16 bits of their number say.
TEST(FieldValues, CountInSixteenBits) {
    for (const unsigned count : {65535U, 65536U, 65537U, 65539U}) {
        kel::ValueBuilder builder;
        builder.start(0);
        for (unsigned i = 0; i < count; ++i) builder.append("v");
        kel::FieldValues values;
        values.pack(builder);
        ASSERT_EQ(values.size(), count & 0xFFFF);
        EXPECT_TRUE(count == 65536 || values.string(static_cast<unsigned short>(values.size() - 1U)) == "v");
        EXPECT_TRUE(values.ok());
    }
}

}  // namespace
