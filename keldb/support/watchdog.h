// Tells a host's watchdog that a long operation runs and silence is no sign of a hang.
#ifndef KELDB_SUPPORT_WATCHDOG_H
#define KELDB_SUPPORT_WATCHDOG_H

#include "keldb/support/export.h"

class KELDB_API SystemWatchdog {
public:
    static void beginLifeSupport() noexcept;  // calls nest
    static void endLifeSupport() noexcept;    // without a begin: nothing
    static int depth() noexcept;              // how many operations run; 0 when none

    // Called with true when the first operation begins and with false when the last one ends; null for nobody.
    using Watcher = void (*)(bool working);
    static void setWatcher(Watcher watcher) noexcept;
};

namespace kel {
// Life support for the length of a scope, on every way out.
struct LifeSupport {
    LifeSupport() noexcept { SystemWatchdog::beginLifeSupport(); }
    ~LifeSupport() { SystemWatchdog::endLifeSupport(); }
    LifeSupport(const LifeSupport&) = delete;
    LifeSupport& operator=(const LifeSupport&) = delete;
};
}  // namespace kel

#endif
