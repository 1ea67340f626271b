#include "platform/com/server/thread_memory.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "platform/com/lock.h"
#include "platform/com/windows.h"

namespace ohmwise::com {
namespace {

/// A thread_local variable as the compiler describes it to `__emutls_get_address`.
struct Variable {
  size_t size;
  size_t alignment;
  std::atomic<size_t> offset;  ///< ours to use; 0 at first
  const void* initial;         ///< null: zeros
};

/// More than all variables of the library and of its runtime together.
constexpr size_t kBytes = 4096;
/// In front of each variable; its last byte tells that the variable has its value.
constexpr size_t kHead = 8;

/// The variables of one thread.
struct Block {
  Block* next;
  alignas(kHead) unsigned char bytes[kBytes];
};

/// Every thread's block, so that none outlives the library.
class Blocks {
 public:
  Blocks() noexcept : slot_(TlsAlloc()) {}
  ~Blocks() {
    // Without the lock: a thread that the end of the process has stopped may hold it.
    while (first_) std::free(std::exchange(first_, first_->next));
    TlsFree(slot_);
  }
  Blocks(const Blocks&) = delete;
  Blocks& operator=(const Blocks&) = delete;

  Block* OfThread() const noexcept { return static_cast<Block*>(TlsGetValue(slot_)); }
  Block* Make() noexcept {
    // Not by new, which throws when it fails, and for that needs the variables of the thread.
    auto* const block = static_cast<Block*>(std::calloc(1, sizeof(Block)));
    if (!block) return nullptr;
    if (!TlsSetValue(slot_, block)) {
      std::free(block);
      return nullptr;
    }
    const std::lock_guard guard(lock_);
    block->next = first_;
    first_ = block;
    return block;
  }
  void Free(Block* block) noexcept {
    if (!block) return;
    {
      const std::lock_guard guard(lock_);
      Block** at = &first_;
      while (*at != block) at = &(*at)->next;
      *at = block->next;
    }
    std::free(block);
  }
  void ForgetOfThread() noexcept {
    Block* const block = OfThread();
    TlsSetValue(slot_, nullptr);
    Free(block);
  }
  /// The same place in the block of every thread.
  size_t Place(Variable& variable) noexcept {
    const std::lock_guard guard(lock_);
    if (const size_t known = variable.offset) return known;
    const size_t offset = used_ + kHead;
    used_ = (offset + variable.size + kHead - 1) / kHead * kHead;
    if (used_ > kBytes || variable.alignment > kHead) std::abort();  // shows with the first test
    variable.offset = offset;
    return offset;
  }

 private:
  Lock lock_;
  DWORD slot_;
  Block* first_ = nullptr;
  size_t used_ = 0;
};

// Made before and ended after everything that may use a variable of a thread.
__attribute__((init_priority(101))) Blocks blocks;

/// The thread whose next call of malloc fails; 0 for none.
std::atomic<DWORD> refused_thread{0};

/// Uses what the runtime makes at first use: its lock for static variables, its tables of
/// handlers, and the store that exceptions are taken from when there is no other memory.
void UseRuntime() {
  static const DWORD made_at_run_time = GetCurrentThreadId();
  refused_thread = made_at_run_time;
  try {
    throw false;
  } catch (bool) {
    // Its memory was refused, so it came from that store.
  }
}

bool PrepareProcess() noexcept {
  static Lock lock;
  static bool prepared = false;
  const std::lock_guard guard(lock);
  if (prepared) return true;
  constexpr size_t kEnough = size_t{1} << 20;
  void* const reserve = std::malloc(kEnough);
  if (!reserve) return false;
  std::free(reserve);
  UseRuntime();
  return prepared = true;
}

}  // namespace

bool PrepareThread() noexcept { return blocks.OfThread() || (PrepareProcess() && blocks.Make()); }

void ForgetThread() noexcept { blocks.ForgetOfThread(); }

}  // namespace ohmwise::com

extern "C" {

// The compiler calls this for every thread_local variable. Its own version, which is left out of
// the link, takes memory for each of them and ends the process when there is none.
void* __emutls_get_address(void* control) {
  using ohmwise::com::blocks;
  auto& variable = *static_cast<ohmwise::com::Variable*>(control);
  ohmwise::com::Block* block = blocks.OfThread();
  if (!block) block = blocks.Make();
  if (!block) std::abort();  // the thread has come in without PrepareThread
  size_t offset = variable.offset.load(std::memory_order_acquire);
  if (offset == 0) offset = blocks.Place(variable);
  unsigned char* const place = block->bytes + offset;
  if (place[-1] == 0) {
    place[-1] = 1;
    if (variable.initial) std::memcpy(place, variable.initial, variable.size);
  }
  return place;
}

// The linker leads all calls of malloc here (--wrap).
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size) {
  auto& refused = ohmwise::com::refused_thread;
  const DWORD thread = refused.load(std::memory_order_relaxed);
  if (thread == 0 || thread != GetCurrentThreadId()) return __real_malloc(size);
  refused = 0;
  return nullptr;
}
}
