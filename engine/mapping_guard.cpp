#include "mapping_guard.h"

#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace mapping_guard {

namespace {

struct Slot {
  const uint8_t* start;
  size_t size;
  volatile sig_atomic_t lost;
};

constexpr int kSlots = 8;
Slot slots[kSlots];
int registered = 0;
volatile sig_atomic_t anyMappingLost = 0;
struct sigaction previous;

void forward(int signal, siginfo_t* info, void* context) {
  if (previous.sa_flags & SA_SIGINFO) {
    previous.sa_sigaction(signal, info, context);
  } else if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN) {
    previous.sa_handler(signal);
  } else {
    // Default (or ignored, which a fault cannot be): let the fault, which
    // happens again on return, end the process as it would have.
    struct sigaction byDefault = {};
    byDefault.sa_handler = SIG_DFL;
    sigaction(SIGBUS, &byDefault, nullptr);
  }
}

void onBusError(int signal, siginfo_t* info, void* context) {
  const auto* address = static_cast<const uint8_t*>(info->si_addr);
  for (Slot& slot : slots) {
    if (slot.start && address >= slot.start && address < slot.start + slot.size) {
      const auto pageSize = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
      // The page that holds the address.  NOLINTNEXTLINE(performance-no-int-to-ptr)
      void* page = reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(address) & ~(pageSize - 1));
      if (mmap(page, pageSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == MAP_FAILED)
        break;
      slot.lost = 1;
      anyMappingLost = 1;
      return;
    }
  }
  forward(signal, info, context);
}

}  // namespace

void add(const void* start, size_t size) {
  for (Slot& slot : slots) {
    if (slot.start) continue;
    if (registered++ == 0) {
      anyMappingLost = 0;
      struct sigaction guard = {};
      guard.sa_sigaction = onBusError;
      guard.sa_flags = SA_SIGINFO;
      sigemptyset(&guard.sa_mask);
      sigaction(SIGBUS, &guard, &previous);
    }
    slot.size = size;
    slot.lost = 0;
    slot.start = static_cast<const uint8_t*>(start);
    return;
  }
  // More mappings than slots: this one goes unguarded.
}

void remove(const void* start) {
  for (Slot& slot : slots) {
    if (slot.start != start) continue;
    slot.start = nullptr;
    if (--registered == 0) {
      sigaction(SIGBUS, &previous, nullptr);
      anyMappingLost = 0;
    }
    return;
  }
}

bool lost(const void* start) {
  for (const Slot& slot : slots) {
    if (slot.start && slot.start == start) return slot.lost != 0;
  }
  return false;
}

bool anyLost() { return anyMappingLost != 0; }

}  // namespace mapping_guard
