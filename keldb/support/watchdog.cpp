#include "keldb/support/watchdog.h"

#include <atomic>

namespace {

constinit std::atomic<int> running{0};
constinit std::atomic<SystemWatchdog::Watcher> watcher{nullptr};

void tell(bool working) {
    if (const SystemWatchdog::Watcher told = watcher.load()) {
        told(working);
    }
}

}  // namespace

void SystemWatchdog::beginLifeSupport() noexcept {
    if (running.fetch_add(1) == 0) {
        tell(true);
    }
}

void SystemWatchdog::endLifeSupport() noexcept {
    int before = running.load();
    while (before > 0 && !running.compare_exchange_weak(before, before - 1)) {
    }
    if (before == 1) {
        tell(false);
    }
}

int SystemWatchdog::depth() noexcept { return running.load(); }

void SystemWatchdog::setWatcher(Watcher new_watcher) noexcept { watcher.store(new_watcher); }
