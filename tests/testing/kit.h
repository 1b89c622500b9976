// What test files begin with: the framework, the everyday headers of the language and the library, and this folder's
// vocabulary. Failing files and failing memory are asked for by themselves: faulty_platform.h, allocation_faults.h.
#ifndef KELDB_TESTS_TESTING_KIT_H
#define KELDB_TESTS_TESTING_KIT_H

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <map>
#include <numeric>
#include <set>
#include <sstream>
#include <tuple>

#include "keldb/library/startup_settings.h"
#include "keldb/support/config_block.h"
#include "keldb/support/log.h"
#include "tests/testing/host.h"
#include "tests/testing/notation.h"
#include "tests/testing/plain_table.h"
#include "tests/testing/texts.h"

namespace testing_kit {

// What is logged while it lives. Not for work whose memory is made to fail: collecting takes some.
struct Logged {
    Logged() {
        setLogSink([](const char* message, void* to) { *static_cast<std::string*>(to) += message; }, &text);
    }
    ~Logged() { setLogSink(nullptr, nullptr); }
    std::string text;
};

}  // namespace testing_kit

using namespace testing_kit;

#endif
